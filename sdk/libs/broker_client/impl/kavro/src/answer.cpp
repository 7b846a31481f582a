#include "kavro/src/answer.h"

#include "utils/src/broker_log.h"

namespace kavro {

namespace {

constexpr const char *envelope_reader = "Error response handler";

/// The elements of a broker-reported error.
struct BrokerError {
    std::string id;
    std::string message;
    std::string detected_by;
    std::string detail;
};

constexpr TextField<BrokerError> error_fields[] = {
    {"result-id", &BrokerError::id},
    {"result-str", &BrokerError::message},
    {"detected-by", &BrokerError::detected_by},
    {"err-detail", &BrokerError::detail, false},
};

constexpr ResultRow error_rows[] = {
    {"ERR_INVALID_MSG_FORMAT", ERROR_CODE_PROTOCOL_MANGLED_REQUEST},
    {"ERR_INVALID_MSG_ENVELOPE", ERROR_CODE_PROTOCOL_MANGLED_REQUEST},
    {"ERR_INVALID_MISSING_MSG_CONTENT", ERROR_CODE_PROTOCOL_MANGLED_REQUEST},
    {"ERR_INVALID_INVALID_MSG_CONTENT", ERROR_CODE_PROTOCOL_MANGLED_REQUEST},
    {"ERR_MISSING_OPTIONAL_TAG", ERROR_CODE_PROTOCOL_MISSING_OPTIONAL_TAG},
    {"ERR_MISSING_CAPABILITY", ERROR_CODE_PROTOCOL_MISSING_CAPABILITY},
    {"ERR_UNSUPPORTED_VERSION", ERROR_CODE_PROTOCOL_UNSUPPORTED_VERSION},
    {"ERR_UNSUPPORTED_REQUEST", ERROR_CODE_PROTOCOL_UNSUPPORTED_REQUEST},
    {"ERR_MISSING_SESSION", ERROR_CODE_PROTOCOL_MISSING_SESSION},
    {"ERR_INVALID_SESSION", ERROR_CODE_PROTOCOL_INVALID_SESSION},
    {"ERR_BROKER_SYS_FAILED", ERROR_CODE_PROTOCOL_BROKER_SYS_FAILED},
    {"ERR_BROKER_RESP_FAILED", ERROR_CODE_PROTOCOL_BROKER_RESP_FAILED},
    {"ERR_KAVRO_AGENT_FAILED", ERROR_CODE_PROTOCOL_AGENT_FAILED},
    {"ERR_KAVRO_GATEWAY_FAILED", ERROR_CODE_PROTOCOL_GATEWAY_FAILED},
    {"ERR_CM_FAILED", ERROR_CODE_PROTOCOL_CM_FAILED},
};

void log_broker_error(const std::string &id, const BrokerResult &result) {
    if (result.detail.empty())
        log_error("%s %s: \"%s\" no further details", printable(id).c_str(),
                  printable(result.detected_by).c_str(), printable(result.message).c_str());
    else
        log_error("%s %s: \"%s\" \"%s\"", printable(id).c_str(),
                  printable(result.detected_by).c_str(), printable(result.message).c_str(),
                  printable(result.detail).c_str());
}

constexpr CodeRow<ePOST_RESULT> post_codes[] = {
    {POST_RESULT_INVALID_PARAMS, ERROR_CODE_INVALID_PARAMS},
    {POST_RESULT_TIMEOUT, ERROR_CODE_TIMEOUT},
    {POST_RESULT_CANCELLED, ERROR_CODE_CANCELLED},
    {POST_RESULT_TLS_PROTOCOL_ERROR, ERROR_CODE_TLS_PROTOCOL_ERROR},
    {POST_RESULT_SOCKET_OR_SYS_FAILURE, ERROR_CODE_SOCKET_OR_SYS_FAILURE},
    {POST_RESULT_MANGLED_RESPONSE, ERROR_CODE_PROTOCOL_MANGLED_RESPONSE},
    {POST_RESULT_NOT_HTTP_OK, ERROR_CODE_HTTP_NOT_OK},
};

} // namespace

BrokerResult missing_tag(const char *reader, std::string_view tag) {
    log_error("%s: Could not find %s tag", reader, std::string(tag).c_str());
    return {ERROR_CODE_PROTOCOL_MANGLED_RESPONSE};
}

Expected<Answer, BrokerResult> good_answer(const PostResult &post, const AnswerRules &rules,
                                           Dialect &dialect) {
    if (rules.arrival != nullptr)
        log_info("%s", rules.arrival);
    const auto message = get_response_node(post, dialect.version);
    if (!message)
        return message.error();
    return Answer{*message, rules, dialect};
}

Expected<XmlNode, BrokerResult> get_response_node(const PostResult &post,
                                                  std::string &protocol_version) {
    if (post.result != POST_RESULT_SUCCESS)
        return BrokerResult{code_of(post_codes, post.result, "get_response_node"), post.error_text};
    const XmlNode root = post.document->root();
    if (!root)
        return missing_tag(envelope_reader, "broker");
    const auto version = root.attribute("version");
    if (!version)
        return missing_tag(envelope_reader, "version");

    const XmlNode message = root.child();
    if (*version != "2.0" && *version != "2.1") {
        BrokerResult failure = message ? check_for_error_resp(message) : BrokerResult();
        failure.code = ERROR_CODE_PROTOCOL_UNSUPPORTED_VERSION;
        return failure;
    }
    protocol_version = *version;
    if (!message)
        return missing_tag(envelope_reader, "type");
    if (BrokerResult failure = check_for_error_resp(message); failure.code != ERROR_CODE_NONE)
        return failure;
    return message;
}

BrokerResult check_for_error_resp(XmlNode message) {
    const XmlNode element = message.child("result");
    BrokerError error;
    if (message.name() != "error-resp" || !element || !read_fields(element, error_fields, error))
        return {};
    const ResultRow *row = find_row<ResultRow>(error_rows, error.id);
    BrokerResult result = {.code = row != nullptr ? row->code : ERROR_CODE_PROTOCOL_GENERIC,
                           .message = error.message,
                           .detected_by = "Detected by: " + error.detected_by + ".",
                           .detail = error.detail,
                           .result_id = row != nullptr ? row->id : std::string_view()};
    log_broker_error(error.id, result);
    return result;
}

Read<XmlNode> find(XmlNode parent, std::initializer_list<const char *> path) {
    for (const char *name : path) {
        parent = parent.child(name);
        if (!parent)
            return name;
    }
    return parent;
}

Read<Variables> read_variables(XmlNode list) {
    Variables variables;
    if (!list)
        return variables;
    for (XmlNode variable = list.child("variable"); variable;
         variable = variable.next("variable")) {
        const auto name = find(variable, {"name"});
        const auto value = find(variable, {"value"});
        if (!name || !value)
            return !name ? name.error() : value.error();
        variables.emplace_back(name->text(), value->text());
    }
    return variables;
}

Read<ResultElement> read_result(Answer &answer) {
    const auto id = find(answer.message, {"result", "result-id"});
    if (!id)
        return id.error();
    const std::string text = id->text();
    answer.result_id = known_result_id(text);
    return ResultElement{answer.message.child("result"), find_row(answer.rules.rows, text)};
}

std::string ResultElement::text() const {
    return child_text(element, "result-str");
}

eERROR_CODE code_of(const Answer &answer, const ResultRow *row) {
    if (row != nullptr)
        return row->code;
    log_error("%s: Broker's result id cannot be recognized by the client",
              answer.rules.result_reader);
    return answer.rules.unrecognised;
}

BrokerResult read_outcome(Answer &answer) {
    const auto result = read_result(answer);
    if (!result)
        return missing_tag(answer.rules.reader, result.error());
    const eERROR_CODE code = code_of(answer, result->row);
    return {code, code != ERROR_CODE_NONE ? result->text() : std::string()};
}

std::vector<std::string> child_texts(XmlNode parent, std::string_view name) {
    std::vector<std::string> texts;
    for_each_child(parent, name, [&texts](XmlNode child) { texts.push_back(child.text()); });
    return texts;
}

std::string child_text(XmlNode parent, std::string_view name) {
    const XmlNode child = parent.child(name);
    return child ? child.text() : std::string();
}

} // namespace kavro
