#include "hostile/fault_case.h"

#include "hostile/canaries.h"
#include "hostile/thread_log.h"
#include "kavro/src/kavro_broker_client.h"
#include "kavro_broker_extras.h"
#include "refusing_port.h"
#include "scripted_peer.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace hostile {

namespace {

using namespace test_support;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// The shortest that an allocation can be given; all other requests have as long.
constexpr auto deadline = 1s;
/// Slow machines and sanitizers stretch everything but the deadline itself.
constexpr auto margin = 4s;

std::string message(const std::string &content) {
    return "<kavro-client version=\"2.1\">" + content + "</kavro-client>";
}

/// A demand for a secret, so that there always is a field that the next answer can be matched to.
const std::string demand =
    "<next-authentication><authentication-methods><method>AUTHENTICATE_VIA_DIALOG</method>"
    "</authentication-methods><dialog-parameters><fields><field><id>pin</id>"
    "<do-not-log>true</do-not-log></field></fields></dialog-parameters></next-authentication>";

std::string result(const char *id) {
    return std::string("<result><result-id>") + id + "</result-id></result>";
}

const std::string hello_answer =
    message("<hello-resp><brokers-info><broker-info><product-name>p</product-name>"
            "<product-version>1</product-version><platform>p</platform><locale>en_US</locale>"
            "<ip-address>127.0.0.1</ip-address><hostname>localhost</hostname></broker-info>"
            "</brokers-info>" +
            demand + "</hello-resp>");
const std::string authenticated =
    message("<authenticate-resp>" + result("AUTH_SUCCESSFUL_AND_INCOMPLETE") + demand +
            "</authenticate-resp>");
const std::string updated =
    message("<update-password-resp>" + result("PSWD_UPDATE_SUCCESSFUL_AUTH_INCOMPLETE") + demand +
            "</update-password-resp>");
const std::string listed =
    message("<get-resource-list-resp>" + result("LIST_SUCCESSFUL") +
            "<resource><resource-name>Desk</resource-name><resource-id>d</resource-id>"
            "<resource-type>DESKTOP</resource-type><resource-state>POWERED_ON</resource-state>"
            "<protocols><protocol>KAVRO</protocol></protocols></resource>"
            "</get-resource-list-resp>");
const std::string allocated =
    message("<allocate-resource-resp>" + result("ALLOC_SUCCESSFUL") +
            "<target><ip-address>127.0.0.1</ip-address><hostname>h</hostname><port>1</port>"
            "<session-id>1</session-id><connect-tag>" +
            canary::connect_tag + "</connect-tag></target><gateway-ticket-info><gateway-ticket>" +
            canary::ticket +
            "</gateway-ticket><gt-creation-time>1</gt-creation-time>"
            "<gt-expiry-time>2</gt-expiry-time></gateway-ticket-info></allocate-resource-resp>");
const std::string operated =
    message("<perform-operation-resp>" + result("OP_SUCCESSFUL") + "</perform-operation-resp>");

kavro_broker_result list(kavro_broker_handle handle) {
    kavro_broker_desktop_list desktops = nullptr;
    const auto code = kavro_broker_request_desktop_list(handle, &desktops);
    EXPECT_EQ(desktops != nullptr, code == KAVRO_BROKER_OK);
    kavro_broker_free_desktop_list(desktops);
    return code;
}

/// The broker is told the locale with the hello, so the next request begins with one.
kavro_broker_result greet(kavro_broker_handle handle) {
    kavro_broker_set_locale(handle, "en_US");
    return list(handle);
}

kavro_broker_result ask_method(kavro_broker_handle handle) {
    uint32_t method = 0;
    return kavro_broker_get_auth_method(handle, &method);
}

kavro_broker_result answer_dialog(kavro_broker_handle handle) {
    const kavro_broker_name_value field = {"pin", canary::pin};
    return kavro_broker_send_auth_dialog(handle, "ok", &field, 1);
}

kavro_broker_result allocate(kavro_broker_handle handle) {
    kavro_broker_desktop_connection_info target = nullptr;
    const auto code = kavro_broker_connect_to_desktop(handle, "d", nullptr, &target);
    EXPECT_EQ(target != nullptr, code == KAVRO_BROKER_OK);
    kavro_broker_free_desktop_connection_info(target);
    return code;
}

Script good_script(const std::string &answer, const std::string &headers = {}) {
    return {handshake(), expect_request(), send(http_ok(answer, headers))};
}

Script spoilt_script(const Case &fault) {
    const std::string body = fault.request->answer;
    const std::string whole = http_ok(body);
    const bool in_clear = fault.phase < Phase::before_request;
    Script script;
    if (fault.phase == Phase::in_handshake)
        script = {expect_bytes(1)};
    else if (fault.phase == Phase::before_request)
        script = {handshake()};
    else if (fault.phase == Phase::in_head)
        script = {handshake(), expect_request(), send(whole.substr(0, 20))};
    else if (fault.phase == Phase::in_body)
        script = {handshake(), expect_request(), send(whole.substr(0, whole.size() - 10))};
    switch (fault.ill) {
    case Ill::refuse:
        break;
    case Ill::reset:
        script.push_back(rst());
        break;
    case Ill::fin:
        script.push_back(fin());
        break;
    case Ill::stall:
        script.push_back(stall());
        break;
    case Ill::truncated: // half a record without an end, or an end that is announced
        if (in_clear)
            script.push_back(send("\x16\x03\x03\x02"));
        script.push_back(in_clear ? fin() : close_notify());
        break;
    case Ill::garbage:
        script.push_back(send("\x01<<<<<\xFF\xFE%n%s\r\n\r\n"));
        break;
    case Ill::broken_record:
        script.push_back(send_plain(std::string(64, '\xFF')));
        break;
    }
    return script;
}

/// A reset that comes at once may be met while the connection still counts as being made.
bool may_fail_to_connect(const Case &fault) {
    return fault.ill == Ill::reset && fault.phase == Phase::before_handshake;
}

void set_port(kavro_broker_handle handle, const std::string &port) {
    kavro_broker_set_broker_address(handle, "127.0.0.1", port.c_str());
}

} // namespace

