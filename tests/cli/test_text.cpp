#include "display_text.h"
#include "log_sink.h"
#include "spinner.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdarg>
#include <mutex>
#include <regex>
#include <string>
#include <vector>

using namespace kavro_cli;

/// Stands for the library, whose messages come from here.
static kavro_broker_log_function log_function;
void kavro_broker_set_log_function(kavro_broker_log_function function) {
    log_function = function;
}

namespace {

void log(int32_t category, int32_t severity, int32_t error, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    log_function(category, severity, error, format, arguments);
    va_end(arguments);
}

TEST(Log, is_shown_up_to_the_level_and_shows_which_lines_belong_together) {
    const std::pair<int, const char *> cases[] = {
        {0, "T banner general: last words [-500]\n"},
        {1, "T banner general: banner\nT banner general: last words [-500]\n"
            "T error discovery: mishap [-500]\n"},
        {2, "T banner general: banner\nT banner general: last words [-500]\n"
            "T error discovery: mishap [-500]\n"
            "T info general: <a>\n    | T error: forged\\x1b[2J\n"
            "T info general: Session provisioner info (not shown: it holds a ticket)\n"},
    };
    const std::regex time_stamp(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z)");
    for (const auto &[level, shown] : cases) {
        install_log_sink(level);
        testing::internal::CaptureStderr();
        log(0, 0, 0, "%s", "banner");
        log(0, 0, -500, "%s", "last words");
        log(1, 1, -500, "%s", "mishap");
        log(0, 2, 0, "<a>\r\n%s\x1b[2J\r\n", "2026-01-01T00:00:00.000Z error: forged");
        log(0, 2, 0, "Session provisioner info ==> %s", "ticket-secret");
        log(0, 3, 0, "%s", "trace");
        EXPECT_EQ(std::regex_replace(testing::internal::GetCapturedStderr(), time_stamp, "T"),
                  shown);
    }
}

TEST(DisplayText, makes_visible_what_a_terminal_would_obey) {
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"plain é 日 😀", "plain é 日 😀", "plain é 日 😀"},
        {"a\x1b[2J\x7f", "a\\x1b[2J\\x7f", "a\\x1b[2J\\x7f"},
        {"a\r\nb\rc\n", "a\\x0d\\x0ab\\x0dc\\x0a", "a\nb\\x0dc\n"},
        {"\u009b31m", "\\x9b31m", "\\x9b31m"},
        {"x\u202ey", "x\\u202ey", "x\\u202ey"},
        {"\xff\xc3", "\\xff\\xc3", "\\xff\\xc3"},
        {"\xc0\x9b", "\\xc0\\x9b", "\\xc0\\x9b"},
        {"\xed\xa0\x80", "\\xed\\xa0\\x80", "\\xed\\xa0\\x80"},
        {std::string("a\0b", 3), "a\\x00b", "a\\x00b"},
    };
    for (const auto &[text, one_line, many_lines] : cases) {
        EXPECT_EQ(visible(text), one_line);
        EXPECT_EQ(visible(text, Lines::many), many_lines);
    }
}

TEST(DisplayText, wraps_words_by_their_width) {
    EXPECT_EQ(word_wrapped("one two three", 7), "one two\nthree");
    EXPECT_EQ(word_wrapped("one  two\n\n three", 20), "one two\n\nthree");
    EXPECT_EQ(word_wrapped("日本 日本 日本", 9), "日本 日本\n日本");
    EXPECT_EQ(word_wrapped("unbreakable x", 4), "unbreakable\nx");
}

/// Collects what the spinner writes and lets a test wait for it.
struct Screen {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> written;

    Spinner::Write write() {
        return [this](std::string_view text) {
            const std::lock_guard lock(mutex);
            written.emplace_back(text);
            changed.notify_all();
        };
    }
    void wait_for(const std::string &text) {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return !written.empty() && written.back().starts_with(text); });
    }
};

TEST(Spinner, mentions_a_long_wait_and_leaves_a_clean_line) {
    Screen screen;
    { const Spinner spinner("Working", screen.write(), std::chrono::hours(1)); }
    EXPECT_TRUE(screen.written.empty());
    Spinner::say("Nobody listens");
    {
        const Spinner spinner("Working", screen.write(), std::chrono::milliseconds(0));
        screen.wait_for("\rWorking");
        Spinner::say("Provisioning");
        screen.wait_for("\rProvisioning");
    }
    EXPECT_EQ(screen.written.front(), "\rWorking |\x1b[K");
    EXPECT_EQ(screen.written.back(), "\r\x1b[K");
}

} // namespace
