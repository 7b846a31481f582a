#include "token_signer.h"

#include "module.h"

#include <openssl/evp.h>
#include <openssl/x509v3.h>
#include <p11-kit/uri.h>

#include <algorithm>
#include <cstdlib>

namespace token {

namespace {

std::optional<std::string> text_of(const char *text_or_null) {
    return text_or_null != nullptr ? std::optional<std::string>(text_or_null) : std::nullopt;
}

} // namespace

struct TokenUri::Parsed {
    std::unique_ptr<P11KitUri, decltype(&p11_kit_uri_free)> uri{p11_kit_uri_new(),
                                                                p11_kit_uri_free};
};

TokenUri::TokenUri(const std::string &text) {
    auto parsed = std::make_shared<Parsed>();
    const int result = p11_kit_uri_parse(text.c_str(), P11_KIT_URI_FOR_OBJECT_ON_TOKEN_AND_MODULE,
                                         parsed->uri.get());
    if (result != P11_KIT_URI_OK)
        throw TokenError(
            "The PKCS #11 URI cannot be read: " + std::string(p11_kit_uri_message(result)) + ".");
    if (p11_kit_uri_any_unrecognized(parsed->uri.get()) != 0)
        throw TokenError("The PKCS #11 URI has an attribute that does not name a certificate.");
    parsed_ = std::move(parsed);
}

std::optional<std::string> TokenUri::module_path() const {
    return text_of(p11_kit_uri_get_module_path(parsed_->uri.get()));
}

std::optional<std::string> TokenUri::pin_source() const {
    return text_of(p11_kit_uri_get_pin_source(parsed_->uri.get()));
}

bool TokenUri::has_pin_value() const {
    return p11_kit_uri_get_pin_value(parsed_->uri.get()) != nullptr;
}

namespace {

using Bytes = std::vector<CK_BYTE>;

struct X509Free {
    void operator()(X509 *certificate) const { X509_free(certificate); }
};
using Certificate = std::unique_ptr<X509, X509Free>;

/// Null for what is no certificate.
Certificate decode(const Bytes &der) {
    const unsigned char *from = der.data();
    return Certificate(d2i_X509(nullptr, &from, static_cast<long>(der.size())));
}

} // namespace

struct TokenSigner::State {
    Modules modules; ///< first, so that they go last
    std::unique_ptr<TokenSession> session;
    CK_TOKEN_INFO token{};
    CK_SLOT_ID slot = 0;
    std::vector<Bytes> certificates; ///< behind the named one, each by the next
    Bytes id;                        ///< what the certificate and its key have in common
    CK_OBJECT_HANDLE key = 0;

