#include "kavro/src/allocate_resource.h"
#include "kavro/src/authenticate.h"
#include "kavro/src/power_operation.h"
#include "kavro/src/resource_list.h"

namespace kavro {

namespace {

/// Of every message whose answer has a result.
constexpr const AnswerRules *all_rules[] = {
    &password_message.answer,
    &dialog_message.answer,
    &oauth_message.answer,
    &disclaimer_message.answer,
    &password_update_message.answer,
    &resource_list_message.answer,
    &allocate_resource_message.answer,
    &power_operation_message.answer,
};

} // namespace

std::string_view known_result_id(std::string_view id) {
    for (const AnswerRules *rules : all_rules) {
        if (const ResultRow *row = find_row(rules->rows, id))
            return row->id;
    }
    return {};
}

} // namespace kavro
