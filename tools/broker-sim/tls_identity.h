#pragma once
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace broker_sim {

using KeyPtr = std::shared_ptr<EVP_PKEY>;
using CertificatePtr = std::shared_ptr<X509>;

/// A certificate with its private key.
struct Identity {
    KeyPtr key;
    CertificatePtr certificate;

    std::string certificate_pem() const;
    std::string key_pem() const;
};

/// What a certificate says. Names that are IP addresses become IP entries, others DNS entries.
struct Subject {
    std::string common_name{};
    std::vector<std::string> names{};
    bool authority = false;
    int valid_from_days = -1; ///< relative to now
    int valid_to_days = 30;
    /// In OpenSSL's configuration syntax by NID, in place of the usual ones.
    std::map<int, std::string> extensions{};
    /// That the issuer signs with, by OpenSSL's name.
    std::string digest = "SHA256";
};

/// "rsa-BITS", "ec-p256", "ec-CURVE" with a curve by OpenSSL's name, or "ed25519". Each kind is
/// generated once a process, because RSA keys are slow to make; where the variable
/// KAVRO_BROKER_SIM_KEYS names a folder, it is kept there for processes to come.
KeyPtr shared_key(const std::string &kind);

/// Makes a key of its own on every call.
KeyPtr generate_key(const std::string &kind);

Identity mint_self_signed(const Subject &subject, KeyPtr key);
Identity mint_certificate(const Subject &subject, KeyPtr key, const Identity &issuer);

/// An EC P-256 authority with a key of its own.
Identity mint_authority(const std::string &common_name);

} // namespace broker_sim
