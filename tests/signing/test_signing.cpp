#include "demanding.h"
#include "requests.h"
#include "text_of.h"

#include <gmock/gmock.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>

namespace signing {
namespace {

using broker_sim::shared_key;
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

using Bytes = std::vector<uint8_t>;
/// Of a signature: its scheme, 0 where that is not told, and the length of the digest.
using Asked = std::pair<int, std::size_t>;

Bytes bytes_of(const std::string &text) {
    return {text.begin(), text.end()};
}

/// A client's key in software. It signs well, and then spoils it when told to.
struct Signer {
    using Misdeed = std::function<int(uint8_t *signature, std::size_t room, std::size_t &length)>;

    Key key = shared_key("rsa-2048");
    bool by_scheme = false;
    Bytes certificate = trusted_client(key);
    Bytes given = certificate;
    std::vector<Asked> asked{};
    Misdeed afterwards{};

    int sign(uint16_t scheme, const uint8_t *digest, std::size_t digest_length, uint8_t *signature,
             std::size_t *signature_length) {
        asked.emplace_back(scheme, digest_length);
        const std::size_t room = *signature_length;
        const KeyContext signing(EVP_PKEY_CTX_new(key.get(), nullptr), EVP_PKEY_CTX_free);
        const bool pss = scheme >> 8 == 0x08;
        EVP_PKEY_sign_init(signing.get());
        EVP_PKEY_CTX_set_rsa_padding(signing.get(),
                                     pss ? RSA_PKCS1_PSS_PADDING : RSA_PKCS1_PADDING);
        EVP_PKEY_CTX_set_signature_md(signing.get(), hash_of_length(digest_length));
        EVP_PKEY_CTX_set_rsa_pss_saltlen(signing.get(), RSA_PSS_SALTLEN_DIGEST);
        const int result =
            EVP_PKEY_sign(signing.get(), signature, signature_length, digest, digest_length);
        return afterwards ? afterwards(signature, room, *signature_length) : result;
    }

    kavro_broker_result use_in(kavro_broker_handle handle, const Bytes &certificates) {
        if (!by_scheme)
            return kavro_broker_use_signing_certificate(
                handle, certificates.data(), certificates.size(),
                [](void *self, auto... wanted) {
                    return static_cast<Signer *>(self)->sign(0, wanted...);
                },
                this);
        return kavro_broker_use_signing_key(
            handle, certificates.data(), certificates.size(),
            [](void *self, auto... wanted) {
                const int result = static_cast<Signer *>(self)->sign(wanted...);
                return result == 1 ? 0 : result - 1;
            },
            this);
    }
};

/// A handshake with a server, and what that server saw.
kavro_broker_result greet(const OwnedHandle &handle, const PeerTls &tls, PeerRecord &seen) {
    const ScriptedPeer peer({welcome()}, tls);
    // It also starts a new session: each broker is greeted.
    kavro_broker_set_client_info(handle.get(), "test client", "1.0", "Linux");
    set_port(handle, peer.port());
    const auto result = ask_method(handle.get());
    seen = peer.record(0);
    return result;
}

/// A handle, and servers that it trusts.
class Signing : public testing::Test {
protected:
    kavro_broker_result use(Signer &signer) { return signer.use_in(handle_.get(), signer.given); }
    kavro_broker_result greet(const PeerTls &tls, PeerRecord &seen) {
        return signing::greet(handle_, tls, seen);
    }

    void expect_usable() {
        PeerRecord seen;
        EXPECT_EQ(greet({}, seen), KAVRO_BROKER_OK);
    }

