#include "chains.h"
#include "temporary_home.h"

#include "transport/anchor_bundle.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <random>
#include <thread>

// The bundle that is built when it is asked for, against OpenSSL's own copy of it.

namespace trust {
namespace {

using namespace kavro;

using NameHandle = std::unique_ptr<X509_NAME, OpenSslRelease<X509_NAME_free>>;
using ContextHandle = std::unique_ptr<X509_STORE_CTX, OpenSslRelease<X509_STORE_CTX_free>>;

/// Spells names out of few words, so that many are equal and few look it.
class NameSpeller {
public:
    NameHandle spelt() {
        NameHandle name(X509_NAME_new());
        for (auto parts = 1 + below(3); parts > 0; --parts) {
            const int nids[] = {NID_commonName, NID_organizationName};
            const int kinds[] = {V_ASN1_UTF8STRING, V_ASN1_PRINTABLESTRING, V_ASN1_T61STRING,
                                 V_ASN1_BMPSTRING};
            const int kind = kinds[below(4)];
            const std::string value = kind == V_ASN1_BMPSTRING ? wide(words()) : words();
            const int joined_with_last = below(4) == 0 ? -1 : 0;
            X509_NAME_add_entry_by_NID(name.get(), nids[below(2)], kind,
                                       reinterpret_cast<const unsigned char *>(value.data()),
                                       static_cast<int>(value.size()), -1, joined_with_last);
        }
        return name;
    }
    std::size_t below(std::size_t bound) { return engine_() % bound; }

private:
    std::string words() {
        const char *const choice[] = {"Root", "root", "ROOT", " Root", "Root ", "R oot", "R  oot"};
        return choice[below(7)];
    }
    static std::string wide(const std::string &text) {
        std::string both;
        for (const char c : text)
            (both += '\0') += c;
        return both;
    }

