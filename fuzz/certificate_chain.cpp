#include "certificates.h"
#include "fuzzing.h"

#include <openssl/x509v3.h>

#include <span>

// A chain of certificates: it passes only if the TLS library trusts it by itself, it is for that
// host, and the key is long enough. The first certificate is the server's, the last the only one
// that is trusted (which may be the first), those between are sent along.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto chain = fuzz::read_certificates(data, size);
    if (chain.empty())
        return 0;
    X509 *const leaf = chain.front().get();
    const auto further = std::span(chain).subspan(1);
    for (const bool by_view_rules : {false, true}) {
        const auto judged = trust::judge({.trusted = {chain.back()},
                                          .leaf = chain.front(),
                                          .further = {further.begin(), further.end()},
                                          .host = trust::literal_host,
                                          .by_view_rules = by_view_rules});
        if (judged.outcome != kavro::VerificationOutcome::passed)
            continue;
        fuzz::promise(judged.trusted_without_us, "trusted by the TLS library alone");
        fuzz::promise(X509_check_ip_asc(leaf, trust::literal_host.c_str(), 0) == 1, "right host");
        fuzz::promise(fuzz::has_good_key(leaf), "a key that is long enough");
        fuzz::promise(!judged.codes.empty(), "the server's certificate was looked at");
    }
    return 0;
}
