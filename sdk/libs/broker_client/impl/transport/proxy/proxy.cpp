#include "transport/proxy/proxy.h"

#include "utils/src/ascii.h"
#include "utils/src/broker_utils.h"

#include <algorithm>
#include <mutex>

namespace kavro {

namespace {

struct KindRow {
    ProxyKind kind;
    const char *name;
};

constexpr KindRow kinds[] = {
    {ProxyKind::http, "http"},
    {ProxyKind::https, "https"},
    {ProxyKind::socks5, "socks5"},
    {ProxyKind::socks5h, "socks5h"},
};

std::optional<Peer> parse_authority(std::string_view text) {
    const auto colon = text.rfind(':');
    if (colon == text.npos || !is_port_number(text.substr(colon + 1)))
        return std::nullopt;
    std::string_view host = text.substr(0, colon);
    const bool bracketed = host.starts_with('[') && host.ends_with(']');
    if (bracketed)
        host = host.substr(1, host.size() - 2);
    const bool usable =
        bracketed ? is_ipv6_address(host) : is_usable_host(host) && host.find(':') == host.npos;
    return usable ? std::optional(Peer{std::string(host), std::string(text.substr(colon + 1))})
                  : std::nullopt;
}

std::mutex common_proxy_mutex;
ProxyHandle the_common_proxy;

} // namespace

const char *name_of(ProxyKind kind) {
    const auto *const row = std::ranges::find(kinds, kind, &KindRow::kind);
    return row != std::end(kinds) ? row->name : "system";
}

std::optional<Proxy> parse_proxy_url(std::string_view text) {
    const auto end = text.find("://");
    if (end == text.npos || text.size() > max_address_length)
        return std::nullopt;
    const auto *const row = std::ranges::find_if(kinds, [&](const KindRow &known) {
        return ascii::equal_ignoring_case(text.substr(0, end), known.name);
    });
    auto peer = parse_authority(text.substr(end + 3));
    if (row == std::end(kinds) || !peer)
        return std::nullopt;
    Proxy proxy;
    proxy.kind = row->kind;
    proxy.peer = std::move(*peer);
    return proxy;
}

std::optional<ProxyHandle> parse_proxy(std::string_view text, const char *user,
                                       const char *password) {
    if (text.empty() || text == "none")
        return ProxyHandle();
    auto proxy = text == "system" ? std::optional(Proxy()) : parse_proxy_url(text);
    if (!proxy)
        return std::nullopt;
    if (user != nullptr)
        proxy->user = user;
    if (password != nullptr)
        proxy->password = password;
    return std::make_shared<const Proxy>(*proxy);
}

std::string authority_of(const Peer &peer) {
    if (!is_ipv6_address(peer.host))
        return peer.host + ":" + peer.port;
    return "[" + peer.host.substr(0, peer.host.find('%')) + "]:" + peer.port;
}

void set_common_proxy(ProxyHandle proxy) {
    const std::lock_guard lock(common_proxy_mutex);
    the_common_proxy.swap(proxy);
}

ProxyHandle common_proxy() {
    const std::lock_guard lock(common_proxy_mutex);
    return the_common_proxy;
}

} // namespace kavro
