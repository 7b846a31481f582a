#pragma once

#include "captured_log.h"
#include "scripted_peer.h"
#include "support/repeated.h"
#include "transport/https_xml_client.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace kavro {

using namespace test_support;
using namespace std::literals;
using std::chrono::milliseconds;

/// How an operation ended that was driven to its end.
template <class Result>
struct Outcome {
    int completions = 0;
    Result result{};
    milliseconds took{};
};

/// For what shall be there in time; for what shall run into the deadline.
constexpr milliseconds ample = 5s;
constexpr milliseconds short_timeout = 250ms;
/// What a busy machine may take longer.
constexpr milliseconds margin = 2s;

constexpr const char *small_xml = "<kavro-client/>";

/// Starts an operation with a handler and runs the client until nothing is left to do.
template <class Result, class Start>
Outcome<Result> drive(HttpsXmlClient &client, Start start) {
    Outcome<Result> outcome;
    const auto begin = std::chrono::steady_clock::now();
    start([&outcome](const Result &result) {
        ++outcome.completions;
        outcome.result = result;
    });
    client.run_io(true);
    outcome.took =
        std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
    EXPECT_EQ(outcome.completions, 1);
    return outcome;
}

inline Outcome<ConnectResult> connect(HttpsXmlClient &client, const std::string &address,
                                      bool securely = false, milliseconds timeout = ample,
                                      const std::string &port = {}) {
    return drive<ConnectResult>(
        client, [&](auto handler) { client.connect(address, securely, handler, timeout, port); });
}

inline Outcome<PostResult> post(HttpsXmlClient &client, std::string_view xml = small_xml,
                                milliseconds timeout = ample) {
    return drive<PostResult>(client, [&](auto handler) {
        client.http_post_with_xml_path("/kavro-broker/xml", xml, handler, timeout);
    });
}

inline Outcome<std::string> resolve(HttpsXmlClient &client, const std::string &host,
                                    milliseconds timeout = ample) {
    return drive<std::string>(client,
                              [&](auto handler) { client.resolve_name(host, handler, timeout); });
}

inline Script good_script(std::string_view header_lines = {}) {
    return answering(small_xml, header_lines);
}

/// A client that, whatever happened to it, in the end makes a verified connection and a good
/// exchange; and nothing of what happened before gets to the new peer.
class Client : public HttpsXmlClient {
public:
    using HttpsXmlClient::HttpsXmlClient;
    ~Client() {
        const ScriptedPeer peer({good_script()});
        const auto connected = kavro::connect(*this, peer.address(), true);
        EXPECT_EQ(connected.result.result, ConnectCode::connected) << connected.result.error_text;
        EXPECT_EQ(kavro::post(*this).result.result, POST_RESULT_SUCCESS);
        const PeerRecord seen = peer.record(0);
        EXPECT_EQ(seen.requests.size(), 1u);
        EXPECT_TRUE(seen.received.starts_with("POST ")) << seen.received;
        EXPECT_TRUE(seen.received.ends_with(small_xml)) << seen.received;
        EXPECT_EQ(seen.received.find("Cookie:"), std::string::npos) << seen.received;
    }
};

/// Cancels a client from a thread of its own as soon as a condition holds.
inline std::jthread cancel_after(HttpsXmlClient &client, auto wait_for_it) {
    return std::jthread([&client, wait_for_it] {
        wait_for_it();
        client.cancel();
    });
}

/// Every test begins with an empty log and one authority that is trusted.
class TransportTest : public testing::Test {
protected:
    CapturedLog log_;
    TrustedCa trusted_;
};

} // namespace kavro
