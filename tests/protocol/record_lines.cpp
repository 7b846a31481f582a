#include "record_lines.h"

#include <initializer_list>
#include <span>

namespace kavro {

namespace {

std::string joined(const auto &texts) {
    std::string all;
    for (const char *separator = ""; const auto &text : texts) {
        (all += separator) += text;
        separator = " | ";
    }
    return all;
}

std::string joined(std::initializer_list<std::string_view> texts) {
    return joined(std::span(texts));
}

class Lines {
public:
    void add(const std::string &name, std::string_view value) {
        if (!value.empty())
            lines_.push_back((name + " = ").append(value));
    }
    void add(const Variables &variables) {
        for (const auto &[name, value] : variables)
            lines_.push_back("variable = " + name + " | " + value);
    }
    RecordLines take() { return std::move(lines_); }

private:
    RecordLines lines_;
};

std::string flag(bool set, const char *name) {
    return set ? name : "-";
}

} // namespace

RecordLines describe(const HelloResult &hello) {
    Lines lines;
    lines.add("product name", hello.product_name);
    lines.add("product version", hello.product_version);
    lines.add("platform", hello.platform);
    lines.add("locale", hello.locale == HelloResult().locale ? "" : hello.locale);
    lines.add("address", hello.ip_address);
    lines.add("host", hello.hostname);
    lines.add(hello.broker_variables);
    return lines.take();
}

RecordLines describe(const cAUTH_RESULT &auth) {
    Lines lines;
    if (auth.method != AuthMethod::unknown)
        lines.add("method", std::to_string(static_cast<int>(auth.method)));
    lines.add("domains", joined(auth.domains));
    lines.add("disclaimer", auth.disclaimer);
    lines.add("prompt", auth.dialog_prompt);
    lines.add("error", auth.dialog_error);
    for (const auto &field : auth.dialog_fields)
        lines.add("field",
                  joined({field.id, field.label, field.text, flag(field.read_only, "read-only"),
                          flag(field.hidden, "hidden"), flag(field.loggable, "loggable"),
                          std::to_string(field.text_type)}));
    for (const auto &button : auth.dialog_buttons)
        lines.add("button", joined({button.id, button.label, flag(button.is_default, "default")}));
    lines.add(auth.to_client_variables);
    return lines.take();
}

RecordLines describe(const cDESKTOP_LIST_RESULT &desktop) {
    Lines lines;
    lines.add("desktop", joined({desktop.resource_id, desktop.resource_name, desktop.resource_type,
                                 desktop.session_type, desktop.resource_state}));
    lines.add("health", desktop.health_state);
    lines.add("protocols", joined(desktop.protocols));
    lines.add("icon sizes", joined(desktop.icon_sizes));
    lines.add("icons", joined(desktop.icons));
    std::vector<std::string> allowed;
    for (std::size_t command = 0; command < desktop.allowed.size(); ++command) {
        if (desktop.allowed[command])
            allowed.push_back(std::to_string(command));
    }
    lines.add("allowed", joined(allowed));
    return lines.take();
}

RecordLines describe(const cDESKTOP_CONNECTION_RESULT &connection) {
    Lines lines;
    lines.add("address", connection.target_address);
    lines.add("host", connection.host_name);
    lines.add("server name", connection.server_name);
    lines.add("port", connection.port);
    lines.add("session id", connection.session_id);
    lines.add("connect tag", connection.connect_tag);
    lines.add("use broker address", connection.use_broker_address ? "yes" : "");
    lines.add(connection.agent_variables);
    for (const auto &target : connection.alternate_targets)
        lines.add("alternate",
                  joined({target.address, target.host_name, target.server_name, target.port}));
    if (connection.has_gateway_ticket)
        lines.add("ticket",
                  joined({connection.gateway_ticket, connection.gateway_ticket_creation_time,
                          connection.gateway_ticket_expiry_time}));
    else
        lines.add("ticket without flag", connection.gateway_ticket +
                                             connection.gateway_ticket_creation_time +
                                             connection.gateway_ticket_expiry_time);
    return lines.take();
}

} // namespace kavro
