#include "plugin/view_plugin.h"

#include "handle/fake_client.h"

#include <initializer_list>
#include <stdexcept>

// A plug-in for View brokers, but without a network.

namespace {

using namespace kavro;

ViewPluginState state{.kind = KAVRO_BROKER_TYPE_VIEW};

/// Asks for the next step of SecurID after each.
class ViewClient final : public FakeClient {
public:
    std::uint32_t get_variant() const override { return state.kind; }
    void authenticate_securid(std::string_view user_name, std::string_view passcode,
                              AuthHandler handler) override {
        note({"credentials", user_name, passcode}, AuthMethod::securid_next_token, handler);
    }
    void authenticate_securid_token(std::string_view token, AuthHandler handler) override {
        note({"token", token}, AuthMethod::securid_new_pin, handler);
    }
    void change_securid_pin(std::string_view token, std::string_view new_pin,
                            std::string_view new_pin_again, AuthHandler handler) override {
        note({"pin", token, new_pin, new_pin_again}, AuthMethod::securid_wait, handler);
    }
    void wait_for_securid(AuthHandler handler) override {
        note({"wait"}, AuthMethod::securid, handler);
    }

private:
    void note(std::initializer_list<std::string_view> request, AuthMethod next,
              const AuthHandler &handler) {
        state.request.clear();
        for (const auto word : request)
            state.request.append(state.request.empty() ? "" : " ").append(word);
        auth.method = next;
        answer("securid", handler);
    }
};

} // namespace

extern "C" {

ViewPluginState *view_plugin_state() {
    return &state;
}

iBROKER_CLIENT *CreateViewBrokerClient() {
    if (state.next == ViewPluginState::Next::throwing)
        throw std::runtime_error("no client today");
    if (state.next == ViewPluginState::Next::null)
        return nullptr;
    ++state.made;
    return new ViewClient;
}

void DeleteViewBrokerClient(iBROKER_CLIENT *client) {
    ++state.destroyed;
    delete client;
}

} // extern "C"
