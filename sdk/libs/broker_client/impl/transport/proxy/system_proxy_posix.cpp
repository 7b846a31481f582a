#include "transport/blocking_call.h"
#include "transport/optional_library_posix.h"
#include "transport/proxy/environment_proxy.h"
#include "transport/proxy/proxy_setting.h"
#include "transport/proxy/system_proxy.h"

#include <cstdlib>

namespace kavro {

namespace {

/// libproxy, which knows the settings of desktops, and runs their scripts.
struct Libproxy {
    struct Factory;

    OptionalLibrary library{"libproxy.so.1"};
    Factory *(*create)() = nullptr;
    char **(*get_proxies)(Factory *, const char *url) = nullptr;
    void (*release)(Factory *) = nullptr;

    Libproxy() {
        library.find("px_proxy_factory_new", create);
        library.find("px_proxy_factory_get_proxies", get_proxies);
        library.find("px_proxy_factory_free", release);
    }
};

/// Never destroyed: a thread that was left behind may use it to the very end.
const Libproxy &libproxy() {
    static const Libproxy &loaded = *new Libproxy;
    return loaded;
}

Expected<ProxyHandle> ask_libproxy(const Peer &server) {
    Libproxy::Factory *const factory = libproxy().create();
    if (factory == nullptr)
        return ProxyHandle();
    char **const texts =
        libproxy().get_proxies(factory, ("https://" + authority_of(server) + "/").c_str());
    std::vector<std::string_view> settings;
    for (char **text = texts; text != nullptr && *text != nullptr; ++text)
        settings.push_back(*text);
    auto proxy = first_usable_proxy(settings);
    for (char **text = texts; text != nullptr && *text != nullptr; ++text)
        std::free(*text);
    std::free(texts);
    libproxy().release(factory);
    return proxy;
}

/// What a desktop knows of its user is for nobody when tickets are not.
ProxyHandle without_log_in(const ProxyHandle &proxy) {
    if (!proxy || std::getenv("KAVRO_BROKER_NO_TICKETS") == nullptr)
        return proxy;
    Proxy bare;
    bare.kind = proxy->kind;
    bare.peer = proxy->peer;
    return std::make_shared<const Proxy>(bare);
}

} // namespace

Expected<ProxyHandle> system_proxy(const Peer &server, Waiter &waiter) {
    const auto decision = proxy_of_environment(server, &std::getenv);
    if (!decision)
        return decision.error();
    if (*decision || !libproxy().library.missing().empty())
        return decision->value_or(nullptr);
    boost::system::error_code error;
    const auto answer = BlockingCall::ask([server] { return ask_libproxy(server); }, waiter, error);
    if (!answer)
        return error.message();
    return *answer ? Expected<ProxyHandle>(without_log_in(**answer)) : *answer;
}

} // namespace kavro
