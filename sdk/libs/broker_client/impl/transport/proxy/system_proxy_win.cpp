#include "transport/blocking_call.h"
#include "transport/proxy/proxy_setting.h"
#include "transport/proxy/system_proxy.h"
#include "utils/src/wide_text_win.h"

#include <windows.h>

#include <winhttp.h>

namespace kavro {

namespace {

/// A text that WinHTTP has made; null for none.
class MadeText {
public:
    ~MadeText() { GlobalFree(text_); }
    MadeText() = default;
    MadeText(const MadeText &) = delete;
    MadeText &operator=(const MadeText &) = delete;

    LPWSTR *room() { return &text_; }
    LPWSTR get() const { return text_; }
    std::string text() const { return text_ != nullptr ? to_utf8(text_) : std::string(); }

private:
    LPWSTR text_ = nullptr;
};

struct Session {
    HINTERNET handle = WinHttpOpen(L"", WINHTTP_ACCESS_TYPE_NO_PROXY, WINHTTP_NO_PROXY_NAME,
                                   WINHTTP_NO_PROXY_BYPASS, 0);
    Session() = default;
    ~Session() {
        if (handle != nullptr)
            WinHttpCloseHandle(handle);
    }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
};

using Answer = Expected<ProxyHandle>;

Answer proxy_in(const std::string &list, const std::string &exceptions, const Peer &server) {
    return windows_excepts(exceptions, server.host) ? ProxyHandle() : proxy_of_windows(list);
}

Answer proxy_in(WINHTTP_PROXY_INFO &info, const Peer &server) {
    MadeText list, exceptions;
    *list.room() = info.lpszProxy;
    *exceptions.room() = info.lpszProxyBypass;
    if (info.dwAccessType != WINHTTP_ACCESS_TYPE_NAMED_PROXY)
        return ProxyHandle();
    return proxy_in(list.text(), exceptions.text(), server);
}

/// What a script says.
/// @param url where it is; null to have the network asked.
std::optional<Answer> ask_script(LPCWSTR url, const Peer &server) {
    const Session session;
    WINHTTP_AUTOPROXY_OPTIONS options{};
    options.dwFlags = url != nullptr ? WINHTTP_AUTOPROXY_CONFIG_URL : WINHTTP_AUTOPROXY_AUTO_DETECT;
    options.lpszAutoConfigUrl = url;
    options.dwAutoDetectFlags =
        url != nullptr ? 0 : WINHTTP_AUTO_DETECT_TYPE_DHCP | WINHTTP_AUTO_DETECT_TYPE_DNS_A;
    options.fAutoLogonIfChallenged = FALSE;
    WINHTTP_PROXY_INFO info{};
    const std::wstring target = to_wide("https://" + authority_of(server) + "/");
    if (!WinHttpGetProxyForUrl(session.handle, target.c_str(), &options, &info))
        return std::nullopt;
    return proxy_in(info, server);
}

/// A script that is looked for and not found is none; one that is named must be there.
Answer ask_windows(const Peer &server) {
    MadeText script, list, exceptions;
    WINHTTP_CURRENT_USER_IE_PROXY_CONFIG user{};
    if (WinHttpGetIEProxyConfigForCurrentUser(&user)) {
        *script.room() = user.lpszAutoConfigUrl;
        *list.room() = user.lpszProxy;
        *exceptions.room() = user.lpszProxyBypass;
    }
    if (user.fAutoDetect)
        if (auto answer = ask_script(nullptr, server))
            return *answer;
    if (script.get() != nullptr)
        return ask_script(script.get(), server)
            .value_or(Answer("the script that chooses this machine's proxy cannot be used"));
    if (list.get() != nullptr)
        return proxy_in(list.text(), exceptions.text(), server);
    WINHTTP_PROXY_INFO machine{};
    return WinHttpGetDefaultProxyConfiguration(&machine) ? proxy_in(machine, server)
                                                         : ProxyHandle();
}

} // namespace

Expected<ProxyHandle> system_proxy(const Peer &server, Waiter &waiter) {
    boost::system::error_code error;
    const auto answer = BlockingCall::ask([server] { return ask_windows(server); }, waiter, error);
    return answer ? *answer : Expected<ProxyHandle>(error.message());
}

} // namespace kavro
