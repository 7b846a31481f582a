#include "captured_log.h"
#include "chains.h"
#include "suite_deviations.h"
#include "utils/src/openssl_handles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <openssl/pem.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>

// A public collection of certificate chains, good and hostile, with the verdict that each deserves.
// It is not part of this repository: the environment variable KAVRO_LIMBO names its file.

namespace trust {
namespace {

using Json = nlohmann::json;

broker_sim::CertificatePtr from_pem(const std::string &pem) {
    const kavro::BioHandle text(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    X509 *const certificate = PEM_read_bio_X509(text.get(), nullptr, nullptr, nullptr);
    EXPECT_NE(certificate, nullptr);
    return {certificate, X509_free};
}

std::vector<broker_sim::CertificatePtr> all_from_pem(const Json &texts) {
    std::vector<broker_sim::CertificatePtr> certificates;
    for (const Json &pem : texts)
        certificates.push_back(from_pem(pem));
    return certificates;
}

std::optional<std::time_t> time_of(const Json &text) {
    if (text.is_null())
        return std::nullopt;
    std::tm parts{};
    EXPECT_NE(strptime(text.get<std::string>().c_str(), "%Y-%m-%dT%H:%M:%S", &parts), nullptr);
    return timegm(&parts);
}

ChainCase chain_of(const Json &entry) {
    const Json &name = entry.at("expected_peer_name");
    return {.trusted = all_from_pem(entry.at("trusted_certs")),
            .leaf = from_pem(entry.at("peer_certificate")),
            .further = all_from_pem(entry.at("untrusted_intermediates")),
            .host = name.is_null() ? "" : name.at("value").get<std::string>(),
            .time = time_of(entry.at("validation_time"))};
}

bool is_known_to_deviate(const std::string &id) {
    return std::ranges::any_of(known_deviations, [&](const Deviations &group) {
        return std::ranges::count(group.ids, id) > 0;
    });
}

} // namespace

TEST(PublicSuite, EveryChainGetsTheVerdictThatItDeserves) {
    using std::chrono::steady_clock;
    const char *const file = std::getenv("KAVRO_LIMBO");
    if (file == nullptr) {
        std::cout << "left out: KAVRO_LIMBO does not name the collection's file\n";
        return;
    }
    const kavro::CapturedLog log;
    std::ifstream in(file);
    const Json suite = Json::parse(in);
    std::size_t alike = 0, deviating = 0;
    for (const Json &entry : suite.at("testcases")) {
        const std::string id = entry.at("id");
        SCOPED_TRACE(id);
        const auto begin = steady_clock::now();
        const Judged judged = judge(chain_of(entry));
        EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(1));

        const bool deserves_trust = entry.at("expected_result") == "SUCCESS";
        const bool passes = judged.outcome == kavro::VerificationOutcome::passed;
        EXPECT_EQ(passes != deserves_trust, is_known_to_deviate(id)) << judged.text;
        EXPECT_TRUE(judged.trusted_without_us || !passes);
        ++(passes == deserves_trust ? alike : deviating);
    }
    std::cout << alike << " judged alike, " << deviating << " knowingly otherwise\n";
    EXPECT_GT(alike, 0u);
}

} // namespace trust
