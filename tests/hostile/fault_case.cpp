#include "hostile/fault_case.h"

#include "captured_log.h"
#include "kavro_broker_extras.h"
#include "requests.h"
#include "scripted_peer.h"
#include "support/unreachable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace hostile {

namespace {

using namespace test_support;
using Clock = std::chrono::steady_clock;

/// Slow machines and sanitizers stretch everything but the deadline itself.
constexpr std::chrono::seconds margin{4};

/// A demand for a secret, so that there always is a field that the next answer can be matched to.
const std::string demand =
    "<next-authentication><authentication-methods><method>AUTHENTICATE_VIA_DIALOG</method>"
    "</authentication-methods><dialog-parameters><fields><field><id>pin</id>"
    "<do-not-log>true</do-not-log></field></fields></dialog-parameters></next-authentication>";

/// The broker's answers to requests by their names.
std::map<std::string_view, std::string> answers() {
    const std::string welcome_back =
        broker_answer("authenticate", "AUTH_SUCCESSFUL_AND_INCOMPLETE", demand);
    return {
        {"hello", hello_answer(demand)},
        {"password", welcome_back},
        {"dialog", welcome_back},
        {"oauth", welcome_back},
        {"accept", welcome_back},
        {"reject", welcome_back},
        {"new password",
         broker_answer("update-password", "PSWD_UPDATE_SUCCESSFUL_AUTH_INCOMPLETE", demand)},
        {"list",
         broker_answer("get-resource-list", "LIST_SUCCESSFUL",
                       "<resource><resource-name>Desk</resource-name><resource-id>d</resource-id>"
                       "<resource-type>DESKTOP</resource-type><resource-state>s</resource-state>"
                       "<protocols><protocol>KAVRO</protocol></protocols></resource>")},
        {"allocate",
         broker_answer(
             "allocate-resource", "ALLOC_SUCCESSFUL",
             std::string("<target><ip-address>127.0.0.1</ip-address><hostname>h</hostname>"
                         "<port>1</port><session-id>1</session-id><connect-tag>") +
                 canary::connect_tag +
                 "</connect-tag></target><gateway-ticket-info><gateway-ticket>" + canary::ticket +
                 "</gateway-ticket><gt-creation-time>1</gt-creation-time>"
                 "<gt-expiry-time>2</gt-expiry-time></gateway-ticket-info>")},
        {"operate", broker_answer("perform-operation", "OP_SUCCESSFUL")},
        {"bye", broker_message("<bye-resp/>")},
    };
}

/// The broker is told the locale with the hello, so the next request begins with one.
kavro_broker_result greet(Handle handle) {
    kavro_broker_set_locale(handle, "en_US");
    return list(handle);
}

bool before_tunnel(const Case &fault) {
    return fault.phase >= Phase::before_consent;
}

bool connecting(const Case &fault) {
    return fault.phase < Phase::before_request || before_tunnel(fault);
}

/// The request is answered without asking, whatever happens to the connection.
bool is_unasked(const Case &fault) {
    return !connecting(fault) && fault.request->answer.empty();
}

/// How a script ends, and what the request and the log say of it.
struct Effect {
    Script end;
    kavro_broker_result result;
    std::string_view log = {}; ///< empty when it need not say anything
};

/// What a fault does while the connection is being made, when there is no TLS yet, and afterwards.
const Effect &effect(const Case &fault) {
    constexpr auto lost = KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE;
    constexpr auto no_tls = KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED;
    constexpr auto late = "Deadline Timer has expired!";
    constexpr auto in_handshake =
        "HttpsXmlClient::handle_handshake, Handshake failure: e.category='";
    constexpr auto in_exchange = "cHTTPS_XML_CLIENT encountered error val=";
    static const Script silence = {stall()};
    static const Script half_a_record = {send("\x16\x03\x03\x02"), fin()};
    static const Script garbage = {send("\x01<<<<<\xFF\xFE%n%s\r\n\r\n")};
    static const Script broken_record = {send_plain(std::string(64, '\xFF'))};
    static const Effect effects[][2] = {
        {{{}, KAVRO_BROKER_ERR_CONNECT_REFUSED}, {}},
        {{{rst()}, lost, in_handshake}, {{rst()}, lost, in_exchange}},
        {{{fin()}, lost, in_handshake}, {{fin()}, lost, in_exchange}},
        {{silence, KAVRO_BROKER_ERR_TIMEOUT, late}, {silence, KAVRO_BROKER_ERR_TIMEOUT, late}},
        {{half_a_record, lost, in_handshake}, {{close_notify()}, lost, in_exchange}},
        {{garbage, no_tls, in_handshake}, {garbage, KAVRO_BROKER_ERR_MANGLED_RESPONSE}},
        {{broken_record, no_tls, in_handshake},
         {broken_record, KAVRO_BROKER_ERR_TLS_PROTOCOL_ERROR, in_exchange}},
    };
    return effects[int(fault.ill)][!connecting(fault)];
}

Script spoilt_script(const Case &fault) {
    const std::string whole = http_ok(fault.request->answer);
    const Script beginnings[] = {
        {},
        {expect_bytes(1)},
        {handshake()},
        after_request({send(whole.substr(0, 20))}),
        after_request({send(whole.substr(0, whole.size() - 10))}),
        {expect_request()},
        {expect_request(), send("HTTP/1.1 200 F")},
    };
    Script script = beginnings[int(fault.phase)];
    if (fault.by_proxy && !before_tunnel(fault))
        script.insert(script.begin(), {expect_request(), send("HTTP/1.1 200 Fine\r\n\r\n")});
    script.insert(script.end(), effect(fault).end.begin(), effect(fault).end.end());
    return script;
}

/// A reset that comes at once may be met while the connection still counts as being made.
bool may_fail_to_connect(const Case &fault) {
    return fault.ill == Ill::reset && fault.phase == Phase::before_handshake;
}

/// A proxy that is silent, or whose answer has no end, or one without sense but with consent.
bool keeps_waiting(const Case &fault) {
    return fault.ill == Ill::stall || fault.ill == Ill::broken_record ||
           (fault.ill == Ill::garbage && fault.phase == Phase::in_consent);
}

/// The result, or the two between which chance decides.
std::vector<kavro_broker_result> expected(const Case &fault) {
    if (before_tunnel(fault))
        return {keeps_waiting(fault) ? KAVRO_BROKER_ERR_TIMEOUT : KAVRO_BROKER_ERR_PROXY_FAILED};
    if (!fault.request->fails || is_unasked(fault))
        return {fault.request->well};
    if (may_fail_to_connect(fault))
        return {KAVRO_BROKER_ERR_CONNECT_FAILED, effect(fault).result};
    return {effect(fault).result};
}

std::string_view log_sentence(const Case &fault) {
    if (may_fail_to_connect(fault) || is_unasked(fault) || before_tunnel(fault))
        return {};
    if (fault.ill == Ill::garbage && fault.phase == Phase::in_body)
        return "Received XML message parse error: ";
    return effect(fault).log;
}

std::string name_of(const Case &fault) {
    constexpr const char *ills[] = {"refused",   "reset",   "end",          "silence",
                                    "truncated", "garbage", "broken record"};
    constexpr const char *phases[] = {
        "before the handshake", "in the handshake",   "before the request", "in the head",
        "in the body",          "before the consent", "in the consent"};
    return std::string(fault.request->name) + (fault.by_proxy ? " by proxy, " : ", ") +
           ills[int(fault.ill)] + " " + phases[int(fault.phase)];
}

} // namespace