const std::vector<Request> &requests() {
    using Handle = kavro_broker_handle;
    using namespace canary;
    constexpr auto missing = KAVRO_BROKER_ERR_NOT_IMPLEMENTED;
    static const std::vector<Request> all = {
        {.name = "list", .send = list, .answer = listed},
        {.name = "hello", .send = greet, .answer = hello_answer, .greets_after = true},
        {.name = "authentication method", .send = ask_method, .answer = {}},
        {"password",
         [](Handle h) { return kavro_broker_send_password(h, user, "EXAMPLE", password); },
         authenticated},
        {"dialog", answer_dialog, authenticated},
        {"OAuth code", [](Handle h) { return kavro_broker_send_oauth_code(h, oauth_code); },
         authenticated},
        {"disclaimer", [](Handle h) { return kavro_broker_send_accept_disclaimer(h, 1); },
         authenticated},
        {"new password",
         [](Handle h) {
             return kavro_broker_send_new_password(h, user, "EXAMPLE", password, new_password,
                                                   new_password);
         },
         updated},
        {"SecurID",
         [](Handle h) { return kavro_broker_send_securid_auth(h, user, pin); },
         {},
         missing},
        {"SecurID token",
         [](Handle h) { return kavro_broker_send_securid_token(h, pin); },
         {},
         missing},
        {"SecurID PIN",
         [](Handle h) { return kavro_broker_send_securid_pinchange(h, pin, pin, pin); },
         {},
         missing},
        {"SecurID wait", [](Handle h) { return kavro_broker_send_securid_wait(h); }, {}, missing},
        {"allocation", allocate, allocated},
        {"power",
         [](Handle h) {
             return kavro_broker_perform_desktop_operation(h, "d", KAVRO_BROKER_OPERATION_POWER_UP);
         },
         operated},
        {.name = "log-out",
         .send = [](Handle h) { return kavro_broker_clear_session(h); },
         .answer = message("<bye-resp/>"),
         .fails = false,
         .greets_after = true},
    };
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
    return cases;
}

std::string name_of(const Case &fault) {
    constexpr const char *ills[] = {"refused",   "reset",   "end",          "silence",
                                    "truncated", "garbage", "broken record"};
    constexpr const char *phases[] = {"before the handshake", "in the handshake",
                                      "before the request", "in the head", "in the body"};
    return std::string(fault.request->name) + ", " + ills[int(fault.ill)] + " " +
           phases[int(fault.phase)];
}