    std::mt19937 engine_{20240711};
};

std::optional<std::uint32_t> key_of(X509_NAME *name) {
    const unsigned char *der = nullptr;
    std::size_t size = 0;
    i2d_X509_NAME(name, nullptr);
    X509_NAME_get0_der(name, &der, &size);
    return name_key({der, size});
}

X509StoreHandle openssl_store(const std::string &path) {
    X509StoreHandle store(X509_STORE_new());
    X509_STORE_load_locations(store.get(), path.c_str(), nullptr);
    ERR_clear_error();
    return store;
}

X509StoreHandle bundle_store(const std::string &path) {
    X509StoreHandle store(X509_STORE_new());
    auto bundle = AnchorBundle::read(path);
    EXPECT_TRUE(bundle) << path;
    if (bundle)
        add_bundle(store.get(), std::move(*bundle));
    return store;
}

/// OpenSSL's error number; 0 for a chain that holds.
int verdict(X509_STORE *store, X509 *leaf, STACK_OF(X509) * further) {
    const ContextHandle context(X509_STORE_CTX_new());
    X509_STORE_CTX_init(context.get(), store, leaf, further);
    X509_verify_cert(context.get());
    return X509_STORE_CTX_get_error(context.get());
}

/// A root with any name.
Identity root_named(X509_NAME *name) {
    Identity root = broker_sim::mint_authority("to be replaced");
    X509_set_subject_name(root.certificate.get(), name);
    X509_set_issuer_name(root.certificate.get(), name);
    X509_sign(root.certificate.get(), root.key.get(), EVP_sha256());
    return root;
}

} // namespace

TEST(AnchorBundle, EqualNamesHaveEqualKeys) {
    NameSpeller speller;
    int equal = 0;
    for (int round = 0; round < 20'000; ++round) {
        const NameHandle one = speller.spelt();
        const NameHandle other = speller.spelt();
        if (X509_NAME_cmp(one.get(), other.get()) != 0)
            continue;
        const auto key = key_of(one.get());
        const auto other_key = key_of(other.get());
        ASSERT_TRUE(!key || !other_key || *key == *other_key);
        equal += key && other_key;
    }
    EXPECT_GT(equal, 200);
}

TEST(AnchorBundle, VerdictsAreThoseOfOpenSsl) {
    const test_support::TemporaryHome folder;
    const std::string path = folder.folder().string() + "/bundle.pem";
    NameSpeller speller;
    std::vector<Identity> roots;
    std::vector<Identity> links;
    std::vector<Identity> leaves;
    for (int count = 0; count < 12; ++count) {
        roots.push_back(root_named(speller.spelt().get()));
        links.push_back(authority(roots.back()));
        leaves.push_back(server(links.back(), {.key = "ec-p256"}));
        leaves.push_back(server(roots.back(), {.key = "ec-p256"}));
    }
    int trusted = 0;
    for (int round = 0; round < 25; ++round) {
        std::ofstream bundle(path, std::ios::binary);
        for (const auto *candidates : {&roots, &links}) {
            for (const Identity &candidate : *candidates)
                bundle << (speller.below(3) == 0 ? candidate.certificate_pem() : "# left out\n");
        }
        bundle.close();
        const X509StoreHandle theirs = openssl_store(path);
        const X509StoreHandle ours = bundle_store(path);
        for (std::size_t index = 0; index < leaves.size(); ++index) {
            const std::unique_ptr<STACK_OF(X509), void (*)(STACK_OF(X509) *)> further(
                sk_X509_new_null(), [](STACK_OF(X509) * stack) { sk_X509_free(stack); });
            if (speller.below(2) == 0)
                sk_X509_push(further.get(), links[index / 2].certificate.get());
            X509 *const leaf = leaves[index].certificate.get();
            const int expected = verdict(theirs.get(), leaf, further.get());
            ASSERT_EQ(verdict(ours.get(), leaf, further.get()), expected) << round << ' ' << index;
            trusted += expected == X509_V_OK;
        }
    }
    EXPECT_GT(trusted, 60);
}

TEST(AnchorBundle, ManyThreadsMayAskForTheSameAnchorAtOnce) {
    const test_support::TemporaryHome folder;
    const std::string path = folder.folder().string() + "/bundle.pem";
    std::ofstream(path, std::ios::binary) << trusted_root().certificate_pem();
    const Identity leaf = server(trusted_root());
    for (int round = 0; round < 50; ++round) {
        const X509StoreHandle store = bundle_store(path);
        std::atomic<int> trusted = 0;
        std::vector<std::jthread> threads;
        for (int count = 0; count < 4; ++count)
            threads.emplace_back([&] {
                trusted += verdict(store.get(), leaf.certificate.get(), nullptr) == X509_V_OK;
            });
        threads.clear();
        EXPECT_EQ(trusted, 4);
    }
}

TEST(AnchorBundle, TheSystemsOwnAnchorsAllCount) {
    const std::string path = "/etc/ssl/certs/ca-certificates.crt";
    const X509StoreHandle theirs = openssl_store(path);
    const X509StoreHandle ours = bundle_store(path);
    const STACK_OF(X509_OBJECT) *const anchors = X509_STORE_get0_objects(theirs.get());
    EXPECT_GT(sk_X509_OBJECT_num(anchors), 50);
    for (int index = 0; index < sk_X509_OBJECT_num(anchors); ++index) {
        X509 *const anchor = X509_OBJECT_get0_X509(sk_X509_OBJECT_value(anchors, index));
        EXPECT_EQ(verdict(ours.get(), anchor, nullptr), verdict(theirs.get(), anchor, nullptr));
    }
}

TEST(AnchorBundle, AnythingButAListOfCertificatesIsLeftToOpenSsl) {
    const test_support::TemporaryHome folder;
    const std::string path = folder.folder().string() + "/bundle.pem";
    const std::string good = trusted_root().certificate_pem();
    const auto changed = [&good](std::string_view from, std::string_view to) {
        std::string text = good;
        text.replace(text.find(from), from.size(), to);
        return text;
    };
    const struct {
        std::string text;
        bool readable;
    } rows[] = {
        {good, true},
        {"Subject: somebody\n" + good + "\n\n" + good, true},
        {"", true},
        {good + "-----BEGIN TRUSTED CERTIFICATE-----\n", false},
        {good + "-----BEGIN X509 CRL-----\nAAAA\n-----END X509 CRL-----\n", false},
        {good + "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n", false},
        {"text " + good, false},
        {changed("-----END", ""), false},
        {changed("MII", "M*I"), false},
        {changed("-----BEGIN CERTIFICATE-----\n", "-----BEGIN CERTIFICATE-----\r\n"), false},
        {changed("-----BEGIN CERTIFICATE-----\n", "-----BEGIN CERTIFICATE-----\nA: b\n\n"), false},
    };
    for (const auto &[text, readable] : rows) {
        std::ofstream(path, std::ios::binary) << text;
        EXPECT_EQ(AnchorBundle::read(path).has_value(), readable) << text;
    }
    EXPECT_FALSE(AnchorBundle::read(folder.folder().string()));
    EXPECT_FALSE(AnchorBundle::read(folder.folder().string() + "/missing"));
}

} // namespace trust