    void find_certificate(P11KitUri *uri);
    void find_certificate(P11KitUri *uri, CK_FUNCTION_LIST &module, CK_SLOT_ID candidate_slot);
    void find_issuers();
    Bytes issuer_of(const X509 *certificate) const;
    void log_in(const AskPin &ask_pin);
    void find_key();
};

namespace {

std::vector<CK_SLOT_ID> slots_with_tokens(CK_FUNCTION_LIST &module) {
    return all_of<CK_SLOT_ID>(
        [&](CK_SLOT_ID *slots, CK_ULONG *count) {
            return module.C_GetSlotList(CK_TRUE, slots, count);
        },
        "A PKCS #11 module does not tell its tokens");
}

bool names_module(P11KitUri *uri, CK_FUNCTION_LIST &module) {
    CK_INFO info{};
    return module.C_GetInfo(&info) == CKR_OK && p11_kit_uri_match_module_info(uri, &info) != 0;
}

/// What the URI says of the object itself.
std::vector<CK_ATTRIBUTE> object_attributes(P11KitUri *uri) {
    std::vector<CK_ATTRIBUTE> attributes;
    for (const CK_ATTRIBUTE_TYPE type : {CKA_ID, CKA_LABEL}) {
        if (const CK_ATTRIBUTE *attribute = p11_kit_uri_get_attribute(uri, type))
            attributes.push_back(*attribute);
    }
    return attributes;
}

/// Each is known by the length of its digests.
struct Hash {
    std::size_t size;
    CK_BYTE object; ///< the last number of 2.16.840.1.101.3.4.2.N
    CK_MECHANISM_TYPE mechanism;
    CK_ULONG mask;
};
constexpr Hash hashes[] = {{32, 1, CKM_SHA256, CKG_MGF1_SHA256},
                           {48, 2, CKM_SHA384, CKG_MGF1_SHA384},
                           {64, 3, CKM_SHA512, CKG_MGF1_SHA512}};

/// The digest in the form that is signed (RFC 8017, section 9.2).
Bytes digest_info(const Hash &hash, std::span<const std::uint8_t> digest) {
    const auto length = static_cast<CK_BYTE>(digest.size());
    Bytes info{0x30,        static_cast<CK_BYTE>(17 + length), // SEQUENCE
               0x30,        0x0D,
               0x06,        0x09,
               0x60,        0x86,
               0x48,        0x01,
               0x65,        0x03,
               0x04,        0x02,
               hash.object, 0x05,
               0x00,                 // the algorithm, without parameters
               0x04,        length}; // OCTET STRING
    info.insert(info.end(), digest.begin(), digest.end());
    return info;
}

constexpr bool is_pss(std::uint16_t scheme) {
    return scheme >> 8 == 0x08;
}
constexpr bool is_ecdsa(std::uint16_t scheme) {
    return (scheme & 0xFF) == 0x03;
}

} // namespace

void TokenSigner::State::find_certificate(P11KitUri *uri) {
    for (CK_FUNCTION_LIST **module = modules.get(); *module != nullptr; ++module) {
        if (!names_module(uri, **module))
            continue;
        for (const CK_SLOT_ID candidate : slots_with_tokens(**module))
            find_certificate(uri, **module, candidate);
    }
    if (!session)
        throw TokenError("No token has the certificate that the PKCS #11 URI names.");
}

void TokenSigner::State::find_certificate(P11KitUri *uri, CK_FUNCTION_LIST &module,
                                          CK_SLOT_ID candidate_slot) {
    CK_TOKEN_INFO info{};
    if (module.C_GetTokenInfo(candidate_slot, &info) != CKR_OK ||
        (info.flags & CKF_TOKEN_INITIALIZED) == 0 || p11_kit_uri_match_token_info(uri, &info) == 0)
        return;
    auto candidate = std::make_unique<TokenSession>(module, candidate_slot);
    CK_ULONG object_class = CKO_CERTIFICATE;
    CK_ULONG kind = CKC_X_509;
    auto wanted = object_attributes(uri);
    wanted.push_back(number(CKA_CLASS, object_class));
    wanted.push_back(number(CKA_CERTIFICATE_TYPE, kind));
    const auto found = candidate->find(std::move(wanted));
    if (found.empty())
        return;
    if (found.size() > 1 || session)
        throw TokenError("The PKCS #11 URI names several certificates: add token= and id= to it.");
    session = std::move(candidate);
    token = info;
    slot = candidate_slot;
    certificates = {session->attribute(found.front(), CKA_VALUE)};
    id = session->attribute(found.front(), CKA_ID);
}

void TokenSigner::State::find_issuers() {
    constexpr std::size_t longest_chain = 8;
    for (Certificate last = decode(certificates.front());
         last && certificates.size() < longest_chain; last = decode(certificates.back())) {
        Bytes issuer = issuer_of(last.get());
        if (issuer.empty())
            return;
        certificates.push_back(std::move(issuer));
    }
}

/// Empty when it is not there, or the root.
Bytes TokenSigner::State::issuer_of(const X509 *certificate) const {
    const unsigned char *name = nullptr;
    std::size_t size = 0;
    X509_NAME_get0_der(X509_get_issuer_name(certificate), &name, &size);
    CK_ULONG object_class = CKO_CERTIFICATE;
    // The interface knows no const; nothing is written there.
    for (const CK_OBJECT_HANDLE object :
         session->find({number(CKA_CLASS, object_class),
                        {CKA_SUBJECT, const_cast<unsigned char *>(name), size}})) {
        Bytes der = session->attribute(object, CKA_VALUE);
        const Certificate found = decode(der);
        if (found && X509_check_issued(found.get(), const_cast<X509 *>(certificate)) == X509_V_OK &&
            X509_check_issued(found.get(), found.get()) != X509_V_OK)
            return der;
    }
    return {};
}

void TokenSigner::State::log_in(const AskPin &ask_pin) {
    if ((token.flags & CKF_LOGIN_REQUIRED) == 0)
        return;
    const std::unique_ptr<char, decltype(&std::free)> name(
        p11_kit_space_strdup(token.label, sizeof token.label), std::free);
    const auto log_in = [this, &name](CK_UTF8CHAR *pin, CK_ULONG length) {
        const CK_RV result = session->module().C_Login(session->handle(), CKU_USER, pin, length);
        if (result != CKR_USER_ALREADY_LOGGED_IN)
            require(result, std::string("The token ") + name.get() + " cannot be unlocked");
    };
    if ((token.flags & CKF_PROTECTED_AUTHENTICATION_PATH) != 0)
        return log_in(nullptr, 0);
    ask_pin(name.get(), [&log_in](std::string_view pin) {
        // The interface knows no const; nothing is written there.
        auto *bytes = reinterpret_cast<CK_UTF8CHAR *>(const_cast<char *>(pin.data()));
        log_in(bytes, pin.size());
    });
}

void TokenSigner::State::find_key() {
    const Certificate shown = decode(certificates.front());
    const bool is_ec = shown && EVP_PKEY_get_base_id(X509_get0_pubkey(shown.get())) == EVP_PKEY_EC;
    CK_ULONG object_class = CKO_PRIVATE_KEY;
    CK_ULONG kind = is_ec ? CKK_EC : CKK_RSA;
    const auto keys = session->find({number(CKA_CLASS, object_class),
                                     number(CKA_KEY_TYPE, kind),
                                     {CKA_ID, id.data(), id.size()}});
    if (keys.size() != 1)
        throw TokenError(std::string("The token has no ") + (is_ec ? "EC" : "RSA") +
                         " key to sign with for the certificate.");
    key = keys.front();
}

TokenSigner::TokenSigner(const TokenUri &uri, const std::optional<std::string> &module_path,
                         const AskPin &ask_pin)
    : state_(std::make_unique<State>()) {
    const auto named = uri.module_path();
    state_->modules = load_modules(named ? named : module_path);
    state_->find_certificate(uri.parsed_->uri.get());
    state_->find_issuers();
    state_->log_in(ask_pin);
    state_->find_key();
}

TokenSigner::~TokenSigner() = default;

const std::vector<Bytes> &TokenSigner::certificates() const {
    return state_->certificates;
}

bool TokenSigner::knows_pss() const {
    CK_MECHANISM_INFO info{};
    return state_->session->module().C_GetMechanismInfo(state_->slot, CKM_RSA_PKCS_PSS, &info) ==
               CKR_OK &&
           (info.flags & CKF_SIGN) != 0;
}

std::vector<std::uint8_t> TokenSigner::sign(std::uint16_t scheme,
                                            std::span<const std::uint8_t> digest) {
    constexpr const char *failure = "The token does not sign";
    const auto *hash = std::ranges::find(hashes, digest.size(), &Hash::size);
    if (hash == std::end(hashes))
        throw TokenError("Only digests of SHA-256, SHA-384 and SHA-512 can be signed.");
    CK_RSA_PKCS_PSS_PARAMS salted{hash->mechanism, hash->mask, hash->size};
    CK_MECHANISM mechanism{CKM_RSA_PKCS, nullptr, 0};
    if (is_pss(scheme))
        mechanism = {CKM_RSA_PKCS_PSS, &salted, sizeof salted};
    else if (is_ecdsa(scheme))
        mechanism = {CKM_ECDSA, nullptr, 0};
    Bytes text = mechanism.mechanism == CKM_RSA_PKCS ? digest_info(*hash, digest)
                                                     : Bytes(digest.begin(), digest.end());
    auto &module = state_->session->module();
    const CK_SESSION_HANDLE session = state_->session->handle();
    require(module.C_SignInit(session, &mechanism, state_->key), failure);
    return all_of(
        [&](CK_BYTE *signature, CK_ULONG *length) {
            return module.C_Sign(session, text.data(), text.size(), signature, length);
        },
        failure);
}

} // namespace token
