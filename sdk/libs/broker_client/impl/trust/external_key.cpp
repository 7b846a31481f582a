#include "trust/external_key.h"

#include "utils/src/broker_log.h"
#include "utils/src/openssl_handles.h"

#include <openssl/core_dispatch.h>
#include <openssl/core_names.h>
#include <openssl/params.h>
#include <openssl/provider.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <string_view>
#include <vector>

// A provider (provider(7)) with two kinds of key and the one thing that TLS does with those of a
// client. The methods of RSA and EC keys that can be replaced, and engines, are deprecated; by PSS
// they would be asked to sign a padded block, of which no digest can be had.
//
// It is known to a library context of its own only: whatever the rest of the process fetches, and
// whatever its configuration says, never meets it. TLS takes the key all the same, because the
// operations of a key are first looked for where they fit its public half, and then where it is
// from.

namespace kavro {

namespace {

/// A hash function, and the scheme of a signature of each kind over it.
struct Schemes {
    const EVP_MD *(*hash)();
    std::uint16_t pkcs1, pss, ecdsa;
};
constexpr std::array all_schemes = {
    Schemes{EVP_sha256, 0x0401, 0x0804, 0x0403},
    Schemes{EVP_sha384, 0x0501, 0x0805, 0x0503},
    Schemes{EVP_sha512, 0x0601, 0x0806, 0x0603},
};

struct Key {
    EvpPkeyHandle shown; ///< the public half, as OpenSSL's own
    SchemeSigningFunction sign;

    bool is_rsa() const { return EVP_PKEY_is_a(shown.get(), "RSA") == 1; }
};
using KeyHandle = std::shared_ptr<const Key>;

/// Under which a key is handed from external_key() to import().
constexpr const char *key_parameter = "key";

template <class Function>
OSSL_DISPATCH entry(int id, Function *function) {
    return {id, reinterpret_cast<void (*)()>(function)};
}

/// OpenSSL's management of keys.
namespace management {

KeyHandle &key_of(void *data) {
    return *static_cast<KeyHandle *>(data);
}

void *make(void *) {
    return new (std::nothrow) KeyHandle;
}

void release(void *data) {
    delete static_cast<KeyHandle *>(data);
}

int has(const void *, int) {
    return 1;
}

int import(void *data, int, const OSSL_PARAM *parameters) {
    const void *given = nullptr;
    std::size_t size = 0;
    if (OSSL_PARAM_get_octet_ptr(OSSL_PARAM_locate_const(parameters, key_parameter), &given,
                                 &size) != 1)
        return 0;
    key_of(data) = *static_cast<const KeyHandle *>(given);
    return 1;
}

const OSSL_PARAM *import_types(int) {
    static const OSSL_PARAM types[] = {OSSL_PARAM_octet_ptr(key_parameter, nullptr, 0),
                                       OSSL_PARAM_END};
    return types;
}

/// The public half, for the comparison with the certificate. A key that could be exported whole
/// would sign elsewhere.
int export_to(void *data, int selection, OSSL_CALLBACK *take, void *argument) {
    return (selection & OSSL_KEYMGMT_SELECT_PRIVATE_KEY) != 0
               ? 0
               : EVP_PKEY_export(key_of(data)->shown.get(), selection, take, argument);
}

int get_parameters(void *data, OSSL_PARAM *parameters) {
    return EVP_PKEY_get_params(key_of(data)->shown.get(), parameters);
}

const OSSL_PARAM *no_types(int) {
    static const OSSL_PARAM types[] = {OSSL_PARAM_END};
    return types;
}

const OSSL_PARAM *parameter_types(void *) {
    return no_types(0);
}

const char *operation_name(int) {
    return "elsewhere";
}

const OSSL_DISPATCH functions[] = {
    entry<OSSL_FUNC_keymgmt_new_fn>(OSSL_FUNC_KEYMGMT_NEW, make),
    entry<OSSL_FUNC_keymgmt_free_fn>(OSSL_FUNC_KEYMGMT_FREE, release),
    entry<OSSL_FUNC_keymgmt_has_fn>(OSSL_FUNC_KEYMGMT_HAS, has),
    entry<OSSL_FUNC_keymgmt_import_fn>(OSSL_FUNC_KEYMGMT_IMPORT, import),
    entry<OSSL_FUNC_keymgmt_import_types_fn>(OSSL_FUNC_KEYMGMT_IMPORT_TYPES, import_types),
    entry<OSSL_FUNC_keymgmt_export_fn>(OSSL_FUNC_KEYMGMT_EXPORT, export_to),
    entry<OSSL_FUNC_keymgmt_export_types_fn>(OSSL_FUNC_KEYMGMT_EXPORT_TYPES, no_types),
    entry<OSSL_FUNC_keymgmt_get_params_fn>(OSSL_FUNC_KEYMGMT_GET_PARAMS, get_parameters),
    entry<OSSL_FUNC_keymgmt_gettable_params_fn>(OSSL_FUNC_KEYMGMT_GETTABLE_PARAMS, parameter_types),
    entry<OSSL_FUNC_keymgmt_query_operation_name_fn>(OSSL_FUNC_KEYMGMT_QUERY_OPERATION_NAME,
                                                     operation_name),
    {0, nullptr},
};

} // namespace management

/// OpenSSL's operation of signing a text.
namespace signing {

struct Operation {
    KeyHandle key;
    const Schemes *schemes = nullptr;
    bool pss = false;

