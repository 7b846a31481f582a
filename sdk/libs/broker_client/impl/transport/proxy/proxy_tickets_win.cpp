#include "transport/proxy/proxy_tickets.h"
#include "utils/src/wide_text_win.h"

#define SECURITY_WIN32
#include <windows.h>

#include <boost/system/error_code.hpp>
#include <security.h>

#include <string>

namespace kavro {

namespace {

/// A text in UTF-16 that is a secret.
using SecureWideText =
    std::basic_string<wchar_t, std::char_traits<wchar_t>, CleansingAllocator<wchar_t>>;

class SspiTokens final : public Tokens {
public:
    SspiTokens(const char *package, const Proxy &proxy)
        : package_(to_wide(package)), service_(to_wide("HTTP/" + proxy.peer.host)), proxy_(proxy) {}

    ~SspiTokens() override {
        if (has_context_)
            DeleteSecurityContext(&context_);
        if (has_credential_)
            FreeCredentialsHandle(&credential_);
    }

    bool are_by_password() const override { return !proxy_.user.empty(); }

    Expected<SecureText> next(const SecureText &received) override {
        if (!has_credential_) {
            if (const SECURITY_STATUS failure = take_credential(); failure != SEC_E_OK)
                return words_of(failure);
            has_credential_ = true;
        }
        SecBuffer input{static_cast<ULONG>(received.size()), SECBUFFER_TOKEN,
                        const_cast<char *>(received.data())};
        SecBufferDesc inputs{SECBUFFER_VERSION, 1, &input};
        SecBuffer output{0, SECBUFFER_TOKEN, nullptr};
        SecBufferDesc outputs{SECBUFFER_VERSION, 1, &output};
        ULONG attributes = 0;
        const SECURITY_STATUS status = InitializeSecurityContextW(
            &credential_, has_context_ ? &context_ : nullptr, service_.data(),
            ISC_REQ_ALLOCATE_MEMORY, 0, SECURITY_NATIVE_DREP, has_context_ ? &inputs : nullptr, 0,
            &context_, &outputs, &attributes, nullptr);
        if (status < 0)
            return words_of(status);
        has_context_ = true;
        return take(output);
    }

private:
    /// The name may be "DOMAIN\NAME". Without one, the user of this machine is meant.
    SECURITY_STATUS take_credential() {
        const std::wstring name = to_wide(proxy_.user);
        const auto domain_end = name.find(L'\\');
        std::wstring domain = name.substr(0, domain_end == name.npos ? 0 : domain_end);
        std::wstring user = name.substr(domain_end == name.npos ? 0 : domain_end + 1);
        SecureWideText password = wide_password();
        SEC_WINNT_AUTH_IDENTITY_W identity{};
        identity.User = text_of(user, identity.UserLength);
        identity.Domain = text_of(domain, identity.DomainLength);
        identity.Password = text_of(password, identity.PasswordLength);
        identity.Flags = SEC_WINNT_AUTH_IDENTITY_UNICODE;
        return AcquireCredentialsHandleW(nullptr, package_.data(), SECPKG_CRED_OUTBOUND, nullptr,
                                         are_by_password() ? &identity : nullptr, nullptr, nullptr,
                                         &credential_, nullptr);
    }

    SecureWideText wide_password() const {
        std::wstring wide = to_wide(proxy_.password);
        const SecureWideText password(wide);
        cleanse(wide.data(), wide.size() * sizeof(wchar_t));
        return password;
    }

    static unsigned short *text_of(auto &text, unsigned long &length) {
        length = static_cast<unsigned long>(text.size());
        return reinterpret_cast<unsigned short *>(text.data());
    }

    static SecureText take(const SecBuffer &output) {
        if (output.pvBuffer == nullptr)
            return {};
        SecureText token(static_cast<const char *>(output.pvBuffer), output.cbBuffer);
        cleanse(output.pvBuffer, output.cbBuffer);
        FreeContextBuffer(output.pvBuffer);
        return token;
    }

    static std::string words_of(SECURITY_STATUS status) {
        return boost::system::error_code(status, boost::system::system_category()).message();
    }

    std::wstring package_, service_;
    const Proxy proxy_;
    CredHandle credential_{};
    CtxtHandle context_{};
    bool has_credential_ = false, has_context_ = false;
};

} // namespace

std::unique_ptr<Tokens> blocking_system_tokens(const char *scheme, const Proxy &proxy) {
    return std::make_unique<SspiTokens>(scheme, proxy);
}

} // namespace kavro
