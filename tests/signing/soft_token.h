#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace signing {

/// A PKCS #11 token in files of a temporary folder. On it is a trusted certificate with its key
/// pair
/// ("log-in"), again with a key that may not sign ("mute"), and again without one ("orphan").
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

private:
    std::filesystem::path folder_;
    std::vector<std::uint8_t> certificate_;
};

} // namespace signing