    std::uint16_t scheme() const {
        return !key->is_rsa() ? schemes->ecdsa : pss ? schemes->pss : schemes->pkcs1;
    }
    std::size_t room() const {
        return static_cast<std::size_t>(EVP_PKEY_get_size(key->shown.get()));
    }
};

Operation &operation_of(void *context) {
    return *static_cast<Operation *>(context);
}

void *make(void *, const char *) {
    return new (std::nothrow) Operation;
}

void release(void *context) {
    delete static_cast<Operation *>(context);
}

/// The salt of PSS has the length of the digest, in TLS always (RFC 8446 section 4.2.3).
const OSSL_PARAM *parameter_types(void *, void *) {
    static const OSSL_PARAM types[] = {
        OSSL_PARAM_utf8_string(OSSL_SIGNATURE_PARAM_PAD_MODE, nullptr, 0),
        OSSL_PARAM_utf8_string(OSSL_SIGNATURE_PARAM_PSS_SALTLEN, nullptr, 0), OSSL_PARAM_END};
    return types;
}

/// It may be told by its number or by its name.
bool is_mode(const OSSL_PARAM *told, int number, std::string_view name) {
    int given = 0;
    const char *text = nullptr;
    return told->data_type == OSSL_PARAM_INTEGER
               ? OSSL_PARAM_get_int(told, &given) == 1 && given == number
               : OSSL_PARAM_get_utf8_string_ptr(told, &text) == 1 && text == name;
}

int set_parameters(void *context, const OSSL_PARAM *parameters) {
    const OSSL_PARAM *const padding =
        OSSL_PARAM_locate_const(parameters, OSSL_SIGNATURE_PARAM_PAD_MODE);
    if (padding == nullptr)
        return 1;
    bool &pss = operation_of(context).pss;
    pss = is_mode(padding, RSA_PKCS1_PSS_PADDING, OSSL_PKEY_RSA_PAD_MODE_PSS);
    return pss || is_mode(padding, RSA_PKCS1_PADDING, OSSL_PKEY_RSA_PAD_MODE_PKCSV15) ? 1 : 0;
}

/// Refuses a hash function that is not signed for: TLS asks before it chooses a scheme.
int begin(void *context, const char *hash, void *key, const OSSL_PARAM *parameters) {
    const auto found = std::ranges::find_if(all_schemes, [hash](const Schemes &schemes) {
        return hash != nullptr && EVP_MD_is_a(schemes.hash(), hash) == 1;
    });
    if (found == all_schemes.end())
        return 0;
    operation_of(context).key = management::key_of(key);
    operation_of(context).schemes = &*found;
    return set_parameters(context, parameters);
}

/// A signer that writes more than it says, or says more than it wrote, harms nobody else. One by
/// RSA is as long as the modulus (RFC 8017 section 8).
bool sign_with(const Operation &operation, const unsigned char *text, std::size_t text_length,
               unsigned char *signature, std::size_t &length) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned digest_length = 0;
    if (EVP_Digest(text, text_length, digest.data(), &digest_length, operation.schemes->hash(),
                   nullptr) != 1)
        return false;
    std::vector<std::uint8_t> made(operation.room());
    length = made.size();
    if (operation.key->sign(operation.scheme(), digest.data(), digest_length, made.data(),
                            &length) != 0 ||
        length == 0 || length > made.size() || (operation.key->is_rsa() && length != made.size()))
        return false;
    std::copy_n(made.data(), length, signature);
    return true;
}

int sign(void *context, unsigned char *signature, std::size_t *length, std::size_t room,
         const unsigned char *text, std::size_t text_length) {
    const Operation &operation = operation_of(context);
    if (signature == nullptr) {
        *length = operation.room();
        return 1;
    }
    // TLS would take for its own what a signer leaves in OpenSSL's queue.
    ERR_set_mark();
    bool made = false;
    try {
        made =
            room >= operation.room() && sign_with(operation, text, text_length, signature, *length);
    } catch (...) { // nothing is thrown through OpenSSL
    }
    ERR_pop_to_mark();
    return made ? 1 : 0;
}

const OSSL_DISPATCH functions[] = {
    entry<OSSL_FUNC_signature_newctx_fn>(OSSL_FUNC_SIGNATURE_NEWCTX, make),
    entry<OSSL_FUNC_signature_freectx_fn>(OSSL_FUNC_SIGNATURE_FREECTX, release),
    entry<OSSL_FUNC_signature_set_ctx_params_fn>(OSSL_FUNC_SIGNATURE_SET_CTX_PARAMS,
                                                 set_parameters),
    entry<OSSL_FUNC_signature_settable_ctx_params_fn>(OSSL_FUNC_SIGNATURE_SETTABLE_CTX_PARAMS,
                                                      parameter_types),
    entry<OSSL_FUNC_signature_digest_sign_init_fn>(OSSL_FUNC_SIGNATURE_DIGEST_SIGN_INIT, begin),
    entry<OSSL_FUNC_signature_digest_sign_fn>(OSSL_FUNC_SIGNATURE_DIGEST_SIGN, sign),
    {0, nullptr},
};

} // namespace signing

const OSSL_ALGORITHM *algorithms(void *, int operation, int *keep_asking) {
    static const OSSL_ALGORITHM keys[] = {{"RSA:rsaEncryption", "", management::functions, ""},
                                          {"EC:id-ecPublicKey", "", management::functions, ""},
                                          {}};
    static const OSSL_ALGORITHM signatures[] = {
        {management::operation_name(0), "", signing::functions, ""}, {}};
    *keep_asking = 0;
    switch (operation) {
    case OSSL_OP_KEYMGMT:
        return keys;
    case OSSL_OP_SIGNATURE:
        return signatures;
    default:
        return nullptr;
    }
}

int start(const OSSL_CORE_HANDLE *, const OSSL_DISPATCH *, const OSSL_DISPATCH **offered,
          void **context) {
    static const OSSL_DISPATCH functions[] = {entry<OSSL_FUNC_provider_query_operation_fn>(
                                                  OSSL_FUNC_PROVIDER_QUERY_OPERATION, algorithms),
                                              {0, nullptr}};
    *offered = functions;
    *context = nullptr;
    return 1;
}

OSSL_LIB_CTX *own_context() {
    // Never freed: a connection that lives as long as the process needs it to the very end.
    static OSSL_LIB_CTX *const made = [] {
        constexpr const char *name = "Moravelt";
        OpenSslHandle<OSSL_LIB_CTX, OSSL_LIB_CTX_free> context(OSSL_LIB_CTX_new());
        if (!context || OSSL_PROVIDER_add_builtin(context.get(), name, start) != 1 ||
            OSSL_PROVIDER_load(context.get(), name) == nullptr)
            throw_openssl_error("OSSL_PROVIDER_load");
        return context.release();
    }();
    return made;
}

bool can_be_signed_with(const EVP_PKEY *key) {
    if (EVP_PKEY_is_a(key, "RSA") == 1)
        return true;
    std::array<char, 16> curve{};
    constexpr std::array curves{"prime256v1", "secp384r1", "secp521r1"};
    return EVP_PKEY_is_a(key, "EC") == 1 &&
           EVP_PKEY_get_group_name(key, curve.data(), curve.size(), nullptr) == 1 &&
           std::ranges::find(curves, std::string_view(curve.data())) != curves.end();
}

/// Logs what failed and all that the TLS library has to say about it.
void report_failure(const char *what) {
    const auto log = [](const char *text) {
        broker_log(LogCategory::general, LogSeverity::banner, 0, "%s", text);
    };
    log(what);
    while (const unsigned long error = ERR_get_error()) {
        char text[256];
        ERR_error_string_n(error, text, sizeof text);
        log(text);
    }
}

} // namespace

EvpPkeyHandle external_key(const X509 *certificate, SchemeSigningFunction sign) {
    EvpPkeyHandle shown(X509_get_pubkey(const_cast<X509 *>(certificate)));
    if (!shown || !can_be_signed_with(shown.get())) {
        drain_openssl_errors();
        return nullptr;
    }
    const char *const kind = EVP_PKEY_get0_type_name(shown.get());
    const OpenSslHandle<EVP_PKEY_CTX, EVP_PKEY_CTX_free> making(
        EVP_PKEY_CTX_new_from_name(own_context(), kind, nullptr));
    KeyHandle key = std::make_shared<const Key>(Key{std::move(shown), std::move(sign)});
    void *given = &key;
    OSSL_PARAM parameters[] = {OSSL_PARAM_construct_octet_ptr(key_parameter, &given, sizeof key),
                               OSSL_PARAM_END};
    EVP_PKEY *made = nullptr;
    if (!making || EVP_PKEY_fromdata_init(making.get()) != 1 ||
        EVP_PKEY_fromdata(making.get(), &made, EVP_PKEY_KEYPAIR, parameters) != 1)
        report_failure("EVP_PKEY_new failed");
    return EvpPkeyHandle(made);
}

} // namespace kavro
