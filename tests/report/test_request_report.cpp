#include "conversation/conversation.h"
#include "json_writer.h"
#include "support/scripted_peer.h"
#include "support/unreachable.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <thread>

using namespace conversation;
using namespace test_support;
using Json = nlohmann::json;

namespace {

const std::string canary = "canary-7F";

Json report_of(kavro_broker_handle handle) {
    const std::string text = text_of(kavro_broker_get_request_report, handle);
    EXPECT_EQ(text.find(canary), std::string::npos) << text;
    return Json::parse(text);
}

/// Fields by JSON pointer.
void expect_fields(const Json &report, const Json &fields) {
    for (const auto &[pointer, value] : fields.items())
        EXPECT_EQ(report.value(Json::json_pointer(pointer), Json("(missing)")), value)
            << pointer << " in " << report.dump(1);
}

/// Every phase that was reached has its time, no later one has, and together they fit into the
/// whole.
void expect_sound_times(const Json &report) {
    const std::vector<std::string> phases = {"prepare",   "resolve", "connect", "proxy",
                                             "handshake", "ready",   "send",    "wait",
                                             "receive",   "parse",   "answered"};
    for (const Json &connection : report["connections"]) {
        const auto last = std::ranges::find(phases, connection["reached"].get<std::string>());
        std::uint64_t sum = 0;
        for (auto phase = phases.begin(); phase != phases.end(); ++phase) {
            const Json time = connection["times_us"].value(*phase, Json());
            const bool timed = connection["times_us"].contains(*phase) && *phase != "resolve" &&
                               (*phase != "proxy" || !connection["proxy"].is_null());
            EXPECT_EQ(time.is_number(), timed && phase <= last) << *phase << connection.dump(1);
            sum += time.is_number() ? time.get<std::uint64_t>() : 0;
        }
        EXPECT_LE(sum, report["took_us"].get<std::uint64_t>());
    }
}

/// A client whose name is in no report, and that is to go to this port.
OwnedHandle new_client(const std::string &port, std::chrono::milliseconds deadline = 300ms) {
    OwnedHandle handle = new_handle(deadline, port);
    kavro_broker_set_client_info(handle.get(), canary.c_str(), "1.0", "Linux");
    return handle;
}

struct RequestReport : testing::Test {
    Log log;
    TrustedCa trust;
};

TEST_F(RequestReport, TellsWhereAConnectionFailed) {
    constexpr auto lost = KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE;
    constexpr auto late = KAVRO_BROKER_ERR_TIMEOUT;
    constexpr auto no_tls = KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED;
    constexpr auto mangled = KAVRO_BROKER_ERR_MANGLED_RESPONSE;
    const Script reset = {expect_bytes(1), rst()}, encrypted = {handshake()};
    const auto speaking = [](const char *text) { return Script{expect_bytes(1), send(text)}; };
    const std::string page = "HTTP/1.1 404 " + canary + "\r\nSet-Cookie: a=" + canary + "\r\n\r\n";
    const std::string version =
        "<kavro-client version=\"" + canary + "\"><error-resp/></kavro-client>";
    const struct {
        const char *what;
        Script script;
        kavro_broker_result result;
        const char *failed_in, *fields; ///< of the connection
        ServerIdentity identity = trusted_server();
        bool by_proxy = false;
    } rows[] = {
        {"reset", reset, lost, "handshake",
         R"({"/peer_speaks": null, "/tls": null, "/bytes_received": 0})"},
        {"silence", {stall()}, late, "handshake", R"({"/tls": null})"},
        {"another service", speaking("220 mail.test\r\n"), no_tls, "handshake",
         R"_({"/peer_speaks": "other", "/error": "wrong version number (SSL routines)"})_"},
        {"a record of no TLS", speaking("\x16\x02\r\n\r\n"), no_tls, "handshake",
         R"({"/peer_speaks": "other"})"},
        {"HTTP without TLS", speaking("HTTP/1.1 400 Bad Request\r\n\r\n"), no_tls, "handshake",
         R"({"/peer_speaks": "http", "/http_status": null})"},
        {"expired certificate", encrypted, KAVRO_BROKER_ERR_CERTIFICATE_FAILED, "handshake",
         R"({"/tls/verification": "FAILED", "/certificates/0/code": 9,
             "/certificates/0/name": "KAVRO_BROKER_CERTIFICATE_EXPIRED"})",
         trusted_server({.valid_from_days = -20, .valid_to_days = -10})},
        {"unknown authority", encrypted, KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE,
         "handshake", R"({"/tls/verification": "FAILED_BUT_WARNABLE"})", untrusted_server()},
        {"no broker there", after_request({send(page)}), KAVRO_BROKER_ERR_HTTP_NOT_OK, "receive",
         R"({"/http_status": 404, "/answer": null, "/tls/verification": "PASSED"})"},
        {"no answer", after_request({stall()}), late, "wait",
         R"({"/http_status": null, "/peer_speaks": "tls"})"},
        {"half an answer", after_request({send("HTTP/1.1 2"), fin()}), lost, "receive",
         R"({"/http_status": null})"},
        {"header names in lower case",
         after_request({send("HTTP/1.1 200 OK\r\ncontent-length: 0\r\n\r\n")}), mangled, "receive",
         R"({"/http_status": 200, "/error": "The HTTP response is mangled: no length"})"},
        {"garbage", answering("<kavro-client " + canary), mangled, "parse",
         R"({"/http_status": 200, "/answer": "other"})"},
        {"web page", answering(" \n<!DOCTYPE HTML><p>" + canary), mangled, "parse",
         R"({"/answer": "html"})"},
        {"another version", answering(version), KAVRO_BROKER_ERR_UNSUPPORTED_VERSION, "answered",
         R"({"/answer": "xml", "/result_id": null})"},
        {"a proxy that refuses",
         {expect_request(), send("HTTP/1.1 403 " + canary + "\r\nContent-Length: 0\r\n\r\n")},
         KAVRO_BROKER_ERR_PROXY_FAILED,
         "proxy",
         R"({"/proxy/kind": "http", "/proxy/host": "127.0.0.1", "/proxy/status": 403,
             "/peer_speaks": null, "/error": "the proxy answered HTTP status 403"})",
         trusted_server(),
         true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        const ScriptedPeer peer({row.script}, {.identity = row.identity});
        const OwnedHandle client = new_client(peer.port());
        const std::string proxy = row.by_proxy ? "http://" + peer.address() : "";
        kavro_broker_set_proxy(client.get(), proxy.c_str(), canary.c_str(), canary.c_str());
        EXPECT_EQ(ask_method(client.get()), row.result);
        const Json report = report_of(client.get());
        expect_fields(report, {{"/result/code", row.result},
                               {"/result/name", kavro_broker_result_name(row.result)},
                               {"/failed_in", row.failed_in},
                               {"/second_port", false}});
        ASSERT_EQ(report["connections"].size(), 1u);
        const Json &connection = report["connections"][0];
        expect_fields(connection, {{"/reached", row.failed_in},
                                   {"/host", "127.0.0.1"},
                                   {"/tried", Json::array({peer.address()})},
                                   {"/address", peer.address()}});
        expect_fields(connection, Json::parse(row.fields));
        if (row.result == mangled && connection["error"].is_string()) {
            EXPECT_NE(Log::text().find(connection["error"]), std::string::npos) << Log::text();
        }
        expect_sound_times(report);
    }
}

