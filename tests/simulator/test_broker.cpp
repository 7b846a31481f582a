#include "broker.h"

#include <gtest/gtest.h>

using namespace broker_sim;

namespace {

/// A client's conversation with a broker, without a network between them.
class Conversation {
public:
    explicit Conversation(const Scenario &scenario) : broker(scenario) {}

    /// The answer to a message. Cookies are kept as a browser would.
    std::string say(const std::string &message) {
        try {
            const BrokerAnswer answer = broker.answer(
                read_message("<kavro-client version='2.1'>" + message + "</kavro-client>"),
                session);
            const std::size_t equals = answer.set_cookie.find('=');
            if (equals != std::string::npos)
                session =
                    answer.set_cookie.substr(equals + 1, answer.set_cookie.find(';') - equals - 1);
            return answer.body;
        } catch (const ProtocolError &error) {
            return broker.refusal(error);
        }
    }

    /// The result id of the answer, with the next method if it demands one.
    std::string result(const std::string &message) {
        const std::string answer = say(message);
        const std::string method = text_of(answer, "method");
        return text_of(answer, "result-id") + (method.empty() ? "" : " ") + method;
    }

    static std::string text_of(const std::string &answer, const std::string &element) {
        const std::size_t begin = answer.find("<" + element + ">");
        if (begin == std::string::npos)
            return "";
        const std::size_t text = begin + element.size() + 2;
        return answer.substr(text, answer.find('<', text) - text);
    }

    Broker broker;
    std::optional<std::string> session;
};

/// Messages and the results that they get, in their order.
using Script = std::vector<std::pair<std::string, std::string>>;

void play(Conversation &conversation, const Script &script) {
    for (const auto &[message, result] : script)
        EXPECT_EQ(conversation.result(message), result) << message;
}

std::string password(const std::string &user, const std::string &secret) {
    return "<authenticate method='password'><username>" + user + "</username><password>" + secret +
           "</password><domain>D</domain></authenticate>";
}

std::string new_password(const std::string &old_secret, const std::string &new_secret) {
    return "<update-password><username>u</username><old-password>" + old_secret +
           "</old-password><new-password>" + new_secret +
           "</new-password><domain>D</domain></update-password>";
}

std::string dialog(const std::string &field, const std::string &text, const std::string &button) {
    return "<authenticate method='dialog'><fields><field><id>" + field +
           "</id><text do-not-log='true'>" + text + "</text></field></fields><button-id>" + button +
           "</button-id></authenticate>";
}

std::string operation(const std::string &id, const std::string &command) {
    return "<perform-operation><resource-id>" + id + "</resource-id><operation>" + command +
           "</operation></perform-operation>";
}

std::string allocation(const std::string &id) {
    return "<allocate-resource><resource-id>" + id + "</resource-id></allocate-resource>";
}

const std::string unsupported = "OP_FAILED_OPERATION_NOT_SUPPORTED";
const std::string accept_disclaimer =
    "<authenticate method='disclaimer'><accept>DISCLAIMER_ACCEPTED</accept></authenticate>";

} // namespace

TEST(Broker, SessionBeginsAtHelloAndEndsAtBye) {
    Conversation conversation(Scenario{.session_cookie = "sid"});
    play(conversation, {{"<get-resource-list/>", "ERR_MISSING_SESSION"},
                        {"<hello/>", " AUTHENTICATION_NOT_REQUIRED"},
                        {"<get-resource-list/>", "LIST_SUCCESSFUL"}});
    const auto first = conversation.session;
    conversation.say("<hello/>");
    EXPECT_NE(conversation.session, first);
    conversation.session = first;
    play(conversation, {{"<get-resource-list/>", "ERR_INVALID_SESSION"},
                        {"<hello/>", " AUTHENTICATION_NOT_REQUIRED"},
                        {"<bye/>", "BYE_SUCCESSFUL"},
                        {"<bye/>", "ERR_INVALID_SESSION"}});
}

