#include "utils/src/secure_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

namespace kavro {

TEST(SecureText, WipeCoversTheWholeCapacity) {
    for (const std::string_view value : {"pin 4711", "canary-4711-of-this-test"}) {
        SecureText text(value);
        const char *const memory = text.data();
        const std::size_t capacity = text.capacity();
        text.resize(2); // what it held before is still there beyond these
        wipe(text);
        EXPECT_TRUE(text.empty());
        EXPECT_EQ(text.data(), memory);
        EXPECT_TRUE(std::all_of(memory, memory + capacity, [](char c) { return c == '\0'; }));
    }
}

} // namespace kavro