TEST_F(RequestReport, TellsOfACancel) {
    const ScriptedPeer peer({welcome(), after_request({stall()})});
    const OwnedHandle client = new_client(peer.port(), 30s);
    std::thread request([&] { EXPECT_EQ(list(client.get()), KAVRO_BROKER_ERR_CANCELLED); });
    EXPECT_TRUE(peer.wait_for(1, [](const PeerRecord &seen) { return seen.requests.size() == 1; }));
    kavro_broker_cancel(client.get());
    request.join();
    const Json report = report_of(client.get());
    EXPECT_EQ(report["result"]["name"], "KAVRO_BROKER_ERR_CANCELLED");
    EXPECT_EQ(report["connections"][0]["reached"], "answered");
    EXPECT_TRUE(report["failed_in"] == "wait" || report["failed_in"] == "send") << report;
    expect_sound_times(report);
}

TEST_F(RequestReport, BeginsAnewWithEveryRequest) {
    const RefusingPort refusing;
    constexpr auto invalid = KAVRO_BROKER_ERR_INVALID_PARAMETER;
    const struct {
        std::string host, port;
        kavro_broker_result result;
        const char *failed_in;
        bool names_host = true;
    } rows[] = {
        {"127.0.0.1", refusing.port(), KAVRO_BROKER_ERR_CONNECT_REFUSED, "connect"},
        {"127.0.0.1", refusing.port(), KAVRO_BROKER_ERR_CONNECT_REFUSED, "connect"},
        {"127.0.0.1", "99999", invalid, "prepare"},
        {canary + "@host", "1", invalid, "prepare", false},
        {"localhost", "abc", KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED, "resolve"},
    };
    const OwnedHandle client = new_client("");
    EXPECT_EQ(text_of(kavro_broker_get_request_report, client.get()), "(result 7)");
    for (const auto &[host, port, result, failed_in, names_host] : rows) {
        kavro_broker_set_broker_address(client.get(), host.c_str(), port.c_str());
        EXPECT_EQ(ask_method(client.get()), result) << host << ' ' << port;
        const Json report = report_of(client.get());
        ASSERT_EQ(report["connections"].size(), 1u);
        expect_fields(report, {{"/failed_in", failed_in},
                               {"/connections/0/address", nullptr},
                               {"/connections/0/host", names_host ? Json(host) : Json()}});
    }
}

