#include "soft_token.h"

#include "minting.h"
#include "system.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace signing {

namespace fs = std::filesystem;

namespace {

constexpr const char *variable = "SOFTHSM2_CONF";

/// Has one of the tools that manage tokens do something.
void manage(const std::string &command) {
    const std::string said = test_support::output_of(command + " --pin " + SoftToken::pin +
                                                     " 2>&1 && echo and has done so");
    if (!said.ends_with("and has done so\n"))
        throw std::runtime_error(command + ": " + said);
}

/// Stores what stands in a text on the token.
void store(const std::string &text, const std::string &type, const std::string &name, int id,
           const fs::path &folder) {
    const std::string file = (folder / "object.pem").string();
    std::ofstream(file) << text;
    manage("pkcs11-tool --module " SOFTHSM2_MODULE " --login --write-object " + file + " --type " +
           type + " --label " + name + " --id 0" + std::to_string(id));
}

} // namespace

SoftToken::SoftToken() : folder_(test_support::fresh_folder()) {
    fs::create_directory(folder_ / "tokens");
    std::ofstream(folder_ / "softhsm2.conf")
        << "directories.tokendir = " << (folder_ / "tokens").string() << "\nlog.level = ERROR\n";
    setenv(variable, (folder_ / "softhsm2.conf").c_str(), 1);
    manage("softhsm2-util --init-token --free --label 'Test card' --so-pin 0815-0815");

    using test_support::trusted_root;
    const auto client = [](const char *key, const test_support::Identity &issuer) {
        return broker_sim::mint_certificate({.common_name = "Test client"},
                                            broker_sim::shared_key(key), issuer);
    };
    const auto issuer = test_support::authority(trusted_root());
    const struct {
        const char *name;
        int id;
        test_support::Identity identity;
        bool has_key = true;
    } objects[] = {{"log-in", 1, client("rsa-2048", trusted_root())},
                   {"orphan", 2, client("rsa-2048", trusted_root()), false},
                   {"p256", 4, client("ec-p256", trusted_root())},
                   {"p384", 5, client("ec-secp384r1", issuer)},
                   {"issuer", 9, issuer, false},
                   {"root", 8, trusted_root(), false}};
    for (const auto &[name, id, identity, has_key] : objects) {
        certificates_[name] = test_support::der_of(identity);
        store(identity.certificate_pem(), "cert", name, id, folder_);
        if (has_key)
            store(identity.key_pem(), "privkey", "key", id, folder_);
    }
}

SoftToken::~SoftToken() {
    unsetenv(variable);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

std::string SoftToken::module_path() {
    return SOFTHSM2_MODULE;
}

std::string SoftToken::uri(const std::string &object, const std::string &module) {
    return "pkcs11:token=Test%20card;object=" + object + "?module-path=" + module;
}

} // namespace signing
