#pragma once

#include "trust/certificate_error.h"
#include "utils/src/cert_store_cache.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The rules by which a server's certificate chain is judged, as functions over what is known of one
// certificate: no TLS library object, no clock, no file.

namespace kavro {

enum class VerificationOutcome {
    not_checked = 0,        ///< the connection was made without verification
    passed = 1,             ///< verified, nothing failed
    failed = 2,             ///< the server is rejected
    failed_but_warnable = 3 ///< a fault that the user may accept
};

const char *outcome_name(VerificationOutcome outcome);

/// What the caller's pins say of the server's own key.
enum class PinnedKey { nothing, is_shown, is_not_shown };

/// What the TLS library and the checks beside it say of one certificate at one call.
struct CertificateFacts {
    bool preverified = false;      ///< the TLS library's own verdict
    bool platform_trusted = false; ///< the platform verifier's, asked only when that is false
    int error = 0;                 ///< X509_V_ERR_..., of the TLS library
    std::string error_text;        ///< its words for it
    int depth = 0;                 ///< 0 is the server's own
    bool self_signed = false;      ///< subject and issuer are the same
    bool host_matches = true;      ///< at depth 0
    bool key_long_enough = true;
    PinnedKey pinned = PinnedKey::nothing;
    StoredCertificate stored = StoredCertificate::none; ///< at depth 0, for View brokers only

    bool trusted() const { return preverified || platform_trusted; }
};

/// The verdict on one handshake as it grows from call to call. It only ever gets worse.
struct ChainVerdict {
    VerificationOutcome outcome = VerificationOutcome::passed;
    std::vector<std::uint32_t> codes; ///< eCERTIFICATE_ERROR by depth
    std::string error_text;           ///< the last reason
    bool self_signed_single = false;  ///< the whole chain is one self-signed certificate
    bool self_signed_chain = false;   ///< a self-signed certificate further up
    bool unknown_ca = false;
};

/// What became of one certificate.
struct Judgement {
    bool host_ok = true;
    bool accepted = false;
    bool to_be_stored = false;       ///< View brokers: remember it for this host
    bool stored_as_accepted = false; ///< and that nothing was wrong with it
};

/// What an error of the TLS library (X509_V_ERR_...) is reported as.
eCERTIFICATE_ERROR certificate_error(int x509_error);

Judgement judge_pbp(const CertificateFacts &facts, ChainVerdict &verdict);

/// Refuses the server's own certificate, whatever else is wrong.
/// @param error a pinned key's or a stapled status's.
void refuse(ChainVerdict &verdict, eCERTIFICATE_ERROR error);

/// The rules for View brokers, with CertStoreCache as their memory. HttpsXmlClient::connect() is
/// told to use them by nobody in this library: they are there for a client of View brokers that
/// connects through it.
Judgement judge_view(const CertificateFacts &facts, ChainVerdict &verdict);

} // namespace kavro
