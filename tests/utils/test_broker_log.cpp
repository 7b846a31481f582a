#include "captured_log.h"
#include "expect_abort.h"
#include "utils/src/assertion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace kavro {
namespace {

void throw_from_log(int32_t, int32_t, int32_t, const char *, va_list) {
    throw std::runtime_error("log file is full");
}

void throw_from_session_log_id(const char *) {
    throw 1;
}

std::string reported_session_id;

// Those of every request are in the log line by line, those of a search in the tests of that.
TEST(BrokerLog, ChannelsCarryTheirCategorySeverityAndError) {
    const CapturedLog log;
    log_info("%s", "%n%s%99999d"); // formats in arguments mean nothing
    discovery_log_error("%d %s", 1, "one");
    discovery_log_debug("debug");
    broker_log(LogCategory::discovery, LogSeverity::error, 104, "reset by %s", "peer");
    EXPECT_EQ(log.lines(), (std::vector<LogLine>{{0, 2, 0, "%n%s%99999d"},
                                                 {1, 1, -500, "1 one"},
                                                 {1, 3, 0, "debug"},
                                                 {1, 1, 104, "reset by peer"}}));
}

TEST(BrokerLog, NullDoesNotReplaceTheFunctions) {
    const CapturedLog log;
    set_log_function(nullptr);
    set_session_log_id_function([](const char *id) { reported_session_id = id; });
    set_session_log_id_function(nullptr);
    report_session_log_id("4711");
    EXPECT_EQ(reported_session_id, "4711");
    EXPECT_EQ(CapturedLog::text(), "kavro_broker_set_log_function: Attempt to reset callback to "
                                   "NULL.  Action is ignored.\n");
}

TEST(BrokerLog, HigherSeveritiesThanWantedAreDropped) {
    for (const int32_t highest : {-1, 0, 1, 2, 3, 4, 99}) {
        const CapturedLog log;
        set_log_level(highest);
        for (int severity = 0; severity <= 4; ++severity)
            broker_log(LogCategory::general, LogSeverity(severity), 0, "text");
        const auto wanted = static_cast<std::size_t>(std::clamp(highest, 0, 4)) + 1;
        EXPECT_EQ(log.lines().size(), wanted) << highest;
        EXPECT_EQ(is_logged(LogSeverity::info), highest >= 2);
    }
}

TEST(BrokerLog, WhatHooksThrowDoesNotComeBack) {
    set_log_function(&throw_from_log);
    set_session_log_id_function(&throw_from_session_log_id);
    log_error("error");
    report_session_log_id("4711");

    const CapturedLog log; // the next function is heard again
    log_info("info");
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST(BrokerLog, PrintableShowsControlCharacters) {
    using namespace std::string_view_literals;
    const std::pair<std::string_view, std::string_view> rows[] = {
        {""sv, ""},
        {"plain text ~"sv, "plain text ~"},
        {"a\r\nSeverity 0: forged"sv, "a\\x0D\\x0ASeverity 0: forged"},
        {"\x1b[2J\a\x7f\t"sv, "\\x1B[2J\\x07\\x7F\\x09"},
        {"a\0b\x1f"sv, "a\\x00b\\x1F"},
        {"Z\xc3\xbcrich \xe2\x82\xac \xff"sv, "Z\xc3\xbcrich \xe2\x82\xac \xff"},
    };
    for (const auto &[text, shown] : rows)
        EXPECT_EQ(printable(text), shown);
}

TEST(BrokerLogDeathTest, NothingHappensBeforeAFunctionIsSet) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // none has been set yet in a process of its own
    const auto log_without_function = [] {
        const bool set_before = has_log_function();
        log_error("nobody hears %s", "this");
        set_log_function(nullptr);
        report_session_log_id("4711");
        std::exit(set_before || has_log_function() ? 1 : 0);
    };
    EXPECT_EXIT(log_without_function(), testing::ExitedWithCode(0), "^$");
}

TEST(BrokerLogDeathTest, AssertionLogsItsPlaceAndAborts) {
    broker_assert(true, "broker_client_impl::create");
    const int line = __LINE__ + 1;
    const auto fail = [] { broker_assert(false, "broker_client_impl::create"); };
    expect_abort(fail, "", "broker_client_impl::create", std::to_string(line));
    const auto fail_with_throwing_log = [] {
        set_log_function(&throw_from_log);
        broker_assert_failed("broker_client_impl::create");
    };
    EXPECT_EXIT(fail_with_throwing_log(), test_support::ended_by_abort, "");
}

} // namespace
} // namespace kavro
