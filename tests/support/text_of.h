#pragma once

#include "kavro_broker.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace test_support {

/// Reads a text by the two-call convention; "(result N)" when there is none.
template <class Get>
std::string read_text(Get get) {
    std::size_t length = 0;
    const kavro_broker_result result = get(nullptr, &length);
    if (result != KAVRO_BROKER_OK)
        return "(result " + std::to_string(result) + ")";
    std::string text(length, '\0');
    EXPECT_EQ(get(text.data(), &length), KAVRO_BROKER_OK);
    text.resize(length - 1);
    return text;
}

/// The accessor with everything but the text arguments bound.
template <class Function, class... Arguments>
std::string text_of(Function accessor, Arguments... arguments) {
    return read_text(
        [&](char *buffer, std::size_t *length) { return accessor(arguments..., buffer, length); });
}

} // namespace test_support
