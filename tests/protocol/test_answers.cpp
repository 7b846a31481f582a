#include "captured_log.h"
#include "error_codes.h"
#include "kavro/src/allocate_resource.h"
#include "kavro/src/answer.h"
#include "kavro/src/auth_method.h"
#include "kavro/src/authenticate.h"
#include "kavro/src/hello.h"
#include "kavro/src/power_operation.h"
#include "kavro/src/resource_list.h"
#include "message_case.h"
#include "record_lines.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>

namespace kavro {
namespace {

struct Outcome {
    BrokerResult result;
    RecordLines record;
    AuthAnswer auth;
};

struct Message {
    XmlNode node;
    bool oauth;
    std::string_view version;
};

void add(RecordLines &lines, const RecordLines &more) {
    lines.insert(lines.end(), more.begin(), more.end());
}

void read_method(const Message &message, Outcome &outcome) {
    outcome.result = process_authentication_method(message.node, message.oauth, outcome.auth);
    outcome.record = describe(outcome.auth.auth);
}

void read_hello_answer(const Message &message, Outcome &outcome) {
    HelloAnswer answer;
    outcome.result = read_hello(message.node, message.oauth, answer);
    outcome.record = describe(answer.hello);
    add(outcome.record, describe(answer.auth.auth));
    outcome.auth = answer.auth;
}

template <AuthRequest request>
void read_authenticated(const Message &message, Outcome &outcome) {
    outcome.result = read_authentication(request, message.node, message.oauth, outcome.auth);
    outcome.record = describe(outcome.auth.auth);
}

// Of the records of the next two nothing is handed out after a failure.

void read_list(const Message &message, Outcome &outcome) {
    DesktopListHandle list;
    outcome.result = read_resource_list(message.node, list);
    EXPECT_EQ(list != nullptr, outcome.result.code == ERROR_CODE_NONE);
    for (std::size_t index = 0; list != nullptr && index < list->size(); ++index)
        add(outcome.record, describe((*list)[index]));
}

void read_allocated(const Message &message, Outcome &outcome) {
    cDESKTOP_CONNECTION_RESULT connection;
    outcome.result = read_allocation(
        message.node, message.version, [](XmlNode) { return BrokerResult(); }, connection);
    if (outcome.result.code == ERROR_CODE_NONE)
        outcome.record = describe(connection);
}

void read_operation(const Message &message, Outcome &outcome) {
    outcome.result = read_power_operation(message.node);
}

const std::map<std::string, void (*)(const Message &, Outcome &), std::less<>> readers = {
    {"hello", read_hello_answer},
    {"method", read_method},
    {"password", read_authenticated<AuthRequest::password>},
    {"dialog", read_authenticated<AuthRequest::dialog>},
    {"oauth", read_authenticated<AuthRequest::oauth>},
    {"disclaimer", read_authenticated<AuthRequest::disclaimer>},
    {"update password", read_authenticated<AuthRequest::password_update>},
    {"list", read_list},
    {"allocate", read_allocated},
    {"operation", read_operation},
};

Outcome read_answer(std::string_view request, std::string_view answer, bool oauth,
                    std::string &version) {
    std::string error;
    PostResult post;
    post.document = XmlDocument::parse(SecureText(answer), error);
    EXPECT_TRUE(post.document) << error;
    Outcome outcome;
    if (!post.document)
        return outcome;
    if (const XmlNode message = get_response_node(post, version, outcome.result))
        readers.at(std::string(request))({message, oauth, version}, outcome);
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
void expect_same_method_again(const Outcome &first, bool oauth, std::string version) {
    if (first.auth.next_authentication.empty()) {
        EXPECT_EQ(first.auth.auth.method, AuthMethod::unknown);
        return;
    }
    const SecureText document =
        authentication_method_answer(version, first.auth.next_authentication);
    const Outcome again = read_answer("method", document, oauth, version);
    EXPECT_EQ(name_of(again.result.code), name_of(first.result.code));
    cAUTH_RESULT told = first.auth.auth;
    told.to_client_variables.clear();
    EXPECT_EQ(again.record, describe(told));
}

void check(const MessageCase &one) {
    SCOPED_TRACE(one.request + ": " + one.name + "\n" + one.answer);
    const CapturedLog log;
    std::string version = "2.1";
    const Outcome outcome = read_answer(one.request, one.answer, one.oauth, version);
    EXPECT_EQ(name_of(outcome.result.code), one.code);
    EXPECT_EQ(outcome.result.message, one.message);
    EXPECT_EQ(outcome.result.detected_by, one.detected_by);
    EXPECT_EQ(outcome.result.detail, one.detail);
    EXPECT_EQ(version, one.version);
    EXPECT_EQ(logged(LogSeverity::error), one.errors);
    if (!one.infos.empty()) {
        EXPECT_EQ(logged(LogSeverity::info), one.infos);
    }
    if (one.record) {
        EXPECT_EQ(outcome.record, *one.record);
    }
    expect_same_method_again(outcome, one.oauth, version);
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

TEST(Exchange, FailedPostKeepsItsReason) {
    const std::pair<ePOST_RESULT, eERROR_CODE> rows[] = {
        {POST_RESULT_INVALID_PARAMS, ERROR_CODE_INVALID_PARAMS},
        {POST_RESULT_TIMEOUT, ERROR_CODE_TIMEOUT},
        {POST_RESULT_CANCELLED, ERROR_CODE_CANCELLED},
        {POST_RESULT_TLS_PROTOCOL_ERROR, ERROR_CODE_TLS_PROTOCOL_ERROR},
        {POST_RESULT_SOCKET_OR_SYS_FAILURE, ERROR_CODE_SOCKET_OR_SYS_FAILURE},
        {POST_RESULT_MANGLED_RESPONSE, ERROR_CODE_PROTOCOL_MANGLED_RESPONSE},
        {POST_RESULT_NOT_HTTP_OK, ERROR_CODE_HTTP_NOT_OK},
    };
    for (const auto &[post, code] : rows) {
        BrokerResult failure;
        std::string version = "2.1";
        EXPECT_FALSE(get_response_node({post, "the reason", nullptr}, version, failure));
        EXPECT_EQ(failure.code, code);
        EXPECT_EQ(failure.message, "the reason") << post;
    }
}

TEST(AuthMethod, WhatIsToldAgainFollowsEveryAnswer) {
    const std::string asked = "<next-authentication><method>AUTHENTICATE_VIA_DISCLAIMER</method>"
                              "<disclaimer>&lt;b&gt; &amp; more</disclaimer></next-authentication>";
    const std::string blocked = "<next-authentication><method>AUTHENTICATION_BLOCKED</method>"
                                "<domains/></next-authentication>";
    const std::tuple<const char *, std::string, std::string> rows[] = {
        {"AUTH_DONE_PREVIOUSLY", asked, next_authentication("AUTHENTICATION_ALREADY_DONE")},
        {"AUTH_SUCCESSFUL_AND_INCOMPLETE", asked, asked},
        {"AUTH_SUCCESSFUL_AND_INCOMPLETE", blocked, next_authentication("AUTHENTICATION_BLOCKED")},
        {"AUTH_FAILED_ACCESS_DENIED", asked, ""},
    };
    for (const auto &[id, next, kept] : rows) {
        std::string version;
        const std::string answer =
            "<kavro-client version='2.1'><authenticate-resp><result><result-id>" + std::string(id) +
            "</result-id><result-str/></result>" + next + "</authenticate-resp></kavro-client>";
        EXPECT_EQ(read_answer("password", answer, false, version).auth.next_authentication, kept);
    }
}

} // namespace
} // namespace kavro
