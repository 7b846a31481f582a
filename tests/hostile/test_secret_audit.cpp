#include "conversation/conversation.h"
#include "support/canaries.h"

using namespace conversation;

namespace {

// The fault table looks for secrets after each of its cases. Here are a broker that plays along to
// the end, and one that echoes.

broker_sim::Scenario scenario_with_secrets() {
    auto scenario = broker_sim::Scenario::demo();
    scenario.users = {{canary::user, "canary-password&1", "EXAMPLE", true}};
    scenario.session_cookie = canary::cookie;
    scenario.allocation.connect_tag = canary::connect_tag;
    scenario.allocation.gateway_ticket = {canary::ticket, "1", "2"};
    broker_sim::AuthenticationStep dialog;
    dialog.methods = {"dialog"};
    dialog.dialog.fields = {{"pin", "PIN", "", "text", "number", "true", "true", canary::pin}};
    dialog.dialog.buttons = {{"go", "Go", true, false}};
    scenario.authentication.push_back(dialog);
    return scenario;
}

/// Everything that carries a secret, successes and failures both.
void speak_secrets(Conversation &talk) {
    const kavro_broker_handle handle = talk.handle;
    const kavro_broker_name_value pin = {"pin", canary::pin};
    const char *const malformed = "canary<password-8";
    kavro_broker_send_accept_disclaimer(handle, 1);
    kavro_broker_send_oauth_code(handle, canary::oauth_code);
    kavro_broker_send_password(handle, canary::user, "EXAMPLE", malformed);
    kavro_broker_send_password(handle, canary::user, "EXAMPLE", canary::password);
    kavro_broker_send_new_password(handle, canary::user, "EXAMPLE", canary::password,
                                   canary::new_password, canary::new_password);
    uint32_t method = 0;
    kavro_broker_get_auth_method(handle, &method);
    kavro_broker_send_auth_dialog(handle, "go", &pin, 1);
    talk.list();
    talk.allocate("desktop-office");
    kavro_broker_clear_session(handle);
}

TEST(SecretAudit, AllWell) {
    Conversation talk(scenario_with_secrets());
    speak_secrets(talk);
    ASSERT_NE(talk.target, nullptr) << talk.message() << "\n" << Log::text();
    EXPECT_EQ(talk.property(KAVRO_BROKER_CONNECTION_CONNECT_TAG), canary::connect_tag);
    EXPECT_EQ(talk.property(KAVRO_BROKER_CONNECTION_GATEWAY_TICKET), canary::ticket);
    const std::string log = Log::text();
    EXPECT_NE(log.find("*****0123456789AB"), std::string::npos) << "the tag's last 12 characters";
    EXPECT_NE(log.find("<password> *****</password>"), std::string::npos);
    EXPECT_EQ(canary::line_with_secret(log), "");
}

TEST(SecretAudit, ABrokerThatEchoes) {
    Conversation talk(scenario_with_secrets());
    broker_sim::Override echo;
    echo.match.request = "authenticate";
    echo.body = "<kavro-client version=\"2.1\"><authenticate-resp><result><result-id>X</result-id>"
                "<result-str>no</result-str></result><echo><username>canary-user</username>"
                "<PASSWORD>canary-password&amp;1</PASSWORD></echo></authenticate-resp>"
                "</kavro-client>";
    talk.broker.set_override(echo);
    speak_secrets(talk);
    EXPECT_EQ(canary::line_with_secret(Log::text()), "");
}

} // namespace
