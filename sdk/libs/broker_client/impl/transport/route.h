#pragma once

#include "transport/peer.h"
#include "transport/proxy/proxy.h"

#include <boost/system/error_code.hpp>

#include <functional>
#include <string>

struct ssl_ctx_st;

namespace kavro {

/// How connections get to their servers.
struct Route {
    ProxyHandle proxy;
    // To a proxy that speaks TLS.
    ssl_ctx_st *tls = nullptr;
    /// Who is asked about the certificates of a proxy of that name; null: nobody.
    std::function<VerifyCallback(const std::string &host)> judge_of;
    /// The word of the one who was asked, after the handshake.
    std::function<bool()> accepted = [] { return true; };
};

/// What goes wrong on the way through a proxy, but for a deadline and a cancel.
enum class ProxyError { failed = 1, log_in_wanted, certificate };

const boost::system::error_category &proxy_category();

inline boost::system::error_code make_error_code(ProxyError error) {
    return {static_cast<int>(error), proxy_category()};
}

} // namespace kavro

template <>
struct boost::system::is_error_code_enum<kavro::ProxyError> : std::true_type {};
