#include "records.h"

namespace kavro_cli {
namespace {

DialogField read_field(kavro_broker_handle handle, uint32_t index) {
    DialogField field;
    uint32_t kind = 0;
    uint8_t hidden = 0;
    uint8_t loggable = 0;
    auto texts = read_texts<3>([&](auto &text, auto &length) {
        return kavro_broker_get_auth_dialog_field(handle, index, &kind, text[0], &length[0],
                                                  text[1], &length[1], text[2], &length[2], &hidden,
                                                  &loggable, &field.text_type);
    });
    field.name = std::move(texts[0]);
    field.label = std::move(texts[1]);
    field.value = std::move(texts[2]);
    field.read_only = kind == KAVRO_BROKER_DIALOG_FIELD_READ_ONLY;
    field.hidden = hidden != 0;
    field.loggable = loggable != 0;
    return field;
}

DialogButton read_button(kavro_broker_handle handle, uint32_t index) {
    uint8_t is_default = 0;
    auto texts = read_texts<2>([&](auto &text, auto &length) {
        return kavro_broker_get_auth_dialog_button(handle, index, text[0], &length[0], text[1],
                                                   &length[1], &is_default);
    });
    return {std::move(texts[0]), std::move(texts[1]), is_default != 0};
}

Variables read_agent_variables(kavro_broker_desktop_connection_info info) {
    Variables variables;
    const auto count = read_count(kavro_broker_get_num_desktop_connection_agent_variables, info);
    for (uint32_t index = 0; index < count; ++index) {
        auto texts = read_texts<2>([&](auto &text, auto &length) {
            return kavro_broker_get_desktop_connection_agent_variable(
                info, index, text[0], &length[0], text[1], &length[1]);
        });
        variables.emplace_back(std::move(texts[0]), std::move(texts[1]));
    }
    return variables;
}

std::vector<AlternateTarget> read_alternates(kavro_broker_desktop_connection_info info) {
    std::vector<AlternateTarget> alternates;
    const auto count = read_count(kavro_broker_get_num_desktop_connection_alternate_targets, info);
    for (uint32_t index = 0; index < count; ++index) {
        auto texts = read_texts<4>([&](auto &text, auto &length) {
            return kavro_broker_get_desktop_connection_alternate_target(
                info, index, text[0], &length[0], text[1], &length[1], text[2], &length[2], text[3],
                &length[3]);
        });
        alternates.push_back(
            {std::move(texts[0]), std::move(texts[1]), std::move(texts[2]), std::move(texts[3])});
    }
    return alternates;
}

std::optional<GatewayTicket> read_gateway_ticket(kavro_broker_desktop_connection_info info) {
    std::size_t length = 0;
    if (kavro_broker_get_desktop_connection_property(info, KAVRO_BROKER_CONNECTION_GATEWAY_TICKET,
                                                     nullptr,
                                                     &length) == KAVRO_BROKER_ERR_NOT_AVAILABLE)
        return std::nullopt;
    const auto text = [info](uint32_t property) {
        return read_text(kavro_broker_get_desktop_connection_property, info, property);
    };
    return GatewayTicket{text(KAVRO_BROKER_CONNECTION_GATEWAY_TICKET),
                         text(KAVRO_BROKER_CONNECTION_GATEWAY_TICKET_CREATION),
                         text(KAVRO_BROKER_CONNECTION_GATEWAY_TICKET_EXPIRY)};
}

} // namespace

std::vector<Desktop> read_desktops(kavro_broker_desktop_list list) {
    std::vector<Desktop> desktops;
    const auto count = read_count(kavro_broker_get_num_desktops, list);
    desktops.reserve(count);
    for (uint32_t index = 0; index < count; ++index) {
        Desktop desktop{read_text(kavro_broker_get_desktop_name, list, index),
                        read_text(kavro_broker_get_desktop_id, list, index),
                        read_text(kavro_broker_get_desktop_type, list, index),
                        read_text(kavro_broker_get_desktop_state, list, index),
                        read_text(kavro_broker_get_desktop_health, list, index),
                        {}};
        for (const auto &operation : operations) {
            uint8_t allowed = 0;
            require(
                kavro_broker_get_desktop_operation_allowed(list, index, operation.value, &allowed));
            if (allowed != 0)
                desktop.operations.emplace_back(operation.word);
        }
        desktops.push_back(std::move(desktop));
    }
    return desktops;
}

Target read_target(kavro_broker_desktop_connection_info info) {
    const auto text = [info](uint32_t property) {
        return read_text(kavro_broker_get_desktop_connection_property, info, property);
    };
    Target target;
    target.address = text(KAVRO_BROKER_CONNECTION_TARGET_ADDRESS);
    target.port = text(KAVRO_BROKER_CONNECTION_PORT);
    target.session_id = text(KAVRO_BROKER_CONNECTION_SESSION_ID);
    target.host_name = text(KAVRO_BROKER_CONNECTION_HOST_NAME);
    target.server_name = text(KAVRO_BROKER_CONNECTION_SERVER_NAME);
    target.connect_tag = text(KAVRO_BROKER_CONNECTION_CONNECT_TAG);

    char use_broker_address = 0;
    std::size_t length = sizeof(use_broker_address);
    require(kavro_broker_get_desktop_connection_property(
        info, KAVRO_BROKER_CONNECTION_USE_BROKER_ADDRESS, &use_broker_address, &length));
    target.use_broker_address = use_broker_address != 0;

    target.gateway_ticket = read_gateway_ticket(info);
    target.agent_variables = read_agent_variables(info);
    target.alternates = read_alternates(info);
    return target;
}

Dialog read_dialog(kavro_broker_handle handle) {
    Dialog dialog;
    dialog.prompt = read_text(kavro_broker_get_auth_dialog_prompt_text, handle);
    dialog.error = read_text(kavro_broker_get_auth_dialog_error_text, handle);
    const auto field_count = read_count(kavro_broker_get_auth_dialog_get_num_fields, handle);
    for (uint32_t index = 0; index < field_count; ++index)
        dialog.fields.push_back(read_field(handle, index));
    const auto button_count = read_count(kavro_broker_get_auth_dialog_get_num_buttons, handle);
    for (uint32_t index = 0; index < button_count; ++index)
        dialog.buttons.push_back(read_button(handle, index));
    return dialog;
}

std::vector<std::string> read_domains(kavro_broker_handle handle) {
    std::vector<std::string> domains;
    const auto count = read_count(kavro_broker_get_num_auth_domains, handle);
    for (uint32_t index = 0; index < count; ++index)
        domains.push_back(read_text(kavro_broker_get_auth_domain, handle, index));
    return domains;
}

BrokerInfo read_broker_info(kavro_broker_handle handle) {
    auto texts = read_texts<3>([handle](auto &text, auto &length) {
        return kavro_broker_get_broker_info(handle, text[0], &length[0], text[1], &length[1],
                                            text[2], &length[2]);
    });
    return {read_text(kavro_broker_get_resolved_broker_address, handle), std::move(texts[0]),
            std::move(texts[1]), std::move(texts[2])};
}

VariableList make_variable_list(const Variables &variables) {
    if (variables.empty())
        return nullptr;
    kavro_broker_variable_list list = nullptr;
    require(kavro_broker_create_variable_list(static_cast<uint32_t>(variables.size()), &list));
    VariableList owned(list);
    for (uint32_t index = 0; index < variables.size(); ++index)
        require(kavro_broker_set_variable(list, index, variables[index].first.c_str(),
                                          variables[index].second.c_str()));
    return owned;
}

} // namespace kavro_cli
