#include "pugixml_list.h"

#include <pugixml.hpp>

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace bench {

namespace {

Desktop read_desktop(const pugi::xml_node &resource) {
    Desktop desktop{resource.child_value("resource-name"), resource.child_value("resource-id"),
                    resource.child_value("resource-type"), resource.child_value("resource-state"),
                    resource.child_value("health-state"),  false};
    const auto operations = resource.child("supported-operations");
    for (const auto &operation : operations.children("supported-operation"))
        desktop.restart_allowed |= std::string_view(operation.child_value()) == "CMD_OS_RESTART";
    return desktop;
}

} // namespace

std::vector<Desktop> read_with_pugixml(char *answer, std::size_t size) {
    pugi::xml_document document;
    if (!document.load_buffer_inplace(answer, size))
        throw std::runtime_error("not XML");
    std::vector<Desktop> desktops;
    const auto list = document.document_element().child("get-resource-list-resp");
    for (const auto &resource : list.children("resource"))
        desktops.push_back(read_desktop(resource));
    std::ranges::sort(desktops, {}, &Desktop::id);
    return desktops;
}

} // namespace bench
