#pragma once

#include "utils/src/secure_text.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace kavro {

/// An address text that is longer than this does not parse.
inline constexpr std::size_t max_address_length = 2048;

/// Splits a broker address: host name, IPv4 or IPv6 address, the latter with or without brackets;
/// optionally with scheme, port and path. An IPv6 address leaves `port` alone unless it brings one
/// and its port is checked; anything else overwrites all outputs, with empty text where the address
/// does not say, and its port is whatever digits stand there.
bool parse_uri(std::string_view uri, std::string &hostname, std::string &port,
               std::string &protocol);

/// A broker's address as a caller gave it. A text that is none is all host.
struct GivenAddress {
    std::string host; ///< without brackets
    std::string port; ///< empty when the address names none
    bool plain_http = false;

    /// As a URL has it, with that port where the address names none: an IPv6 address in brackets
    /// (RFC 3986 section 3.2.2).
    std::string authority(const std::string &default_port) const;
};

/// Takes apart a host name or address; an IPv6 address may stand in brackets, a port follow it or
/// the name, "https://" stand before and a slash behind.
GivenAddress split_address(std::string_view text);

/// Why "http://" is refused.
inline constexpr const char *plain_http_refused =
    "The broker's address begins with \"http://\", but brokers are asked over HTTPS only.";

/// Whether the text is an IPv6 address without brackets; a zone ("%eth0") may follow.
bool is_ipv6_address(std::string_view address);

/// Whether the text is an IPv4 address in four decimal numbers, or an IPv6 address as above.
bool is_ip_address(std::string_view text);

/// Whether the text begins with a decimal number below 65536, blanks before it aside.
bool is_valid_port(std::string_view port);

/// Whether the text is such a number and nothing else.
bool is_port_number(std::string_view text);

/// Whether a host may stand in a request's head and in a TLS handshake: it holds nothing that could
/// end or split either, and no brackets, which are left of an IPv6 address that does not parse.
bool is_usable_host(std::string_view host);

/// Replaces the five XML special characters, so that any text can stand inside a request.
std::string escape_xml(std::string_view text);
void append_escaped_xml(std::string &out, std::string_view text);
void append_escaped_xml(SecureText &out, std::string_view text);

} // namespace kavro
