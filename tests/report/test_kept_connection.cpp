#include "broker_client_impl.h"
#include "conversation/conversation.h"
#include "support/scripted_peer.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>

using namespace conversation;
using namespace test_support;

namespace {

/// On a new connection TCP takes one round trip and TLS 1.3 another, and every post takes one.
TEST(KeptConnection, TakesAWholeLogInSixRoundTrips) {
    auto scenario = broker_sim::Scenario::demo();
    std::erase_if(scenario.authentication, [](const auto &step) {
        return step.methods != std::vector<std::string>{"password"};
    });
    Conversation talk(scenario);
    EXPECT_EQ(kavro_broker_keep_connection(talk.handle, 60), KAVRO_BROKER_OK);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_PASSWORD));
    EXPECT_EQ(kavro_broker_send_password(talk.handle, "alice", "EXAMPLE", "wonderland"),
              KAVRO_BROKER_OK);
    EXPECT_EQ(talk.list(), KAVRO_BROKER_OK);
    EXPECT_EQ(talk.allocate("desktop-office"), KAVRO_BROKER_OK);
    EXPECT_EQ(2 * talk.broker.connections() + talk.broker.requests().size(), 6u);
    const std::string report = text_of(kavro_broker_get_request_report, talk.handle);
    EXPECT_NE(report.find("TLSv1.3"), std::string::npos) << report;
    EXPECT_NE(report.find("\"reused\":true"), std::string::npos) << report;
    uint32_t count = 0;
    EXPECT_EQ(kavro_broker_get_num_certificates(talk.handle, &count), KAVRO_BROKER_OK);
    EXPECT_EQ(count, 2u) << "of the connection, whichever request made it";
}

const std::string listed =
    broker_answer("get-resource-list", "LIST_SUCCESSFUL",
                  "<resource><resource-name>Desk</resource-name><resource-id>d</resource-id>"
                  "<resource-type>DESKTOP</resource-type><resource-state>s</resource-state>"
                  "<protocols><protocol>KAVRO</protocol></protocols></resource>");
const std::string list_answer = http_ok(listed);

/// A broker that greets a client and answers its first list, as told.
Script greeting_and(Script answer) {
    Script script = {handshake(), expect_request(), send(http_ok(hello_answer())),
                     expect_request()};
    script.insert(script.end(), answer.begin(), answer.end());
    return script;
}

void expect_list(Handle handle, kavro_broker_result result) {
    kavro_broker_set_time_limit(handle, KAVRO_BROKER_LIMIT_REQUEST, 100);
    EXPECT_EQ(list(handle), result);
    kavro_broker_set_time_limit(handle, KAVRO_BROKER_LIMIT_REQUEST, 10000);
}

