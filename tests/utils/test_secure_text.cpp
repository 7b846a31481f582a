#include "utils/src/secure_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string_view>

namespace {

constexpr std::string_view secret = "canary-4711-of-this-test";

/// How many blocks of memory were given back with the secret still in them. The size of a block
/// is kept in front of it.
int leaks = 0;

constexpr std::size_t header_size = alignof(std::max_align_t);

void release(void *memory) noexcept {
    if (memory == nullptr)
        return;
    char *const block = static_cast<char *>(memory);
    const auto size = *reinterpret_cast<std::size_t *>(block - header_size);
    if (std::string_view(block, size).find(secret) != std::string_view::npos)
        ++leaks;
    std::free(block - header_size);
}

} // namespace

void *operator new(std::size_t size) {
    auto *const block = static_cast<char *>(std::malloc(size + header_size));
    if (block == nullptr)
        throw std::bad_alloc();
    *reinterpret_cast<std::size_t *>(block) = size;
    return block + header_size;
}
void operator delete(void *memory) noexcept {
    release(memory);
}
void operator delete(void *memory, std::size_t) noexcept {
    release(memory);
}

namespace kavro {
namespace {

template <class Text>
int leaks_of_a_growing_text() {
    leaks = 0;
    {
        Text text(secret);
        for (int i = 0; i < 10; ++i)
            text += text;
        Text copy = text;
        copy.erase(1);
        copy.shrink_to_fit();
    }
    return leaks;
}

TEST(SecureText, GivesNoMemoryBackUnwiped) {
    EXPECT_GT(leaks_of_a_growing_text<std::string>(), 0); // the check does see them
    EXPECT_EQ(leaks_of_a_growing_text<SecureText>(), 0);
}

TEST(SecureText, WipeCoversTheWholeCapacity) {
    for (const std::string_view value : {std::string_view("pin 4711"), secret}) {
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

} // namespace
} // namespace kavro
