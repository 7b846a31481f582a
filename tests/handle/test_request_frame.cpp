#include "captured_log.h"
#include "handle/fake_client.h"
#include "kavro_broker_extras.h"
#include "request_frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>

namespace kavro {
namespace {

using Calls = std::vector<std::string>;

BrokerResult failed(eERROR_CODE code, std::string message = {}) {
    return {code, std::move(message), {}, {}};
}

/// Every request export, and what it asks of the protocol client.
struct RequestRow {
    const char *operation;
    kavro_broker_result (*run)(kavro_broker_handle);
};

const RequestRow requests[] = {
    {"method",
     [](kavro_broker_handle handle) {
         uint32_t method;
         return kavro_broker_get_auth_method(handle, &method);
     }},
    {"password",
     [](kavro_broker_handle handle) { return kavro_broker_send_password(handle, "u", "d", "p"); }},
    {"dialog",
     [](kavro_broker_handle handle) {
         return kavro_broker_send_auth_dialog(handle, "ok", nullptr, 0);
     }},
    {"oauth", [](kavro_broker_handle handle) { return kavro_broker_send_oauth_code(handle, "c"); }},
    {"accept",
     [](kavro_broker_handle handle) { return kavro_broker_send_accept_disclaimer(handle, 1); }},
    {"reject",
     [](kavro_broker_handle handle) { return kavro_broker_send_accept_disclaimer(handle, 0); }},
    {"new password",
     [](kavro_broker_handle handle) {
         return kavro_broker_send_new_password(handle, "u", "d", "old", "new", "new");
     }},
    {"securid",
     [](kavro_broker_handle handle) { return kavro_broker_send_securid_auth(handle, "u", "c"); }},
    {"securid token",
     [](kavro_broker_handle handle) { return kavro_broker_send_securid_token(handle, "t"); }},
    {"securid pin",
     [](kavro_broker_handle handle) {
         return kavro_broker_send_securid_pinchange(handle, "t", "1", "1");
     }},
    {"securid wait", kavro_broker_send_securid_wait},
    {"list",
     [](kavro_broker_handle handle) {
         kavro_broker_desktop_list list = nullptr;
         const auto result = kavro_broker_request_desktop_list(handle, &list);
         kavro_broker_free_desktop_list(list);
         return result;
     }},
    {"allocate",
     [](kavro_broker_handle handle) {
         kavro_broker_desktop_connection_info info = nullptr;
         const auto result = kavro_broker_connect_to_desktop(handle, "d", nullptr, &info);
         kavro_broker_free_desktop_connection_info(info);
         return result;
     }},
    {"operate",
     [](kavro_broker_handle handle) {
         return kavro_broker_perform_desktop_operation(handle, "d", 2);
     }},
};

TEST(RequestFrame, EveryRequestGreetsOnceAndConnectsForItself) {
    for (const auto &[operation, run] : requests) {
        FakeHandle handle;
        EXPECT_EQ(run(handle), KAVRO_BROKER_OK) << operation;
        EXPECT_EQ(run(handle), KAVRO_BROKER_OK) << operation;
        EXPECT_EQ(handle.client->calls, (Calls{"connect", "hello", "close", "connect", operation,
                                               "close", "connect", operation, "close"}))
            << operation;
    }
}

TEST(RequestFrame, FailuresComeBackWithTheBrokersWords) {
    for (const auto &[operation, run] : requests) {
        FakeHandle handle;
        handle.client->results[operation] = {failed(ERROR_CODE_AUTH_WEAK_PASSWORD, "too short")};
        EXPECT_EQ(run(handle), KAVRO_BROKER_ERR_AUTH_WEAK_PASSWORD) << operation;
        EXPECT_EQ(handle.client->calls.back(), "close") << operation;
        char text[32];
        size_t length = sizeof text;
        EXPECT_EQ(kavro_broker_get_broker_error_message(handle, text, &length), KAVRO_BROKER_OK);
        EXPECT_STREQ(text, "too short");
    }
}

TEST(RequestFrame, NeitherAddressNorPortMayBeMissing) {
    for (auto missing : {&broker_client_impl::address, &broker_client_impl::port}) {
        FakeHandle handle;
        (*handle.handle.*missing).clear();
        EXPECT_EQ(requests[0].run(handle), KAVRO_BROKER_ERR_INVALID_STATE);
        EXPECT_TRUE(handle.client->calls.empty());
    }
}

TEST(RequestFrame, BuildsTheUrl) {
    struct Row {
        const char *address;
        uint32_t variant;
        const char *url;
    };
    const Row rows[] = {{"broker.test", 0, "https://broker.test:8443"},
                        {"broker.test", 2, "https://broker.test:8443"},
                        {"::1", 0, "https://[::1]:8443"},
                        {"fe80::1%lo", 0, "https://[fe80::1%lo]:8443"},
                        {"10.0.0.1", 0, "https://10.0.0.1:8443"},
                        {"ABC+123", 1, "ABC+123"}};
    for (const auto &[address, variant, url] : rows) {
        FakeHandle handle;
        kavro_broker_set_broker_address(handle, address, "8443");
        kavro_broker_set_broker_variant(handle, variant);
        EXPECT_EQ(requests[0].run(handle), KAVRO_BROKER_OK);
        EXPECT_EQ(handle.client->last_connection.address, url);
        EXPECT_EQ(handle.client->last_connection.is_registration_code, variant == 1);
    }
}

TEST(RequestFrame, GreetsAgainAfterWhatChangesTheGreeting) {
    struct Row {
        const char *what;
        void (*change)(kavro_broker_handle);
        long greetings;
    };
    const Row rows[] = {
        {"nothing", [](kavro_broker_handle) {}, 1},
        {"locale", [](kavro_broker_handle h) { kavro_broker_set_locale(h, "de_DE"); }, 2},
        {"time zone", [](kavro_broker_handle h) { kavro_broker_set_timezone(h, "UTC"); }, 1},
        {"client", [](kavro_broker_handle h) { kavro_broker_set_client_info(h, "a", "1", "b"); },
         2},
        {"OAuth", [](kavro_broker_handle h) { kavro_broker_enable_oauth(h, true); }, 2},
        {"logout", [](kavro_broker_handle h) { kavro_broker_clear_session(h); }, 2},
        {"address", [](kavro_broker_handle h) { kavro_broker_set_broker_address(h, "x", "1"); }, 1},
    };
    for (const auto &[what, change, greetings] : rows) {
        FakeHandle handle;
        EXPECT_EQ(requests[0].run(handle), KAVRO_BROKER_OK);
        change(handle);
        EXPECT_EQ(requests[0].run(handle), KAVRO_BROKER_OK);
        EXPECT_EQ(std::ranges::count(handle.client->calls, "hello"), greetings) << what;
    }
}

TEST(RequestFrame, NewClientInfoDropsTheOldSessionIdentifier) {
    FakeHandle handle;
    handle.client->log_id = "old";
    kavro_broker_set_client_info(handle, "a", "1", "b");
    EXPECT_EQ(handle.client->log_id, "00000000-0000-0000-0000-000000000000");
}

/// When the second port is tried, and how often the log says so.
TEST(RequestFrame, FallsBackToTheSecondPortOnce) {
    struct Row {
        const char *what;
        const char *port;
        const char *operation;
        std::deque<BrokerResult> results;
        kavro_broker_result expected;
        long connects;
    };
    const auto refused = failed(ERROR_CODE_CONNECT_REFUSED);
    const Row rows[] = {
        {"refused once", nullptr, "connect", {refused}, KAVRO_BROKER_OK, 3},
        {"empty port text", "", "connect", {refused}, KAVRO_BROKER_OK, 3},
        {"refused twice",
         nullptr,
         "connect",
         {refused, refused},
         KAVRO_BROKER_ERR_CONNECT_REFUSED,
         2},
        {"port given", "443", "connect", {refused}, KAVRO_BROKER_ERR_CONNECT_REFUSED, 1},
        {"timed out",
         nullptr,
         "connect",
         {failed(ERROR_CODE_TIMEOUT)},
         KAVRO_BROKER_ERR_TIMEOUT,
         1},
        {"not trusted",
         nullptr,
         "connect",
         {failed(ERROR_CODE_CERTIFICATE_FAILED)},
         KAVRO_BROKER_ERR_CERTIFICATE_FAILED,
         1},
        {"hello not understood",
         nullptr,
         "hello",
         {failed(ERROR_CODE_HTTP_NOT_OK)},
         KAVRO_BROKER_OK,
         3},
        {"hello not understood, port given",
         "443",
         "hello",
         {failed(ERROR_CODE_HTTP_NOT_OK)},
         KAVRO_BROKER_ERR_HTTP_NOT_OK,
         1},
        {"hello never understood",
         nullptr,
         "hello",
         {failed(ERROR_CODE_HTTP_NOT_OK), failed(ERROR_CODE_HTTP_NOT_OK)},
         KAVRO_BROKER_ERR_HTTP_NOT_OK,
         2},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        CapturedLog log;
        FakeHandle handle;
        kavro_broker_set_broker_address(handle, "broker.test", row.port);
        handle.client->results[row.operation] = row.results;
        EXPECT_EQ(requests[0].run(handle), row.expected);
        EXPECT_EQ(std::ranges::count(handle.client->calls, "connect"), row.connects);
        const LogLine notice{1, 2, 0, "No Kavro broker found on port 443, retrying on port 60443."};
        const bool retried = handle.handle->port == "60443";
        EXPECT_EQ(std::ranges::count(log.lines(), notice), retried ? 1 : 0);
        EXPECT_EQ(retried, row.connects > 1);
    }
}

/// Wherever in a request a cancel lands, the request returns 5 and asks for nothing more.
TEST(RequestFrame, CancelIsSticky) {
    struct Row {
        const char *during;
        eERROR_CODE step_result;
        Calls calls;
    };
    const Row rows[] = {
        {"connect", ERROR_CODE_CANCELLED, {"connect", "cancel"}},
        {"connect", ERROR_CODE_NONE, {"connect", "cancel"}},
        {"connect", ERROR_CODE_CONNECT_REFUSED, {"connect", "cancel"}},
        {"hello", ERROR_CODE_CANCELLED, {"connect", "hello", "cancel", "close"}},
        {"hello", ERROR_CODE_HTTP_NOT_OK, {"connect", "hello", "cancel", "close"}},
        {"list",
         ERROR_CODE_NONE,
         {"connect", "hello", "close", "connect", "list", "cancel", "close"}},
    };
    for (const auto &[during, step_result, calls] : rows) {
        SCOPED_TRACE(testing::Message() << during << ' ' << step_result);
        FakeHandle handle;
        kavro_broker_set_broker_address(handle, "broker.test", nullptr);
        handle.client->results[during] = {failed(step_result)};
        handle.client->hooks[during] = [&handle] { kavro_broker_cancel(handle); };
        kavro_broker_desktop_list list = nullptr;
        EXPECT_EQ(kavro_broker_request_desktop_list(handle, &list), KAVRO_BROKER_ERR_CANCELLED);
        EXPECT_EQ(list, nullptr);
        EXPECT_EQ(handle.client->calls, calls);

        handle.client->hooks.clear();
        EXPECT_EQ(kavro_broker_request_desktop_list(handle, &list), KAVRO_BROKER_OK);
        kavro_broker_free_desktop_list(list);
    }
}

TEST(RequestFrame, CancelBetweenRequestsHasNoEffect) {
    FakeHandle handle;
    kavro_broker_cancel(handle);
    EXPECT_TRUE(handle.client->calls.empty());
    EXPECT_EQ(requests[0].run(handle), KAVRO_BROKER_OK);
}

TEST(RequestFrame, AnOperationThatNeverAnswersIsNoSuccess) {
    FakeHandle handle;
    handle.client->drops_connect_handler = true;
    EXPECT_EQ(requests[0].run(handle), KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED);
}

TEST(RequestFrame, SurvivesAnExceptionInAnyStep) {
    for (const char *step : {"connect", "hello", "list"}) {
        FakeHandle handle;
        handle.client->hooks[step] = [] { throw std::bad_alloc(); };
        kavro_broker_desktop_list list = nullptr;
        EXPECT_EQ(kavro_broker_request_desktop_list(handle, &list),
                  KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE)
            << step;
        handle.client->hooks.clear();
        EXPECT_EQ(kavro_broker_request_desktop_list(handle, &list), KAVRO_BROKER_OK) << step;
        kavro_broker_free_desktop_list(list);
    }
}

TEST(RequestFrame, LogoutSaysGoodByeOnlyToWhomItGreeted) {
    FakeHandle handle;
    EXPECT_EQ(kavro_broker_clear_session(handle), KAVRO_BROKER_OK);
    EXPECT_TRUE(handle.client->calls.empty());

    requests[0].run(handle);
    size_t length = 0;
    EXPECT_EQ(
        kavro_broker_get_broker_info(handle, nullptr, &length, nullptr, &length, nullptr, &length),
        KAVRO_BROKER_OK);
    handle.client->calls.clear();
    handle.client->results["connect"] = {failed(ERROR_CODE_CONNECT_REFUSED)};
    EXPECT_EQ(kavro_broker_clear_session(handle), KAVRO_BROKER_OK);
    EXPECT_EQ(handle.client->calls, (Calls{"connect", "bye", "close"}));
    EXPECT_EQ(
        kavro_broker_get_broker_info(handle, nullptr, &length, nullptr, &length, nullptr, &length),
        KAVRO_BROKER_ERR_INVALID_STATE);
}

TEST(RequestFrame, AllocationTimeouts) {
    const std::pair<uint16_t, long> rows[] = {
        {0, 180000}, {1, 1000}, {300, 300000}, {65534, 65534000}, {65535, 86400000}};
    for (const auto &[seconds, milliseconds] : rows) {
        FakeHandle handle;
        kavro_broker_set_connect_to_desktop_timeout(handle, seconds);
        kavro_broker_desktop_connection_info info = nullptr;
        EXPECT_EQ(kavro_broker_connect_to_desktop(handle, "d", nullptr, &info), KAVRO_BROKER_OK);
        kavro_broker_free_desktop_connection_info(info);
        EXPECT_EQ(handle.client->last_timeout.count(), milliseconds);
    }
}

TEST(RequestFrame, DialogAnswersAreMatchedByName) {
    FakeHandle handle;
    handle.client->auth.dialog_fields = handle.handle->auth.dialog_fields = {
        {"pin", "PIN", "", false, true, false, 1}, {"name", "Name", "", false, false, true, 0}};
    const kavro_broker_name_value given[] = {
        {"name", "Alice"}, {"nobody", "x"}, {"pin", "1234"}, {"PIN", "y"}, {"", "z"}};
    handle.handle->hello_still_valid = true;
    EXPECT_EQ(kavro_broker_send_auth_dialog(handle, "ok", given, 5), KAVRO_BROKER_OK);
    ASSERT_EQ(handle.client->last_answers.size(), 2u);
    EXPECT_EQ(handle.client->last_answers[0].id, "name");
    EXPECT_EQ(handle.client->last_answers[0].text, "Alice");
    EXPECT_TRUE(handle.client->last_answers[0].loggable);
    EXPECT_EQ(handle.client->last_answers[1].text, "1234");
    EXPECT_FALSE(handle.client->last_answers[1].loggable);
}

TEST(RequestFrame, AuthMethodIsMinusOneUntilTheBrokerTells) {
    FakeHandle handle;
    uint32_t method = 5;
    handle.client->results["method"] = {failed(ERROR_CODE_AUTH_BLOCKED)};
    EXPECT_EQ(kavro_broker_get_auth_method(handle, &method), KAVRO_BROKER_ERR_AUTH_BLOCKED);
    EXPECT_EQ(method, 0xFFFFFFFF);
    method = 5;
    EXPECT_EQ(kavro_broker_get_auth_method(nullptr, &method), KAVRO_BROKER_ERR_INVALID_PARAMETER);
    EXPECT_EQ(method, 0xFFFFFFFF);
    handle.client->auth.method = AuthMethod::dialog;
    EXPECT_EQ(kavro_broker_get_auth_method(handle, &method), KAVRO_BROKER_OK);
    EXPECT_EQ(method, static_cast<uint32_t>(KAVRO_BROKER_AUTH_METHOD_DIALOG));
}

TEST(RequestFrameDeathTest, FrameWithoutAHandle) {
    CapturedLog log;
    EXPECT_DEATH(broker_connection_opens(nullptr), "");
    EXPECT_DEATH(broker_connection_closes(nullptr), "");
    EXPECT_DEATH(send_hello_if_necessary(nullptr), "");
    EXPECT_DEATH(completion(nullptr, "bye_callback")({}), "");
}

} // namespace
} // namespace kavro
