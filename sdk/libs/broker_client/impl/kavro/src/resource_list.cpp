#include "kavro/src/resource_list.h"

#include "kavro/src/envelope.h"
#include "kavro/src/exchange.h"

namespace kavro {

namespace {

constexpr const char *handler = "Desktop List handler";
constexpr std::string_view default_session_type = "VDI";

constexpr ResultRow list_rows[] = {
    {"LIST_SUCCESSFUL", ERROR_CODE_NONE},
    {"LIST_FAILED_NO_ENTITLEMENT", ERROR_CODE_VM_LIST_NO_ENTITLEMENT},
    {"LIST_FAILED_NO_USER", ERROR_CODE_INVALID_STATE},
};
constexpr ResultTable<ResultRow> list_table = {"Desktop list handler",
                                               ERROR_CODE_PROTOCOL_MANGLED_RESPONSE, list_rows};

constexpr TextField<cDESKTOP_LIST_RESULT> desktop_fields[] = {
    {"resource-name", &cDESKTOP_LIST_RESULT::resource_name},
    {"resource-id", &cDESKTOP_LIST_RESULT::resource_id},
    {"resource-type", &cDESKTOP_LIST_RESULT::resource_type},
    {"resource-state", &cDESKTOP_LIST_RESULT::resource_state},
    {"health-state", &cDESKTOP_LIST_RESULT::health_state, false},
};

MissingTag read_protocols(XmlNode resource, cDESKTOP_LIST_RESULT &desktop) {
    const XmlNode protocols = resource.child("protocols");
    if (!protocols)
        return "protocols";
    desktop.protocols = child_texts(protocols, "protocol");
    return desktop.protocols.empty() ? "protocol" : nullptr;
}

/// Icons without a size are of no use and left out.
MissingTag read_icons(XmlNode resource, cDESKTOP_LIST_RESULT &desktop) {
    const XmlNode icons = resource.child("icons");
    if (!icons)
        return nullptr;
    if (!icons.child("icon"))
        return "icon";
    for_each_child(icons, "icon", [&desktop](XmlNode icon) {
        if (const auto size = icon.attribute("size")) {
            desktop.icon_sizes.emplace_back(*size);
            desktop.icons.push_back(icon.text());
        }
    });
    return nullptr;
}

void read_operations(XmlNode resource, cDESKTOP_LIST_RESULT &desktop) {
    const XmlNode operations = resource.child("supported-operations");
    if (!operations)
        return;
    for (const std::string &name : child_texts(operations, "supported-operation")) {
        for (std::size_t command = 0; command < desktop_command_names.size(); ++command) {
            if (name == desktop_command_names[command])
                desktop.allowed[command] = true;
        }
    }
}

MissingTag read_desktop(XmlNode resource, cDESKTOP_LIST_RESULT &desktop) {
    if (const MissingTag missing = read_fields(resource, desktop_fields, desktop))
        return missing;
    if (const MissingTag missing = read_protocols(resource, desktop))
        return missing;
    desktop.session_type =
        resource.child("resource-type").attribute("session-type").value_or(default_session_type);
    read_operations(resource, desktop);
    return read_icons(resource, desktop);
}

} // namespace

SecureText resource_list_request(std::string_view protocol_version) {
    RequestText request(protocol_version);
    request.open("get-resource-list")
        .open("protocols")
        .element("protocol", "KAVRO")
        .close("protocols")
        .open("resource-types")
        .element("resource-type", "DESKTOP")
        .close("resource-types")
        .close("get-resource-list");
    return std::move(request).finish();
}

BrokerResult read_resource_list(XmlNode message, KnownDesktops &known) {
    const ResultElement result = read_result(message);
    if (result.missing != nullptr)
        return missing_tag(handler, result.missing);
    const eERROR_CODE code = code_of(list_table, result.id);
    if (code != ERROR_CODE_NONE)
        return {code, result.text(), {}, {}};

    XmlNode resource = message.child("resource");
    if (!resource)
        return missing_tag(handler, "resource");
    for (; resource; resource = resource.next("resource")) {
        cDESKTOP_LIST_RESULT desktop;
        if (const MissingTag missing = read_desktop(resource, desktop))
            return missing_tag(handler, missing);
        std::string id = desktop.resource_id;
        known.insert_or_assign(std::move(id), std::move(desktop));
    }
    return {};
}

} // namespace kavro
