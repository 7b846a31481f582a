#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace signing {

/// A PKCS #11 token in files of a temporary folder. On it are a key pair that was made there with
/// a trusted certificate ("log-in"), another that may not sign ("mute"), and a certificate without
/// a key ("orphan").
class SoftToken {
public:
    SoftToken();
    ~SoftToken();
    SoftToken(const SoftToken &) = delete;
    SoftToken &operator=(const SoftToken &) = delete;

    static constexpr const char *pin = "4711-4711";

    static std::string module_path();
    /// The URI of an object, with the module's path in it.
    static std::string uri(const std::string &object);

    /// The trusted one.
    const std::vector<std::uint8_t> &certificate() const { return certificate_; }
    /// "NAME=VALUE", for processes that shall find the token as this one does.
    std::string environment() const;

private:
    std::filesystem::path folder_;
    std::vector<std::uint8_t> certificate_;
};

} // namespace signing