TEST(Broker, RefusesWhatIsNoMessage) {
    const struct {
        const char *body;
        std::string_view result_id;
    } cases[] = {
        {"", "ERR_INVALID_MSG_FORMAT"},
        {"<kavro-client version='2.1'><a>x<y</a></kavro-client>", "ERR_INVALID_MSG_FORMAT"},
        {"<kavro-client version='2.1'><a>x&y</a></kavro-client>", "ERR_INVALID_MSG_FORMAT"},
        {"<other version='2.1'><hello/></other>", "ERR_INVALID_MSG_ENVELOPE"},
        {"<kavro-client><hello/></kavro-client>", "ERR_INVALID_MSG_ENVELOPE"},
        {"<kavro-client version='3.0'><hello/></kavro-client>", "ERR_UNSUPPORTED_VERSION"},
        {"<kavro-client version='2.1'></kavro-client>", "ERR_INVALID_MISSING_MSG_CONTENT"},
    };
    for (const auto &[body, result_id] : cases)
        try {
            read_message(body);
            ADD_FAILURE() << body;
        } catch (const ProtocolError &error) {
            EXPECT_EQ(error.result_id, result_id) << body;
        }
    EXPECT_EQ(read_message("<kavro-client version='2.0'><a><b>x&amp;y &#60;</b></a></kavro-client>")
                  .required("b"),
              "x&y <");
}

