#include "transport/proxy/environment_proxy.h"

#include "transport/proxy/proxy_setting.h"
#include "utils/src/ascii.h"

#include <algorithm>

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
    const auto proxy = parse_proxy_setting(value);
    if (!proxy)
        return "the value of https_proxy cannot be used";
    return Decision(std::make_shared<const Proxy>(*proxy));
}

} // namespace kavro
