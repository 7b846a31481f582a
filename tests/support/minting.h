#pragma once

#include <openssl/types.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

/// What a TLS server needs to show itself, as PEM text.
struct ServerIdentity {
    std::string certificate;
    std::string key;
};

/// The authority that the tests trust; made once a process.
const std::string &trusted_authority();

/// Certificates for RSA-2048, the kind that the client's cipher list serves; the key is made once a
/// process. Names that are addresses become address entries.
ServerIdentity trusted_server(const std::vector<std::string> &names);
/// By an authority of the same make that nobody trusts.
ServerIdentity untrusted_server(const std::vector<std::string> &names);
ServerIdentity self_signed_server(const std::vector<std::string> &names);
ServerIdentity expired_server(const std::vector<std::string> &names);

std::vector<std::uint8_t> der_of(const X509 *certificate);

/// A client's certificate in DER form, by the trusted authority. Of the key only the public half is
/// needed.
std::vector<std::uint8_t> trusted_client(std::shared_ptr<EVP_PKEY> key);

/// Makes one authority the only one that OpenSSL's default paths lead to, for as long as it lives.
class TrustedCa {
public:
    explicit TrustedCa(const std::string &authority = trusted_authority());
    ~TrustedCa();
    TrustedCa(const TrustedCa &) = delete;
    TrustedCa &operator=(const TrustedCa &) = delete;

private:
    std::filesystem::path folder_;
    std::optional<std::string> file_before_;
    std::optional<std::string> folder_before_;
};

} // namespace test_support
