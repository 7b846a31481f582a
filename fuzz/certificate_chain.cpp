#include "certificates.h"
#include "fuzzing.h"
#include "trust/server_verification.h"
#include "utils/src/openssl_handles.h"

#include <openssl/x509v3.h>

#include <memory>

// A chain of certificates: it passes only if the TLS library trusts it by itself, it is for that
// host, and the key is long enough. The first certificate is the server's, the last the only one
// that is trusted (which may be the first), those between are sent along.

namespace {

using Chain = std::vector<broker_sim::CertificatePtr>;
using kavro::ServerVerification;

/// A chain, ready for X509_verify_cert() as the library's own TLS context has it verified.
struct Verification {
    explicit Verification(const Chain &chain) {
        X509_STORE_add_cert(store.get(), chain.back().get());
        for (std::size_t i = 1; i < chain.size(); ++i)
            sk_X509_push(further.get(), chain[i].get());
        X509_STORE_CTX_init(context.get(), store.get(), chain.front().get(), further.get());
        X509_STORE_CTX_set_default(context.get(), "ssl_server");
        X509_VERIFY_PARAM_set_auth_level(X509_STORE_CTX_get0_param(context.get()), 1);
    }

    bool run() { return X509_verify_cert(context.get()) == 1; }

    std::unique_ptr<X509_STORE, decltype(&X509_STORE_free)> store{X509_STORE_new(),
                                                                  X509_STORE_free};
    std::unique_ptr<STACK_OF(X509), decltype([](STACK_OF(X509) * list) { sk_X509_free(list); })>
        further{sk_X509_new_null()};
    std::unique_ptr<X509_STORE_CTX, decltype(&X509_STORE_CTX_free)> context{X509_STORE_CTX_new(),
                                                                            X509_STORE_CTX_free};
};

template <auto Verify>
int ask_library(int preverified, X509_STORE_CTX *context) {
    auto *const judge = static_cast<ServerVerification *>(X509_STORE_CTX_get_app_data(context));
    return (judge->*Verify)(preverified == 1, context);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const Chain chain = fuzz::read_certificates(data, size);
    if (chain.empty())
        return 0;
    X509 *const leaf = chain.front().get();
    const bool trusted_without_us = Verification(chain).run();
    for (const auto rules : {ask_library<&ServerVerification::verify_server_pbp>,
                             ask_library<&ServerVerification::verify_server_view>}) {
        ServerVerification ours;
        ours.begin(test_support::literal_host, true);
        Verification asked(chain);
        X509_STORE_CTX_set_app_data(asked.context.get(), &ours);
        X509_STORE_CTX_set_verify_cb(asked.context.get(), rules);
        asked.run();
        kavro::drain_openssl_errors();
        if (ours.outcome() != kavro::VerificationOutcome::passed)
            continue;
        fuzz::promise(trusted_without_us, "trusted by the TLS library alone");
        fuzz::promise(X509_check_ip_asc(leaf, test_support::literal_host.c_str(), 0) == 1,
                      "right host");
        fuzz::promise(fuzz::has_good_key(leaf), "a key that is long enough");
        fuzz::promise(!ours.error_codes().empty(), "the server's certificate was looked at");
    }
    return 0;
}
