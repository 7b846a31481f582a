#pragma once

#include <regex>
#include <string>
#include <string_view>

namespace test_support {

/// A request with a blank for each line end.
inline std::string in_one_line(std::string_view text) {
    return std::regex_replace(std::string(text), std::regex("\r\n"), " ");
}

} // namespace test_support
