#include "kavro/src/power_operation.h"

#include "utils/src/assertion.h"

namespace kavro {

namespace {

constexpr ResultRow rows[] = {
    {"OP_SUCCESSFUL", ERROR_CODE_NONE},
    {"ERR_UNSUPPORTED_REQUEST", OP_FAILED_OPERATION_NOT_SUPPORTED},
    {"OP_FAILED_INVALID_PARAMETER", ERROR_CODE_INVALID_PARAMS},
    {"OP_FAILED_NO_USER", ERROR_CODE_INVALID_STATE},
    {"OP_FAILED_OPERATION_NOT_SUPPORTED", OP_FAILED_OPERATION_NOT_SUPPORTED},
    {"OP_FAILED_TO_EXECUTE", OP_FAILED_TO_EXECUTE},
};

void write(RequestText &request, std::string_view resource_id, eKAVRO_BROKER_DESKTOP_CMD command) {
    broker_assert(command < desktop_command_names.size(),
                  "cKAVRO_BROKER_CLIENT::send_perform_desktop_operation");
    request.element("resource-id", resource_id)
        .element("operation", desktop_command_names[command]);
}

} // namespace

const Message<Nothing, std::string_view, eKAVRO_BROKER_DESKTOP_CMD> power_operation_message = {
    .element = "perform-operation",
    .write = write,
    .read = read_nothing,
    .answer = {.reader = "Error response handler",
               .result_reader = "Desktop operation handler",
               .rows = rows},
    .completion = "cKAVRO_BROKER_CLIENT::handle_perform_desktop_operation",
};

} // namespace kavro
