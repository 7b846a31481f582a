#include "cli_run.h"

#include "words.h"

#include <gmock/gmock.h>

#include <csignal>

using fake::broker;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Lines = std::vector<std::string>;

class ShellTest : public CliTest {
protected:
    ShellTest() { broker.connection.target.address = "192.0.2.7"; }

    /// The requests, without what is set before.
    static Lines requests() {
        Lines found;
        for (const auto &line : broker.noted)
            if (line == "list" || line == "bye" || line == "method" ||
                line.starts_with("connect ") || line.starts_with("power "))
                found.push_back(line);
        return found;
    }
};

TEST_F(ShellTest, carries_out_one_command_after_the_other_in_one_session) {
    struct Case {
        const char *commands;
        int status;
        Lines requests;
        const char *out, *err; ///< parts
    };
    const Case cases[] = {
        {"", 0, {"method", "bye"}, "", ""},
        {"\n # nothing\nlist\nlist # again\n", 0, {"method", "list", "bye"}, "vm-1", ""},
        {"list\nrefresh\nquit\nlist\n", 0, {"method", "list", "list", "bye"}, "vm-2", ""},
        {"power vm-1 down\nlist\n",
         0,
         {"method", "list", "power vm-1|1", "list", "bye"},
         "down, was ON",
         ""},
        {"connect al\n", 0, {"method", "list", "connect vm-1"}, "192.0.2.7", ""},
        {"connect al\nlogout\nlist\n", 0, {"method", "list", "connect vm-1", "bye"}, "Alpha", ""},
        {"connect nowhere\nlist\n", 1, {"method", "list", "bye"}, "vm-1", "nowhere"},
        {"frobnicate\nlist\n", 1, {"method", "list", "bye"}, "vm-1", "frobnicate"},
        {"power vm-1\nlist\n", 1, {"method", "list", "bye"}, "vm-1", "OPERATION"},
        {"connect 'al\nlist\n", 1, {"method", "list", "bye"}, "vm-1", "A quote is not closed."},
        {"connect --help\nhelp\n", 0, {"method", "bye"}, "Leave, and end", ""},
        {"list --json", 0, {"method", "list", "bye"}, "\"desktops\"", ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.commands);
        broker.noted.clear();
        script = descriptor_with(c.commands);
        const auto outcome = run({"shell"});
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_EQ(requests(), c.requests);
        EXPECT_THAT(outcome.out, HasSubstr(c.out));
        EXPECT_THAT(outcome.err, HasSubstr(c.err));
    }
}

TEST_F(ShellTest, ends_with_the_status_of_the_last_command_that_failed_or_of_the_log_in) {
    broker.results["list"] = {205, 700};
    script = descriptor_with("list\nlist\nlist\n");
    EXPECT_EQ(run({"shell"}).status, 5);
    EXPECT_EQ(broker.noted.back(), "bye");

    broker.methods = {KAVRO_BROKER_AUTH_METHOD_PASSWORD};
    EXPECT_EQ(run({"shell", "--user", "alice"}).status, 8);
}

TEST_F(ShellTest, an_interruption_stops_what_a_user_runs_but_all_of_a_script) {
    struct Case {
        bool typed;
        int signal, status;
        Lines requests;
    };
    const Case cases[] = {
        {true, SIGINT, 130, {"method", "list", "list", "bye"}},
        {true, SIGTERM, 128 + SIGTERM, {"method", "list"}},
        {false, SIGINT, 130, {"method", "list"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.typed ? c.signal : 0);
        broker.noted.clear();
        broker.results["list"] = {KAVRO_BROKER_ERR_CANCELLED};
        broker.during = [this, &c, first = true](const std::string &request) mutable {
            if (request == "list" && std::exchange(first, false))
                interruption.raise(c.signal);
        };
        if (!c.typed)
            script = descriptor_with("list\nlist\n");
        const auto outcome = c.typed ? run({"shell"}, {"list", "list"}) : run({"shell"});
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_EQ(requests(), c.requests);
        EXPECT_THAT(outcome.err, HasSubstr("Cancelled."));
        interruption.reset();
    }
}

TEST(Words, are_told_apart_as_a_shell_does) {
    const std::pair<const char *, Lines> cases[] = {
        {"", {}},
        {" a\tb  ", {"a", "b"}},
        {R"(connect "Build server" 'it''s')", {"connect", "Build server", "its"}},
        {R"(a\ b "c\"d" 'e\f' --x="1 2")", {"a b", "c\"d", "e\\f", "--x=1 2"}},
        {"a '' #b", {"a", ""}},
        {"a#b", {"a#b"}},
    };
    for (const auto &[line, words] : cases)
        EXPECT_EQ(kavro_cli::words_of(line), words) << line;
}

} // namespace
