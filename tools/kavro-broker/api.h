#pragma once

#include "failure.h"

#include <kavro_broker_extras.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>

namespace kavro_cli {

/// Hands a record back to the library with the function that is meant for it.
template <auto Free>
struct Release {
    template <class Record>
    void operator()(Record *record) const {
        Free(record);
    }
};

template <class Record, auto Free>
using Owned = std::unique_ptr<std::remove_pointer_t<Record>, Release<Free>>;

using Handle = Owned<kavro_broker_handle, kavro_broker_free>;
using DesktopList = Owned<kavro_broker_desktop_list, kavro_broker_free_desktop_list>;
using ConnectionInfo =
    Owned<kavro_broker_desktop_connection_info, kavro_broker_free_desktop_connection_info>;
using VariableList = Owned<kavro_broker_variable_list, kavro_broker_free_variable_list>;

/// Asks for the sizes of `Count` texts, makes room and asks for the texts. `accessor` passes the
/// buffers and lengths that it is given on to one of the library's accessors.
template <std::size_t Count, class Accessor>
std::array<std::string, Count> read_texts(Accessor accessor) {
    std::array<char *, Count> buffers{};
    std::array<std::size_t, Count> lengths{};
    require(accessor(buffers, lengths));

    std::array<std::string, Count> texts;
    for (std::size_t i = 0; i < Count; ++i) {
        texts[i].resize(lengths[i]);
        buffers[i] = texts[i].data();
    }
    require(accessor(buffers, lengths));
    for (std::size_t i = 0; i < Count; ++i)
        texts[i].resize(lengths[i] - 1);
    return texts;
}

/// The one text that `accessor(arguments..., buffer, length)` tells.
template <class Accessor, class... Arguments>
std::string read_text(Accessor accessor, Arguments... arguments) {
    return read_texts<1>([&](auto &buffers, auto &lengths) {
        return accessor(arguments..., buffers[0], &lengths[0]);
    })[0];
}

/// The number that `accessor(record, &number)` tells.
template <class Accessor, class Record>
uint32_t read_count(Accessor accessor, Record record) {
    uint32_t count = 0;
    require(accessor(record, &count));
    return count;
}

} // namespace kavro_cli
