#include "kavro/src/desktop_list.h"

#include <algorithm>
#include <compare>

namespace kavro {

namespace {

/// A copy of a list of plain values in memory that is never given back singly.
template <class Value>
Value *copied(std::pmr::memory_resource &memory, std::span<const Value> values) {
    void *const room = memory.allocate(values.size_bytes(), alignof(Value));
    return std::uninitialized_copy(values.begin(), values.end(), static_cast<Value *>(room)) -
           values.size();
}

/// What desktops are ordered by. The beginnings of most ids differ, which is told without a look at
/// the texts.
struct SortKey {
    std::uint64_t beginning;
    std::string_view id;
    std::uint32_t index;

    auto operator<=>(const SortKey &) const = default;
};

/// The first bytes of an id as a number of the same order.
std::uint64_t beginning_of(std::string_view id) {
    std::uint64_t beginning = 0;
    for (std::size_t i = 0; i < sizeof beginning; ++i)
        beginning = beginning << 8 | (i < id.size() ? static_cast<unsigned char>(id[i]) : 0U);
    return beginning;
}

} // namespace

DesktopList::DesktopList(std::shared_ptr<const void> source) : source_(std::move(source)) {}

std::string_view DesktopList::keep(std::string_view text) {
    char *const room = static_cast<char *>(kept_.allocate(text.size() + 1, 1));
    room[text.copy(room, text.size())] = '\0';
    return {room, text.size()};
}

cDESKTOP_LIST_RESULT::Texts DesktopList::keep(cDESKTOP_LIST_RESULT::Texts texts) {
    return {copied(kept_, texts), texts.size()};
}

void DesktopList::sort() {
    std::vector<SortKey> keys;
    keys.reserve(desktops_.size());
    for (const cDESKTOP_LIST_RESULT &desktop : desktops_)
        keys.push_back({beginning_of(desktop.resource_id), desktop.resource_id,
                        static_cast<std::uint32_t>(keys.size())});
    std::ranges::sort(keys);
    order_.clear();
    order_.reserve(keys.size());
    for (const SortKey &key : keys) {
        if (!order_.empty() && desktops_[order_.back()].resource_id == key.id)
            order_.back() = key.index;
        else
            order_.push_back(key.index);
    }
}

} // namespace kavro
