#include "broker.h"
#include "broker_sim.h"
#include "https_server.h"
#include "rule_list.h"
#include "server_tls.h"

#include <condition_variable>
#include <fstream>
#include <mutex>
#include <stdexcept>

namespace broker_sim {
namespace {

constexpr std::string_view broker_target = "/kavro-broker/xml";

/// The HTTP side of a refusal that never reaches the broker; 0 when there is none.
unsigned http_refusal(const HttpRequest &request) {
    if (!request.well_formed)
        return 400;
    if (request.target != broker_target)
        return 404;
    return request.method == "POST" ? 0 : 405;
}

bool replaces_the_answer(const Override &scripted) {
    return scripted.raw || scripted.body || !scripted.result_id.empty() ||
           !scripted.error_id.empty();
}

std::string scripted_body(const Override &scripted, const std::string &kind,
                          std::string_view version) {
    if (scripted.body)
        return *scripted.body;
    if (!scripted.result_id.empty())
        return answer_document(version, kind + "-resp", [&](XmlWriter &xml) {
            write_result(xml, scripted.result_id, scripted.result_str);
        });
    return error_document(version, {scripted.error_id, scripted.result_str, scripted.err_detail},
                          scripted.detected_by);
}

} // namespace

/// What the server's thread and the callers share, under one lock.
class Simulator::Impl final : public Service {
public:
    explicit Impl(Scenario scenario)
        : broker(std::move(scenario)),
          faults(broker.scenario().faults),
          overrides(broker.scenario().overrides),
          server(broker.scenario().address, broker.scenario().port, server_tls(broker.scenario()),
                 *this) {}

    bool refuses_to_accept() override {
        const std::lock_guard lock(mutex);
        return fault_at(Stage::accept, "", connections + 1).ending == Ending::stall;
    }

    Connection accept() override {
        const std::lock_guard lock(mutex);
        ++connections;
        changed.notify_all();
        return {connections, fault_at(Stage::handshake, "", connections)};
    }

    Reply answer(unsigned connection, const HttpRequest &request) override {
        const std::lock_guard lock(mutex);
        const Reading reading = read(request.body);
        const std::string &kind = reading.message.kind;
        requests.push_back({connection, kind, request.head, request.body});
        changed.notify_all();

        const Override scripted =
            overrides.find(kind, connection, [](const Override &) { return true; });
        HttpAnswer answer = replaces_the_answer(scripted) ? scripted_answer(scripted, kind)
                                                          : own_answer(request, reading);
        if (scripted.status)
            answer.status = scripted.status;
        answer.headers.insert(answer.headers.end(), scripted.headers.begin(),
                              scripted.headers.end());
        return {std::move(answer), fault_at(Stage::response, kind, connection)};
    }

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    Broker broker;
    RuleList<Fault> faults;
    RuleList<Override> overrides;
    unsigned connections = 0;
    std::vector<RecordedRequest> requests;
    HttpsServer server; ///< the last, because its thread uses all of the above

private:
    /// What a request body is: a message, or the reason why it is none.
    struct Reading {
        Message message{};
        std::optional<ProtocolError> error{};
    };

    static Reading read(const std::string &body) {
        try {
            return {read_message(body)};
        } catch (const ProtocolError &error) {
            return {{}, error};
        }
    }

    Fault fault_at(Stage stage, std::string_view kind, unsigned connection) {
        return faults.find(kind, connection,
                           [=](const Fault &fault) { return fault.stage == stage; });
    }

    HttpAnswer scripted_answer(const Override &scripted, const std::string &kind) const {
        return {.body = scripted_body(scripted, kind, broker.scenario().broker.version),
                .raw = scripted.raw};
    }

    HttpAnswer own_answer(const HttpRequest &request, const Reading &reading) {
        if (const unsigned status = http_refusal(request))
            return {.status = status};
        if (reading.error)
            return {.body = broker.refusal(*reading.error)};
        BrokerAnswer answer =
            broker.answer(reading.message, request.cookie(broker.scenario().session_cookie));
        HttpAnswer http{.body = std::move(answer.body)};
        if (!answer.set_cookie.empty())
            http.headers.emplace_back("Set-Cookie", answer.set_cookie);
        return http;
    }
};

Simulator::Simulator(Scenario scenario) : impl_(std::make_unique<Impl>(std::move(scenario))) {}
Simulator::~Simulator() = default;

std::string Simulator::address() const {
    return impl_->server.endpoint().address().to_string();
}

std::uint16_t Simulator::port() const {
    return impl_->server.endpoint().port();
}

const std::string &Simulator::ca_pem() const {
    static const std::string pem = process_ca().certificate_pem();
    return pem;
}

void Simulator::write_ca(const std::filesystem::path &path) const {
    std::ofstream file(path, std::ios::binary);
    if (!(file << ca_pem() << std::flush))
        throw std::runtime_error("cannot write " + path.string());
}

unsigned Simulator::connections() const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->connections;
}

std::vector<RecordedRequest> Simulator::requests() const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->requests;
}

Variables Simulator::client_to_broker_variables() const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->broker.state().client_to_broker;
}

Variables Simulator::client_to_agent_variables() const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->broker.state().client_to_agent;
}

void Simulator::clear_recording() {
    const std::lock_guard lock(impl_->mutex);
    impl_->requests.clear();
    impl_->broker.state().client_to_broker.clear();
    impl_->broker.state().client_to_agent.clear();
}

bool Simulator::wait_for_requests(std::size_t count, std::chrono::milliseconds limit) const {
    std::unique_lock lock(impl_->mutex);
    return impl_->changed.wait_for(lock, limit, [&] { return impl_->requests.size() >= count; });
}

bool Simulator::wait_for_connections(unsigned count, std::chrono::milliseconds limit) const {
    std::unique_lock lock(impl_->mutex);
    return impl_->changed.wait_for(lock, limit, [&] { return impl_->connections >= count; });
}

void Simulator::inject(Fault fault) {
    const bool at_accept = fault.stage == Stage::accept;
    {
        const std::lock_guard lock(impl_->mutex);
        impl_->faults.add(std::move(fault));
    }
    if (at_accept)
        impl_->server.reconsider_accepting();
}

void Simulator::set_override(Override answer) {
    const std::lock_guard lock(impl_->mutex);
    impl_->overrides.add(std::move(answer));
}

void Simulator::clear_faults() {
    const std::lock_guard lock(impl_->mutex);
    impl_->faults.clear();
    impl_->overrides.clear();
}

std::string Simulator::desktop_state(std::string_view id) const {
    const std::lock_guard lock(impl_->mutex);
    if (const DesktopState *const desktop = impl_->broker.state().find_desktop(id))
        return desktop->power;
    throw std::out_of_range("no desktop " + std::string(id));
}

} // namespace broker_sim