// A broker that echoes the password wherever it can gets it into no report.
TEST_F(RequestReport, HoldsNothingOfTheUserOrOfTheBrokersOwnWords) {
    const std::pair<const char *, Json> rows[] = {
        {"AUTH_FAILED_ACCESS_DENIED", "AUTH_FAILED_ACCESS_DENIED"}, {canary.c_str(), nullptr}};
    for (const auto &[result_id, told] : rows) {
        auto scenario = broker_sim::Scenario::demo();
        scenario.session_cookie = canary;
        Conversation talk(std::move(scenario), 5s);
        ASSERT_EQ(kavro_broker_send_accept_disclaimer(talk.handle, 1), KAVRO_BROKER_OK);
        broker_sim::Override echo;
        echo.match.request = "authenticate";
        echo.result_id = result_id;
        echo.result_str = canary;
        talk.broker.set_override(echo);
        EXPECT_NE(talk.log_in(canary.c_str(), canary.c_str()), KAVRO_BROKER_OK);
        const Json report = report_of(talk.handle);
        expect_fields(report, {{"/failed_in", "answered"},
                               {"/hellos", 0},
                               {"/connections/0/result_id", told},
                               {"/connections/0/tls/version", "TLSv1.3"}});
        expect_sound_times(report);
    }
}

TEST(JsonWriter, IsWellFormedWhateverTheTextsHold) {
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"a\"b\\c/", "a\"b\\c/"},
        {std::string("\0\x01\n\x1f\x7f", 5), std::string("\0\x01\n\x1f\x7f", 5)},
        {"\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"},
        {"\xFF|\xC3|\x80|\xC3", "\uFFFD|\uFFFD|\uFFFD|\uFFFD"},
        {"\xC0\x80", "\uFFFD\uFFFD"},
        {"\xE0\x80\x80", "\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xE2\x82", "\uFFFD\uFFFD"},
    };
    for (const auto &[text, read_back] : rows) {
        kavro::JsonWriter json;
        json.object([&] {
            json.name(text).text(text);
            json.name("list").array(std::vector{1u, 2u}, [&](unsigned i) { json.number(i); });
        });
        EXPECT_EQ(Json::parse(json.take()), Json({{read_back, read_back}, {"list", {1, 2}}}));
    }
}

} // namespace
