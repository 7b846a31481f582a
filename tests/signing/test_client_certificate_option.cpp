#include "cli/cli_run.h"
#include "demanding.h"
#include "soft_token.h"

#include <gmock/gmock.h>
#include <openssl/ssl.h>

#include <cstdlib>

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
    const ScriptedPeer peer({welcome("Connection: close\r\n")}, demanding("RSA-PSS+SHA256"));
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
        int min_version = 0, max_version = TLS1_2_VERSION;
        const char *shown = "log-in";
    };
    const std::string p256 = SoftToken::uri("p256"), p384 = SoftToken::uri("p384");
    const Case cases[] = {
        {uri, pin, 0, ""},
        {uri + "&pin-source=fd:{fd}", none, 0, ""},
        {card + ";object=log-in", pin_and_module, 0, ""},
        // The module is one that is registered.
        {card + ";id=%01", pin, 0, "", SoftToken::pin, "RSA+SHA384"},
        {uri, pin, 0, "", SoftToken::pin, "RSA+SHA512"},
        {uri, pin, 0, "", SoftToken::pin, "RSA-PSS+SHA384"},
        {uri, pin, 0, "", SoftToken::pin, "", TLS1_3_VERSION, 0},
        {p256, pin, 0, "", SoftToken::pin, "", TLS1_3_VERSION, 0, "p256"},
        {p256, pin, 0, "", SoftToken::pin, "ECDSA+SHA512", 0, TLS1_2_VERSION, "p256"},
        {p384, pin, 0, "", SoftToken::pin, "", TLS1_3_VERSION, 0, "p384"},
        {p384, pin, 0, "", SoftToken::pin, "ECDSA+SHA512", 0, TLS1_2_VERSION, "p384"},
        {"", none, 2, "KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED"},
        {"", pin, 1, "--client-certificate"},
        {uri, none, 8, "give --token-pin-fd"},
        {uri, pin, 1, "The token Test card cannot be unlocked", "0000\n"},
        {uri, pin, 1, "it is at its end", ""},
        {uri + "&pin-value=4711", none, 1, "does not belong on the comm"},
        {uri + "&pin-source=/etc/pin", none, 1, "must be a descriptor"},
        {uri + "&pin-source=fd:3x", none, 1, "must be a descriptor"},
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
        const ScriptedPeer peer({welcome("Connection: close\r\n")},
                                demanding(row.signatures, row.min_version, row.max_version));
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
            EXPECT_EQ(peer.record(0).client_certificate, token_.certificate(row.shown));
        }
    }
}

TEST_F(ClientCertificateOption, outlives_a_hostile_module) {
    const struct {
        const char *misdeed;
        int status;
        const char *told;
        const char *key = "log-in";
    } rows[] = {
        {"no such list", 1, "cannot be loaded"},
        {"C_Initialize", 1, "does not start"},
        {"C_GetInfo", 1, "No token has the certificate"},
        {"C_GetSlotList", 1, "does not tell its tokens"},
        {"C_GetTokenInfo", 1, "No token has the certificate"},
        {"C_OpenSession", 1, "cannot be opened"},
        {"C_FindObjectsInit", 1, "cannot be searched"},
        {"C_FindObjects", 1, "cannot be searched"},
        {"C_GetAttributeValue", 1, "does not tell an attribute"},
        {"C_Login", 1, "cannot be unlocked"},
        {"C_SignInit", 2, "The token does not sign: "},
        {"C_Sign", 2, "does not sign"},
        {"endless slots", 1, "of its size cannot be"},
        {"objects beyond the room", 1, "of its size cannot be"},
        {"endless objects", 1, "names several certificates"},
        {"attribute not there", 1, "of its size cannot be"},
        {"huge attribute", 1, "of its size cannot be"},
        {"attribute beyond the room", 1, "of its size cannot be"},
        {"no certificate", 1, "The client certificate cannot be used"},
        {"huge signature", 2, "of its size cannot be"},
        {"signature beyond the room", 2, "of its size cannot be"},
        {"short signature", 2, "TLS_HANDSHAKE_FAILED"},
        {"short signature", 2, "another length than the key's", "p256"},
        {"no signature", 2, "another length than the key's", "p256"},
        {"C_GetMechanismInfo", 0, ""}, // then it signs as every token does
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.misdeed);
        setenv("HOSTILE_MODULE", row.misdeed, 1);
        const ScriptedPeer peer({welcome("Connection: close\r\n")},
                                demanding("", 0, TLS1_2_VERSION));
        const auto outcome = run({"logout", "--broker", peer.address(), "--client-certificate",
                                  SoftToken::uri(row.key, HOSTILE_MODULE), "--token-pin-fd",
                                  std::to_string(descriptor_with(SoftToken::pin))});
        EXPECT_EQ(outcome.status, row.status) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(row.told));
    }
}

} // namespace
} // namespace signing
