#include "application.h"
#include "cli/terminal_program.h"
#include "signing_test.h"
#include "soft_token.h"
#include "system.h"

#include <gmock/gmock.h>
#include <openssl/x509.h>

#include <chrono>
#include <cstdlib>
#include <sstream>

// The command-line client with a certificate on a token, against servers that demand one.

namespace signing {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

class ClientCertificateOption : public testing::Test {
protected:
    struct Outcome {
        int status;
        std::string err;
    };

    /// Runs with nobody to ask, and this text to be read as the PIN.
    Outcome run(std::vector<std::string> options, const std::string &pin) const {
        const int descriptor = descriptor_with(pin);
        for (std::string &option : options) {
            if (const auto at = option.find("{fd}"); at != std::string::npos)
                option.replace(at, 4, std::to_string(descriptor));
        }
        std::ostringstream out;
        std::ostringstream err;
        kavro_cli::Interruption interruption;
        options.insert(options.begin(), {"logout", "--broker", peer_.address()});
        const int status = kavro_cli::run_application(
            options, {.out = out, .err = err, .console = nullptr, .interruption = interruption});
        close_descriptor(descriptor);
        return {status, err.str()};
    }

    SoftToken token_;
    TrustedCa trusted_;
    ScriptedPeer peer_{{welcome()}, demanding("RSA+SHA256")};
};

TEST_F(ClientCertificateOption, asks_for_the_pin_without_showing_it) {
    const auto variable = [](const char *name) {
        return std::string(name) + "=" + std::getenv(name);
    };
    TerminalProgram program({KAVRO_BROKER_PROGRAM, "logout", "--broker", peer_.address(),
                             "--client-certificate", SoftToken::uri("log-in")},
                            {"TERM=xterm", token_.environment(),
                             variable(X509_get_default_cert_file_env()),
                             variable(X509_get_default_cert_dir_env())});
    ASSERT_TRUE(program.wait_for("PIN of the token Test card: ")) << program.screen();
    EXPECT_FALSE(program.echoes());
    program.type(std::string(SoftToken::pin) + "\n");
    EXPECT_EQ(program.wait_for_exit(20s), 0) << program.screen();
    EXPECT_THAT(program.screen(), Not(HasSubstr(SoftToken::pin)));
    EXPECT_EQ(peer_.record(0).client_certificate, token_.certificate());
}

TEST_F(ClientCertificateOption, takes_pin_and_module_from_the_command_line) {
    const std::string good = std::string(SoftToken::pin) + "\n";
    const std::string uri = SoftToken::uri("log-in");
    const std::string card = "pkcs11:token=Test%20card";
    struct Case {
        std::vector<std::string> options;
        std::string pin;
        int status;
        const char *told;
    };
    const Case cases[] = {
        {{"--client-certificate", uri, "--token-pin-fd", "{fd}"}, good, 0, ""},
        {{"--client-certificate", uri + "&pin-source=fd:{fd}"}, good, 0, ""},
        {{"--client-certificate", card + ";object=log-in", "--pkcs11-module",
          SoftToken::module_path(), "--token-pin-fd", "{fd}"},
         good,
         0,
         ""},
        {{}, good, 2, "KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED"},
        {{"--client-certificate", uri}, good, 8, "give --token-pin-fd"},
        {{"--client-certificate", uri, "--token-pin-fd", "{fd}"},
         "0000\n",
         1,
         "cannot be unlocked"},
        {{"--client-certificate", uri, "--token-pin-fd", "{fd}"}, "", 1, "it is at its end"},
        {{"--client-certificate", uri + "&pin-value=4711"}, good, 1, "does not belong on the comm"},
        {{"--client-certificate", uri + "&pin-source=/etc/pin"}, good, 1, "must be a descriptor"},
        {{"--client-certificate", uri + "&pin-source=fd:3x"}, good, 1, "must be a descriptor"},
        {{"--client-certificate", card + ";object=none"}, good, 1, "No token has the certificate"},
        {{"--client-certificate", SoftToken::uri("mute"), "--token-pin-fd", "{fd}"},
         good,
         2,
         "The token does not sign: "},
        {{"--token-pin-fd", "{fd}"}, good, 1, "--client-certificate"},
    };
    for (const Case &row : cases) {
        SCOPED_TRACE(testing::PrintToString(row.options));
        const std::size_t before = peer_.connection_count();
        const auto outcome = run(row.options, row.pin);
        EXPECT_EQ(outcome.status, row.status) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(row.told));
        EXPECT_THAT(outcome.err, Not(HasSubstr("4711")));
        if (row.status == 0) {
            EXPECT_EQ(peer_.record(before).client_certificate, token_.certificate());
        }
    }
}

} // namespace
} // namespace signing
