#pragma once

#include <string_view>
#include <vector>

// Where this library knowingly judges otherwise than the public collection asks.

namespace trust {

struct Deviations {
    const char *reason;
    std::vector<std::string_view> ids;
};

inline const std::vector<Deviations> known_deviations = {
    // More is trusted than asked. None of these is forged or outside of its time.
    {"no revocation is checked",
     {"crl::revoked-certificate-with-crl", "crl::issuer-missing-crlsign"}},
    {"no limit on the chain's length can be set",
     {"pathlen::max-chain-depth-0-exhausted", "pathlen::max-chain-depth-1-exhausted"}},
    {"a form that only issuers must keep: key identifiers",
     {"rfc5280::aki::leaf-missing-aki", "rfc5280::aki::intermediate-missing-aki",
      "rfc5280::ski::root-missing-ski", "rfc5280::ski::intermediate-missing-ski",
      "webpki::aki::root-with-aki-missing-keyidentifier"}},
    {"a form that only issuers must keep: what must be critical",
     {"rfc5280::nc::permitted-dns-match-noncritical", "rfc5280::nc::not-allowed-in-ee-noncritical",
      "rfc5280::nc::not-allowed-in-ee-critical", "rfc5280::pc::ica-noncritical-pc",
      "rfc5280::san::noncritical-with-empty-subject",
      "rfc5280::root-non-critical-basic-constraints",
      "webpki::san::san-critical-with-nonempty-subject"}},
    {"a form that only issuers must keep: numbers, versions, marks",
     {"rfc5280::serial::too-long", "rfc5280::serial::zero", "webpki::v1-cert",
      "webpki::malformed-aia", "rfc5280::root-missing-basic-constraints",
      "rfc5280::leaf-ku-keycertsign", "webpki::ee-basicconstraints-ca"}},
    {"extended key usages beside the one needed do no harm",
     {"webpki::eku::ee-anyeku", "webpki::eku::ee-critical-eku", "webpki::eku::ee-without-eku",
      "webpki::eku::root-has-eku"}},
    {"the common name does not count where there are alternative names",
     {"webpki::cn::ipv4-hex-mismatch", "webpki::cn::ipv4-leading-zeros-mismatch",
      "webpki::cn::ipv6-uppercase-mismatch", "webpki::cn::ipv6-uncompressed-mismatch",
      "webpki::cn::ipv6-non-rfc5952-mismatch", "webpki::cn::punycode-not-in-san",
      "webpki::cn::utf8-vs-punycode-mismatch", "webpki::cn::not-in-san",
      "webpki::cn::case-mismatch"}},
    {"the common name counts where there are no alternative names", {"webpki::san::no-san"}},
    {"OpenSSL matches a star beside letters in the first label",
     {"webpki::san::wildcard-embedded-leftmost-san"}},
    {"no list of public suffixes is kept",
     {"webpki::san::public-suffix-multi-label-wildcard-san",
      "webpki::san::public-suffix-private-namespace-wildcard-san"}},
    {"names and constraints of odd forms are compared as they stand",
     {"rfc5280::san::underscore-dns", "rfc5280::nc::invalid-dnsname-leading-period",
      "rfc5280::nc::nc-permits-invalid-dns-san", "rfc5280::nc::nc-forbids-dnsname-wildcard-san",
      "cve::cve-2025-61727", "webpki::nc::intermediate-permitted-excluded-subtrees-both-null",
      "webpki::nc::intermediate-permitted-excluded-subtrees-both-empty-sequences"}},
    {"1024 bits of RSA and 163 bits of EC suffice",
     {"webpki::forbidden-p192-root", "webpki::forbidden-p192-leaf",
      "webpki::forbidden-weak-rsa-key-in-root", "webpki::forbidden-weak-rsa-in-leaf",
      "webpki::forbidden-rsa-not-divisible-by-8-in-root",
      "webpki::forbidden-rsa-key-not-divisible-by-8-in-leaf"}},

    // Less is trusted than asked.
    {"a host name is always looked for",
     {"rfc5280::nc::permitted-dn-match", "rfc5280::nc::nc-permits-email-exact",
      "rfc5280::nc::nc-permits-email-domain",
      "rfc5280::nc::nc-permits-email-literal-asterisk-exact-match",
      "rfc5280::nc::nc-permits-email-literal-double-asterisk",
      "rfc5280::nc::nc-permits-email-literal-mid-asterisk"}},
    {"a server's key must be meant for servers",
     {"pathlen::validation-ignores-pathlen-in-leaf", "rfc5280::ca-as-leaf"}},
    {"a certificate has expired in its last second",
     {"rfc5280::validity::notafter-exact", "rfc5280::validity::notafter-fractional"}},
    {"one way up the chain is tried, and it ends at a self-signed root",
     {"cve::cve-2024-0567", "rfc5280::nc::nc-forbids-alternate-chain-ica",
      "rfc5280::nc::nc-forbids-same-chain-ica", "rfc5280::root-and-intermediate-swapped"}},
};

} // namespace trust
