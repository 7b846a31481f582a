// What OpenSSL 3 has in place of the EC functions knows no degree of a curve.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "trust/key_length.h"

#include "utils/src/broker_log.h"

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

namespace kavro {

namespace {

constexpr int min_rsa_bits = 1024;
constexpr int min_ec_bits = 163;

constexpr LogChannel log_refusal{LogCategory::general, LogSeverity::info, generic_error};

/// One kind of key, and how long it must be. Logged as the kind that it is.
bool is_long_enough(const char *kind, int bits, int minimum) {
    if (bits >= minimum)
        log_verbose("Valid certificate %s key length=%d", kind, bits);
    else
        log_refusal("Certificate invalid: %s key length=%d < MIN %d", kind, bits, minimum);
    return bits >= minimum;
}

bool refuse(const char *reason) {
    log_refusal("%s", reason);
    return false;
}

/// The curve's degree counts, which the bits of its order may exceed or fall short of by one.
bool is_long_enough_curve(const EVP_PKEY *key) {
    const EC_KEY *const shown = EVP_PKEY_get0_EC_KEY(const_cast<EVP_PKEY *>(key));
    if (shown == nullptr)
        return refuse("Certificate invalid: Could not extract EC key");
    return is_long_enough("EC", EC_GROUP_get_degree(EC_KEY_get0_group(shown)), min_ec_bits);
}

} // namespace

/// The exact length in bits counts: a modulus of 1023 bits fills as many bytes as one of 1024.
bool key_long_enough(const X509 *certificate, bool rsa_only) {
    const EVP_PKEY *key = X509_get0_pubkey(certificate);
    if (key == nullptr)
        return refuse("Certificate invalid: unable to extract key");
    const int type = EVP_PKEY_base_id(key);
    if (type == EVP_PKEY_RSA)
        return is_long_enough("RSA", EVP_PKEY_bits(key), min_rsa_bits);
    if (rsa_only)
        return refuse("Certificate invalid: key type != RSA");
    if (type == EVP_PKEY_EC)
        return is_long_enough_curve(key);
    log_refusal("Unknown key type: %d", type);
    return false;
}

} // namespace kavro
