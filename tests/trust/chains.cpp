#include "chains.h"

#include "utils/src/cert_chain.h"

#include <utility>

namespace trust {

namespace {

broker_sim::Subject subject_of(const Server &wanted) {
    return {.common_name = wanted.common_name,
            .names = wanted.names,
            .valid_from_days = wanted.valid_from_days,
            .valid_to_days = wanted.valid_to_days,
            .extensions = wanted.extensions,
            .digest = wanted.digest};
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
    return {identity.key, {kavro::Security::decode_certificate(der).release(), X509_free}};
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

} // namespace trust
