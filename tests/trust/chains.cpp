#include "chains.h"

#include "trust/server_verification.h"
#include "utils/src/openssl_handles.h"

#include <stdexcept>
#include <utility>

namespace trust {

namespace {

using namespace kavro;

broker_sim::Subject subject_of(const Server &wanted) {
    return {.common_name = wanted.common_name,
            .names = wanted.names,
            .valid_from_days = wanted.valid_from_days,
            .valid_to_days = wanted.valid_to_days,
            .extensions = wanted.extensions,
            .digest = wanted.digest};
}

using StoreContext = OpenSslHandle<X509_STORE_CTX, X509_STORE_CTX_free>;
using Stack =
    std::unique_ptr<STACK_OF(X509), decltype([](STACK_OF(X509) * list) { sk_X509_free(list); })>;

/// A chain, ready for X509_verify_cert().
struct Verification {
    explicit Verification(const ChainCase &shown)
        : store(X509_STORE_new()), further(sk_X509_new_null()), context(X509_STORE_CTX_new()) {
        for (const auto &certificate : shown.trusted)
            X509_STORE_add_cert(store.get(), certificate.get());
        for (const auto &certificate : shown.further)
            sk_X509_push(further.get(), certificate.get());
        X509_STORE_CTX_init(context.get(), store.get(), shown.leaf.get(), further.get());
        X509_STORE_CTX_set_default(context.get(), "ssl_server");
        X509_VERIFY_PARAM *const rules = X509_STORE_CTX_get0_param(context.get());
        X509_VERIFY_PARAM_set_auth_level(rules, 1);
    }

    X509StoreHandle store;
    Stack further;
    StoreContext context;
};

template <auto Verify>
int ask_library(int preverified, X509_STORE_CTX *context) {
    auto *const judge = static_cast<ServerVerification *>(X509_STORE_CTX_get_app_data(context));
    return (judge->*Verify)(preverified == 1, context);
}

} // namespace

const Identity &trusted_root() {
    static const Identity root = broker_sim::mint_authority("Trusted root");
    return root;
}

const Identity &strange_root() {
    static const Identity root = broker_sim::mint_authority("Strange root");
    return root;
}

Identity authority(const Identity &issuer, const Authority &wanted) {
    static int number = 0;
    return broker_sim::mint_certificate(
        {.common_name = "Intermediate authority " + std::to_string(++number),
         .authority = true,
         .valid_from_days = wanted.valid_from_days,
         .valid_to_days = wanted.valid_to_days,
         .extensions = wanted.extensions},
        broker_sim::shared_key(wanted.key), issuer);
}

Identity server(const Identity &issuer, const Server &wanted) {
    return broker_sim::mint_certificate(subject_of(wanted), broker_sim::shared_key(wanted.key),
                                        issuer);
}

Identity self_signed(const Server &wanted) {
    return broker_sim::mint_self_signed(subject_of(wanted), broker_sim::shared_key(wanted.key));
}

Identity with_bad_signature(const Identity &identity) {
    std::vector<std::uint8_t> der = der_of(identity);
    der.back() ^= 1;
    return {identity.key, {Security::decode_certificate(der).release(), X509_free}};
}

test_support::ServerIdentity shown(const Identity &leaf, const std::vector<Identity> &further) {
    std::string chain = leaf.certificate_pem();
    for (const Identity &identity : further)
        chain += identity.certificate_pem();
    return {chain, leaf.key_pem()};
}

std::vector<std::uint8_t> der_of(const Identity &identity) {
    return test_support::der_of(identity.certificate.get());
}

Judged judge(const ChainCase &shown) {
    ServerVerification ours;
    ours.begin(shown.host, true);
    const Verification asked(shown);
    X509_STORE_CTX_set_app_data(asked.context.get(), &ours);
    X509_STORE_CTX_set_verify_cb(asked.context.get(),
                                 shown.by_view_rules
                                     ? ask_library<&ServerVerification::verify_server_view>
                                     : ask_library<&ServerVerification::verify_server_pbp>);
    X509_verify_cert(asked.context.get());

    const Verification alone(shown);
    const bool trusted = X509_verify_cert(alone.context.get()) == 1;
    drain_openssl_errors();
    Judged judged{ours.outcome(), ours.error_codes(), ours.error_text(), trusted, {}};
    ours.begin(shown.host, true);
    judged.next_outcome = ours.outcome();
    return judged;
}

} // namespace trust