    TrustedCa trusted_;
    OwnedHandle handle_ = new_handle({});
};

TEST_F(Signing, the_server_gets_the_certificate_and_the_signature_that_it_wants) {
    constexpr auto refused = KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED;
    constexpr auto refused_later = KAVRO_BROKER_ERR_TLS_PROTOCOL_ERROR;
    const Asked nothing;
    const struct {
        const char *key; ///< none: an RSA key that is told no scheme
        const char *signatures;
        Asked asked; ///< nothing where it cannot be what the server wants
        int min_version = 0, max_version = 0;
        kavro_broker_result result = KAVRO_BROKER_OK;
    } rows[] = {
        {nullptr, "RSA+SHA256", {0, 32}},
        {nullptr, "RSA+SHA384", {0, 48}, 0, TLS1_2_VERSION},
        {nullptr, "RSA-PSS+SHA512:RSA+SHA512", {0, 64}},
        {nullptr, "", {0, 32}, 0, TLS1_2_VERSION}, // whatever OpenSSL asks of clients by itself
        {nullptr, "", {0, 32}},
        {nullptr, "RSA-PSS+SHA256:RSA-PSS+SHA384", nothing, 0, TLS1_2_VERSION, refused},
        {nullptr, "RSA-PSS+SHA256", nothing, TLS1_3_VERSION, 0, refused},
        {nullptr, "RSA+SHA1", nothing, 0, TLS1_2_VERSION, refused},
        {"rsa-2048", "RSA+SHA256", {0x0401, 32}, 0, TLS1_2_VERSION},
        {"rsa-2048", "RSA+SHA1:RSA+SHA384", {0x0501, 48}, 0, TLS1_2_VERSION},
        {"rsa-2048", "RSA+SHA512", {0x0601, 64}, 0, TLS1_2_VERSION},
        {"rsa-2048", "RSA-PSS+SHA256", {0x0804, 32}, 0, TLS1_2_VERSION},
        {"rsa-2048", "RSA-PSS+SHA384", {0x0805, 48}, TLS1_3_VERSION},
        {"rsa-2048", "RSA-PSS+SHA512", {0x0806, 64}, TLS1_3_VERSION},
        {"rsa-2048", "", {0x0804, 32}},
        {"rsa-2048", "RSA+SHA1", nothing, 0, TLS1_2_VERSION, refused},
        {"ec-p256", "", {0x0403, 32}, 0, TLS1_2_VERSION},
        {"ec-p256", "ECDSA+SHA512", {0x0603, 64}, 0, TLS1_2_VERSION},
        {"ec-p256", "", {0x0403, 32}, TLS1_3_VERSION},
        {"ec-p256", "ECDSA+SHA384", nothing, TLS1_3_VERSION, 0, refused_later},
        {"ec-secp384r1", "ECDSA+SHA384", {0x0503, 48}, 0, TLS1_2_VERSION},
        {"ec-secp384r1", "", {0x0503, 48}, TLS1_3_VERSION},
        {"ec-secp521r1", "", {0x0603, 64}, TLS1_3_VERSION},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.key ? row.key : "bare digest") + " " + row.signatures);
        Signer signer{.key = shared_key(row.key ? row.key : "rsa-2048"),
                      .by_scheme = row.key != nullptr};
        ASSERT_EQ(use(signer), KAVRO_BROKER_OK);
        PeerRecord seen;
        EXPECT_EQ(greet(demanding(row.signatures, row.min_version, row.max_version), seen),
                  row.result);
        EXPECT_EQ(seen.handshaken, row.asked != nothing);
        EXPECT_EQ(seen.client_certificate, seen.handshaken ? signer.certificate : Bytes{});
        EXPECT_EQ(signer.asked.empty(), row.asked == nothing);
        EXPECT_THAT(signer.asked, Each(row.asked));
        expect_usable();
    }
}

TEST_F(Signing, a_signer_that_misbehaves_ends_the_handshake_and_nothing_else) {
    const auto claims = [](auto claimed) {
        return [claimed](uint8_t *, std::size_t room, std::size_t &length) {
            length = claimed(room, length);
            return 1;
        };
    };
    const std::pair<const char *, Signer::Misdeed> rows[] = {
        {"fails", [](auto...) { return 0; }},
        {"a result that is none", [](auto...) { return -1; }},
        {"nothing", claims([](auto...) { return 0; })},
        {"too short", claims([](auto, std::size_t made) { return made - 1; })},
        {"too long", claims([](std::size_t room, auto) { return room + 1; })},
        {"far too long", claims([](auto...) { return SIZE_MAX; })},
        {"no signature, in all the room there is",
         [](uint8_t *signature, std::size_t room, std::size_t &length) {
             std::fill_n(signature, room, uint8_t{0xFF});
             length = room;
             return 1;
         }},
        {"throws", [](auto...) -> int { throw std::runtime_error("card gone"); }},
    };
    Signer signers[] = {{}, {.by_scheme = true}, {.key = shared_key("ec-p256"), .by_scheme = true}};
    for (Signer &signer : signers) {
        ASSERT_EQ(use(signer), KAVRO_BROKER_OK);
        for (const auto &[name, misdeed] : rows) {
            SCOPED_TRACE(name);
            signer.afterwards = misdeed;
            signer.asked.clear();
            PeerRecord seen;
            EXPECT_EQ(greet(demanding("RSA+SHA256:ECDSA+SHA256", 0, TLS1_2_VERSION), seen),
                      KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED);
            EXPECT_EQ(signer.asked.size(), 1u);
            EXPECT_FALSE(seen.handshaken);
            expect_usable();
        }
    }
}

