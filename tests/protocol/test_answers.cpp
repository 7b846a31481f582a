#include "captured_log.h"
#include "error_codes.h"
#include "kavro/src/allocate_resource.h"
#include "kavro/src/authenticate.h"
#include "kavro/src/hello.h"
#include "kavro/src/power_operation.h"
#include "kavro/src/resource_list.h"
#include "message_case.h"
#include "utils/src/broker_log.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <regex>

namespace kavro {
namespace {

/// A record as lines "name = value". What is as in a fresh record is left out, so that an empty
/// list says that nothing was read.
using RecordLines = std::vector<std::string>;

template <class Texts = std::initializer_list<std::string_view>>
std::string joined(const Texts &texts) {
    std::string all;
    for (const char *separator = ""; const auto &text : texts) {
        (all += separator) += text;
        separator = " | ";
    }
    return all;
}

void add(RecordLines &lines, const std::string &name, std::string_view value) {
    if (!value.empty())
        lines.push_back((name + " = ").append(value));
}

void add(RecordLines &lines, const Variables &variables) {
    for (const auto &[name, value] : variables)
        lines.push_back("variable = " + name + " | " + value);
}

std::string flag(bool set, const char *name) {
    return set ? name : "-";
}

void describe(RecordLines &lines, const HelloResult &hello) {
    add(lines, "product name", hello.product_name);
    add(lines, "product version", hello.product_version);
    add(lines, "platform", hello.platform);
    add(lines, "locale", hello.locale == HelloResult().locale ? "" : hello.locale);
    add(lines, "address", hello.ip_address);
    add(lines, "host", hello.hostname);
    add(lines, hello.broker_variables);
}

void describe(RecordLines &lines, const cAUTH_RESULT &auth) {
    if (auth.method != AuthMethod::unknown)
        add(lines, "method", std::to_string(static_cast<int>(auth.method)));
    add(lines, "domains", joined(auth.domains));
    add(lines, "disclaimer", auth.disclaimer);
    add(lines, "prompt", auth.dialog_prompt);
    add(lines, "error", auth.dialog_error);
    for (const auto &field : auth.dialog_fields)
        add(lines, "field",
            joined({field.id, field.label, field.text, flag(field.read_only, "read-only"),
                    flag(field.hidden, "hidden"), flag(field.loggable, "loggable"),
                    std::to_string(field.text_type)}));
    for (const auto &button : auth.dialog_buttons)
        add(lines, "button", joined({button.id, button.label, flag(button.is_default, "default")}));
    add(lines, auth.to_client_variables);
}

void describe(RecordLines &lines, const cDESKTOP_LIST_RESULT &desktop) {
    add(lines, "desktop",
        joined({desktop.resource_id, desktop.resource_name, desktop.resource_type,
                desktop.session_type, desktop.resource_state}));
    add(lines, "health", desktop.health_state);
    add(lines, "protocols", joined(desktop.protocols));
    add(lines, "icon sizes", joined(desktop.icon_sizes));
    add(lines, "icons", joined(desktop.icons));
    std::vector<std::string> allowed;
    for (std::size_t command = 0; command < desktop.allowed.size(); ++command) {
        if (desktop.allowed[command])
            allowed.push_back(std::to_string(command));
    }
    add(lines, "allowed", joined(allowed));
}

void describe(RecordLines &lines, const cDESKTOP_CONNECTION_RESULT &connection) {
    add(lines, "address", connection.target_address);
    add(lines, "host", connection.host_name);
    add(lines, "server name", connection.server_name);
    add(lines, "port", connection.port);
    add(lines, "session id", connection.session_id);
    add(lines, "connect tag", connection.connect_tag);
    add(lines, "use broker address", connection.use_broker_address ? "yes" : "");
    add(lines, connection.agent_variables);
    for (const auto &target : connection.alternate_targets)
        add(lines, "alternate",
            joined({target.address, target.host_name, target.server_name, target.port}));
    if (connection.has_gateway_ticket)
        add(lines, "ticket",
            joined({connection.gateway_ticket, connection.gateway_ticket_creation_time,
                    connection.gateway_ticket_expiry_time}));
    else
        add(lines, "ticket without flag",
            connection.gateway_ticket + connection.gateway_ticket_creation_time +
                connection.gateway_ticket_expiry_time);
}

struct Outcome {
    BrokerResult result;
    RecordLines record;
    AuthAnswer auth;
};

void describe_into(Outcome &outcome, const HelloAnswer &answer) {
    describe(outcome.record, answer.hello);
    describe(outcome.record, answer.auth.auth);
    outcome.auth = answer.auth;
}

void describe_into(Outcome &outcome, const AuthAnswer &answer) {
    describe(outcome.record, answer.auth);
    outcome.auth = answer;
}

void describe_into(Outcome &, const Nothing &) {}

// Of the records of the next two nothing is handed out after a failure.

void describe_into(Outcome &outcome, const DesktopListHandle &list) {
    EXPECT_EQ(list != nullptr, outcome.result.code == ERROR_CODE_NONE);
    for (std::size_t index = 0; list != nullptr && index < list->size(); ++index)
        describe(outcome.record, (*list)[index]);
}

void describe_into(Outcome &outcome, const Allocation &allocation) {
    if (outcome.result.code == ERROR_CODE_NONE)
        describe(outcome.record, allocation.connection);
}

template <class Record, class... Given>
void read(const Message<Record, Given...> &message, const PostResult &post, Dialect &dialect,
          Outcome &outcome) {
    Record record;
    outcome.result = read_answer(message, post, dialect, record);
    describe_into(outcome, record);
}

template <const auto &message>
void read_as(const PostResult &post, Dialect &dialect, Outcome &outcome) {
    read(message, post, dialect, outcome);
}

const std::map<std::string, void (*)(const PostResult &, Dialect &, Outcome &), std::less<>>
    readers = {
        {"hello", read_as<hello_message>},
        {"method", read_as<authentication_method_message>},
        {"password", read_as<password_message>},
        {"dialog", read_as<dialog_message>},
        {"oauth", read_as<oauth_message>},
        {"disclaimer", read_as<disclaimer_message>},
        {"update password", read_as<password_update_message>},
        {"list", read_as<resource_list_message>},
        {"allocate", read_as<allocate_resource_message>},
        {"operation", read_as<power_operation_message>},
};

Outcome read_text(std::string_view request, std::string_view answer, Dialect &dialect) {
    std::string error;
    PostResult post;
    post.document = XmlDocument::parse(SecureText(answer), error);
    EXPECT_TRUE(post.document) << error;
    Outcome outcome;
    if (post.document)
        readers.at(std::string(request))(post, dialect, outcome);
    return outcome;
}

/// The enumerator's name, also of those codes that the log shows as unknown.
std::string name_of(eERROR_CODE code) {
    static const std::map<eERROR_CODE, std::string> unnamed = {
        {AUTH_FAILED_DIALOG_INVALID_USER_ENTRY, "AUTH_FAILED_DIALOG_INVALID_USER_ENTRY"},
        {AUTH_FAILED_INVALID_FIELD_BUTTON_ID, "AUTH_FAILED_INVALID_FIELD_BUTTON_ID"},
        {ALLOC_PENDING_TRY_AGAIN, "ALLOC_PENDING_TRY_AGAIN"},
        {OP_FAILED_OPERATION_NOT_SUPPORTED, "OP_FAILED_OPERATION_NOT_SUPPORTED"},
        {OP_FAILED_TO_EXECUTE, "OP_FAILED_TO_EXECUTE"}};
    const auto found = unnamed.find(code);
    return found != unnamed.end() ? found->second : error_code_name(code);
}

/// The texts logged, with a "*" for the line number of a source.
std::vector<std::string> logged(LogSeverity severity) {
    static const std::regex source_line("kavro_broker_client:[0-9]+");
    std::vector<std::string> texts;
    for (const LogLine &line : CapturedLog::lines()) {
        if (line.severity == static_cast<int32_t>(severity))
            texts.push_back(std::regex_replace(line.text, source_line, "kavro_broker_client:*"));
    }
    return texts;
}

/// What is kept of an answer must tell the same when the caller asks again.
void expect_same_method_again(const Outcome &first, Dialect dialect) {
    if (first.auth.next_authentication.empty()) {
        EXPECT_EQ(first.auth.auth.method, AuthMethod::unknown);
        return;
    }
    const SecureText document =
        request_text(authentication_method_message, dialect, first.auth.next_authentication);
    const Outcome again = read_text("method", document, dialect);
    EXPECT_EQ(name_of(again.result.code), name_of(first.result.code));
    cAUTH_RESULT told = first.auth.auth;
    told.to_client_variables.clear();
    RecordLines record;
    describe(record, told);
    EXPECT_EQ(again.record, record);
}

void check(const MessageCase &one) {
    const std::string request = one.last("request");
    SCOPED_TRACE(request + ": " + one.name + "\n" + one.answer);
    const CapturedLog log;
    Dialect dialect{.oauth = one.last("oauth") == "on"};
    const Outcome outcome = read_text(request, one.answer, dialect);
    EXPECT_EQ(name_of(outcome.result.code), one.last("code", "ERROR_CODE_NONE"));
    EXPECT_EQ(outcome.result.message, one.last("message"));
    EXPECT_EQ(outcome.result.detected_by, one.last("detected by"));
    EXPECT_EQ(outcome.result.detail, one.last("detail"));
    EXPECT_EQ(dialect.version, one.last("version", "2.1"));
    EXPECT_EQ(logged(LogSeverity::error), one.all("log"));
    if (const auto infos = one.all("info"); !infos.empty()) {
        EXPECT_EQ(logged(LogSeverity::info), infos);
    }
    if (one.whole) {
        EXPECT_EQ(outcome.record, one.all("record"));
    }
    expect_same_method_again(outcome, dialect);
}

class Answers : public testing::TestWithParam<const char *> {};

TEST_P(Answers, AreReadAsTheCasesSay) {
    const auto cases = read_cases(std::string(CASES_DIR "/") + GetParam() + ".txt");
    ASSERT_FALSE(cases.empty());
    for (const MessageCase &written : cases) {
        for (const MessageCase &one : expand(written))
            check(one);
    }
}

INSTANTIATE_TEST_SUITE_P(Files, Answers,
                         testing::Values("envelope", "hello", "auth_method", "authenticate",
                                         "resource_list", "allocate_resource", "power_operation"),
                         [](const auto &file) { return std::string(file.param); });

} // namespace
} // namespace kavro
