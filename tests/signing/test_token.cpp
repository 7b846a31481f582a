#include "signing_test.h"
#include "soft_token.h"
#include "token_signer.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace signing {
namespace {

using testing::HasSubstr;
using token::TokenError;
using token::TokenSigner;
using token::TokenUri;

void tell_pin(const std::string &, const TokenSigner::LogIn &log_in) {
    log_in(SoftToken::pin);
}

class OnToken : public SigningTest {
protected:
    static int sign(void *context, const uint8_t *digest, std::size_t digest_length,
                    uint8_t *signature, std::size_t *signature_length) {
        const auto made = static_cast<TokenSigner *>(context)->sign({digest, digest_length});
        *signature_length = made.size();
        std::ranges::copy(made, signature);
        return 1;
    }

    SoftToken token_;
};

TEST_F(OnToken, a_key_that_never_leaves_the_token_signs_handshakes) {
    // The module is one that is registered.
    TokenSigner signer(TokenUri("pkcs11:token=Test%20card;id=%01"), {}, &tell_pin);
    EXPECT_EQ(signer.certificate(), token_.certificate());
    ASSERT_EQ(use(signer.certificate(), &OnToken::sign, &signer), KAVRO_BROKER_OK);
    for (const char *signatures : {"RSA+SHA256", "RSA+SHA384", "RSA+SHA512"}) {
        SCOPED_TRACE(signatures);
        PeerRecord seen;
        EXPECT_EQ(greet(demanding(signatures), seen), KAVRO_BROKER_OK);
        EXPECT_EQ(seen.client_certificate, token_.certificate());
    }
}

TEST_F(OnToken, what_is_wrong_is_told_in_a_sentence) {
    const auto wrong_pin = [](const std::string &name, const TokenSigner::LogIn &log_in) {
        EXPECT_EQ(name, "Test card");
        log_in("0000");
    };
    const auto unasked = [](const std::string &, const TokenSigner::LogIn &) {
        ADD_FAILURE() << "The PIN was asked for, for nothing.";
    };
    struct Case {
        std::string uri;
        TokenSigner::AskPin ask_pin;
        const char *sentence;
    };
    const std::string query = "?module-path=" + SoftToken::module_path();
    const Case cases[] = {
        {"card:1", unasked, "The PKCS #11 URI cannot be read"},
        {"pkcs11:token=%zz", unasked, "The PKCS #11 URI cannot be read"},
        {"pkcs11:colour=red" + query, unasked, "does not name a certificate"},
        {"pkcs11:?module-path=/nowhere.so", unasked, "/nowhere.so cannot be loaded"},
        {"pkcs11:token=Other;object=log-in" + query, unasked, "No token has the certificate"},
        {SoftToken::uri("other"), unasked, "No token has the certificate"},
        {"pkcs11:token=Test%20card" + query, unasked, "names several certificates"},
        {SoftToken::uri("log-in"), wrong_pin, "The token Test card cannot be unlocked"},
        {SoftToken::uri("orphan"), &tell_pin, "no RSA key to sign with"},
    };
    for (const Case &row : cases) {
        SCOPED_TRACE(row.uri);
        try {
            const TokenSigner signer(TokenUri(row.uri), {}, row.ask_pin);
            ADD_FAILURE() << "opened";
        } catch (const TokenError &error) {
            EXPECT_THAT(error.what(), HasSubstr(row.sentence));
        }
    }
    TokenSigner signer(TokenUri(SoftToken::uri("log-in")), {}, &tell_pin);
    const std::vector<uint8_t> digest_of_another_hash(20);
    EXPECT_THROW(signer.sign(digest_of_another_hash), TokenError);
}

} // namespace
} // namespace signing
