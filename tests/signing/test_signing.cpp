#include "demanding.h"
#include "requests.h"
#include "text_of.h"

#include <gmock/gmock.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>

namespace signing {
namespace {

using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Key = std::shared_ptr<EVP_PKEY>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)>;

Key own(EVP_PKEY *key) {
    return {key, EVP_PKEY_free};
}

/// Knows PSS only, and says so in the certificate.
Key make_pss_key() {
    const KeyContext context(EVP_PKEY_CTX_new_id(EVP_PKEY_RSA_PSS, nullptr), EVP_PKEY_CTX_free);
    EVP_PKEY *key = nullptr;
    EVP_PKEY_keygen_init(context.get());
    EVP_PKEY_keygen(context.get(), &key);
    return own(key);
}

const EVP_MD *hash_of_length(std::size_t length) {
    for (const EVP_MD *hash : {EVP_sha256(), EVP_sha384(), EVP_sha512()}) {
        if (static_cast<std::size_t>(EVP_MD_get_size(hash)) == length)
            return hash;
    }
    return nullptr;
}

/// A client's key in software. It signs well, and then spoils it when told to.
struct Signer {
    using Misdeed = std::function<int(uint8_t *signature, std::size_t *length)>;

    Key key = own(EVP_RSA_gen(2048));
    std::vector<uint8_t> certificate = trusted_client(key);
    std::vector<std::size_t> digest_lengths{}; ///< of everything it was asked to sign
    Misdeed afterwards{};

    static int sign(void *context, const uint8_t *digest, std::size_t digest_length,
                    uint8_t *signature, std::size_t *signature_length) {
        auto &self = *static_cast<Signer *>(context);
        self.digest_lengths.push_back(digest_length);
        const KeyContext signing(EVP_PKEY_CTX_new(self.key.get(), nullptr), EVP_PKEY_CTX_free);
        EVP_PKEY_sign_init(signing.get());
        EVP_PKEY_CTX_set_rsa_padding(signing.get(), RSA_PKCS1_PADDING);
        EVP_PKEY_CTX_set_signature_md(signing.get(), hash_of_length(digest_length));
        const int result =
            EVP_PKEY_sign(signing.get(), signature, signature_length, digest, digest_length);
        return self.afterwards ? self.afterwards(signature, signature_length) : result;
    }
};

using Lengths = std::vector<std::size_t>;
using Bytes = std::vector<uint8_t>;

/// A handle, and servers that it trusts.
class Signing : public testing::Test {
protected:
    kavro_broker_result use(const std::vector<uint8_t> &certificate, Signer &signer) {
        return kavro_broker_use_signing_certificate(handle_.get(), certificate.data(),
                                                    certificate.size(), &Signer::sign, &signer);
    }
    kavro_broker_result use(Signer &signer) { return use(signer.certificate, signer); }

    /// A handshake with a server, and what that server saw.
    kavro_broker_result greet(const PeerTls &tls, PeerRecord &seen) {
        const ScriptedPeer peer({welcome()}, tls);
        // It also starts a new session: each broker is greeted.
        kavro_broker_set_client_info(handle_.get(), "test client", "1.0", "Linux");
        set_port(handle_, peer.port());
        const auto result = ask_method(handle_.get());
        seen = peer.record(0);
        return result;
    }

    void expect_usable() {
        PeerRecord seen;
        EXPECT_EQ(greet({}, seen), KAVRO_BROKER_OK);
    }

