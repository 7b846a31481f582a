#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace signing {

/// A PKCS #11 token in files of a temporary folder. On it are trusted certificates with their key
/// pairs: "log-in" (RSA), "p256" and "p384", which an authority has issued that is there as well.
/// "orphan" is without a key.
class SoftToken {
public:
    SoftToken();
    ~SoftToken();
    SoftToken(const SoftToken &) = delete;
    SoftToken &operator=(const SoftToken &) = delete;

    static constexpr const char *pin = "4711-4711";

    static std::string module_path();
    /// The URI of an object, with the module's path in it.
    static std::string uri(const std::string &object, const std::string &module = module_path());

    const std::vector<std::uint8_t> &certificate(const std::string &object = "log-in") const {
        return certificates_.at(object);
    }

private:
    std::filesystem::path folder_;
    std::map<std::string, std::vector<std::uint8_t>> certificates_;
};

} // namespace signing
