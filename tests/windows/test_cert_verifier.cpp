#include "captured_log.h"
#include "kavro_broker_extras.h"
#include "minting.h"
#include "requests.h"
#include "scripted_peer.h"
#include "system.h"
#include "utils/src/cert_verifier_win.h"
#include "utils/src/system_trust.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <wincrypt.h>

// What Windows says of certificates, through the library.

namespace trust {
namespace {

using namespace kavro;
using namespace test_support;

constexpr DWORD encodings = X509_ASN_ENCODING;

/// A root of this process: others that run at the same time see the same stores.
const Identity &machine_root() {
    static const Identity root =
        broker_sim::mint_authority("Root of process " + std::to_string(GetCurrentProcessId()));
    return root;
}

/// Adds a certificate to the machine's store of that name for as long as it lives.
class SystemStoreEntry {
public:
    SystemStoreEntry(const char *store_name, const Identity &identity)
        : store_(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE,
                               store_name)) {
        const auto der = der_of(identity);
        if (CertAddEncodedCertificateToStore(store_, encodings, der.data(),
                                             static_cast<DWORD>(der.size()),
                                             CERT_STORE_ADD_REPLACE_EXISTING, &entry_) == 0)
            ADD_FAILURE() << "not added to " << store_name << ": " << GetLastError();
        commit();
    }
    ~SystemStoreEntry() {
        CertDeleteCertificateFromStore(entry_);
        commit();
        CertCloseStore(store_, 0);
    }
    SystemStoreEntry(const SystemStoreEntry &) = delete;
    SystemStoreEntry &operator=(const SystemStoreEntry &) = delete;

private:
    /// Lets those who open the store see what has changed.
    void commit() { CertControlStore(store_, 0, CERT_STORE_CTRL_COMMIT, nullptr); }

    HCERTSTORE store_;
    PCCERT_CONTEXT entry_ = nullptr;
};

class CertVerifierWinTest : public testing::Test {
protected:
    static void SetUpTestSuite() { root_ = new SystemStoreEntry("ROOT", machine_root()); }
    static void TearDownTestSuite() { delete root_; }

    static LogLine error(const std::string &sentence) {
        return {0, 1, -500, "verify_certificate: " + sentence};
    }
    static LogLine valid(const std::string &name) {
        return {0, 2, 0,
                "verify_certificate: Certificate chain is valid, \"" + name +
                    "\" certificate is verified"};
    }
    static LogLine fails(const std::string &name) {
        return error("Certificate \"" + name + "\" fails verification");
    }

    static inline SystemStoreEntry *root_;
};

} // namespace

TEST_F(CertVerifierWinTest, SaysWhatIsWrong) {
    const LogLine untrusted = error("Certificate chain has an untrusted root");
    const LogLine time = error("Certificate or certificate chain has time-validity error");
    const LogLine incomplete = error("Certificate chain is incomplete");
    const LogLine signature = error("Certificate in chain has invalid signature");
    const Server past = {.valid_from_days = -20, .valid_to_days = -10};
    const LogLine purpose = error("A certificate in chain is not valid in its proposed usage");
    const Server for_clients = {.extensions = {{NID_ext_key_usage, "clientAuth"}}};
    const Identity issuer = authority(machine_root());
    const struct {
        const char *what;
        Identity identity;
        std::vector<LogLine> lines;
    } rows[] = {
        {"issued by a trusted root", server(machine_root()), {valid("Test server")}},
        {"untrusted root alone", self_signed(), {untrusted, fails("Test server")}},
        {"expired", server(machine_root(), past), {time, fails("Test server")}},
        {"expired under an untrusted root", self_signed(past), {time, fails("Test server")}},
        {"for clients only", server(machine_root(), for_clients), {purpose, fails("Test server")}},
        {"without its issuer", server(issuer), {incomplete, fails("Test server")}},
        {"bad signature",
         with_bad_signature(server(machine_root())),
         {signature, fails("Test server")}},
    };
    for (const auto &row : rows) {
        const CapturedLog log;
        CertVerifierWin verifier;
        EXPECT_EQ(verifier.verify(row.identity.certificate.get()), row.lines.size() == 1)
            << row.what;
        EXPECT_EQ(CapturedLog::lines(), row.lines) << row.what;
    }
}

