#include "captured_log.h"
#include "probe/search.h"
#include "regcode/table_folder.h"
#include "support/one_line.h"
#include "support/scripted_peer.h"
#include "support/unreachable.h"
#include "transport/io_names.h"

#include <boost/asio/ip/host_name.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <optional>
#include <random>
#include <thread>

namespace kavro {
namespace {

using namespace test_support;
using namespace std::chrono_literals;
using namespace std::string_literals;

using Timeouts = std::vector<std::chrono::milliseconds>;

struct Probe : testing::Test {
    /// Forgets the lines without this text.
    static const std::vector<LogLine> &logged(std::string_view part) {
        std::erase_if(CapturedLog::lines(), [part](const LogLine &line) {
            return line.text.find(part) == std::string::npos;
        });
        return CapturedLog::lines();
    }
    static LogLine discovery(const std::string &text) { return {1, 2, 0, text}; }

    CapturedLog log;
};

TEST_F(Probe, WhatAnswersAtAGivenPort) {
    const Script own = answering(R"(<?xml version="1.0"?><x/><kavro-client version="2.1"/>)");
    const Script view = answering("<broker/>");
    const Script absent = after_request({send("HTTP/1.1 404 Not Found\r\n\r\n")});
    const Script hangs_up = after_request({rst()});
    const Script mute = {handshake(), stall()};
    const Script silent = {stall()};
    const Script slow = after_request({drip(http_ok("<kavro-client/>"), 9, 20ms)});
    const Timeouts ample = {10s, 10s}, first_short = {50ms, 10s}, both_short = {50ms, 100ms};
    const struct {
        const char *peer;
        std::vector<Script> scripts;
        Timeouts timeouts;
        const char *found;
        std::size_t connections;
        const char *type;
        const char *log = "";
    } rows[] = {
        {"own", {own}, ample, "KAVR", 1, "KAVRO_BROKER"},
        {"View", {absent, view}, ample, "VIEW", 2, "VIEW_BROKER", ": 7 (POST_RESULT_NOT_HTTP_OK)"},
        {"host", {hangs_up}, ample, "HARD", 3, "DIRECT_HARD_HOST", "_SOCKET_OR_SYS_FAILURE)"},
        {"other's answers", {view, own, mute}, ample, "HARD", 3, "DIRECT_HARD_HOST"},
        {"no XML", {answering("hi")}, ample, "HARD", 3, "DIRECT_HARD_HOST", "_MANGLED_RESPONSE)"},
        {"no answers at first", {mute, mute, silent, own}, first_short, "KAVR", 4, "KAVRO_BROKER"},
        {"slow at first", {silent, silent, silent, slow}, first_short, "KAVR", 4, "KAVRO_BROKER"},
        {"silent", {silent}, both_short, "9", 6, "UNKNOWN_BROKER"},
        {"no TLS", {{send("SSH-2.0-Server\r\n")}}, ample, "9", 6, "UNKNOWN_BROKER"},
        {"reset", {{expect_bytes(1), rst()}}, ample, "9", 1, "NON_EXISTENT_BROKER"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.peer);
        const CapturedLog fresh;
        const ScriptedPeer peer(row.scripts);
        broker_query_impl finder({.timeouts = row.timeouts});
        const std::string wanted = row.found == "9"s ? "9" : row.found + (" " + peer.port());
        EXPECT_EQ(find(finder, "127.0.0.1", peer.port()), wanted);
        EXPECT_EQ(peer.connection_count(), row.connections);
        EXPECT_TRUE(CapturedLog::holds(row.log));
        const std::string result = "QueryBrokerClient result: ";
        EXPECT_EQ(logged(result),
                  std::vector{discovery(result + row.type + " on port " + peer.port())});
    }
}

TEST_F(Probe, UsualPorts) {
    const ScriptedPeer own({answering("<kavro-client/>")});
    const ScriptedPeer view({answering("<other/>"), answering("<broker/>")});
    const ScriptedPeer direct({{handshake()}});
    const RefusingPort first, second, third;
    const struct {
        std::string broker, second_broker, direct_host, found;
        std::optional<std::string> told = {};
    } rows[] = {
        {own.port(), second.port(), third.port(), "KAVR " + own.port()},
        {first.port(), own.port(), third.port(), "KAVR " + own.port()},
        {view.port(), second.port(), third.port(), "VIEW " + view.port()},
        {first.port(), second.port(), direct.port(), "HARD " + direct.port()},
        {first.port(), own.port(), third.port(), "9", first.port()},
        {first.port(), second.port(), third.port(), "9"},
    };
    for (const auto &row : rows) {
        broker_query_impl finder({row.broker, row.second_broker, row.direct_host, {10s, 20s}});
        CapturedLog::lines().clear();
        EXPECT_EQ(find(finder, "127.0.0.1", row.told), row.found);
    }

    std::erase_if(log.lines(), [](const LogLine &line) { return line.category != 1; });
    const LogLine retry = discovery("No Kavro broker found on port " + first.port() +
                                    ", retrying on port " + second.port() + ".");
    EXPECT_EQ(log.lines(),
              (std::vector{
                  retry,
                  discovery("Cannot determine connection type.  Try longer timeout 20000 msec per "
                            "protocol..."),
                  retry,
                  discovery("Cannot determine connection type.  Abort connection."),
                  discovery("QueryBrokerClient result: UNKNOWN_BROKER on port " + third.port()),
              }));
}

/// Whoever answers gets to see this, so nothing else may be in it.
TEST_F(Probe, WhatIsSentAndLogged) {
    const std::string host_name = boost::asio::ip::host_name();
    const std::string mac = "00:00:00:00:00:00"; // that of the loopback
    const std::string greetings[] = {
        "  <?xml version=\"1.0\"?> <kavro-client version=\"2.1\"> <hello> <client-info> "
        "<product-name>QueryBrokerClient</product-name> <product-version>1.0</product-version> "
        "<platform>Kavro</platform> <locale>en_US</locale> <hostname>" +
            host_name + "</hostname> <serial-number>" + mac + "</serial-number> <device-name>" +
            host_name + "</device-name> <kavro-unique-id>" + mac +
            "</kavro-unique-id> </client-info> </hello> </kavro-client> ",
        "  <?xml version=\"1.0\"?> <broker> </broker> ",
    };
    const std::string paths[] = {"POST /kavro-broker/xml ", "POST /broker/xml "};
    const ScriptedPeer peer({answering("<other/>", "Set-Cookie: follow=me; path=/\r\n")});
    broker_query_impl finder;
    EXPECT_EQ(find(finder, peer.address()), "HARD " + peer.port());
    for (std::size_t i = 0; i < 2; ++i) {
        const std::string sent = in_one_line(peer.record(i).received);
        EXPECT_TRUE(sent.starts_with(paths[i]) && sent.ends_with(greetings[i])) << sent;
        EXPECT_EQ(sent.find("Cookie:"), std::string::npos);
        EXPECT_EQ(sent.find("Client-Log-Id:"), std::string::npos);
    }
    EXPECT_EQ(peer.record(2).received, "");

    std::string trace;
    for (const LogLine &line : logged("ENTRY: QueryBrokerClient::"))
        trace += line.text.substr(line.text.find("::")) + '\n';
    EXPECT_TRUE(trace.starts_with("::QueryBrokerClient\n::try_next auto probe\n::next_protocol 0\n"
                                  "::handle_connect, Result.connect_result   = 0,\n"
                                  "::handle_post_resp\n::try_next auto probe\n"))
        << trace;
}

TEST_F(Probe, OnlyAPlausibleNameIsLookedUp) {
    const TableFolder table(R"({"ABC": "https://broker.test"})");
    const struct {
        std::string address;
        std::optional<std::string> port;
        const char *result;
    } rows[] = {
        {"", {}, "2"},
        {"http://broker.test", {}, "2"},
        {"broker.test\r\n", "443", "2"},
        {"127.0.0.1", "abc", "2"},
        {"broker.test:70000", {}, "2"},
        {std::string(300, 'a'), "443", "2"},
        {"ABC+123", {}, "AWSK https://broker.test"},
        {"UNKNOWN+123", {}, "9"},
        {"unknown.test", "443", "9"},
        {"https://unknown.test:443/", {}, "9"},
    };
    Names names;
    ProbeSettings settings;
    settings.lookup = names.lookup();
    broker_query_impl finder(settings);
    for (const auto &[address, port, result] : rows) {
        EXPECT_EQ(find(finder, address, port), result) << address;
        EXPECT_EQ(names.lookups() > 0, result == "9"s) << address;
    }

    const ScriptedPeer peer({answering("<kavro-client/>")});
    names.set("good.test", {peer.endpoint()});
    for (int number = 0; number <= BlockingCall::max_abandoned; ++number)
        EXPECT_EQ(find(finder, "good.test", "443"), "KAVR 443") << "ended look-ups do not add up";

    // An address that cannot be connected to is not the last word on a name.
    names.set("nowhere.test", {{boost::asio::ip::address_v4::broadcast(), 443}});
    const int before = names.lookups();
    EXPECT_EQ(find(finder, "nowhere.test", "443"), "9");
    EXPECT_EQ(names.lookups() - before, 6);
}

TEST_F(Probe, SmallBuffersAndTheFinishedFlag) {
    const ScriptedPeer peer({answering("<kavro-client/>")});
    broker_query_impl finder;
    std::uint32_t finished = 77, type = 77;
    EXPECT_EQ(kavro_broker_get_type(&finder, &finished), KAVRO_BROKER_OK);
    EXPECT_EQ(finished, 0u);
    char small[] = "##", none[] = "#";
    EXPECT_EQ(kavro_broker_find_type_extended(&finder, peer.address().c_str(), nullptr, &type, none,
                                              0, small, 2),
              KAVRO_BROKER_OK);
    EXPECT_EQ(none, "#"s);
    EXPECT_EQ(small, ""s);
    EXPECT_EQ(type, std::uint32_t(KAVRO_BROKER_TYPE_KAVRO));
    EXPECT_EQ(kavro_broker_get_type(&finder, &finished), KAVRO_BROKER_OK);
    EXPECT_EQ(finished, 1u);
}

using Clock = std::chrono::steady_clock;

/// The next poll comes within 10 ms; the rest is for slow machines and sanitizers.
constexpr auto promptly = 1s;

TEST(CancelFindType, EndsTheSearchWhateverItWaitsFor) {
    const CapturedLog log;
    const SilentNames names;
    const ScriptedPeer peer({after_request({stall()})});
    const struct {
        const char *phase;
        std::string address;
        std::function<void()> wait;
    } rows[] = {
        {"look-up", "broker.test", [&] { names.wait_for_lookups(1); }},
        {"answer", peer.address(),
         [&] { peer.wait_for(0, [](const PeerRecord &seen) { return !seen.requests.empty(); }); }},
    };
    for (const auto &[phase, address, wait] : rows) {
        SCOPED_TRACE(phase);
        broker_query_impl finder({.timeouts = {30s}, .lookup = names.lookup()});
        auto search = std::async(std::launch::async, [&] { return find(finder, address); });
        wait();
        const auto cancelled_at = Clock::now();
        kavro_broker_cancel_find_type(&finder);
        EXPECT_EQ(search.get(), "5");
        EXPECT_LT(Clock::now() - cancelled_at, promptly);
        EXPECT_EQ(finder.finished, 0u);
    }
}

/// The first protocols fail, so that transports are replaced while the cancels come in. One that
/// comes before the search has begun is forgotten.
TEST(CancelFindType, AtAnyMomentIsEitherInTimeOrWithoutEffect) {
    const CapturedLog log;
    const ScriptedPeer peer({after_request({rst()})});
    broker_query_impl finder;
    std::mt19937 random(20261122);
    for (int round = 0; round < 24; ++round) {
        auto search = std::async(std::launch::async, [&] { return find(finder, peer.address()); });
        const auto moment = Clock::now() + std::chrono::microseconds(random() % 60000);
        while (Clock::now() < moment)
            std::this_thread::yield();
        for (int storm = 0; storm < 1000; ++storm)
            kavro_broker_cancel_find_type(&finder);
        const std::string found = search.get();
        EXPECT_TRUE(found == "5" || found == "HARD " + peer.port()) << found;
        kavro_broker_cancel_find_type(&finder);
        if (round % 8 == 0) {
            EXPECT_EQ(find(finder, peer.address()), "HARD " + peer.port());
        }
    }
}

} // namespace
} // namespace kavro
