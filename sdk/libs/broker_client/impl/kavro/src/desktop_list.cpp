#include "kavro/src/desktop_list.h"

#include <algorithm>
#include <new>
#include <numeric>

namespace kavro {

namespace {

/// A copy of a list of plain values in memory that is never given back singly.
template <class Value>
Value *copied(std::pmr::memory_resource &memory, std::span<const Value> values) {
    void *const room = memory.allocate(values.size_bytes(), alignof(Value));
    return std::uninitialized_copy(values.begin(), values.end(), static_cast<Value *>(room)) -
           values.size();
}

} // namespace

DesktopList::DesktopList(std::shared_ptr<const void> source) : source_(std::move(source)) {}

std::string_view DesktopList::keep(std::string_view text) {
    return {copied(kept_, std::span<const char>(text)), text.size()};
}

cDESKTOP_LIST_RESULT::Texts DesktopList::keep(cDESKTOP_LIST_RESULT::Texts texts) {
    return {copied(kept_, texts), texts.size()};
}

void DesktopList::sort() {
    const auto id = [this](std::uint32_t index) { return desktops_[index].resource_id; };
    order_.resize(desktops_.size());
    std::iota(order_.begin(), order_.end(), 0U);
    std::ranges::stable_sort(order_, {}, id);
    const auto kept = std::unique(order_.rbegin(), order_.rend(),
                                  [id](auto a, auto b) { return id(a) == id(b); });
    order_.erase(order_.begin(), kept.base());
}

} // namespace kavro
