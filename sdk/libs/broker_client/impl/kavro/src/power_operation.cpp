#include "kavro/src/power_operation.h"

#include "kavro/src/answer.h"
#include "kavro/src/request_text.h"
#include "utils/src/assertion.h"

namespace kavro {

namespace {

constexpr ResultRow operation_rows[] = {
    {"OP_SUCCESSFUL", ERROR_CODE_NONE},
    {"ERR_UNSUPPORTED_REQUEST", OP_FAILED_OPERATION_NOT_SUPPORTED},
    {"OP_FAILED_INVALID_PARAMETER", ERROR_CODE_INVALID_PARAMS},
    {"OP_FAILED_NO_USER", ERROR_CODE_INVALID_STATE},
    {"OP_FAILED_OPERATION_NOT_SUPPORTED", OP_FAILED_OPERATION_NOT_SUPPORTED},
    {"OP_FAILED_TO_EXECUTE", OP_FAILED_TO_EXECUTE},
};
constexpr ResultTable<ResultRow> operation_table = {
    "Desktop operation handler", ERROR_CODE_PROTOCOL_MANGLED_RESPONSE, operation_rows};

} // namespace

SecureText power_operation_request(std::string_view protocol_version, std::string_view resource_id,
                                   eKAVRO_BROKER_DESKTOP_CMD command) {
    broker_assert(command < desktop_command_names.size(),
                  "cKAVRO_BROKER_CLIENT::send_perform_desktop_operation");
    RequestText request(protocol_version);
    request.open("perform-operation")
        .element("resource-id", resource_id)
        .element("operation", desktop_command_names[command])
        .close("perform-operation");
    return std::move(request).finish();
}

BrokerResult read_power_operation(XmlNode message) {
    const ResultElement result = read_result(message);
    if (result.missing != nullptr)
        return missing_tag("Error response handler", result.missing);
    const eERROR_CODE code = code_of(operation_table, result.id);
    if (code == ERROR_CODE_NONE)
        return {};
    return {code, result.text(), {}, {}};
}

std::string_view known_operation_id(std::string_view id) {
    return known_id(operation_table.rows, id);
}

} // namespace kavro
