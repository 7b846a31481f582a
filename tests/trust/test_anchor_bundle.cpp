#include "minting.h"
#include "temporary_home.h"

#include "trust/anchor_bundle.h"
#include "utils/src/openssl_handles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <thread>

// The bundle whose certificates are built when they are asked for.

namespace trust {
namespace {

using namespace kavro;
using namespace test_support;

using NameHandle = OpenSslHandle<X509_NAME, X509_NAME_free>;

const unsigned char *bytes_of(const char *text) {
    return reinterpret_cast<const unsigned char *>(text);
}

NameHandle name_of(int kind, const char *one, const char *other) {
    NameHandle name(X509_NAME_new());
    X509_NAME_add_entry_by_txt(name.get(), "CN", kind, bytes_of(one), -1, -1, 0);
    X509_NAME_add_entry_by_txt(name.get(), "CN", kind, bytes_of(other), -1, -1, -1);
    return name;
}

/// Names of two parts in a set, out of few words, so that many are equal and few look it.
std::vector<NameHandle> spelt_names() {
    const char *const words[] = {"Root", " rOOT ", "R oot", "R  oot"};
    std::vector<NameHandle> names;
    for (const int kind : {MBSTRING_UTF8, V_ASN1_PRINTABLESTRING, V_ASN1_T61STRING})
        for (const char *one : words)
            for (const char *other : words)
                names.push_back(name_of(kind, one, other));
    // The same letter as two bytes, which have no key, and in UTF-8.
    names.push_back(name_of(V_ASN1_BMPSTRING, "AB", "AB"));
    names.push_back(name_of(V_ASN1_UTF8STRING, "\xE4\x85\x82", "\xE4\x85\x82"));
    return names;
}

/// For as long as the folder lives.
std::string bundle_file(const test_support::TemporaryHome &folder, const std::string &text) {
    const std::string path = folder.folder().string() + "/bundle.pem";
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

X509StoreHandle bundle_store(const std::string &path) {
    X509StoreHandle store(X509_STORE_new());
    add_bundle(store.get(), AnchorBundle::read(path).value());
    return store;
}

} // namespace

TEST(AnchorBundle, FindsAnAnchorByEveryNameThatEqualsItsOwn) {
    const test_support::TemporaryHome folder;
    const auto names = spelt_names();
    std::string text;
    for (const auto &name : names) {
        const Identity root{nullptr, {X509_dup(trusted_root().certificate.get()), X509_free}};
        X509_set_subject_name(root.certificate.get(), name.get());
        i2d_re_X509_tbs(root.certificate.get(), nullptr);
        text += root.certificate_pem();
    }
    const auto bundle = AnchorBundle::read(bundle_file(folder, text));
    ASSERT_TRUE(bundle);
    std::ptrdiff_t pairs = 0;
    for (const auto &name : names) {
        const auto equal = std::ranges::count_if(names, [&name](const auto &other) {
            return X509_NAME_cmp(name.get(), other.get()) == 0;
        });
        EXPECT_EQ(std::ssize(bundle->find(name.get())), equal);
        pairs += equal;
    }
    EXPECT_GT(pairs, 3 * std::ssize(names));
}

TEST(AnchorBundle, EveryAnchorOfANameIsTried) {
    const test_support::TemporaryHome folder;
    const auto twin = [] { return broker_sim::mint_authority("Twin"); };
    const Identity twins[] = {twin(), twin()};
    const auto store = [&] {
        return bundle_store(
            bundle_file(folder, twins[0].certificate_pem() + twins[1].certificate_pem()));
    };
    for (const Identity &root : twins)
        EXPECT_TRUE(trusts(store().get(), server(root)));
    EXPECT_FALSE(trusts(store().get(), server(twin())));
}

TEST(AnchorBundle, ManyThreadsMayAskForTheSameAnchorAtOnce) {
    const test_support::TemporaryHome folder;
    const std::string path = bundle_file(folder, trusted_root().certificate_pem());
    const Identity leaf = server(trusted_root());
    for (int round = 0; round < 50; ++round) {
        const X509StoreHandle store = bundle_store(path);
        std::atomic<int> trusted = 0;
        std::vector<std::jthread> threads;
        for (int count = 0; count < 4; ++count)
            threads.emplace_back([&] { trusted += trusts(store.get(), leaf); });
        threads.clear();
        EXPECT_EQ(trusted, 4);
    }
}

TEST(AnchorBundle, AnythingButAListOfCertificatesIsLeftToOpenSsl) {
    const test_support::TemporaryHome folder;
    const std::string good = trusted_root().certificate_pem();
    const auto changed = [&good](std::string_view from, std::string_view to) {
        std::string text = good;
        text.replace(text.find(from), from.size(), to);
        return text;
    };
    const std::pair<std::string, bool> rows[] = {
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
    for (const auto &[text, readable] : rows)
        EXPECT_EQ(AnchorBundle::read(bundle_file(folder, text)).has_value(), readable) << text;
    EXPECT_FALSE(AnchorBundle::read(folder.folder().string()));
    EXPECT_FALSE(AnchorBundle::read(folder.folder().string() + "/missing"));
}

} // namespace trust
