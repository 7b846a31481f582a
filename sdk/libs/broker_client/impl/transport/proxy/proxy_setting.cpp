#include "transport/proxy/proxy_setting.h"

#include "utils/src/ascii.h"

#include <algorithm>
#include <charconv>
#include <tuple>
#include <vector>

namespace kavro {

namespace {

constexpr const char *none_is_usable = "the proxy that this machine is set to cannot be used";

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

std::vector<std::string_view> words_of(std::string_view list) {
    std::vector<std::string_view> words;
    while (!list.empty()) {
        const std::string_view word = list.substr(0, list.find_first_of("; \t\r\n"));
        if (!word.empty())
            words.push_back(word);
        list.remove_prefix(std::min(word.size() + 1, list.size()));
    }
    return words;
}

/// Whether a pattern, in which "*" stands for anything, is that of the text. What follows the last
/// star may begin anywhere.
bool matches(std::string_view pattern, std::string_view text) {
    std::optional<std::pair<std::string_view, std::string_view>> behind_star;
    while (true) {
        if (pattern.starts_with('*')) {
            pattern.remove_prefix(1);
            behind_star = {pattern, text};
        } else if (pattern.empty() && text.empty()) {
            return true;
        } else if (ascii::equal_ignoring_case(pattern.substr(0, 1), text.substr(0, 1))) {
            pattern.remove_prefix(1);
            text.remove_prefix(1);
        } else if (behind_star && !behind_star->second.empty()) {
            behind_star->second.remove_prefix(1);
            std::tie(pattern, text) = *behind_star;
        } else {
            return false;
        }
    }
}

} // namespace

std::optional<Proxy> parse_proxy_setting(std::string_view text) {
    constexpr std::string_view mark = "://";
    const auto scheme_end = text.find(mark);
    const bool has_scheme = scheme_end != text.npos;
    std::string url(has_scheme ? text.substr(0, scheme_end) : "http");
    text.remove_prefix(has_scheme ? scheme_end + mark.size() : 0);
    const auto at = text.rfind('@');
    const std::string_view user_info = text.substr(0, at == text.npos ? 0 : at);
    text.remove_prefix(at == text.npos ? 0 : at + 1);
    if (text.ends_with('/'))
        text.remove_suffix(1);

    auto proxy = parse_proxy_url(url.append(mark).append(text));
    if (!proxy || user_info.empty())
        return proxy;
    const auto colon = std::min(user_info.find(':'), user_info.size());
    proxy->user = percent_decoded(user_info.substr(0, colon));
    if (colon != user_info.size())
        proxy->password = percent_decoded(user_info.substr(colon + 1));
    return proxy;
}

Expected<ProxyHandle> first_usable_proxy(std::span<const std::string_view> settings) {
    for (const std::string_view setting : settings) {
        if (ascii::starts_ignoring_case(setting, "direct:"))
            return ProxyHandle();
        constexpr std::string_view socks = "socks://"; // any version
        const auto proxy =
            ascii::starts_ignoring_case(setting, socks)
                ? parse_proxy_setting("socks5://" + std::string(setting.substr(socks.size())))
                : parse_proxy_setting(setting);
        if (proxy)
            return std::make_shared<const Proxy>(*proxy);
    }
    if (settings.empty())
        return ProxyHandle();
    return none_is_usable;
}

Expected<ProxyHandle> proxy_of_windows(std::string_view list) {
    constexpr std::string_view ours = "https=";
    std::vector<std::string_view> settings;
    for (std::string_view word : words_of(list)) {
        if (ascii::starts_ignoring_case(word, ours))
            word.remove_prefix(ours.size());
        if (word.find('=') == word.npos)
            settings.push_back(word);
    }
    return first_usable_proxy(settings);
}

bool windows_excepts(std::string_view list, std::string_view host) {
    return std::ranges::any_of(words_of(list), [host](std::string_view word) {
        return word == "<local>" ? host.find('.') == host.npos : matches(word, host);
    });
}

} // namespace kavro
