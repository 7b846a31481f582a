#include "captured_log.h"
#include "handle/fake_client.h"
#include "kavro_broker_extras.h"
#include "request_frame.h"
#include "support/requests.h"
#include "utils/src/broker_utils.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kavro {
namespace {

using namespace std::string_literals;
using namespace test_support;
using Calls = std::vector<std::string>;

TEST(RequestFrame, EveryRequestGreetsOnceAndConnectsForItself) {
    for (const auto &[operation, run] : all_requests) {
        SCOPED_TRACE(operation);
        FakeHandle handle;
        EXPECT_EQ(run(handle), KAVRO_BROKER_OK);
        handle.client->results[operation] = {{ERROR_CODE_AUTH_WEAK_PASSWORD, "too short"}};
        EXPECT_EQ(run(handle), KAVRO_BROKER_ERR_AUTH_WEAK_PASSWORD);
        EXPECT_EQ(handle.handle->last_error_message, "too short");
        EXPECT_EQ(handle.client->calls, (Calls{"connect", "hello", "close", "connect", operation,
                                               "close", "connect", operation, "close"}));
        EXPECT_EQ(run(handle), KAVRO_BROKER_OK);
        EXPECT_EQ(handle.handle->last_error_message, "") << "that of the last failure";
    }
}

TEST(RequestFrame, BuildsTheUrlOfAnAddressThatIsWholeAndNotPlain) {
    const char *const not_set = "The broker's address is not set.";
    const struct {
        const char *address;
        const char *url; ///< or empty
        uint32_t variant = 0;
        kavro_broker_result result = KAVRO_BROKER_OK;
        const char *message = "";
        const char *port = "8443";
    } rows[] = {
        {"broker.test", "https://broker.test:8443"},
        {"::1", "https://[::1]:8443"},
        {"fe80::1%lo", "https://[fe80::1%lo]:8443"},
        {"broker.test:9443", "https://broker.test:9443"},
        {"https://broker.test/", "https://broker.test:8443"},
        {"HTTPS://[::1]:9443/", "https://[::1]:9443"},
        {"[::1]", "https://[::1]:8443"},
        {"[broker]:9443", "https://[broker]:9443:8443"},
        {"ABC+123", "ABC+123", 1},
        {"http://broker.test", "", 0, KAVRO_BROKER_ERR_INVALID_PARAMETER, plain_http_refused},
        {"", "", 0, KAVRO_BROKER_ERR_INVALID_STATE, not_set},
        {"broker.test", "", 0, KAVRO_BROKER_ERR_INVALID_STATE, not_set, ""}};
    for (const auto &[address, url, variant, result, message, port] : rows) {
        FakeHandle handle;
        handle.handle->address = address;
        handle.handle->port = port;
        handle.handle->last_error_message = "of the request before";
        kavro_broker_set_broker_variant(handle, variant);
        EXPECT_EQ(ask_method(handle), result);
        EXPECT_EQ(handle.client->last_connection.address, url);
        EXPECT_EQ(handle.client->last_connection.is_registration_code, variant == 1);
        EXPECT_EQ(handle.handle->last_error_message, message);
    }
}

TEST(RequestFrame, GreetsAgainAfterWhatChangesTheGreeting) {
    const struct {
        const char *what;
        void (*change)(Handle);
        long greetings;
    } rows[] = {
        {"nothing", [](Handle) {}, 1},
        {"locale", [](Handle h) { kavro_broker_set_locale(h, "de_DE"); }, 2},
        {"time zone", [](Handle h) { kavro_broker_set_timezone(h, "UTC"); }, 1},
        {"client", [](Handle h) { kavro_broker_set_client_info(h, "a", "1", "b"); }, 2},
        {"OAuth", [](Handle h) { kavro_broker_enable_oauth(h, true); }, 2},
        {"logout", [](Handle h) { kavro_broker_clear_session(h); }, 2},
        {"address", [](Handle h) { kavro_broker_set_broker_address(h, "x", "8443"); }, 2},
        {"port", [](Handle h) { kavro_broker_set_broker_address(h, "broker.test", "1"); }, 2},
        {"same", [](Handle h) { kavro_broker_set_broker_address(h, "broker.test", "8443"); }, 1},
    };
    for (const auto &[what, change, greetings] : rows) {
        FakeHandle handle;
        handle.client->log_id = "old";
        EXPECT_EQ(ask_method(handle), KAVRO_BROKER_OK);
        change(handle);
        EXPECT_EQ(handle.client->log_id == "old", what != "client"s);
        EXPECT_EQ(ask_method(handle), KAVRO_BROKER_OK);
        EXPECT_EQ(std::ranges::count(handle.client->calls, "hello"), greetings) << what;
    }
}

/// When the second port is tried, and how often the log says so.
TEST(RequestFrame, FallsBackToTheSecondPortOnce) {
    const auto refused = BrokerResult{ERROR_CODE_CONNECT_REFUSED};
    const auto not_ok = BrokerResult{ERROR_CODE_HTTP_NOT_OK};
    const auto untrusted = BrokerResult{ERROR_CODE_CERTIFICATE_FAILED};
    constexpr auto said_no = KAVRO_BROKER_ERR_CONNECT_REFUSED;
    constexpr auto unclear = KAVRO_BROKER_ERR_HTTP_NOT_OK;
    const struct {
        const char *what;
        const char *port;
        const char *operation;
        std::deque<BrokerResult> results;
        kavro_broker_result expected;
        long connects;
        const char *address = "broker.test";
    } rows[] = {
        {"refused once", nullptr, "connect", {refused}, KAVRO_BROKER_OK, 3},
        {"empty port text", "", "connect", {refused}, KAVRO_BROKER_OK, 3},
        {"refused twice", nullptr, "connect", {refused, refused}, said_no, 2},
        {"port given", "443", "connect", {refused}, said_no, 1},
        {"port in the address", nullptr, "connect", {refused}, said_no, 1, "broker.test:443"},
        {"untrusted", nullptr, "connect", {untrusted}, KAVRO_BROKER_ERR_CERTIFICATE_FAILED, 1},
        {"hello not understood", nullptr, "hello", {not_ok}, KAVRO_BROKER_OK, 3},
        {"hello not understood, port given", "443", "hello", {not_ok}, unclear, 1},
        {"hello never understood", nullptr, "hello", {not_ok, not_ok}, unclear, 2},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        CapturedLog log;
        FakeHandle handle;
        kavro_broker_set_broker_address(handle, row.address, row.port);
        handle.client->results[row.operation] = row.results;
        EXPECT_EQ(ask_method(handle), row.expected);
        EXPECT_EQ(std::ranges::count(handle.client->calls, "connect"), row.connects);
        const LogLine notice{1, 2, 0, "No Kavro broker found on port 443, retrying on port 60443."};
        const bool retried = handle.handle->port == "60443";
        EXPECT_EQ(std::ranges::count(log.lines(), notice), retried ? 1 : 0);
        EXPECT_EQ(retried, row.connects > 1);
        EXPECT_EQ(handle.handle->report.second_port, retried);
        EXPECT_EQ(handle.handle->report.connections.size(), row.connects);
        kavro_broker_set_broker_address(handle, row.address, row.port);
        EXPECT_EQ(handle.handle->port == "60443", retried) << "the same address changes nothing";
    }
}

/// Wherever in a request a cancel lands, the request returns 5 and asks for nothing more.
TEST(RequestFrame, CancelIsSticky) {
    const struct {
        const char *during;
        eERROR_CODE step_result;
        Calls calls;
    } rows[] = {
        {"connect", ERROR_CODE_CANCELLED, {"connect", "cancel"}},
        {"connect", ERROR_CODE_NONE, {"connect", "cancel"}},
        {"connect", ERROR_CODE_CONNECT_REFUSED, {"connect", "cancel"}},
        {"hello", ERROR_CODE_CANCELLED, {"connect", "hello", "cancel", "close"}},
        {"hello", ERROR_CODE_HTTP_NOT_OK, {"connect", "hello", "cancel", "close"}},
        {"list",
         ERROR_CODE_NONE,
         {"connect", "hello", "release", "connect", "list", "cancel", "close"}},
    };
    for (const auto &[during, step_result, calls] : rows) {
        SCOPED_TRACE(testing::Message() << during << ' ' << step_result);
        FakeHandle handle;
        kavro_broker_keep_connection(handle, 60);
        kavro_broker_set_broker_address(handle, "broker.test", nullptr);
        handle.client->results[during] = {BrokerResult{step_result}};
        handle.client->hooks[during] = [&handle] { kavro_broker_cancel(handle); };
        EXPECT_EQ(list(handle), KAVRO_BROKER_ERR_CANCELLED);
        EXPECT_EQ(handle.client->calls, calls);
        EXPECT_EQ(handle.handle->port, "443") << "no second port is tried";

        handle.client->hooks.clear();
        kavro_broker_cancel(handle);
        EXPECT_EQ(list(handle), KAVRO_BROKER_OK) << "between requests a cancel has no effect";
    }
}

TEST(RequestFrame, AnOperationThatNeverAnswersIsNoSuccess) {
    FakeHandle handle;
    handle.client->drops_connect_handler = true;
    EXPECT_EQ(ask_method(handle), KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED);
}

TEST(RequestFrame, FailuresWithoutWordsAreGivenSome) {
    constexpr auto state = KAVRO_BROKER_ERR_INVALID_STATE;
    constexpr auto failed = KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE;
    const std::string exported = "kavro_broker_request_desktop_list: ";
    const struct {
        void (*fail)(FakeClient &);
        kavro_broker_result result;
        std::string words;
    } rows[] = {
        {[](FakeClient &client) { client.results["list"] = {{ERROR_CODE_INVALID_STATE}}; }, state,
         "The broker has no session for this request."},
        {[](FakeClient &) { throw std::bad_alloc(); }, failed, exported + "out of memory"},
        {[](FakeClient &) { throw std::runtime_error("no"); }, failed, exported + "no"},
        {[](FakeClient &) { throw 1; }, failed, exported + "an exception of an unknown kind"},
    };
    for (const auto &[fail, result, words] : rows) {
        const CapturedLog log;
        FakeHandle handle;
        handle.client->hooks["list"] = [&fail = fail, &handle] { fail(*handle.client); };
        EXPECT_EQ(list(handle), result);
        EXPECT_EQ(handle.handle->last_error_message, words);
        EXPECT_EQ(std::ranges::count(log.lines(), LogLine{0, 1, -500, words}), result == failed);
        handle.client->hooks.clear();
        EXPECT_EQ(list(handle), KAVRO_BROKER_OK);
    }
}

TEST(RequestFrame, LogoutSaysGoodByeOnlyToWhomItGreeted) {
    FakeHandle handle;
    EXPECT_EQ(kavro_broker_clear_session(handle), KAVRO_BROKER_OK);
    EXPECT_TRUE(handle.client->calls.empty());

    ask_method(handle);
    EXPECT_TRUE(handle.handle->hello_completed);
    handle.client->calls.clear();
    handle.client->results["connect"] = {BrokerResult{ERROR_CODE_CONNECT_REFUSED}};
    EXPECT_EQ(kavro_broker_clear_session(handle), KAVRO_BROKER_OK);
    EXPECT_EQ(handle.client->calls, (Calls{"connect", "bye", "close"}));
    size_t length = 0;
    EXPECT_EQ(
        kavro_broker_get_broker_info(handle, nullptr, &length, nullptr, &length, nullptr, &length),
        KAVRO_BROKER_ERR_INVALID_STATE);

    ask_method(handle);
    handle.client->results["bye"] = {BrokerResult{ERROR_CODE_TIMEOUT}};
    kavro_broker_clear_session(handle);
    EXPECT_TRUE(handle.handle->hello_completed) << "the broker has not heard of it";
    kavro_broker_set_broker_address(handle, "another.test", "8443");
    handle.client->calls.clear();
    EXPECT_EQ(kavro_broker_clear_session(handle), KAVRO_BROKER_OK);
    EXPECT_TRUE(handle.client->calls.empty()) << "that one was never greeted";
}

TEST(RequestFrame, AllocationTimeouts) {
    const std::pair<uint16_t, long> rows[] = {
        {0, 180000}, {1, 1000}, {65534, 65534000}, {65535, 86400000}};
    for (const auto &[seconds, milliseconds] : rows) {
        FakeHandle handle;
        kavro_broker_set_connect_to_desktop_timeout(handle, seconds);
        EXPECT_EQ(allocate(handle), KAVRO_BROKER_OK);
        EXPECT_EQ(handle.client->last_timeout.count(), milliseconds);
    }
}

TEST(RequestFrame, SecurIdLeadsFromStepToStep) {
    const struct {
        const char *request, *arguments;
        AuthMethod next;
        uint32_t method;
    } rows[] = {
        {"securid", "canary-user 1 ", AuthMethod::securid_next_token,
         KAVRO_BROKER_AUTH_METHOD_SECURID_NEXT_TOKEN},
        {"securid token", "canary-pin-4 ", AuthMethod::securid_new_pin,
         KAVRO_BROKER_AUTH_METHOD_SECURID_NEW_PIN},
        {"securid pin", "1 canary-pin-4 canary-new-pin-4 ", AuthMethod::securid_wait,
         KAVRO_BROKER_AUTH_METHOD_SECURID_WAIT},
        {"securid wait", "", AuthMethod::securid, KAVRO_BROKER_AUTH_METHOD_SECURID},
    };
    for (const auto &[request, arguments, next, expected] : rows) {
        FakeHandle handle;
        handle.client->auth.method = next;
        EXPECT_EQ(request_named(request)(handle), KAVRO_BROKER_OK);
        EXPECT_EQ(handle.client->last_answers, arguments);
        uint32_t method = 0;
        EXPECT_EQ(kavro_broker_get_auth_method(handle, &method), KAVRO_BROKER_OK);
        EXPECT_EQ(method, expected) << request;
    }
}

TEST(RequestFrame, DialogAnswersAreMatchedByName) {
    FakeHandle handle;
    handle.client->auth.dialog_fields = handle.handle->auth.dialog_fields = {
        {"pin", "PIN", "", false, true, false, 1}, {"name", "Name", "", false, false, true, 0}};
    const kavro_broker_name_value given[] = {
        {"name", "Alice"}, {"nobody", "x"}, {"pin", "1234"}, {"PIN", "y"}, {"", "z"}};
    handle.handle->hello_still_valid = true;
    const CapturedLog log;
    EXPECT_EQ(kavro_broker_send_auth_dialog(handle, "ok", given, 5), KAVRO_BROKER_OK);
    EXPECT_EQ(handle.client->last_answers, "name=Alice;pin=1234, hidden;");
    EXPECT_EQ(CapturedLog::count("The dialog has no field \"PIN\": it is left out."), 1);
}

TEST(RequestFrame, AuthMethodIsMinusOneUntilTheBrokerTells) {
    FakeHandle handle;
    handle.client->results["method"] = {BrokerResult{ERROR_CODE_AUTH_BLOCKED}};
    for (const kavro_broker_handle asked : {handle.handle.get(), kavro_broker_handle()}) {
        uint32_t method = 5;
        EXPECT_NE(kavro_broker_get_auth_method(asked, &method), KAVRO_BROKER_OK);
        EXPECT_EQ(method, 0xFFFFFFFF);
    }
}

} // namespace
} // namespace kavro