TEST_F(CertVerifierWinTest, RememberedIntermediateCompletesAChain) {
    const Identity issuer = authority(machine_root());
    const Identity leaf = server(issuer);
    CertVerifierWin verifier;
    const CapturedLog log;
    EXPECT_FALSE(verifier.verify(leaf.certificate.get()));
    EXPECT_TRUE(verifier.add(issuer.certificate.get()));
    EXPECT_TRUE(verifier.add(issuer.certificate.get())) << "again";
    EXPECT_TRUE(verifier.verify(leaf.certificate.get())) << CapturedLog::lines().back();
    EXPECT_FALSE(CertVerifierWin().verify(leaf.certificate.get())) << "by another";

    // What is remembered helps, but is no anchor.
    CertVerifierWin other;
    EXPECT_TRUE(other.add(strange_root().certificate.get()));
    EXPECT_FALSE(other.verify(server(strange_root()).certificate.get()));
}

// A handle has read the stores' anchors when it is made: a later one is known to Windows alone.
TEST_F(CertVerifierWinTest, IsAskedForAHandleThatWantsIt) {
    const CapturedLog log;
    const OwnedHandle client = new_handle(std::chrono::seconds(30));
    const SystemStoreEntry later("ROOT", strange_root());
    const struct {
        const char *what;
        Server server;
        kavro_broker_result without, with;
    } rows[] = {
        {"sound", {}, 301, 0},
        {"for another host", {.names = {"127.0.0.2"}}, 300, 300},
        {"expired", {.valid_from_days = -20, .valid_to_days = -10}, 300, 300},
        {"short key", {.key = "rsa-1023"}, 300, 300},
        {"for clients", {.extensions = {{NID_ext_key_usage, "clientAuth"}}}, 300, 300},
    };
    for (const auto &row : rows) {
        const ScriptedPeer peer({welcome()}, {shown(server(strange_root(), row.server))});
        set_port(client, peer.port());
        for (const bool use : {true, false}) {
            EXPECT_EQ(kavro_broker_use_platform_verifier(client.get(), use), KAVRO_BROKER_OK);
            EXPECT_EQ(ask_method(client.get()), use ? row.with : row.without) << row.what;
        }
    }
}

TEST_F(CertVerifierWinTest, EveryBitHasItsLine) {
    const struct {
        std::uint32_t status;
        std::vector<LogLine> lines;
    } rows[] = {
        {0x4, {error("Certificate in chain has been revoked")}},
        {0x80, {error("Certificate chain has a cycle")}},
        {0x10, {error("A certificate in chain is not valid in its proposed usage")}},
        {0x40, {error("The revocation status is unknown")}},
        {0x20000, {error("A CTL used to create this chain was not time-valid")}},
        {0x40000, {error("A CTL used to create this chain did not have a valid signature")}},
        {0x80000, {error("A CTL used to create this chain is not valid for this usage")}},
        {0x10000 | 0x20 | 0x8 | 0x1,
         {error("Certificate or certificate chain has time-validity error"),
          error("Certificate in chain has invalid signature"),
          error("Certificate chain is incomplete")}},
    };
    for (const auto &row : rows) {
        const CapturedLog log;
        log_trust_errors(row.status);
        EXPECT_EQ(CapturedLog::lines(), row.lines) << std::hex << row.status;
    }
}

TEST_F(CertVerifierWinTest, LeavesNothingOpen) {
    const Identity issuer = authority(machine_root());
    const Identity leaf = server(issuer);
    const auto verify = [&] {
        CertVerifierWin verifier;
        verifier.add(issuer.certificate.get());
        EXPECT_TRUE(verifier.verify(leaf.certificate.get()));
        EXPECT_FALSE(verifier.verify(self_signed().certificate.get()));
    };
    constexpr int rounds = 500; // of two verifications
    verify();                   // what the system opens once and keeps
    const auto before = test_support::open_descriptors();
    const std::size_t memory = test_support::peak_memory();
    for (int i = 0; i < rounds; ++i)
        verify();
    EXPECT_EQ(test_support::open_descriptors(), before);
    EXPECT_LT(test_support::peak_memory() - memory, 32u * 1024 * 1024);
}

TEST(SystemTrustAnchors, AreThoseOfTheStoresInTheirOrder) {
    const Identity issuer = authority(strange_root());
    const SystemStoreEntry root_entry("ROOT", strange_root());
    const SystemStoreEntry issuer_entry("CA", issuer);
    const auto entries = system_trust_anchors().entries();
    const auto position = [&entries](const Identity &identity) {
        return std::ranges::find(entries, der_of(identity)) - entries.begin();
    };
    EXPECT_LT(position(strange_root()), std::ssize(entries));
    EXPECT_LT(position(issuer), position(strange_root()));
}

} // namespace trust
