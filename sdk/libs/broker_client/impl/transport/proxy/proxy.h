#pragma once

#include "transport/peer.h"
#include "utils/src/secure_text.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kavro {

enum class ProxyKind {
    system, ///< what the machine is set to
    http,
    https,
    socks5, ///< names are looked up here
    socks5h ///< names are looked up by the proxy
};

/// A way to a server through somebody else.
struct Proxy {
    Proxy() = default;
    Proxy(const Proxy &) = default;
    Proxy &operator=(const Proxy &) = default;
    ~Proxy() { wipe(password); }

    ProxyKind kind = ProxyKind::system;
    Peer peer;        ///< none for the system's
    std::string user; ///< empty: no log-in is known
    SecureText password;
};

/// Null: none.
using ProxyHandle = std::shared_ptr<const Proxy>;

/// As "http".
const char *name_of(ProxyKind kind);

/// Reads "", "none", "system" or "KIND://HOST:PORT", an IPv6 address in brackets; nothing for
/// anything else. `user` and `password` may be null.
std::optional<ProxyHandle> parse_proxy(std::string_view text, const char *user,
                                       const char *password);

/// Reads "KIND://HOST:PORT"; nothing for anything else.
std::optional<Proxy> parse_proxy_url(std::string_view text);

/// "HOST:PORT", an IPv6 address in brackets and without its zone, which is this machine's business
/// alone (RFC 6874 section 1).
std::string authority_of(const Peer &peer);

/// The proxy of all that belongs to no handle.
void set_common_proxy(ProxyHandle proxy);
ProxyHandle common_proxy();

} // namespace kavro