std::vector<kavro_broker_result> expected(const Case &fault) {
    const bool connecting = fault.phase < Phase::before_request;
    const bool unasked = !connecting && fault.request->answer.empty();
    if (!fault.request->fails || unasked)
        return {fault.request->well};
    switch (fault.ill) {
    case Ill::refuse:
        return {KAVRO_BROKER_ERR_CONNECT_REFUSED};
    case Ill::stall:
        return {KAVRO_BROKER_ERR_TIMEOUT};
    case Ill::garbage:
        if (!connecting)
            return {KAVRO_BROKER_ERR_MANGLED_RESPONSE};
        return {KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED};
    case Ill::broken_record:
        if (!connecting)
            return {KAVRO_BROKER_ERR_TLS_PROTOCOL_ERROR};
        return {KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED};
    default:
        if (may_fail_to_connect(fault))
            return {KAVRO_BROKER_ERR_CONNECT_FAILED, KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE};
        return {KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE};
    }
}

std::string_view log_sentence(const Case &fault) {
    const bool connecting = fault.phase < Phase::before_request;
    if (fault.ill == Ill::refuse || may_fail_to_connect(fault) ||
        (!connecting && fault.request->answer.empty()))
        return {};
    if (fault.ill == Ill::stall)
        return "Deadline Timer has expired!";
    if (connecting)
        return "HttpsXmlClient::handle_handshake, Handshake failure: e.category='";
    if (fault.ill == Ill::garbage)
        return fault.phase == Phase::in_body ? "Received XML message parse error: " : "";
    return "cHTTPS_XML_CLIENT encountered error val=";
}

OwnedHandle new_handle() {
    OwnedHandle handle(new broker_client_impl, kavro_broker_free);
    handle->create(
        KAVRO_BROKER_TYPE_KAVRO,
        kavro::BrokerClientHandle(new kavro::cKAVRO_BROKER_CLIENT({deadline, deadline})));
    handle->connect_to_desktop_timeout = deadline;
    return handle;
}

void run_cases(broker_client_impl &handle, std::span<const Case> faults) {
    const RefusingPort refusing;
    const std::string cookie = canary::cookie + refusing.port(); // nobody else has this one
    const std::string set_cookie = "Set-Cookie: S=" + cookie + "; Path=/\r\n";
    const Script hello = good_script(hello_answer, set_cookie);
    const Script good = good_script(good_request().answer);
    std::vector<Script> scripts = {hello, good};
    for (const Case &fault : faults) {
        if (fault.ill != Ill::refuse)
            scripts.push_back(spoilt_script(fault));
        if (fault.request->greets_after)
            scripts.push_back(hello);
        scripts.push_back(good);
    }
    const ScriptedPeer broker(scripts);
    // Who the client is has changed, so it greets again.
    kavro_broker_set_client_info(&handle, "test client", "1.0", "Linux");
    set_port(&handle, broker.port());
    ASSERT_EQ(good_request().send(&handle), KAVRO_BROKER_OK);

    for (const Case &fault : faults) {
        SCOPED_TRACE(name_of(fault));
        set_port(&handle, fault.ill == Ill::refuse ? refusing.port() : broker.port());
        ThreadLog::take();
        const auto start = Clock::now();
        const auto code = fault.request->send(&handle);
        EXPECT_EQ(std::ranges::count(expected(fault), code), 1) << code;
        EXPECT_LT(Clock::now() - start, deadline + margin);
        const std::string log = ThreadLog::take();
        EXPECT_NE(log.find(log_sentence(fault)), std::string::npos) << log;

        set_port(&handle, broker.port());
        EXPECT_EQ(good_request().send(&handle), KAVRO_BROKER_OK) << "afterwards";
        EXPECT_EQ(canary::line_with_secret(log + ThreadLog::take()), "");
    }
    EXPECT_EQ(broker.connection_count(), scripts.size());
    const auto last = broker.record(scripts.size() - 1).requests;
    ASSERT_EQ(last.size(), 1u);
    EXPECT_NE(last[0].find("Cookie: S=" + cookie + "\r\n"), std::string::npos) << last[0];
}

} // namespace hostile
