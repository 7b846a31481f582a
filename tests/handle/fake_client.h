#pragma once

#include "broker_client_impl.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kavro {

/// A protocol client without a network: notes what it is asked for and completes from run_io(), as
/// the real one does, with what the test laid down for the operation ("nothing" completes well).
class FakeClient : public iBROKER_CLIENT {
public:
    std::vector<std::string> calls;
    /// What an operation completes with, one after the other; well, when none is left.
    std::map<std::string, std::deque<BrokerResult>> results;
    /// Runs inside run_io() before the handler of that operation.
    std::map<std::string, std::function<void()>> hooks;
    ConnectionRequest last_connection;
    std::string last_answers; ///< of a dialog as "name=Alice;pin=1234, hidden;", else as "a b "
    std::chrono::milliseconds last_timeout{};
    std::string log_id;
    cAUTH_RESULT auth;
    bool drops_connect_handler = false;
    std::uint32_t kind = KAVRO_BROKER_TYPE_DIRECT_HOST;

    std::uint32_t get_variant() const override { return kind; }
    bool connect_to_broker(const ConnectionRequest &request, ConnectionHandler handler) override {
        last_connection = request;
        if (!drops_connect_handler)
            queue("connect", [handler](const BrokerResult &result) { handler(result, {}); });
        return !drops_connect_handler;
    }
    std::uint32_t clear_session() override {
        calls.push_back("close");
        return 0;
    }
    void release_connection() override { calls.push_back("release"); }
    void do_hello(const Variables &, HelloHandler handler) override {
        queue("hello", [handler](const BrokerResult &result) { handler(result, {}, {}); });
    }
    void get_authentication_method(AuthHandler handler) override { answer("method", handler); }
    void authenticate_password(std::string_view, std::string_view, std::string_view,
                               AuthHandler handler) override {
        answer("password", handler);
    }
    void authenticate_dialog(std::span<const DialogAnswer> fields, std::string_view,
                             AuthHandler handler) override {
        for (const auto &[id, text, loggable] : fields)
            ((last_answers += id) += '=').append(text) += loggable ? ";" : ", hidden;";
        answer("dialog", handler);
    }
    void authenticate_oauth(std::string_view, AuthHandler handler) override {
        answer("oauth", handler);
    }
    void authenticate_securid(std::string_view user, std::string_view passcode,
                              AuthHandler handler) override {
        answer("securid", handler, {user, passcode});
    }
    void authenticate_securid_token(std::string_view token, AuthHandler handler) override {
        answer("securid token", handler, {token});
    }
    void change_securid_pin(std::string_view token, std::string_view pin, std::string_view again,
                            AuthHandler handler) override {
        answer("securid pin", handler, {token, pin, again});
    }
    void wait_for_securid(AuthHandler handler) override { answer("securid wait", handler); }
    void accept_disclaimer(bool accept, AuthHandler handler) override {
        answer(accept ? "accept" : "reject", handler);
    }
    void update_password(std::string_view, std::string_view, std::string_view, std::string_view,
                         AuthHandler handler) override {
        answer("new password", handler);
    }
    void confirm_certificate(bool, AuthHandler handler) override { answer("confirm", handler); }
    void get_resource_list(DesktopListHandler handler) override {
        queue("list", [handler](const BrokerResult &result) { handler(result, {}); });
    }
    void allocate_resource(std::string_view, const Variables &, AllocationHandler handler,
                           std::chrono::milliseconds timeout) override {
        last_timeout = timeout;
        queue("allocate", [handler](const BrokerResult &result) { handler(result, {}); });
    }
    void perform_operation(std::string_view, eKAVRO_BROKER_DESKTOP_CMD command,
                           OperationHandler handler) override {
        queue("operate",
              [handler, command](const BrokerResult &result) { handler(result, command); });
    }
    void do_logout(LogoutHandler handler) override { queue("bye", handler); }

    void set_signing_function(SigningFunction) override {}
    bool set_client_certificate(X509Handle) override { return true; }
    void set_certificate_extractor(const CertificateExtractor &) override {}
    std::string get_protocol_name() const override { return "Fake"; }
    void enable_ipv6(bool) override {}
    void run_io(bool) override {
        while (!queued_.empty()) {
            const auto ready = std::move(queued_.front());
            queued_.pop_front();
            ready();
        }
    }
    void cancel() override { calls.push_back("cancel"); }
    void set_client_log_id(std::string id) override { log_id = std::move(id); }
    std::string get_client_log_id() const override { return log_id; }
    std::string get_resolved_address() const override { return last_connection.address; }
    void enable_oauth(bool) override {}

private:
    void answer(const std::string &name, const AuthHandler &handler,
                std::initializer_list<std::string_view> arguments = {}) {
        for (const auto argument : arguments)
            (last_answers += argument) += ' ';
        queue(name, [this, handler](const BrokerResult &result) { handler(result, auth); });
    }
    void queue(const std::string &name, std::function<void(const BrokerResult &)> complete) {
        calls.push_back(name);
        queued_.push_back([this, name, complete] {
            if (hooks[name])
                hooks[name]();
            auto &laid_down = results[name];
            if (laid_down.empty())
                return complete({});
            complete(laid_down.front());
            laid_down.pop_front();
        });
    }

    std::deque<std::function<void()>> queued_;
};

/// A handle on a fake client, ready for requests.
struct FakeHandle {
    FakeHandle() {
        handle->create(KAVRO_BROKER_TYPE_DIRECT_HOST, BrokerClientHandle(client));
        handle->address = "broker.test";
        handle->port = "8443";
        handle->auth.method = client->auth.method = AuthMethod::none;
    }
    operator kavro_broker_handle() const { return handle.get(); }

    FakeClient *client = new FakeClient; ///< owned by the handle
    std::unique_ptr<broker_client_impl> handle = std::make_unique<broker_client_impl>();
};

} // namespace kavro
