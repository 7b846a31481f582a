#include "kavro/src/resource_list.h"

#include <vector>

namespace kavro {

namespace {

constexpr std::string_view default_session_type = "VDI";

constexpr ResultRow rows[] = {
    {"LIST_SUCCESSFUL", ERROR_CODE_NONE},
    {"LIST_FAILED_NO_ENTITLEMENT", ERROR_CODE_VM_LIST_NO_ENTITLEMENT},
    {"LIST_FAILED_NO_USER", ERROR_CODE_INVALID_STATE},
};

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

    Read<> read(XmlNode resource) {
        cDESKTOP_LIST_RESULT desktop;
        const auto as_kept = [this](XmlNode element) { return text_of(element); };
        if (auto texts = read_fields(resource, desktop_fields, desktop, as_kept); !texts)
            return texts;
        if (auto protocols = read_protocols(resource, desktop); !protocols)
            return protocols;
        const auto session_type = resource.child("resource-type").attribute("session-type");
        desktop.session_type = !session_type || *session_type == default_session_type
                                   ? default_session_type
                                   : list_.keep(*session_type);
        read_operations(resource, desktop);
        if (auto icons = read_icons(resource, desktop); !icons)
            return icons;
        list_.add(desktop);
        return {};
    }

private:
    std::string_view text_of(XmlNode element) {
        const std::string_view text = element.text(buffer_);
        return text.data() == buffer_.data() ? list_.keep(text) : text;
    }

    Read<> read_protocols(XmlNode resource, cDESKTOP_LIST_RESULT &desktop) {
        const auto first = find(resource, {"protocols", "protocol"});
        if (!first)
            return first.error();
        texts_.clear();
        for (XmlNode protocol = *first; protocol; protocol = protocol.next("protocol"))
            texts_.push_back(text_of(protocol));
        desktop.protocols = list_.keep(texts_);
        return {};
    }

    /// Icons without a size are of no use and left out.
    Read<> read_icons(XmlNode resource, cDESKTOP_LIST_RESULT &desktop) {
        const XmlNode icons = resource.child("icons");
        if (!icons)
            return {};
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
        return {};
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

Read<DesktopListHandle> read_desktops(XmlNode message) {
    const auto first = find(message, {"resource"});
    if (!first)
        return first.error();
    const auto desktops = std::make_shared<DesktopList>(message.document());
    desktops->reserve(count_of(*first));
    DesktopReader reader(*desktops);
    for (XmlNode resource = *first; resource; resource = resource.next("resource")) {
        if (const auto read = reader.read(resource); !read)
            return read.error();
    }
    desktops->sort();
    return DesktopListHandle(desktops);
}

BrokerResult read(Answer &answer, DesktopListHandle &list) {
    BrokerResult result = read_outcome(answer);
    if (result.code != ERROR_CODE_NONE)
        return result;
    const auto desktops = read_desktops(answer.message);
    if (!desktops)
        return missing_tag(answer.rules.reader, desktops.error());
    list = *desktops;
    return result;
}

void write(RequestText &request) {
    request.open("protocols")
        .element("protocol", "KAVRO")
        .close("protocols")
        .open("resource-types")
        .element("resource-type", "DESKTOP")
        .close("resource-types");
}

} // namespace

const Message<DesktopListHandle> resource_list_message = {
    .element = "get-resource-list",
    .write = write,
    .read = read,
    .answer = {.reader = "Desktop List handler",
               .result_reader = "Desktop list handler",
               .rows = rows},
    .completion = "cKAVRO_BROKER_CLIENT::handle_get_resource_list_resp",
};

} // namespace kavro