TEST(KeptConnection, ServesOnlyWhileNothingSpeaksAgainstIt) {
    using Meanwhile = void (*)(Handle);
    constexpr Meanwhile nothing = [](Handle) {};
    const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    const std::string chunks = chunked + "1\r\n<\r\n" +
                               (std::stringstream() << std::hex << listed.size() - 1).str() +
                               "\r\n" + listed.substr(1) + "\r\n0\r\n";
    const Step listing = send(list_answer);
    const Script good = {listing, expect_request(), listing};
    const auto then = [&](const Step &step) { return Script{listing, expect_request(), step}; };
    const struct {
        const char *what;
        bool kept;
        Script first; ///< after a greeting and with another request
        Meanwhile meanwhile = nothing;
        bool greets_again = false;
    } rows[] = {
        {"nothing", true, good},
        {"the same again", true, good,
         [](Handle h) {
             kavro_broker_fail_if_unverified(h, true);
             kavro_broker_set_timezone(h, "UTC");
             kavro_broker_keep_connection(h, 300);
         }},
        {"chunks", true, {send(chunks + "\r\n"), expect_request(), listing}},
        {"another name", false, good,
         [](Handle h) { kavro_broker_set_broker_address(h, "localhost", h->port.c_str()); }, true},
        {"verification", false, good, [](Handle h) { kavro_broker_fail_if_unverified(h, false); }},
        {"an anchor", false, good,
         [](Handle h) {
             const auto der = h->certificates.certificates.entries().back();
             EXPECT_EQ(kavro_broker_add_trust_anchor(h, der.data(), der.size()), KAVRO_BROKER_OK);
         }},
        {"a pinned key", false, good,
         [](Handle h) {
             const std::array<std::uint8_t, 32> strange_key{};
             EXPECT_EQ(kavro_broker_add_key_pin(h, strange_key.data(), 32), KAVRO_BROKER_OK);
             EXPECT_EQ(kavro_broker_clear_key_pins(h), KAVRO_BROKER_OK);
         }},
        {"the platform's word", false, good,
         [](Handle h) {
             kavro_broker_use_platform_verifier(h, true); // where there is one
             EXPECT_EQ(kavro_broker_use_platform_verifier(h, false), KAVRO_BROKER_OK);
         }},
        {"a required status", false, good,
         [](Handle h) {
             EXPECT_EQ(kavro_broker_require_stapled_status(h, true), KAVRO_BROKER_OK);
             EXPECT_EQ(kavro_broker_require_stapled_status(h, false), KAVRO_BROKER_OK);
         }},
        {"the system's anchors", false, good,
         [](Handle) {
             const std::filesystem::path file = std::getenv("SSL_CERT_FILE");
             last_write_time(file, last_write_time(file) + 1h);
         }},
        {"a client certificate", false, good,
         [](Handle h) {
             const auto der = h->certificates.certificates.entries().front();
             const auto sign = [](auto...) { return 0; };
             EXPECT_EQ(kavro_broker_use_signing_certificate(h, der.data(), der.size(), sign, h),
                       KAVRO_BROKER_OK);
         }},
        {"a signing key", false, good,
         [](Handle h) {
             const auto der = h->certificates.certificates.entries().front();
             const auto sign = [](auto...) { return 1; };
             EXPECT_EQ(kavro_broker_use_signing_key(h, der.data(), der.size(), sign, h),
                       KAVRO_BROKER_OK);
         }},
        {"a proxy", false, good,
         [](Handle h) { kavro_broker_set_proxy(h, "system", nullptr, nullptr); }},
        {"idle for too long", false, good, [](Handle h) { h->most_idle = 1ns; }},
        {"switched off meanwhile", false, good,
         [](Handle h) {
             kavro_broker_keep_connection(h, 0);
             kavro_broker_keep_connection(h, 60);
         }},
        {"good-bye", false, then(send(http_ok(broker_message("<bye-resp/>")))),
         [](Handle h) { EXPECT_EQ(kavro_broker_clear_session(h), KAVRO_BROKER_OK); }, true},
        {"time-out", false, then(stall()),
         [](Handle h) { expect_list(h, KAVRO_BROKER_ERR_TIMEOUT); }},
        {"failure", false, then(send("HTTP/1.1 500 Oh\r\nContent-Length: 0\r\n\r\n")),
         [](Handle h) { expect_list(h, KAVRO_BROKER_ERR_HTTP_NOT_OK); }},
        {"broken XML", false, then(send(http_ok("<"))),
         [](Handle h) { expect_list(h, KAVRO_BROKER_ERR_MANGLED_RESPONSE); }},
        {"connection: close", false, {send(http_ok(listed, "connection:CLOSE\r\n"))}},
        {"one option of several", false, {send(http_ok(listed, "Connection: x, Close ,y\r\n"))}},
        {"bytes behind the answer", false, {send(list_answer + "H")}},
        {"bytes later", false, {listing, send("HTTP/1.1 200 OK\r\n")}},
        {"chunks without an end", false, {send(chunks)}},
        {"trailers", false, {send(chunks + "X: y\r\n\r\n")}},
        {"end of TLS", false, {listing, close_notify()}},
        {"end of TCP", false, {listing, fin()}},
        {"reset", false, {listing, rst()}},
    };
    const Log log;
    const TrustedCa trust;
    const PeerTls tls = {.identity = trusted_server({.names = {"127.0.0.1", "localhost"}})};
    for (const auto &[what, kept, first, meanwhile, greets_again] : rows) {
        SCOPED_TRACE(what);
        Log::take();
        const ScriptedPeer peer({greeting_and(first),
                                 greets_again ? greeting_and({listing}) : after_request({listing})},
                                tls);
        const OwnedHandle handle = new_handle(10s, peer.port());
        kavro_broker_keep_connection(handle.get(), 60);
        ASSERT_EQ(list(handle.get()), KAVRO_BROKER_OK);
        meanwhile(handle.get());
        // What the peer does of itself is seen when it has come; no post is made of this question.
        const auto begin = Clock::now();
        do
            EXPECT_EQ(ask_method(handle.get()), KAVRO_BROKER_OK);
        while (!kept && peer.connection_count() == 1 && Clock::now() - begin < 10s);
        kavro_broker_keep_connection(handle.get(), 60);
        EXPECT_EQ(list(handle.get()), KAVRO_BROKER_OK);
        EXPECT_EQ(peer.connection_count(), kept ? 1u : 2u);
        EXPECT_EQ(Log::text().find("WARNING - buffers are not empty!") != std::string::npos,
                  std::string_view(what).starts_with("bytes"));
    }
}

} // namespace
