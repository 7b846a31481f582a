#include "cli_run.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>

using fake::broker;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Lines = std::vector<std::string>;

constexpr uint32_t password = KAVRO_BROKER_AUTH_METHOD_PASSWORD;
constexpr uint32_t expired = KAVRO_BROKER_AUTH_METHOD_PASSWORD_EXPIRED;
constexpr uint32_t disclaimer = KAVRO_BROKER_AUTH_METHOD_DISCLAIMER;
constexpr uint32_t oauth = KAVRO_BROKER_AUTH_METHOD_OAUTH;
constexpr uint32_t dialog = KAVRO_BROKER_AUTH_METHOD_DIALOG;

class LoginTest : public CliTest {
protected:
    LoginTest() {
        broker.disclaimer = "Only for staff.\x1b[2J";
        broker.dialog.prompt_text = "Second step";
        broker.dialog.fields = {
            {"note", "Note:", "read this", true},
            {"mail", "Mail:", "a@example", false, false, true, KAVRO_BROKER_TEXT_TYPE_EMAIL},
            {"token", "Token", "", false, true, false}};
        broker.dialog.buttons = {{"ok", "OK", false}, {"resend", "Send again", true}};
    }
};

TEST_F(LoginTest, answers_every_method_in_turn) {
    broker.methods = {disclaimer, password, expired, dialog};
    broker.domains = {"EXAMPLE", "OTHER"};
    const auto outcome = run({"list"}, {"y", "alice", "2", "old one", "new one", "typo", "new one",
                                        "new one", "", "1234", "1"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(broker.noted_of("disclaimer"), ElementsAre("disclaimer accepted"));
    EXPECT_THAT(broker.noted_of("password"), ElementsAre("password alice|OTHER|old one"));
    EXPECT_THAT(broker.noted_of("new-password"),
                ElementsAre("new-password alice|OTHER|old one|new one|new one"));
    EXPECT_THAT(broker.noted_of("dialog"), ElementsAre("dialog ok|mail=a@example|token=1234"));
    EXPECT_EQ(outcome.shown, "Only for staff.\\x1b[2J\n"
                             "Do you accept this? (y/n): y\n"
                             "User name [unixuser]: alice\n"
                             "  1) EXAMPLE\n"
                             "  2) OTHER\n"
                             "Domain [1]: 2\n"
                             "Password for alice: \n"
                             "The password has expired.\n"
                             "New password: \n"
                             "New password again: \n"
                             "The two are not the same.\n"
                             "New password: \n"
                             "New password again: \n"
                             "Second step\n"
                             "Note: read this\n"
                             "Mail (an e-mail address) [a@example]: \n"
                             "Token: \n"
                             "  1) OK\n"
                             "  2) Send again\n"
                             "Button [2]: 1\n");
}

TEST_F(LoginTest, asks_again_after_an_answer_that_may_be_mended) {
    struct Case {
        uint32_t method;
        const char *request;
        kavro_broker_result result;
        Lines typed;
        std::size_t tries;
        int status;
    };
    const Case cases[] = {
        {password, "password", 501, {"", "bad", "", "good"}, 2, 0},
        {password, "password", 501, {"", "1", "", "2", "", "3", "", "4"}, 3, 4},
        {password, "password", 500, {"", "1", "", "2"}, 1, 4},
        {expired, "new-password", 505, {"", "old", "x", "x", "better", "better"}, 2, 0},
        {expired, "new-password", 501, {"", "bad", "x", "x", "old", "x", "x"}, 2, 0},
        {dialog, "dialog", 513, {"", "1", "OK", "", "2", "OK"}, 2, 0},
        {disclaimer, "disclaimer", 504, {"n", "y"}, 1, 4},
        {oauth, "oauth", 509, {"stale", "fresh"}, 2, 0},
        {oauth, "oauth", 510, {"fresh", "fresh"}, 1, 4},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(fmt::format("{} {}", c.request, c.result));
        broker.methods = {c.method};
        broker.noted.clear();
        broker.message = "Told by the broker";
        broker.results[c.request].assign(c.status == 0 ? 1 : 9, c.result);
        const auto outcome = run({"list"}, c.typed);
        EXPECT_EQ(outcome.status, c.status) << outcome.err << outcome.shown;
        EXPECT_EQ(broker.noted_of(c.request).size(), c.tries);
        EXPECT_THAT(c.tries > 1 ? outcome.shown : outcome.err, HasSubstr("Told by the broker"));
    }
}

TEST_F(LoginTest, takes_prepared_answers_without_asking) {
    broker.methods = {disclaimer, password, expired, oauth, dialog};
    const int secrets = descriptor_with("first\nsecond\ncode\n4711\nnever read\n");
    const auto number = std::to_string(secrets);
    const auto outcome =
        run({"list", "--accept-disclaimer", "--user", "bob", "--password-fd", number,
             "--new-password-fd", number, "--answer-fd", "Token=" + number, "--oauth-code-fd",
             number, "--answer", "mail=b@example", "--button", "ok"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(broker.noted_of("new-password"),
                ElementsAre("new-password bob|EXAMPLE|first|second|second"));
    EXPECT_THAT(broker.noted_of("oauth"), ElementsAre("oauth code"));
    EXPECT_THAT(broker.noted_of("dialog"), ElementsAre("dialog ok|mail=b@example|token=4711"));
}

TEST_F(LoginTest, says_what_is_missing_when_nobody_can_be_asked) {
    struct Case {
        uint32_t method;
        Lines options;
        int status;
        const char *told;
    };
    const auto secret = [this] { return std::to_string(descriptor_with("pw\n")); };
    const Case cases[] = {
        {password, {}, 8, "give --user"},
        {password, {"--user", "bob"}, 8, "give --password-fd"},
        {password, {"--user", "bob", "--password-fd", secret(), "--domain", "D"}, 0, ""},
        {password, {"--user", "bob", "--password-fd", "99"}, 1, "descriptor 99: Bad file"},
        {expired, {"--user", "bob", "--password-fd", secret()}, 8, "give --new-password-fd"},
        {disclaimer, {}, 8, "give --accept-disclaimer"},
        {dialog, {}, 8, "give --answer-fd token=N.\nThe broker says: Second step"},
        {dialog, {"--answer", "token=1"}, 1, "is secret"},
        {dialog, {"--answer-fd", "token=" + secret(), "--button", "no"}, 1, "OK, Send again"},
        {oauth, {}, 8, "give --oauth-code-fd"},
        {KAVRO_BROKER_AUTH_METHOD_SECURID, {}, 4, "does not know (7)"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.told);
        broker.methods = {c.method};
        Lines arguments{"list", "--non-interactive"};
        arguments.insert(arguments.end(), c.options.begin(), c.options.end());
        const auto outcome = run(arguments, {"must", "not", "be", "asked"});
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_EQ(outcome.shown, "");
        EXPECT_THAT(outcome.err, HasSubstr(c.told));
    }
}

TEST_F(LoginTest, does_not_send_a_refused_prepared_password_twice) {
    broker.methods = {password};
    broker.results["password"] = {501, 501};
    const auto outcome =
        run({"list", "--user", "bob", "--password-fd", std::to_string(descriptor_with("wrong\n"))});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(broker.noted_of("password").size(), 1U);
    EXPECT_EQ(broker.noted.back(), "bye");
}

TEST_F(LoginTest, leaves_a_broker_that_never_stops_asking) {
    broker.methods.assign(1000, disclaimer);
    EXPECT_EQ(run({"list", "--accept-disclaimer"}).status, 6);
}

TEST_F(LoginTest, ends_when_the_input_ends) {
    broker.methods = {password};
    EXPECT_EQ(run({"list"}, {"alice"}).status, 8);
    EXPECT_THAT(broker.noted_of("password"), IsEmpty());
}

TEST_F(LoginTest, escapes_whatever_was_typed_but_names_of_fields) {
    broker.methods = {password, expired, oauth, dialog};
    broker.dialog.fields = {{"a&b", "A", ""}};
    broker.dialog.buttons = {{"o&k", "OK", true}};
    broker.desktops[0].id = "vm<1>";
    const auto outcome =
        run({"connect", "vm<1>", "--domain", "D&D", "--locale", "<de>", "--timezone", "'tz'",
             "--variable", "n<=v>", "--agent-variable", "x=\"1\""},
            {"<alice>", "a&b'c\"", "n<w", "n<w", "c&d", "&amp;"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(broker.noted,
                ElementsAre("address broker.example|", "locale &<;de&>;", "timezone &';tz&';",
                            "hello-variable n&<;|v&>;", "verify yes", "oauth-enabled yes", "method",
                            "password &<;alice&>;|D&&;D|a&&;b&';c&\";", "method",
                            "new-password &<;alice&>;|D&&;D|a&&;b&';c&\";|n&<;w|n&<;w", "method",
                            "oauth c&&;d", "method", "dialog o&&;k|a&b=&&;amp;", "method", "list",
                            "timeout 180", "connect vm&<;1&>;|x=&\";1&\";"));
}

TEST_F(LoginTest, an_interruption_ends_it_with_the_number_of_the_signal) {
    broker.methods = {password};
    broker.results["password"] = {KAVRO_BROKER_ERR_CANCELLED};
    broker.during = [this](const std::string &request) {
        if (request == "password")
            interruption.raise(SIGTERM);
    };
    EXPECT_EQ(run({"list"}, {"alice", "secret"}).status, 128 + SIGTERM);
    EXPECT_THAT(broker.noted_of("bye"), IsEmpty());
}

} // namespace
