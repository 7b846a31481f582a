#include "cli/cli_run.h"
#include "demanding.h"
#include "soft_token.h"

#include <gmock/gmock.h>

// The command-line client with a certificate on a token, against servers that demand one.

namespace signing {
namespace {

using testing::HasSubstr;
using testing::Not;

class ClientCertificateOption : public CliTest {
protected:
    SoftToken token_;
    TrustedCa trusted_;
};

TEST_F(ClientCertificateOption, asks_for_the_pin_without_showing_it) {
    const ScriptedPeer peer({welcome("Connection: close\r\n")}, demanding("RSA+SHA256"));
    const auto outcome = run(
        {"logout", "--broker", peer.address(), "--client-certificate", SoftToken::uri("log-in")},
        std::string(SoftToken::pin) + "\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.shown, "PIN of the token Test card: \n");
    EXPECT_EQ(peer.record(0).client_certificate, token_.certificate());
}

TEST_F(ClientCertificateOption, takes_pin_and_module_from_the_command_line) {
    const std::string card = "pkcs11:token=Test%20card";
    const std::string module = "module-path=" + SoftToken::module_path();
    const std::string uri = SoftToken::uri("log-in");
    const std::vector<std::string> none, pin{"--token-pin-fd", "{fd}"};
    const std::vector<std::string> pin_and_module{"--token-pin-fd", "{fd}", "--pkcs11-module",
                                                  SoftToken::module_path()};
    struct Case {
        std::string uri;
        std::vector<std::string> options;
        int status;
        const char *told;
        std::string pin = SoftToken::pin;
        const char *signatures = "RSA+SHA256";
    };
    const Case cases[] = {
        {uri, pin, 0, ""},
        {uri + "&pin-source=fd:{fd}", none, 0, ""},
        {card + ";object=log-in", pin_and_module, 0, ""},
        // The module is one that is registered.
        {card + ";id=%01", pin, 0, "", SoftToken::pin, "RSA+SHA384"},
        {uri, pin, 0, "", SoftToken::pin, "RSA+SHA512"},
        {"", none, 2, "KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED"},
        {"", pin, 1, "--client-certificate"},
        {uri, none, 8, "give --token-pin-fd"},
        {uri, pin, 1, "The token Test card cannot be unlocked", "0000\n"},
        {uri, pin, 1, "it is at its end", ""},
        {uri + "&pin-value=4711", none, 1, "does not belong on the comm"},
        {uri + "&pin-source=/etc/pin", none, 1, "must be a descriptor"},
        {uri + "&pin-source=fd:3x", none, 1, "must be a descriptor"},
        {SoftToken::uri("mute"), pin, 2, "The token does not sign: "},
        {SoftToken::uri("orphan"), pin, 1, "no RSA key to sign with"},
        // None of these asks for a PIN.
        {"card:1", none, 1, "The PKCS #11 URI cannot be read"},
        {"pkcs11:token=%zz", none, 1, "The PKCS #11 URI cannot be read"},
        {"pkcs11:colour=red?" + module, none, 1, "does not name a certificate"},
        {"pkcs11:?module-path=/nowhere.so", none, 1, "/nowhere.so cannot be loaded"},
        {"pkcs11:token=Other;object=log-in?" + module, none, 1, "No token has the certificate"},
        {SoftToken::uri("other"), none, 1, "No token has the certificate"},
        {card + "?" + module, none, 1, "names several certificates"},
    };
    for (const Case &row : cases) {
        SCOPED_TRACE(row.uri + " " + row.told);
        const ScriptedPeer peer({welcome("Connection: close\r\n")}, demanding(row.signatures));
        Lines arguments{"logout", "--broker", peer.address()};
        if (!row.uri.empty())
            arguments.insert(arguments.end(), {"--client-certificate", row.uri});
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        const std::string descriptor = std::to_string(descriptor_with(row.pin));
        for (std::string &argument : arguments)
            if (const auto at = argument.find("{fd}"); at != std::string::npos)
                argument.replace(at, 4, descriptor);
        const auto outcome = run(arguments);
        EXPECT_EQ(outcome.status, row.status) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(row.told));
        EXPECT_THAT(outcome.err, Not(HasSubstr("4711")));
        if (row.status == 0) {
            EXPECT_EQ(peer.record(0).client_certificate, token_.certificate());
        }
    }
}

} // namespace
} // namespace signing
