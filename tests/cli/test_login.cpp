#include "cli_run.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string authenticate = "authenticate", update_password = "update-password";

/// A broker with one user, whose password has expired.
class LoginTest : public CliTest {
protected:
    LoginTest() {
        scenario.users = {{.username = "alice",
                           .password = "old one",
                           .domain = "OTHER",
                           .password_expired = true}};
        scenario.domains = {"OTHER"};
    }

    /// Demands these, one after the other.
    void start_demanding(const Lines &methods) {
        scenario.authentication.clear();
        for (const auto &method : methods) {
            broker_sim::AuthenticationStep step{.methods = {method}};
            step.disclaimer = "Only for staff.\x7f[2J";
            step.oauth = {.code = "code", .username = "alice"};
            step.dialog = {
                .prompt = "Second step",
                .fields =
                    {{.id = "note", .label = "Note:", .text = "read", .type = "read-only-text"},
                     {.id = "mail", .label = "Mail:", .text = "a@example", .text_type = "email"},
                     {.id = "token", .label = "Token", .hidden = "true"},
                     {.id = "pin", .label = "PIN", .do_not_log = "true"}},
                .buttons = {{.id = "ok", .label = "OK"},
                            {.id = "resend", .label = "Send again", .is_default = true}}};
            scenario.authentication.push_back(step);
        }
        start(scenario);
    }
};

TEST_F(LoginTest, answers_every_method_in_turn) {
    scenario.domains = {"EXAMPLE", "OTHER"};
    start_demanding({"disclaimer", "password", "dialog"});
    const auto outcome = run({"list"}, "y\nalice\n2\nold one\nnew password\ntypo\n"
                                       "new password\nnew password\n\n1234\n0815\n1\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(requests(), ElementsAre("hello", "authenticate DISCLAIMER_ACCEPTED",
                                        "authenticate alice|old one|OTHER",
                                        "update-password alice|old one|new password|OTHER",
                                        "authenticate mail|a@example|token|1234|pin|0815|ok",
                                        "get-resource-list", "bye"));
    EXPECT_EQ(outcome.shown, "Only for staff.\\x7f[2J\n"
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
                             "Note: read\n"
                             "Mail (an e-mail address) [a@example]: \n"
                             "Token: \n"
                             "PIN: 0815\n"
                             "  1) OK\n"
                             "  2) Send again\n"
                             "Button [2]: 1\n");
}

TEST_F(LoginTest, asks_again_after_an_answer_that_may_be_mended) {
    const char *const unknown = "AUTH_FAILED_UNKNOWN_USERNAME_OR_PASSWORD";
    const char *const no_change = "PSWD_UPDATE_FAILED_UNKNOWN_USERNAME_OR_PASSWORD";
    const char *const weak = "PSWD_UPDATE_FAILED_WEAK_PASSWORD";
    const char *const wrong_entry = "AUTH_FAILED_DIALOG_INVALID_USER_ENTRY";
    const struct {
        const char *method;
        std::string request;
        const char *result, *typed;
        int tries, status;
    } cases[] = {
        {"password", authenticate, unknown, "alice\nbad\nalice\ngood\n", 2, 0},
        {"password", authenticate, unknown, "\n1\n\n2\n\n3\n\n4\n", 3, 4},
        {"password", authenticate, "AUTH_FAILED_ACCESS_DENIED", "\n1\n\n2\n", 1, 4},
        {"password", update_password, weak, "alice\ngood\nx\nx\nbetter one\nbetter one\n", 2, 0},
        {"password", update_password, no_change,
         "alice\ngood\nx\nx\ngood\nbetter one\nbetter one\n", 2, 0},
        {"dialog", authenticate, wrong_entry, "\n1\n1\nOK\n\n2\n2\nOK\n", 2, 0},
        {"disclaimer", authenticate, "AUTH_FAILED_DISCLAIMER_REJECTED", "n\ny\n", 1, 4},
        {"oauth", authenticate, "AUTH_FAILED_OAUTH_CODE_INVALID", "stale\ncode\n", 2, 0},
        {"oauth", authenticate, "AUTH_FAILED_OAUTH_TOKEN_INVALID", "code\ncode\n", 1, 4},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.result);
        scenario.users.front().password = "good";
        scenario.users.front().password_expired = c.request == update_password;
        start_demanding({c.method});
        broker->set_override({.match = {.request = c.request, .nth = c.status == 0 ? 1U : 0U},
                              .result_id = c.result,
                              .result_str = "Told by the broker"});
        const auto outcome = run({"list"}, c.typed);
        EXPECT_EQ(outcome.status, c.status) << outcome.err << outcome.shown;
        EXPECT_THAT(requests(), Contains(StartsWith(c.request)).Times(c.tries));
        EXPECT_THAT(c.tries > 1 ? outcome.shown : outcome.err, HasSubstr("Told by the broker"));
    }
}

