#pragma once

#include "system.h"

#include <filesystem>
#include <optional>
#include <string>

namespace test_support {

/// A folder of the test's own that HOME names for as long as it lives.
class TemporaryHome {
public:
    TemporaryHome() : before_(exchange_variable("HOME", folder_.string())) {}
    ~TemporaryHome() {
        exchange_variable("HOME", before_);
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    TemporaryHome(const TemporaryHome &) = delete;
    TemporaryHome &operator=(const TemporaryHome &) = delete;

    const std::filesystem::path &folder() const { return folder_; }

    /// Makes HOME name something else; null removes it.
    static void set(const char *home) {
        exchange_variable("HOME", home ? std::optional<std::string>(home) : std::nullopt);
    }

private:
    const std::filesystem::path folder_ = fresh_folder();
    std::optional<std::string> before_;
};

} // namespace test_support
