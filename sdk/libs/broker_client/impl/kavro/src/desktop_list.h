#pragma once

#include "kavro/src/desktop_command.h"

#include <cstddef>
#include <memory>
#include <memory_resource>
#include <span>
#include <string_view>
#include <vector>

namespace kavro {

/// One desktop of a list, which owns its texts. A zero follows each of the first five that is not
/// empty.
///
/// No export hands out protocols, session type and icons. They are read all the same, because a
/// resource in which they are malformed is a malformed answer.
struct cDESKTOP_LIST_RESULT {
    using Texts = std::span<const std::string_view>;

    std::string_view resource_name;
    std::string_view resource_id;
    std::string_view resource_type;
    std::string_view resource_state;
    std::string_view health_state;
    Texts protocols;
    std::string_view session_type;
    Texts icon_sizes;
    Texts icons;                                              ///< pairwise with icon_sizes
    std::array<bool, desktop_command_names.size()> allowed{}; ///< by eKAVRO_BROKER_DESKTOP_CMD
};

/// The desktops that the broker listed, in ascending order of their ids. Made once and then shared
/// by all who want to know, because a list may be long: nobody needs a copy.
class DesktopList {
public:
    /// @param source what the texts are part of; kept as long as the list.
    explicit DesktopList(std::shared_ptr<const void> source = nullptr);

    std::size_t size() const { return order_.size(); }
    const cDESKTOP_LIST_RESULT &operator[](std::size_t index) const {
        return desktops_[order_[index]];
    }

    void reserve(std::size_t desktops) { desktops_.reserve(desktops); }
    void add(const cDESKTOP_LIST_RESULT &desktop) { desktops_.push_back(desktop); }
    /// Copies of what is no part of the source; a zero follows a text.
    std::string_view keep(std::string_view text);
    cDESKTOP_LIST_RESULT::Texts keep(cDESKTOP_LIST_RESULT::Texts texts);
    /// Orders what was added. Of several desktops with one id the last counts.
    void sort();

private:
    std::shared_ptr<const void> source_;
    std::pmr::monotonic_buffer_resource kept_;
    std::vector<cDESKTOP_LIST_RESULT> desktops_;
    std::vector<std::uint32_t> order_;
};

/// Empty when there is no list.
using DesktopListHandle = std::shared_ptr<const DesktopList>;

} // namespace kavro
