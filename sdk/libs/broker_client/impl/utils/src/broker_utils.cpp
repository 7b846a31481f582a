#include "utils/src/broker_utils.h"

#include "utils/src/broker_log.h"

#include <boost/asio/ip/address_v6.hpp> // brings in inet_pton on every platform
#include <boost/regex.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <stdexcept>

namespace kavro {
namespace {

using TextMatch = boost::match_results<std::string_view::const_iterator>;

/// Whole-text match. Never throws: a text that takes too long to decide does not match.
bool matches(std::string_view text, TextMatch &groups, const boost::regex &expression) {
    try {
        return boost::regex_match(text.begin(), text.end(), groups, expression,
                                  boost::match_not_dot_newline);
    } catch (const std::runtime_error &) {
        return false;
    }
}

/// The system's own reading of an address, which by itself would end at a zero byte.
template <int family>
bool is_inet(std::string_view text) {
    in6_addr address; // the larger of the two
    return text.find('\0') == std::string_view::npos &&
           ::inet_pton(family, std::string(text).c_str(), &address) == 1;
}

/// Takes the brackets off "[host]". An opening one alone is an error.
bool strip_brackets(std::string &host) {
    if (!host.starts_with('['))
        return true;
    if (!host.ends_with(']'))
        return false;
    host = host.substr(1, host.size() - 2);
    return true;
}

void log_success(const char *form, const std::string &hostname, const std::string &port,
                 const std::string &protocol) {
    log_debug("%s parsed successfully. Output: hostname (%s), port (%s), protocol (%s)", form,
              printable(hostname).c_str(), printable(port).c_str(), printable(protocol).c_str());
}

/// Sets the protocol before it looks at the address, whatever comes of that.
bool parse_ipv6_uri(std::string_view uri, std::string &hostname, std::string &port,
                    std::string &protocol) {
    static const boost::regex uri_form(R"((\s*)(([^:\/?]+)://)?(([^\/^\s?]*))?(/)?(\s)*)");
    static const boost::regex host_and_port_form(R"((^\[)(.*)(\])(:)([0-9]*))");

    TextMatch groups;
    if (!matches(uri, groups, uri_form))
        return false;
    protocol = groups.str(3);

    std::string host = groups.str(5);
    TextMatch host_groups;
    const std::string authority = host;
    if (matches(authority, host_groups, host_and_port_form)) {
        host = host_groups.str(2);
        if (!is_valid_port(host_groups.str(5)))
            return false;
        port = host_groups.str(5);
    } else if (!strip_brackets(host)) {
        return false;
    }
    if (!is_ipv6_address(host))
        return false;
    hostname = host;
    log_success("IPv6 address", hostname, port, protocol);
    return true;
}

bool parse_ipv4_or_name_uri(std::string_view uri, std::string &hostname, std::string &port,
                            std::string &protocol) {
    static const boost::regex uri_form(R"(^((http|https)://)?([^:]*)(:([0-9]*))?.*)");

    TextMatch groups;
    if (!matches(uri, groups, uri_form))
        return false;
    protocol = groups.str(2);
    hostname = groups.str(3);
    port = groups.str(5);
    log_success("IPv4/FQDN", hostname, port, protocol);
    return true;
}

const char *xml_entity(char c) {
    switch (c) {
    case '"':
        return "&quot;";
    case '&':
        return "&amp;";
    case '\'':
        return "&apos;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    default:
        return nullptr;
    }
}

template <class Text>
void append_escaped(Text &out, std::string_view text) {
    for (const char c : text) {
        if (const char *entity = xml_entity(c))
            out += entity;
        else
            out += c;
    }
}

} // namespace

bool parse_uri(std::string_view uri, std::string &hostname, std::string &port,
               std::string &protocol) {
    log_info("parse_uri (%s). Input: hostname (%s), port (%s), protocol (%s)",
             printable(uri).c_str(), printable(hostname).c_str(), printable(port).c_str(),
             printable(protocol).c_str());
    if (uri.size() > max_address_length)
        return false;
    return parse_ipv6_uri(uri, hostname, port, protocol) ||
           parse_ipv4_or_name_uri(uri, hostname, port, protocol);
}

bool is_ipv6_address(std::string_view address) {
    const auto zone = address.find('%');
    if (zone == std::string_view::npos)
        return is_inet<AF_INET6>(address);
    const bool names_one_zone =
        !address.ends_with('%') && address.find('%', zone + 1) == std::string_view::npos;
    return names_one_zone && is_inet<AF_INET6>(address.substr(0, zone));
}

bool is_ip_address(std::string_view text) {
    return is_inet<AF_INET>(text) || is_ipv6_address(text);
}

GivenAddress split_address(std::string_view text) {
    static const boost::regex form(R"((?:http(s?)://)?(?:\[(.*)\]|([^\[\]:/]*))(?::([0-9]+))?/?)",
                                   boost::regex::icase);
    TextMatch groups;
    const bool bare = is_ipv6_address(text) || text.size() > max_address_length;
    if (bare || !matches(text, groups, form) ||
        (groups[2].matched && !is_ipv6_address(groups.str(2))))
        return {std::string(text), {}, false};
    return {groups.str(groups[2].matched ? 2 : 3), groups.str(4),
            groups[1].matched && groups.length(1) == 0};
}

std::string GivenAddress::authority(const std::string &default_port) const {
    const std::string &which = port.empty() ? default_port : port;
    return (is_ipv6_address(host) ? "[" + host + "]" : host) + (which.empty() ? "" : ":") + which;
}

bool is_valid_port(std::string_view port) {
    constexpr std::string_view white_space = " \t\n\v\f\r";
    port.remove_prefix(std::min(port.find_first_not_of(white_space), port.size()));

    uint16_t value = 0;
    const auto conversion = std::from_chars(port.data(), port.data() + port.size(), value);
    if (conversion.ec == std::errc())
        return true;
    broker_log(LogCategory::general, LogSeverity::info, generic_error,
               "Invalid port. Exception [%s]",
               conversion.ec == std::errc::invalid_argument ? "invalid stoul argument"
                                                            : "stoul argument out of range");
    return false;
}

bool is_port_number(std::string_view text) {
    uint16_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end;
}

bool is_usable_host(std::string_view host) {
    constexpr std::string_view refused = "/?#@[]";
    return !host.empty() && std::ranges::none_of(host, [refused](unsigned char c) {
        return c <= 0x20 || c == 0x7F || refused.find(static_cast<char>(c)) != refused.npos;
    });
}

std::string escape_xml(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    append_escaped_xml(escaped, text);
    return escaped;
}

void append_escaped_xml(std::string &out, std::string_view text) {
    append_escaped(out, text);
}

void append_escaped_xml(SecureText &out, std::string_view text) {
    append_escaped(out, text);
}

} // namespace kavro
