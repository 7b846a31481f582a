#include "transport/optional_library_posix.h"
#include "transport/proxy/proxy_tickets.h"

#include <cstdint>
#include <string_view>

// GSSAPI, which is asked for by the first proxy that wants a ticket.

namespace kavro {

namespace {

// What is used of the interface, as RFC 2744 has it; to log in with a password is an extension that
// the usual libraries have in common.
using Status = std::uint32_t;
struct Bytes {
    std::size_t length;
    void *value;
};
struct ObjectId {
    std::uint32_t length;
    const void *elements;
};
struct ObjectIds {
    std::size_t count;
    const ObjectId *elements;
};
struct Name;
struct Credential;
struct Context;

constexpr std::uint32_t initiate = 1;
constexpr Status no_credential = 7 << 16;
enum StatusKind : int { of_interface = 1, of_mechanism = 2 };

constexpr bool is_failure(Status status) {
    return status >> 16 != 0;
}

template <std::size_t size>
constexpr ObjectId object_id(const char (&bytes)[size]) {
    return {size - 1, bytes};
}
constexpr ObjectId host_based_service = object_id("\x2a\x86\x48\x86\xf7\x12\x01\x02\x01\x04");
constexpr ObjectId user_name = object_id("\x2a\x86\x48\x86\xf7\x12\x01\x02\x01\x01");
constexpr ObjectId negotiate = object_id("\x2b\x06\x01\x05\x05\x02"); // RFC 4178
constexpr ObjectId kerberos = object_id("\x2a\x86\x48\x86\xf7\x12\x01\x02\x02");
constexpr ObjectId ntlm = object_id("\x2b\x06\x01\x04\x01\x82\x37\x02\x02\x0a");

struct Gssapi {
    OptionalLibrary library{"libgssapi_krb5.so.2"};
    Status (*import_name)(Status *, Bytes *, const ObjectId *, Name **) = nullptr;
    Status (*acquire_with_password)(Status *, Name *, Bytes *, std::uint32_t, const ObjectIds *,
                                    int, Credential **, ObjectIds **, std::uint32_t *) = nullptr;
    Status (*acquire)(Status *, Name *, std::uint32_t, const ObjectIds *, int, Credential **,
                      ObjectIds **, std::uint32_t *) = nullptr;
    Status (*init_context)(Status *, Credential *, Context **, Name *, const ObjectId *,
                           std::uint32_t, std::uint32_t, void *, Bytes *, ObjectId **, Bytes *,
                           std::uint32_t *, std::uint32_t *) = nullptr;
    Status (*display_status)(Status *, Status, int, const ObjectId *, std::uint32_t *,
                             Bytes *) = nullptr;
    Status (*release_name)(Status *, Name **) = nullptr;
    Status (*release_credential)(Status *, Credential **) = nullptr;
    Status (*release_bytes)(Status *, Bytes *) = nullptr;
    Status (*delete_context)(Status *, Context **, Bytes *) = nullptr;

    Gssapi() {
        library.find("gss_import_name", import_name);
        library.find("gss_acquire_cred_with_password", acquire_with_password);
        library.find("gss_acquire_cred", acquire);
        library.find("gss_init_sec_context", init_context);
        library.find("gss_display_status", display_status);
        library.find("gss_release_name", release_name);
        library.find("gss_release_cred", release_credential);
        library.find("gss_release_buffer", release_bytes);
        library.find("gss_delete_sec_context", delete_context);
    }
};

/// Never destroyed: a thread that was left behind may use it to the very end.
const Gssapi &gssapi() {
    static const Gssapi &loaded = *new Gssapi;
    return loaded;
}

/// Bytes that GSSAPI has made.
class MadeBytes : public Bytes {
public:
    MadeBytes() : Bytes{0, nullptr} {}
    ~MadeBytes() {
        if (value != nullptr)
            cleanse(value, length);
        Status minor = 0;
        gssapi().release_bytes(&minor, this);
    }
    MadeBytes(const MadeBytes &) = delete;
    MadeBytes &operator=(const MadeBytes &) = delete;