TEST_F(LoginTest, takes_prepared_answers_without_asking) {
    start_demanding({"disclaimer", "password", "oauth", "dialog"});
    const int secrets = descriptor_with("old one\nsecond one\ncode\n4711\n0815\nnever read\n");
    const auto number = std::to_string(secrets);
    const auto outcome = run({"list", "--accept-disclaimer", "--user", "alice", "--password-fd",
                              number, "--new-password-fd", number, "--answer-fd", "Token=" + number,
                              "--answer-fd", "PIN=" + number, "--oauth-code-fd", number, "--answer",
                              "mail=b@example", "--button", "ok"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(requests(),
                ElementsAre("hello", "authenticate DISCLAIMER_ACCEPTED",
                            "authenticate alice|old one|OTHER",
                            "update-password alice|old one|second one|OTHER", "authenticate code",
                            "authenticate mail|b@example|token|4711|pin|0815|ok",
                            "get-resource-list", "bye"));
}

TEST_F(LoginTest, says_what_is_missing_when_nobody_can_be_asked) {
    const auto secret = [this] { return std::to_string(descriptor_with("old one\n")); };
    const struct {
        const char *method;
        Lines options;
        int status;
        const char *told;
    } cases[] = {
        {"password", {}, 8, "give --user"},
        {"password", {"--user", "bob"}, 8, "give --password-fd"},
        {"password", {"--user", "bob", "--password-fd", "99"}, 1, "descriptor 99: Bad file"},
        // A refused password is not sent twice.
        {"password", {"--user", "bob", "--password-fd", secret()}, 4, "_USERNAME_PASSWORD"},
        {"password", {"--user", "alice", "--password-fd", secret()}, 8, "give --new-password-fd"},
        {"disclaimer", {}, 8, "give --accept-disclaimer"},
        {"dialog", {}, 8, "give --answer-fd token=N.\nThe broker says: Second step"},
        {"dialog", {"--answer", "token=1"}, 1, "is secret"},
        {"dialog", {"--answer-fd", "token=" + secret(), "--answer", "pin=1"}, 1, "is secret"},
        {"dialog",
         {"--answer-fd", "token=" + secret(), "--answer-fd", "pin=" + secret(), "--button", "no"},
         1,
         "OK, Send again"},
        {"oauth", {}, 8, "give --oauth-code-fd"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.told);
        start_demanding({c.method});
        Lines arguments{"list", "--non-interactive"};
        arguments.insert(arguments.end(), c.options.begin(), c.options.end());
        const auto outcome = run(arguments, "must\nnot\nbe\nasked\n");
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_EQ(outcome.shown, "");
        EXPECT_THAT(outcome.err, HasSubstr(c.told));
        EXPECT_THAT(requests(), Contains(StartsWith(authenticate)).Times(testing::Le(1)));
    }
}

TEST_F(LoginTest, leaves_a_broker_that_never_stops_asking) {
    start_demanding(Lines(100, "disclaimer"));
    EXPECT_EQ(run({"list", "--accept-disclaimer"}).status, 6);
}

TEST_F(LoginTest, ends_when_the_input_ends) {
    start_demanding({"password"});
    EXPECT_EQ(run({"list"}, "alice\n").status, 8);
    EXPECT_THAT(requests(), ElementsAre("hello", "bye"));
}

TEST_F(LoginTest, escapes_whatever_was_typed_but_names_of_fields) {
    scenario.users = {{"<alice>", "a&b'c\"", "D&D", true}};
    scenario.password_change.minimum_length = 1;
    scenario.authentication = {{.methods = {"password"}},
                               {.methods = {"oauth"}, .oauth = {"c&d", "<alice>"}}};
    scenario.desktops = {{.name = "One", .id = "vm<1>"}};
    start(scenario);
    const auto outcome =
        run({"connect", "vm<1>", "--domain", "D&D", "--locale", "<de>", "--timezone", "'tz'",
             "--variable", "n<=v>", "--agent-variable", "x=\"1\""},
            "<alice>\na&b'c\"\nn<w\nn<w\nc&d\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    using broker_sim::Variables;
    EXPECT_EQ(broker->client_to_broker_variables(), (Variables{{"n<", "v>"}}));
    EXPECT_EQ(broker->client_to_agent_variables(), (Variables{{"x", "\"1\""}}));
    const auto told = broker->requests();
    EXPECT_THAT(told.front().body, HasSubstr("<locale>&lt;de&gt;<"));
    EXPECT_THAT(told.back().body, HasSubstr("<time-zone-windows>&apos;tz&apos;<"));

    scenario.authentication = {{.methods = {"dialog"},
                                .dialog = {.fields = {{.id = "a&b", .label = "A"}},
                                           .buttons = {{.id = "o&k", .label = "OK"}}}}};
    start(scenario);
    run({"list"}, "&amp;\n");
    EXPECT_THAT(requests(), ElementsAre("hello", " a&b|&amp;amp;|o&amp;k", "bye"));
}

TEST_F(LoginTest, an_interruption_ends_it_with_the_number_of_the_signal) {
    start_demanding({"password"});
    broker->inject({.match = {.request = authenticate}, .ending = broker_sim::Ending::stall});
    const auto interrupting = interrupt_after(2, SIGTERM);
    EXPECT_EQ(run({"list"}, "alice\nsecret\n").status, 128 + SIGTERM);
    EXPECT_THAT(requests(), ElementsAre("hello", "authenticate alice|secret|OTHER"));
}

} // namespace
