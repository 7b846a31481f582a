#include "trust/stapled_status.h"
#include "certificates.h"
#include "fuzzing.h"
#include "utils/src/openssl_handles.h"

#include <memory>

// A chain of certificates, the last of which is trusted, and the status that the first one's server
// shows: it counts only if that chain's issuer is known and what it says is signed.

namespace {

using kavro::StapledStatus;

using Stack =
    std::unique_ptr<STACK_OF(X509), decltype([](STACK_OF(X509) * list) { sk_X509_free(list); })>;

Stack stack_of(const std::vector<broker_sim::CertificatePtr> &chain) {
    Stack stack(sk_X509_new_null());
    for (const auto &certificate : chain)
        sk_X509_push(stack.get(), certificate.get());
    return stack;
}

kavro::X509StoreHandle trusting(X509 *anchor) {
    kavro::X509StoreHandle store(X509_STORE_new());
    X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN);
    if (anchor != nullptr)
        X509_STORE_add_cert(store.get(), anchor);
    return store;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::uint8_t *const end = data + size;
    const auto chain = fuzz::read_certificates(data, size);
    if (chain.empty())
        return 0;
    const std::string_view response(reinterpret_cast<const char *>(data),
                                    static_cast<std::size_t>(end - data));
    const auto status = [&](const std::vector<broker_sim::CertificatePtr> &shown, X509 *anchor) {
        return kavro::stapled_status(response, stack_of(shown).get(), trusting(anchor).get());
    };
    static const auto stranger = test_support::server(test_support::trusted_root()).certificate;
    fuzz::promise(status(chain, nullptr) == StapledStatus::none, "nobody is trusted");
    auto for_another = chain;
    for_another.front() = stranger;
    fuzz::promise(status(for_another, chain.back().get()) == StapledStatus::none,
                  "it is about its own certificate");
    if (status(chain, chain.back().get()) != StapledStatus::none)
        fuzz::promise(chain.size() > 1, "an issuer has said so");
    fuzz::promise(ERR_peek_error() == 0, "no error is left behind");
    return 0;
}