    std::string_view text() const { return {static_cast<const char *>(value), length}; }
};

Bytes bytes_of(const auto &text) {
    return {text.size(), const_cast<char *>(text.data())};
}

/// NTLM by the password that is given, all else by the user's own tickets: Kerberos would tell the
/// name to the server of whichever realm this machine is set to.
class GssapiTokens final : public Tokens {
public:
    GssapiTokens(const ObjectId &mechanism, const Proxy &proxy)
        : mechanism_(mechanism), proxy_(proxy) {}

    ~GssapiTokens() override {
        Status minor = 0;
        if (context_ != nullptr)
            gssapi().delete_context(&minor, &context_, nullptr);
        if (credential_ != nullptr)
            gssapi().release_credential(&minor, &credential_);
        for (Name **const name : {&proxy_name_, &user_name_})
            if (*name != nullptr)
                gssapi().release_name(&minor, name);
    }

    bool are_by_password() const override {
        return mechanism_.elements == ntlm.elements && !proxy_.user.empty();
    }

    Expected<SecureText> next(const SecureText &received) override {
        if (const std::string &missing = gssapi().library.missing(); !missing.empty())
            return missing;
        if (proxy_name_ == nullptr && !prepare())
            return words_;
        Status minor = 0;
        Bytes input = bytes_of(received);
        MadeBytes output;
        const Status major =
            gssapi().init_context(&minor, credential_, &context_, proxy_name_, &mechanism_, 0, 0,
                                  nullptr, &input, nullptr, &output, nullptr, nullptr);
        if (succeeded(major, minor, mechanism_))
            return SecureText(output.text());
        if (major == no_credential && mechanism_.elements == negotiate.elements)
            ask_kerberos();
        return words_;
    }

private:
    /// RFC 4559 section 4.1 names the service.
    bool prepare() {
        return import("HTTP@" + proxy_.peer.host, host_based_service, proxy_name_) &&
               (!are_by_password() ||
                (import(proxy_.user, user_name, user_name_) && take_password()));
    }

    bool import(const std::string &text, const ObjectId &kind, Name *&name) {
        Status minor = 0;
        Bytes bytes = bytes_of(text);
        const Status major = gssapi().import_name(&minor, &bytes, &kind, &name);
        return succeeded(major, minor, mechanism_);
    }

    bool take_password() {
        Status minor = 0;
        Bytes password = bytes_of(proxy_.password);
        const ObjectIds mechanisms{1, &mechanism_};
        const Status major =
            gssapi().acquire_with_password(&minor, user_name_, &password, 0, &mechanisms, initiate,
                                           &credential_, nullptr, nullptr);
        return succeeded(major, minor, mechanism_);
    }

    /// Negotiate only says that there is no ticket, Kerberos says why.
    void ask_kerberos() {
        Status minor = 0;
        const ObjectIds mechanisms{1, &kerberos};
        const Status major = gssapi().acquire(&minor, nullptr, 0, &mechanisms, initiate,
                                              &credential_, nullptr, nullptr);
        succeeded(major, minor, kerberos);
    }

    /// Puts a failure into words. Those of a mechanism may name the user, who is named nowhere.
    bool succeeded(Status major, Status minor, const ObjectId &mechanism) {
        if (!is_failure(major))
            return true;
        const bool tells_more = minor != 0 && !are_by_password();
        Status unused = 0;
        std::uint32_t more = 0;
        MadeBytes text;
        gssapi().display_status(&unused, tells_more ? minor : major,
                                tells_more ? of_mechanism : of_interface, &mechanism, &more, &text);
        words_ = text.text().substr(0, text.text().find('\0'));
        return false;
    }

    const ObjectId mechanism_;
    const Proxy proxy_;
    std::string words_; ///< for the last failure
    Name *proxy_name_ = nullptr, *user_name_ = nullptr;
    Credential *credential_ = nullptr; ///< null: the user's own
    Context *context_ = nullptr;
};

} // namespace

std::unique_ptr<Tokens> blocking_system_tokens(const char *scheme, const Proxy &proxy) {
    const bool negotiates = std::string_view(scheme) == "Negotiate";
    return std::make_unique<GssapiTokens>(negotiates ? negotiate : ntlm, proxy);
}

} // namespace kavro