TEST_F(Signing, the_last_certificate_and_signer_that_can_be_used_are) {
    const Identity issuer = authority(trusted_root());
    const Key key = shared_key("ec-secp521r1");
    const Identity leaf = broker_sim::mint_certificate({.common_name = "Client"}, key, issuer);
    const std::string one = leaf.certificate_pem(), two = issuer.certificate_pem();
    Signer bare;
    Signer other{.key = broker_sim::generate_key("rsa-2048")};
    // The server knows the root only: the issuer must have come along.
    Signer chain{.key = key,
                 .by_scheme = true,
                 .certificate = der_of(leaf),
                 .given = bytes_of("Mine:\n" + one + two + "\n")};
    Signer none, none_by_scheme{.by_scheme = true};
    Bytes twice = bare.certificate;
    twice.insert(twice.end(), bare.certificate.begin(), bare.certificate.end());
    const Bytes refused[] = {trusted_client(make_pss_key()),
                             trusted_client(shared_key("ed25519")),
                             trusted_client(shared_key("ec-secp256k1")),
                             {0x30, 0x03, 0x02, 0x01, 0x00},
                             {bare.certificate.begin(), bare.certificate.end() - 1},
                             twice,
                             bytes_of(""),
                             bytes_of("Mine:\n"),
                             bytes_of(leaf.key_pem()),
                             bytes_of(one + two.substr(0, 20)),
                             bytes_of(one + two.substr(0, 28)),
                             bytes_of(one + two.substr(0, two.size() / 2)),
                             bytes_of(one + two.substr(0, two.size() - 2)),
                             bytes_of(one.substr(0, one.size() / 2) + two)};
    for (Signer *signer : {&bare, &chain, &other, &chain, &bare}) {
        ASSERT_EQ(use(*signer), KAVRO_BROKER_OK);
        EXPECT_EQ(none.use_in(handle_.get(), trusted_client(key)),
                  KAVRO_BROKER_ERR_INVALID_PARAMETER);
        for (const auto &certificates : refused) {
            for (Signer *refuses : {&none, &none_by_scheme})
                EXPECT_EQ(refuses->use_in(handle_.get(), certificates),
                          KAVRO_BROKER_ERR_INVALID_PARAMETER)
                    << std::string(certificates.begin(), certificates.end());
        }
        PeerRecord seen;
        EXPECT_EQ(greet(demanding("RSA+SHA256:ECDSA+SHA512", 0, TLS1_2_VERSION), seen),
                  KAVRO_BROKER_OK);
        EXPECT_EQ(seen.client_certificate, signer->certificate);
        EXPECT_THAT(std::exchange(signer->asked, {}), Not(IsEmpty()));
        for (const Signer *unasked : {&bare, &other, &chain, &none, &none_by_scheme})
            EXPECT_THAT(unasked->asked, IsEmpty());
    }
}

TEST_F(Signing, several_handles_have_keys_of_their_own_at_once) {
    const auto talk = [](const char *kind) {
        Signer signer{.key = shared_key(kind), .by_scheme = true};
        const OwnedHandle handle = new_handle({});
        ASSERT_EQ(signer.use_in(handle.get(), signer.given), KAVRO_BROKER_OK);
        for (int count = 0; count < 4; ++count) {
            PeerRecord seen;
            EXPECT_EQ(signing::greet(handle, demanding(""), seen), KAVRO_BROKER_OK);
            EXPECT_EQ(seen.client_certificate, signer.certificate);
        }
    };
    const std::jthread other(talk, "ec-p256");
    talk("rsa-2048");
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
