#pragma once

#include "tls_identity.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Chains as servers may show them, minted for a test, and whom the client trusts.

namespace test_support {

using broker_sim::Identity;

/// What a TLS server needs to show itself, as PEM text.
struct ServerIdentity {
    std::string certificate;
    std::string key;
};

inline const std::string literal_host = "127.0.0.1";

/// Authorities with EC keys; made once a process. Only the first is to be trusted.
const Identity &trusted_root();
const Identity &strange_root();

struct Authority {
    std::string key = "ec-p256";
    std::map<int, std::string> extensions{};
    int valid_from_days = -1; ///< relative to now
    int valid_to_days = 30;
};

/// The key is of the kind that the client's cipher list serves.
struct Server {
    std::vector<std::string> names{literal_host};
    std::string key = "rsa-2048";
    std::map<int, std::string> extensions{};
    std::string digest = "SHA256";
    std::string common_name = "Test server";
    int valid_from_days = -1;
    int valid_to_days = 30;
};

/// An intermediate authority.
Identity authority(const Identity &issuer, const Authority &wanted = {});
Identity server(const Identity &issuer, const Server &wanted = {});
Identity self_signed(const Server &wanted = {});

/// The certificate with its last byte changed, which is in its signature.
Identity with_bad_signature(const Identity &identity);

/// What a server shows: its own certificate and those of the issuers that it sends along.
ServerIdentity shown(const Identity &leaf, const std::vector<Identity> &further = {});

inline ServerIdentity trusted_server(const Server &wanted = {}) {
    return shown(server(trusted_root(), wanted));
}
inline ServerIdentity untrusted_server(const Server &wanted = {}) {
    return shown(server(strange_root(), wanted));
}

std::vector<std::uint8_t> der_of(const X509 *certificate);
std::vector<std::uint8_t> der_of(const Identity &identity);

/// Whether a chain from this certificate to an anchor of the store holds.
bool trusts(X509_STORE *store, const Identity &leaf);

/// A client's certificate in DER form, by the trusted authority. Of the key only the public half is
/// needed.
std::vector<std::uint8_t> trusted_client(std::shared_ptr<EVP_PKEY> key);

/// Makes one authority the only one that OpenSSL's default paths lead to, for as long as it lives.
class TrustedCa {
public:
    explicit TrustedCa(const std::string &authority_pem = trusted_root().certificate_pem());
    ~TrustedCa();
    TrustedCa(const TrustedCa &) = delete;
    TrustedCa &operator=(const TrustedCa &) = delete;

private:
    std::filesystem::path folder_;
    std::optional<std::string> file_before_;
    std::optional<std::string> folder_before_;
};

} // namespace test_support
