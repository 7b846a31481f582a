#include "broker_factory.h"

#include "kavro/src/kavro_broker_client.h"
#include "kavro_broker.h"
#include "plugin_loader.h"
#include "utils/src/assertion.h"

namespace kavro {

namespace {

using CreateClient = iBROKER_CLIENT *();
using DeleteClient = void(iBROKER_CLIENT *);

/// The entry points of the plug-in that serves View brokers: both or none.
struct ViewPlugin {
    CreateClient *create_client = nullptr;
    DeleteClient *delete_client = nullptr;
};

/// A plug-in that is good for something stays loaded: clients may live as long as the process.
ViewPlugin load_view_plugin() noexcept {
    try {
        const std::string path = plugin_path(executable_path(), plugin_naming);
        if (path.empty())
            return {};
        PluginLibrary library(path);
        const ViewPlugin plugin{library.find<CreateClient>("CreateViewBrokerClient"),
                                library.find<DeleteClient>("DeleteViewBrokerClient")};
        if (plugin.create_client == nullptr || plugin.delete_client == nullptr)
            return {};
        library.keep();
        return plugin;
    } catch (...) {
        return {};
    }
}

const ViewPlugin &view_plugin() {
    static const ViewPlugin plugin = load_view_plugin();
    return plugin;
}

/// Hands out a client only when its kind can be told, and destroyed, later.
iBROKER_CLIENT *create_view_client(const ViewPlugin &plugin) {
    if (plugin.create_client == nullptr)
        return nullptr;
    try {
        std::unique_ptr<iBROKER_CLIENT, DeleteClient *> client(plugin.create_client(),
                                                               plugin.delete_client);
        const bool usable = client != nullptr && client->get_variant() == KAVRO_BROKER_TYPE_VIEW;
        return usable ? client.release() : nullptr;
    } catch (...) {
        return nullptr;
    }
}

} // namespace

iBROKER_CLIENT *cBROKER_FACTORY::create(int variant) {
    const ViewPlugin &plugin = view_plugin();
    switch (variant) {
    case own_protocol:
        return new cKAVRO_BROKER_CLIENT;
    case view:
        return create_view_client(plugin);
    default:
        return nullptr;
    }
}

void cBROKER_FACTORY::destroy(iBROKER_CLIENT *client) {
    constexpr const char *function = "cBROKER_FACTORY::destroy";
    switch (client->get_variant()) {
    case KAVRO_BROKER_TYPE_DIRECT_HOST:
        delete client;
        break;
    case KAVRO_BROKER_TYPE_KAVRO:
        // One that answers differently when asked again is not the library's own.
        broker_assert(client->get_variant() == KAVRO_BROKER_TYPE_KAVRO, function);
        delete client;
        break;
    case KAVRO_BROKER_TYPE_VIEW:
        broker_assert(view_plugin().delete_client != nullptr, function);
        view_plugin().delete_client(client);
        break;
    default:
        broker_assert_failed(function);
    }
}

} // namespace kavro
