#include "plugin/view_plugin.h"

#include "handle/fake_client.h"

#include <stdexcept>

// A plug-in for View brokers, but without a network.

namespace {

using namespace kavro;

ViewPluginState state{.kind = KAVRO_BROKER_TYPE_VIEW};

class ViewClient final : public FakeClient {
public:
    std::uint32_t get_variant() const override { return state.kind; }
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
