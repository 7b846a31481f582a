#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace test_support {

inline std::string repeated(std::string_view text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i < times; ++i)
        all += text;
    return all;
}

} // namespace test_support
