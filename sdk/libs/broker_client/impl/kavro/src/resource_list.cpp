#include "kavro/src/resource_list.h"

#include "kavro/src/answer.h"
#include "kavro/src/request_text.h"

#include <vector>

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

constexpr TextField<cDESKTOP_LIST_RESULT, std::string_view> desktop_fields[] = {
    {"resource-name", &cDESKTOP_LIST_RESULT::resource_name},
    {"resource-id", &cDESKTOP_LIST_RESULT::resource_id},
    {"resource-type", &cDESKTOP_LIST_RESULT::resource_type},
    {"resource-state", &cDESKTOP_LIST_RESULT::resource_state},
    {"health-state", &cDESKTOP_LIST_RESULT::health_state, false},
};

/// Reads desktops into a list, as views of the message wherever that has a text in one piece.
class DesktopReader {
public:
    explicit DesktopReader(DesktopList &list) : list_(list) {}

    MissingTag read(XmlNode resource) {
        cDESKTOP_LIST_RESULT desktop;
        const auto as_kept = [this](XmlNode element) { return text_of(element); };
        if (const MissingTag missing = read_fields(resource, desktop_fields, desktop, as_kept))
            return missing;
        if (const MissingTag missing = read_protocols(resource, desktop))
            return missing;
        const auto session_type = resource.child("resource-type").attribute("session-type");
        desktop.session_type = !session_type || *session_type == default_session_type
                                   ? default_session_type
                                   : list_.keep(*session_type);
        read_operations(resource, desktop);
        if (const MissingTag missing = read_icons(resource, desktop))
            return missing;
        list_.add(desktop);
        return nullptr;
    }

private:
    std::string_view text_of(XmlNode element) {
        const std::string_view text = element.text(buffer_);
        return text.data() == buffer_.data() ? list_.keep(text) : text;
    }

    MissingTag read_protocols(XmlNode resource, cDESKTOP_LIST_RESULT &desktop) {
        const XmlNode protocols = resource.child("protocols");
        if (!protocols)
            return "protocols";
        texts_.clear();
        for_each_child(protocols, "protocol",
                       [this](XmlNode protocol) { texts_.push_back(text_of(protocol)); });
        desktop.protocols = list_.keep(texts_);
        return texts_.empty() ? "protocol" : nullptr;
    }

    /// Icons without a size are of no use and left out.
    MissingTag read_icons(XmlNode resource, cDESKTOP_LIST_RESULT &desktop) {
        const XmlNode icons = resource.child("icons");
        if (!icons)
            return nullptr;
        if (!icons.child("icon"))
            return "icon";
        std::vector<std::string_view> sizes;
        texts_.clear();
        for_each_child(icons, "icon", [&](XmlNode icon) {
            if (const auto size = icon.attribute("size")) {
                sizes.push_back(list_.keep(*size));
                texts_.push_back(text_of(icon));
            }
        });
        desktop.icon_sizes = list_.keep(sizes);
        desktop.icons = list_.keep(texts_);
        return nullptr;
    }

    void read_operations(XmlNode resource, cDESKTOP_LIST_RESULT &desktop) {
        const XmlNode operations = resource.child("supported-operations");
        if (!operations)
            return;
        for_each_child(operations, "supported-operation", [&](XmlNode operation) {
            const std::string_view name = operation.text(buffer_);
            for (std::size_t command = 0; command < desktop_command_names.size(); ++command) {
                if (name == desktop_command_names[command])
                    desktop.allowed[command] = true;
            }
        });
    }

    DesktopList &list_;
    std::string buffer_;
    std::vector<std::string_view> texts_;
};

std::size_t count_of(XmlNode resource) {
    std::size_t count = 0;
    for (; resource; resource = resource.next("resource"))
        ++count;
    return count;
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

BrokerResult read_resource_list(XmlNode message, DesktopListHandle &list) {
    const ResultElement result = read_result(message);
    if (result.missing != nullptr)
        return missing_tag(handler, result.missing);
    const eERROR_CODE code = code_of(list_table, result.id);
    if (code != ERROR_CODE_NONE)
        return {code, result.text(), {}, {}};

    XmlNode resource = message.child("resource");
    if (!resource)
        return missing_tag(handler, "resource");
    const auto desktops = std::make_shared<DesktopList>(message.document());
    desktops->reserve(count_of(resource));
    DesktopReader reader(*desktops);
    for (; resource; resource = resource.next("resource")) {
        if (const MissingTag missing = reader.read(resource))
            return missing_tag(handler, missing);
    }
    desktops->sort();
    list = desktops;
    return {};
}

std::string_view known_list_id(std::string_view id) {
    return known_id(list_table.rows, id);
}

} // namespace kavro
