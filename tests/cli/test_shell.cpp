#include "cli_run.h"

#include "words.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

using ShellTest = CliTest;

const std::string greeting = "hello", list = "get-resource-list", bye = "bye";

TEST_F(ShellTest, carries_out_one_command_after_the_other_in_one_session) {
    const std::string connect = "allocate-resource vm-1";
    const struct {
        const char *commands;
        int status;
        Lines requests;
        const char *out, *err; ///< parts
    } cases[] = {
        {"\n # nothing\nlist\nlist # again\n", 0, {greeting, list, bye}, "vm-1", ""},
        {"list\nrefresh\nquit\nlist\n", 0, {greeting, list, list, bye}, "vm-2", ""},
        {"connect al\n", 0, {greeting, list, connect}, "127.0.0.1", ""},
        {"connect al\nlogout\nlist\n", 0, {greeting, list, connect, bye}, "Alpha", ""},
        {"connect nowhere\nlist\n", 1, {greeting, list, bye}, "vm-1", "nowhere"},
        {"frobnicate\nlist\n", 1, {greeting, list, bye}, "vm-1", "frobnicate"},
        {"connect 'al\nlist\n", 1, {greeting, list, bye}, "vm-1", "A quote is not closed."},
        {"connect --help\nhelp\n", 0, {greeting, bye}, "Leave, and end", ""},
        {"list --json", 0, {greeting, list, bye}, "\"desktops\"", ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.commands);
        script = descriptor_with(c.commands);
        const auto outcome = run({"shell"});
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_EQ(requests(), c.requests);
        EXPECT_THAT(outcome.out, HasSubstr(c.out));
        EXPECT_THAT(outcome.err, HasSubstr(c.err));
    }
}

TEST_F(ShellTest, ends_with_the_status_of_the_last_command_that_failed_or_of_the_log_in) {
    broker->set_override({.match = {.request = list, .nth = 1}, .error_id = "ERR_CM_FAILED"});
    broker->set_override(
        {.match = {.request = list, .nth = 2}, .result_id = "LIST_FAILED_NO_ENTITLEMENT"});
    script = descriptor_with("list\nlist\nlist\n");
    EXPECT_EQ(run({"shell"}).status, 5);
    EXPECT_EQ(requests(), (Lines{greeting, list, list, list, bye}));

    start({.domains = {"EXAMPLE"}, .authentication = {{.methods = {"password"}}}});
    EXPECT_EQ(run({"shell", "--user", "alice"}).status, 8);
}

TEST(Words, are_told_apart_as_a_shell_does) {
    const std::pair<const char *, Lines> cases[] = {
        {"", {}},
        {" a\tb  ", {"a", "b"}},
        {R"(connect "Build server" 'it''s')", {"connect", "Build server", "its"}},
        {R"(a\ b "c\"\d" 'e\f' --x="1 2")", {"a b", "c\"\\d", "e\\f", "--x=1 2"}},
        {"a '' #b", {"a", ""}},
        {"a#b", {"a#b"}},
    };
    for (const auto &[line, words] : cases)
        EXPECT_EQ(kavro_cli::words_of(line), words) << line;
}

} // namespace