const std::vector<Request> &requests() {
    static const std::vector<Request> all = [] {
        auto answer = answers();
        std::vector<Request> made;
        for (const auto &[name, send] : all_requests) {
            const bool missing = std::string_view(name).starts_with("securid");
            made.push_back({name, send, answer[name],
                            missing ? KAVRO_BROKER_ERR_NOT_IMPLEMENTED : KAVRO_BROKER_OK});
        }
        made.push_back(
            {.name = "hello", .send = greet, .answer = answer["hello"], .greets_after = true});
        made.push_back({.name = "bye",
                        .send = kavro_broker_clear_session,
                        .answer = answer["bye"],
                        .fails = false,
                        .greets_after = true});
        return made;
    }();
    return all;
}

const Request &good_request() {
    return requests().front();
}

std::vector<Case> all_cases() {
    std::vector<Case> cases;
    for (const Request &request : requests()) {
        cases.push_back({&request, Ill::refuse, Phase::before_handshake});
        for (int ill = int(Ill::reset); ill <= int(Ill::broken_record); ++ill) {
            for (int phase = 0; phase <= int(Phase::in_body); ++phase) {
                if (phase > int(Phase::before_request) && request.answer.empty())
                    continue; // there is no answer to spoil
                cases.push_back({&request, Ill(ill), Phase(phase)});
            }
        }
    }
    cases.push_back({&good_request(), Ill::refuse, Phase::before_consent, true});
    for (int ill = int(Ill::reset); ill <= int(Ill::broken_record); ++ill) {
        for (int phase = 0; phase <= int(Phase::in_consent); ++phase)
            cases.push_back({&good_request(), Ill(ill), Phase(phase), true});
    }
    return cases;
}

