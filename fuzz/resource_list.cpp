#include "kavro/src/resource_list.h"
#include "answer.h"

// The list of desktops: in ascending order of their ids, none twice, with a size for every icon;
// and no list at all after a failure.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    kavro::DesktopListHandle list;
    const auto result =
        fuzz::read_answer(kavro::resource_list_message, fuzz::as_text(data, size), list);
    fuzz::promise((list != nullptr) == (result.code == kavro::ERROR_CODE_NONE), "list or failure");
    for (std::size_t i = 0; list != nullptr && i < list->size(); ++i) {
        const auto &desktop = (*list)[i];
        fuzz::promise(desktop.icons.size() == desktop.icon_sizes.size(), "each icon has a size");
        fuzz::promise(i == 0 || (*list)[i - 1].resource_id < desktop.resource_id, "in order");
    }
    return 0;
}