    TrustedCa trusted_;
    OwnedHandle handle_ = new_handle({});
};

TEST_F(Signing, the_server_gets_the_certificate_and_a_signature_over_the_bare_digest) {
    constexpr auto refused = KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED;
    const struct {
        const char *signatures;
        std::size_t digest_length; ///< 0 where a bare digest is not what the server wants
        int min_version = 0, max_version = 0;
        kavro_broker_result result = KAVRO_BROKER_OK;
    } rows[] = {
        {"RSA+SHA256", 32},
        {"RSA+SHA384", 48, 0, TLS1_2_VERSION},
        {"RSA+SHA512", 64},
        {"RSA-PSS+SHA512:RSA+SHA384", 48},
        {"", 32, 0, TLS1_2_VERSION}, // whatever OpenSSL asks of clients by itself
        {"", 32},
        {"RSA-PSS+SHA256:RSA-PSS+SHA384", 0, 0, TLS1_2_VERSION, refused},
        {"RSA-PSS+SHA256", 0, TLS1_3_VERSION, 0, refused},
        {"RSA+SHA1", 0, 0, TLS1_2_VERSION, refused},
    };
    Signer signer;
    ASSERT_EQ(use(signer), KAVRO_BROKER_OK);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.signatures);
        signer.digest_lengths.clear();
        PeerRecord seen;
        EXPECT_EQ(greet(demanding(row.signatures, row.min_version, row.max_version), seen),
                  row.result);
        EXPECT_EQ(seen.handshaken, row.digest_length != 0);
        EXPECT_EQ(seen.client_certificate, seen.handshaken ? signer.certificate : Bytes{});
        EXPECT_EQ(signer.digest_lengths.empty(), row.digest_length == 0);
        EXPECT_THAT(signer.digest_lengths, Each(row.digest_length));
        expect_usable();
    }
}

TEST_F(Signing, a_signer_that_misbehaves_ends_the_handshake_and_nothing_else) {
    const auto claims = [](std::size_t claimed) {
        return [claimed](uint8_t *, std::size_t *length) {
            *length = claimed;
            return 1;
        };
    };
    const std::pair<const char *, Signer::Misdeed> rows[] = {
        {"fails", [](uint8_t *, std::size_t *) { return 0; }},
        {"a result that is none", [](uint8_t *, std::size_t *) { return -1; }},
        {"nothing", claims(0)},
        {"too short", claims(255)},
        {"too long", claims(257)},
        {"far too long", claims(SIZE_MAX)},
        {"no signature, in all the room there is",
         [](uint8_t *signature, std::size_t *length) {
             std::fill_n(signature, *length, uint8_t{0xFF});
             return 1;
         }},
        {"throws", [](uint8_t *, std::size_t *) -> int { throw std::runtime_error("card gone"); }},
    };
    Signer signer;
    ASSERT_EQ(use(signer), KAVRO_BROKER_OK);
    for (const auto &[name, misdeed] : rows) {
        SCOPED_TRACE(name);
        signer.afterwards = misdeed;
        signer.digest_lengths.clear();
        PeerRecord seen;
        EXPECT_EQ(greet(demanding("RSA+SHA256"), seen), KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED);
        EXPECT_EQ(signer.digest_lengths, Lengths{32});
        EXPECT_FALSE(seen.handshaken);
        expect_usable();
    }
}

TEST_F(Signing, the_last_certificate_and_signer_that_can_be_used_are) {
    Signer first;
    Signer second;
    Signer none{.key = first.key, .certificate = first.certificate};
    Bytes two = first.certificate;
    two.insert(two.end(), first.certificate.begin(), first.certificate.end());
    const Bytes refused[] = {trusted_client(own(EVP_EC_gen("P-256"))),
                             trusted_client(make_pss_key()),
                             {0x30, 0x03, 0x02, 0x01, 0x00},
                             {first.certificate.begin(), first.certificate.end() - 1},
                             two};
    for (Signer *signer : {&first, &second, &first}) {
        ASSERT_EQ(use(*signer), KAVRO_BROKER_OK);
        for (const auto &certificate : refused)
            EXPECT_EQ(use(certificate, none), KAVRO_BROKER_ERR_INVALID_PARAMETER);
        PeerRecord seen;
        EXPECT_EQ(greet(demanding("RSA+SHA256"), seen), KAVRO_BROKER_OK);
        EXPECT_EQ(seen.client_certificate, signer->certificate);
        EXPECT_THAT(std::exchange(signer->digest_lengths, {}), Not(IsEmpty()));
        for (const Signer *other : {&first, &second, &none})
            EXPECT_THAT(other->digest_lengths, IsEmpty());
    }
}

TEST_F(Signing, a_certificate_that_tls_does_not_take_fails_before_anything_is_sent) {
    Signer weak{.key = own(EVP_RSA_gen(512))};
    ASSERT_EQ(use(weak), KAVRO_BROKER_OK);
    PeerRecord seen;
    EXPECT_EQ(greet(demanding("RSA+SHA256"), seen), KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE);
    EXPECT_THAT(text_of(kavro_broker_get_broker_error_message, handle_.get()),
                HasSubstr("key too small"));
    EXPECT_EQ(seen.received, "");
}

} // namespace
} // namespace signing
