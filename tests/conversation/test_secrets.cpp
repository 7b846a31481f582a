#include "conversation/conversation.h"

#include <openssl/evp.h>

using namespace conversation;
using broker_sim::Scenario;

namespace {

std::string base64(const std::string &text) {
    std::string out(4 * ((text.size() + 2) / 3) + 1, '\0');
    const auto length =
        EVP_EncodeBlock(reinterpret_cast<unsigned char *>(out.data()),
                        reinterpret_cast<const unsigned char *>(text.data()), int(text.size()));
    out.resize(std::size_t(length));
    return out;
}

/// The spellings under which a secret could slip into a log. The canaries hold a '<' where they
/// come from the client, so that escaping changes them.
std::vector<std::string> spellings(const std::string &secret) {
    std::string xml, url;
    for (const char c : secret) {
        xml += c == '<' ? "&lt;" : std::string(1, c);
        url += c == '<' ? "%3C" : std::string(1, c);
    }
    return {secret, xml, url, base64(secret), secret.substr(0, secret.find('<'))};
}

void expect_absent(const std::string &log, const std::vector<std::string> &secrets,
                   const std::string &when) {
    for (const auto &secret : secrets) {
        for (const auto &spelling : spellings(secret))
            EXPECT_EQ(log.find(spelling), std::string::npos) << when << ": " << spelling;
    }
}

const std::vector<std::string> secrets = {"canary-password-1", "canary<password-2",
                                          "canary-new-3",      "canary-pin-4",
                                          "canary-user-5",     "canary-connect-tag-6-and-more",
                                          "canary-cookie-7"};

Scenario scenario_with_secrets() {
    Scenario scenario = Scenario::demo();
    scenario.users = {{"canary-user-5", "canary-password-1", "EXAMPLE", true}};
    scenario.session_cookie = "canary-cookie-7";
    scenario.allocation.connect_tag = "canary-connect-tag-6-and-more-0123456789AB";
    broker_sim::AuthenticationStep dialog;
    dialog.methods = {"dialog"};
    dialog.dialog.fields = {{"pin", "PIN", "", "text", "number", "true", "true", "canary-pin-4"}};
    dialog.dialog.buttons = {{"go", "Go", true, false}};
    scenario.authentication.push_back(dialog);
    return scenario;
}

/// Everything that carries a secret, successes and failures both.
void speak_secrets(Conversation &talk) {
    const kavro_broker_name_value pin = {"pin", "canary-pin-4"};
    kavro_broker_send_accept_disclaimer(talk.handle, 1);
    kavro_broker_send_password(talk.handle, "canary-user-5", "EXAMPLE", "canary<password-2");
    kavro_broker_send_password(talk.handle, "canary-user-5", "EXAMPLE", "canary-password-1");
    kavro_broker_send_new_password(talk.handle, "canary-user-5", "EXAMPLE", "canary-password-1",
                                   "canary-new-3", "canary-new-3");
    uint32_t method = 0;
    kavro_broker_get_auth_method(talk.handle, &method);
    kavro_broker_send_auth_dialog(talk.handle, "go", &pin, 1);
    talk.list();
    talk.allocate("desktop-office");
    kavro_broker_clear_session(talk.handle);
}

TEST(Secrets, AreInNoLogLine) {
    Conversation talk(scenario_with_secrets());
    speak_secrets(talk);
    ASSERT_NE(talk.target, nullptr) << talk.message() << "\n" << Log::text();
    EXPECT_EQ(talk.property(KAVRO_BROKER_CONNECTION_CONNECT_TAG),
              "canary-connect-tag-6-and-more-0123456789AB");
    const std::string log = Log::text();
    EXPECT_NE(log.find("*****0123456789AB"), std::string::npos) << "the tag's last 12 characters";
    EXPECT_NE(log.find("<password> *****</password>"), std::string::npos);
    expect_absent(log, secrets, "all well");
}

TEST(Secrets, AreInNoLogLineWhenThingsGoWrong) {
    using broker_sim::Ending;
    struct Row {
        const char *what;
        broker_sim::Fault fault;
    };
    const Row rows[] = {
        {"reset", {.match = {.request = "authenticate"}, .ending = Ending::reset}},
        {"cut in the head",
         {.match = {.request = "authenticate"}, .ending = Ending::fin, .at_byte = 20}},
        {"cut in the body",
         {.match = {.request = "authenticate"}, .ending = Ending::close, .at_byte = 300}},
        {"bad XML", {.match = {.request = "allocate-resource"}, .bad_xml = true}},
        {"wrong status",
         {.match = {.request = "update-password"}, .status_line = "HTTP/1.1 500 No"}},
    };
    for (const auto &[what, fault] : rows) {
        Conversation talk(scenario_with_secrets());
        talk.broker.inject(fault);
        speak_secrets(talk);
        expect_absent(Log::text(), secrets, what);
    }
}

TEST(Secrets, TheBrokersEchoIsNotLogged) {
    Conversation talk(scenario_with_secrets());
    broker_sim::Override echo;
    echo.match.request = "authenticate";
    echo.body = "<kavro-client version=\"2.1\"><authenticate-resp><result><result-id>X</result-id>"
                "<result-str>no</result-str></result><echo><username>canary-user-5</username>"
                "<PASSWORD>canary-password-1</PASSWORD></echo></authenticate-resp></kavro-client>";
    talk.broker.set_override(echo);
    speak_secrets(talk);
    expect_absent(Log::text(), secrets, "echo");
}

} // namespace
