#include "transport/proxy/environment_proxy.h"

#include "utils/src/ascii.h"

#include <algorithm>
#include <charconv>

namespace kavro {

namespace {

/// The name in lower case, when set, hides the other, even when empty.
const char *either(const Environment &environment, const char *lower, const char *upper) {
    const char *const value = environment(lower);
    return value != nullptr ? value : environment(upper);
}

std::string_view without_blanks(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// RFC 3986 section 2.1.
SecureText percent_decoded(std::string_view text) {
    constexpr std::size_t digits = 2;
    SecureText decoded;
    decoded.reserve(text.size() + sizeof(SecureText)); // more than fits into the object itself
    while (!text.empty()) {
        unsigned char byte = 0;
        const std::string_view number = text.substr(1, digits);
        const auto [end, error] =
            std::from_chars(number.data(), number.data() + number.size(), byte, 16);
        const bool escaped = text.front() == '%' && number.size() == digits &&
                             error == std::errc() && end == number.data() + digits;
        decoded += escaped ? static_cast<char>(byte) : text.front();
        text.remove_prefix(escaped ? 1 + digits : 1);
    }
    return decoded;
}

std::optional<Proxy> parse_value(std::string_view value) {
    constexpr std::string_view mark = "://";
    const auto scheme_end = value.find(mark);
    const bool has_scheme = scheme_end != value.npos;
    std::string url(has_scheme ? value.substr(0, scheme_end) : "http");
    value.remove_prefix(has_scheme ? scheme_end + mark.size() : 0);
    const auto at = value.rfind('@');
    const std::string_view user_info = value.substr(0, at == value.npos ? 0 : at);
    value.remove_prefix(at == value.npos ? 0 : at + 1);
    if (value.ends_with('/'))
        value.remove_suffix(1);

    auto proxy = parse_proxy_url(url.append(mark).append(value));
    if (!proxy || user_info.empty())
        return proxy;
    const auto colon = std::min(user_info.find(':'), user_info.size());
    proxy->user = percent_decoded(user_info.substr(0, colon));
    if (colon != user_info.size())
        proxy->password = percent_decoded(user_info.substr(colon + 1));
    return proxy;
}

bool names(std::string_view entry, std::string_view host) {
    if (entry == "*")
        return true;
    if (entry.starts_with('.'))
        entry.remove_prefix(1);
    if (entry.empty() || entry.size() > host.size() ||
        !ascii::equal_ignoring_case(host.substr(host.size() - entry.size()), entry))
        return false;
    return host.size() == entry.size() || host[host.size() - entry.size() - 1] == '.';
}

} // namespace

bool names_host(std::string_view list, std::string_view host) {
    while (!list.empty()) {
        const std::string_view entry = list.substr(0, list.find(','));
        if (names(without_blanks(entry), host))
            return true;
        list.remove_prefix(std::min(entry.size() + 1, list.size()));
    }
    return false;
}

Expected<std::optional<ProxyHandle>> proxy_of_environment(const Peer &server,
                                                          const Environment &environment) {
    using Decision = std::optional<ProxyHandle>;
    const char *const exceptions = either(environment, "no_proxy", "NO_PROXY");
    if (exceptions != nullptr && names_host(exceptions, server.host))
        return Decision(ProxyHandle());
    const char *const value = either(environment, "https_proxy", "HTTPS_PROXY");
    if (value == nullptr)
        return Decision();
    if (*value == '\0')
        return Decision(ProxyHandle());
    const auto proxy = parse_value(value);
    if (!proxy)
        return "the value of https_proxy cannot be used";
    return Decision(std::make_shared<const Proxy>(*proxy));
}

} // namespace kavro
