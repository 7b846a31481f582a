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

/// The parts of a desktop, in the order in which brokers send them.
enum Part { name, id, type, state, health, protocols, operations, icons, parts };

constexpr std::array<std::string_view, parts> part_names = {
    "resource-name", "resource-id", "resource-type",        "resource-state",
    "health-state",  "protocols",   "supported-operations", "icons"};

/// The first child of each name, found in one walk.
using Parts = std::array<XmlNode, parts>;

Parts parts_of(XmlNode resource) {
    Parts found;
    std::size_t next = 0; // children that come in order are told by one comparison each
    for (XmlNode child = resource.child(); child; child = child.next()) {
        resource.checkpoint().step();
        for (std::size_t tried = 0; tried < parts; ++tried, next = (next + 1) % parts) {
            if (!child.is_named(part_names[next]))
                continue;
            if (!found[next])
                found[next] = child;
            break;
        }
    }
    return found;
}

struct DesktopText {
    Part part;
    std::string_view cDESKTOP_LIST_RESULT::*member;
    bool required = true;
};

constexpr DesktopText desktop_texts[] = {
    {name, &cDESKTOP_LIST_RESULT::resource_name},
    {id, &cDESKTOP_LIST_RESULT::resource_id},
    {type, &cDESKTOP_LIST_RESULT::resource_type},
    {state, &cDESKTOP_LIST_RESULT::resource_state},
    {health, &cDESKTOP_LIST_RESULT::health_state, false},
};

/// Reads desktops into a list, as views of the message wherever that has a text in one piece.
class DesktopReader {
public:
    explicit DesktopReader(DesktopList &list) : list_(list) {}

    Read<> read(XmlNode resource) {
        const Parts found = parts_of(resource);
        cDESKTOP_LIST_RESULT desktop;
        for (const auto &[part, member, required] : desktop_texts) {
            if (found[part])
                desktop.*member = text_of(found[part]);
            else if (required)
                return part_names[part].data();
        }
        if (auto protocols = read_protocols(found[Part::protocols], desktop); !protocols)
            return protocols;
        const auto session_type = found[type].attribute("session-type");
        desktop.session_type = !session_type || *session_type == default_session_type
                                   ? default_session_type
                                   : list_.keep(*session_type);
        read_operations(found[operations], desktop);
        if (auto read = read_icons(found[icons], desktop); !read)
            return read;
        list_.add(desktop);
        return {};
    }

private:
    std::string_view text_of(XmlNode element) {
        const std::string_view text = element.text(buffer_);
        return text.data() == buffer_.data() ? list_.keep(text) : text;
    }

    Read<> read_protocols(XmlNode protocols, cDESKTOP_LIST_RESULT &desktop) {
        if (!protocols)
            return "protocols";
        texts_.clear();
        for_each_child(protocols, "protocol",
                       [this](XmlNode protocol) { texts_.push_back(text_of(protocol)); });
        if (texts_.empty())
            return "protocol";
        desktop.protocols = list_.keep(texts_);
        return {};
    }

    /// Icons without a size are of no use and left out.
    Read<> read_icons(XmlNode icons, cDESKTOP_LIST_RESULT &desktop) {
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

    void read_operations(XmlNode operations, cDESKTOP_LIST_RESULT &desktop) {
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