TEST(Broker, AnswersAsTheSessionStands) {
    Scenario dialog_only = Scenario::load(SCENARIO_DIR "/dialog.json");
    dialog_only.authentication.erase(dialog_only.authentication.begin());
    const struct {
        const char *what;
        Scenario scenario;
        Script script;
    } cases[] = {
        {"step by step",
         {.users = {{.username = "u", .password = "p", .domain = "D"},
                    {.username = "x", .password = "p", .domain = "D", .blocked = true}},
          .authentication = {{.methods = {"disclaimer"}},
                             {.methods = {"NEW_METHOD", "password", "oauth"},
                              .oauth = {.code = "c", .username = "u"}}}},
         {{"<hello/>", " AUTHENTICATE_VIA_DISCLAIMER"},
          {"<get-resource-list/>", "LIST_FAILED_NO_USER"},
          {allocation("d"), "ALLOC_FAILED_NO_USER"},
          {operation("d", "CMD_PWR_UP"), "OP_FAILED_NO_USER"},
          {password("u", "p"), "AUTH_FAILED_UNEXPECTED_METHOD"},
          {accept_disclaimer, "AUTH_SUCCESSFUL_AND_INCOMPLETE NEW_METHOD"},
          {"<authenticate method='oauth'></authenticate>", "ERR_INVALID_MISSING_MSG_CONTENT"},
          {password("u", "p"), "AUTH_SUCCESSFUL_AND_COMPLETE"},
          {password("u", "p"), "AUTH_DONE_PREVIOUSLY"},
          {"<view/>", "ERR_UNSUPPORTED_REQUEST"},
          {"<hello/>", " AUTHENTICATE_VIA_DISCLAIMER"},
          {accept_disclaimer, "AUTH_SUCCESSFUL_AND_INCOMPLETE NEW_METHOD"},
          {password("x", "p"), "AUTH_SUCCESSFUL_AND_INCOMPLETE AUTHENTICATION_BLOCKED"},
          {password("u", "p"), "AUTH_FAILED_UNEXPECTED_METHOD"}}},
        {"dialog",
         dialog_only,
         {{"<hello/>", " AUTHENTICATE_VIA_DIALOG"},
          {dialog("passcode", "123456", "none"), "AUTH_FAILED_INVALID_FIELD_BUTTON_ID"},
          {dialog("other", "123456", "ok"), "AUTH_FAILED_INVALID_FIELD_BUTTON_ID"},
          {dialog("passcode", "1", "cancel"),
           "AUTH_SUCCESSFUL_AND_INCOMPLETE AUTHENTICATE_VIA_DIALOG"}}},
        {"expired password",
         {.users = {{"u", "old", "D", true}},
          .authentication = {{.methods = {"password"}}, {.methods = {"disclaimer"}}},
          .password_change = {.minimum_length = 6, .max_retries = 2}},
         {{"<hello/>", " AUTHENTICATE_VIA_PASSWORD"},
          {new_password("old", "longer"), "PSWD_UPDATE_FAILED_NOT_SUPPORTED"},
          {password("u", "old"), "AUTH_FAILED_EXPIRED_PASSWORD"},
          {password("u", "old"), "AUTH_FAILED_UNEXPECTED_METHOD"},
          {new_password("no", "longer"), "PSWD_UPDATE_FAILED_UNKNOWN_USERNAME_OR_PASSWORD"},
          {new_password("old", "short"), "PSWD_UPDATE_FAILED_WEAK_PASSWORD"},
          {new_password("old", "longer"), "PSWD_UPDATE_FAILED_MAX_RETRIES_EXCEEDED"},
          {"<hello/>", " AUTHENTICATE_VIA_PASSWORD"},
          {password("u", "old"), "AUTH_FAILED_EXPIRED_PASSWORD"},
          {new_password("old", "longer"),
           "PSWD_UPDATE_SUCCESSFUL_AUTH_INCOMPLETE AUTHENTICATE_VIA_DISCLAIMER"},
          {accept_disclaimer, "AUTH_SUCCESSFUL_AND_COMPLETE"},
          {new_password("longer", "longest"), "PSWD_UPDATE_FAILED_ALREADY_AUTHENTICATED"},
          {"<hello/>", " AUTHENTICATE_VIA_PASSWORD"},
          {password("u", "old"), "AUTH_FAILED_UNKNOWN_USERNAME_OR_PASSWORD"},
          {password("u", "longer"), "AUTH_SUCCESSFUL_AND_INCOMPLETE AUTHENTICATE_VIA_DISCLAIMER"}}},
        {"power",
         {.desktops = {{.id = "d"}, {.id = "fixed", .state = "IN_REPAIR"}}},
         {{"<hello/>", " AUTHENTICATION_NOT_REQUIRED"},
          {operation("d", "CMD_PWR_UP"), unsupported},
          {operation("d", "CMD_PWR_SLEEP"), "OP_SUCCESSFUL"},
          {operation("d", "CMD_PWR_UP"), unsupported},
          {operation("d", "CMD_PWR_RESUME"), "OP_SUCCESSFUL"},
          {operation("d", "CMD_PWR_DOWN"), "OP_SUCCESSFUL"},
          {operation("d", "CMD_PWR_DOWN"), unsupported},
          {operation("d", "CMD_PWR_SPIN"), "OP_FAILED_INVALID_PARAMETER"},
          {operation("fixed", "CMD_PWR_UP"), unsupported},
          {operation("none", "CMD_PWR_UP"), "OP_FAILED_INVALID_PARAMETER"}}},
    };
    for (const auto &[what, scenario, script] : cases) {
        SCOPED_TRACE(what);
        Conversation conversation(scenario);
        play(conversation, script);
    }
}

TEST(Broker, AllocationIsPendingUntilTheDesktopIsReady) {
    Conversation conversation(Scenario{.allocation = {.pending = 2, .connect_tag = "a<b&\"c"},
                                       .desktops = {{.id = "d", .state = "POWERED_OFF"}}});
    conversation.say("<hello/>");
    play(conversation, {{allocation("none"), "ALLOC_FAILED_INVALID_PARAMETER"},
                        {allocation("d"), "ALLOC_PENDING_TRY_AGAIN"},
                        {allocation("d"), "ALLOC_PENDING_TRY_AGAIN"},
                        {allocation("d"), "ALLOC_SUCCESSFUL"}});
    EXPECT_EQ(conversation.broker.state().find_desktop("d")->power, "POWERED_ON");
    EXPECT_EQ(Conversation::text_of(conversation.say(allocation("d")), "connect-tag"),
              "a&lt;b&amp;&quot;c");
    play(conversation, {{operation("d", "CMD_PWR_DOWN"), "OP_SUCCESSFUL"},
                        {allocation("d"), "ALLOC_PENDING_TRY_AGAIN"}});
}
