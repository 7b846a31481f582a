#pragma once

#include <compare>
#include <functional>
#include <string>

struct x509_store_ctx_st;

namespace kavro {

/// Where a connection goes to: a host name or a literal address, and a decimal port.
struct Peer {
    std::string host;
    std::string port;
    auto operator<=>(const Peer &) const = default;
};

/// Is asked about each certificate that a server shows, and told what OpenSSL makes of it; false
/// ends the handshake.
using VerifyCallback = std::function<bool(bool trusted, x509_store_ctx_st *certificates)>;

} // namespace kavro
