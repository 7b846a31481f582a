#include "kavro/src/answer.h"

#include "utils/src/assertion.h"
#include "utils/src/broker_log.h"

namespace kavro {

namespace {

constexpr const char *error_handler = "Error response handler";

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

/// The error's texts as they are reported; false when the message is no complete error answer.
bool read_error(XmlNode message, BrokerError &error, BrokerResult &result) {
    if (message.name() != "error-resp")
        return false;
    const XmlNode element = message.child("result");
    if (!element || read_fields(element, error_fields, error) != nullptr)
        return false;
    result.message = error.message;
    result.detected_by = "Detected by: " + error.detected_by + ".";
    result.detail = error.detail;
    return true;
}

void log_broker_error(const BrokerError &error, const BrokerResult &result) {
    if (error.detail.empty())
        log_error("%s %s: \"%s\" no further details", printable(error.id).c_str(),
                  printable(result.detected_by).c_str(), printable(error.message).c_str());
    else
        log_error("%s %s: \"%s\" \"%s\"", printable(error.id).c_str(),
                  printable(result.detected_by).c_str(), printable(error.message).c_str(),
                  printable(error.detail).c_str());
}

eERROR_CODE code_of_failed_post(ePOST_RESULT post) {
    switch (post) {
    case POST_RESULT_INVALID_PARAMS:
        return ERROR_CODE_INVALID_PARAMS;
    case POST_RESULT_TIMEOUT:
        return ERROR_CODE_TIMEOUT;
    case POST_RESULT_CANCELLED:
        return ERROR_CODE_CANCELLED;
    case POST_RESULT_TLS_PROTOCOL_ERROR:
        return ERROR_CODE_TLS_PROTOCOL_ERROR;
    case POST_RESULT_SOCKET_OR_SYS_FAILURE:
        return ERROR_CODE_SOCKET_OR_SYS_FAILURE;
    case POST_RESULT_MANGLED_RESPONSE:
        return ERROR_CODE_PROTOCOL_MANGLED_RESPONSE;
    case POST_RESULT_NOT_HTTP_OK:
        return ERROR_CODE_HTTP_NOT_OK;
    case POST_RESULT_SUCCESS:
        break;
    }
    broker_assert_failed("get_response_node");
}

} // namespace

BrokerResult missing_tag(const char *handler, MissingTag tag) {
    log_error("%s: Could not find %s tag", handler, tag);
    return {ERROR_CODE_PROTOCOL_MANGLED_RESPONSE, {}, {}, {}};
}

XmlNode get_response_node(const PostResult &post, std::string &protocol_version,
                          BrokerResult &failure) {
    const auto fail = [&failure](BrokerResult result) {
        failure = std::move(result);
        return XmlNode();
    };
    if (post.result != POST_RESULT_SUCCESS)
        return fail({code_of_failed_post(post.result), post.error_text, {}, {}});

    const XmlNode root = post.document->root();
    if (!root)
        return fail(missing_tag(error_handler, "broker"));
    const auto version = root.attribute("version");
    if (!version)
        return fail(missing_tag(error_handler, "version"));

    const XmlNode message = root.child();
    if (*version != "2.0" && *version != "2.1") {
        BrokerError error;
        BrokerResult result;
        if (message && read_error(message, error, result))
            log_broker_error(error, result);
        result.code = ERROR_CODE_PROTOCOL_UNSUPPORTED_VERSION;
        return fail(result);
    }
    protocol_version = *version;
    if (!message)
        return fail(missing_tag(error_handler, "type"));
    return check_for_error_resp(message, failure) ? XmlNode() : message;
}

bool check_for_error_resp(XmlNode message, BrokerResult &failure) {
    BrokerError error;
    BrokerResult result;
    if (!read_error(message, error, result))
        return false;
    log_broker_error(error, result);
    const ResultRow *row = find_row<ResultRow>(error_rows, error.id);
    result.code = row != nullptr ? row->code : ERROR_CODE_PROTOCOL_GENERIC;
    failure = std::move(result);
    return true;
}

MissingTag read_variables(XmlNode list, Variables &variables) {
    if (!list)
        return nullptr;
    for (XmlNode variable = list.child("variable"); variable;
         variable = variable.next("variable")) {
        const XmlNode name = variable.child("name");
        const XmlNode value = variable.child("value");
        if (!name || !value)
            return !name ? "name" : "value";
        variables.emplace_back(name.text(), value.text());
    }
    return nullptr;
}

ResultElement read_result(XmlNode message) {
    const XmlNode element = message.child("result");
    if (!element)
        return {element, {}, "result"};
    const XmlNode id = element.child("result-id");
    if (!id)
        return {element, {}, "result-id"};
    return {element, id.text(), nullptr};
}

std::string ResultElement::text() const {
    return child_text(element, "result-str");
}

std::string_view known_error_id(std::string_view id) {
    return known_id<ResultRow>(error_rows, id);
}

void log_unrecognised_result(const char *handler) {
    log_error("%s: Broker's result id cannot be recognized by the client", handler);
}

eERROR_CODE code_of(const ResultTable<ResultRow> &table, std::string_view id) {
    const ResultRow *row = look_up(table, id);
    return row != nullptr ? row->code : table.unrecognised;
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