namespace {

void set_way(const OwnedHandle &handle, const std::string &port, bool by_proxy) {
    const std::string proxy = by_proxy ? "http://127.0.0.1:" + port : "";
    kavro_broker_set_proxy(handle.get(), proxy.c_str(), nullptr, nullptr);
}

} // namespace

void run_cases(const OwnedHandle &handle, std::span<const Case> faults) {
    const RefusingPort refusing;
    const std::string cookie = canary::cookie + refusing.port(); // nobody else has this one
    const std::string set_cookie = "Set-Cookie: S=" + cookie + "; Path=/\r\n";
    const Script hello = answering(hello_answer(demand), set_cookie);
    const Script good = answering(good_request().answer);
    std::vector<Script> scripts = {hello, good};
    for (const Case &fault : faults) {
        if (fault.ill != Ill::refuse)
            scripts.push_back(spoilt_script(fault));
        // Another port is another broker.
        const bool other_port = fault.ill == Ill::refuse && !fault.by_proxy;
        if (other_port || fault.request->greets_after)
            scripts.push_back(hello);
        scripts.push_back(good);
    }
    const ScriptedPeer broker(scripts);
    // Who the client is has changed, so it greets again.
    kavro_broker_set_client_info(handle.get(), "test client", "1.0", "Linux");
    set_port(handle, broker.port());
    ASSERT_EQ(good_request().send(handle.get()), KAVRO_BROKER_OK);

    for (const Case &fault : faults) {
        SCOPED_TRACE(name_of(fault));
        const std::string port = fault.ill == Ill::refuse ? refusing.port() : broker.port();
        set_port(handle, fault.by_proxy ? broker.port() : port);
        set_way(handle, port, fault.by_proxy);
        kavro::CapturedLog::take();
        const auto start = Clock::now();
        const auto code = fault.request->send(handle.get());
        EXPECT_EQ(std::ranges::count(expected(fault), code), 1) << code;
        EXPECT_LT(Clock::now() - start, deadline + margin);
        const std::string log = kavro::CapturedLog::take();
        EXPECT_NE(log.find(log_sentence(fault)), std::string::npos) << log;

        set_port(handle, broker.port());
        set_way(handle, {}, false);
        EXPECT_EQ(good_request().send(handle.get()), KAVRO_BROKER_OK) << "afterwards";
        EXPECT_EQ(canary::line_with_secret(log + kavro::CapturedLog::take()), "");
    }
    EXPECT_EQ(broker.connection_count(), scripts.size());
    const auto last = broker.record(scripts.size() - 1).requests;
    ASSERT_EQ(last.size(), 1u);
    EXPECT_NE(last[0].find("Cookie: S=" + cookie + "\r\n"), std::string::npos) << last[0];
}

} // namespace hostile
