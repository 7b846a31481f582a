#include "chains.h"
#include "temporary_home.h"

#include "trust/anchor_bundle.h"
#include "utils/src/openssl_handles.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <thread>

// The bundle whose certificates are built when they are asked for.

namespace trust {
namespace {

using namespace kavro;

using NameHandle = OpenSslHandle<X509_NAME, X509_NAME_free>;
using ContextHandle = OpenSslHandle<X509_STORE_CTX, X509_STORE_CTX_free>;

const unsigned char *bytes_of(const char *text) {
    return reinterpret_cast<const unsigned char *>(text);
}

/// Names of two parts in a set, out of few words, so that many are equal and few look it.
std::vector<NameHandle> spelt_names() {
    const char *const words[] = {"Root", "rOOT", " Root ", "R oot", "R  oot", "B", "b"};
    std::vector<NameHandle> names;
    for (const int kind : {MBSTRING_UTF8, V_ASN1_PRINTABLESTRING, V_ASN1_T61STRING}) {
        for (const char *one : words) {
            for (const char *other : words) {
                names.emplace_back(X509_NAME_new());
                X509_NAME_add_entry_by_txt(names.back().get(), "CN", kind, bytes_of(one), -1, -1,
                                           0);
                X509_NAME_add_entry_by_txt(names.back().get(), "CN", kind, bytes_of(other), -1, -1,
                                           -1);
            }
        }
    }
    return names;
}

std::optional<std::uint32_t> key_of(X509_NAME *name) {
    const unsigned char *der = nullptr;
    std::size_t size = 0;
    i2d_X509_NAME(name, nullptr);
    X509_NAME_get0_der(name, &der, &size);
    return name_key({der, size});
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
int verdict(X509_STORE *store, X509 *leaf) {
    const ContextHandle context(X509_STORE_CTX_new());
    X509_STORE_CTX_init(context.get(), store, leaf, nullptr);
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
    const auto names = spelt_names();
    int equal = 0;
    for (const auto &one : names) {
        for (const auto &other : names) {
            if (&one == &other || X509_NAME_cmp(one.get(), other.get()) != 0)
                continue;
            EXPECT_EQ(key_of(one.get()), key_of(other.get()));
            ++equal;
        }
    }
    EXPECT_GT(equal, 200);
}

TEST(AnchorBundle, EveryAnchorOfANameIsTried) {
    const test_support::TemporaryHome folder;
    const std::string path = folder.folder().string() + "/bundle.pem";
    const NameHandle wide(X509_NAME_new()); // has no key
    X509_NAME_add_entry_by_txt(wide.get(), "CN", V_ASN1_BMPSTRING, bytes_of("AB"), 2, -1, 0);
    const NameHandle same_in_utf8(X509_NAME_new());
    X509_NAME_add_entry_by_txt(same_in_utf8.get(), "CN", V_ASN1_UTF8STRING,
                               bytes_of("\xE4\x85\x82"), -1, -1, 0);
    std::vector<Identity> roots{broker_sim::mint_authority("Twin"),
                                broker_sim::mint_authority("Twin"), root_named(wide.get()),
                                root_named(wide.get())};
    const Identity left_out = broker_sim::mint_authority("Twin");
    std::ofstream bundle(path, std::ios::binary);
    for (const Identity &root : roots)
        bundle << root.certificate_pem();
    bundle.close();
    // An issuer that the leaf spells in another way than the anchor.
    roots.push_back({roots[2].key, {X509_dup(roots[2].certificate.get()), X509_free}});
    X509_set_subject_name(roots.back().certificate.get(), same_in_utf8.get());
    roots.push_back(left_out);
    for (const Identity &root : roots) {
        const Identity leaf = server(root, {.key = "ec-p256"});
        EXPECT_EQ(verdict(bundle_store(path).get(), leaf.certificate.get()) == X509_V_OK,
                  &root != &roots.back());
    }
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
            threads.emplace_back(
                [&] { trusted += verdict(store.get(), leaf.certificate.get()) == X509_V_OK; });
        threads.clear();
        EXPECT_EQ(trusted, 4);
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
