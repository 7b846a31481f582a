#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace test_support {

/// A folder of the test's own that HOME names for as long as it lives.
class TemporaryHome {
public:
    TemporaryHome() {
        std::string path = std::filesystem::temp_directory_path() / "home_XXXXXX";
        if (mkdtemp(path.data()) == nullptr)
            ADD_FAILURE() << "no temporary folder";
        folder_ = path;
        if (const char *before = std::getenv("HOME"))
            before_ = before;
        set(folder_.c_str());
    }
    ~TemporaryHome() {
        set(before_ ? before_->c_str() : nullptr);
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    TemporaryHome(const TemporaryHome &) = delete;
    TemporaryHome &operator=(const TemporaryHome &) = delete;

    const std::filesystem::path &folder() const { return folder_; }

    /// Makes HOME name something else; null removes it.
    static void set(const char *home) {
        if (home != nullptr)
            setenv("HOME", home, 1);
        else
            unsetenv("HOME");
    }

private:
    std::filesystem::path folder_;
    std::optional<std::string> before_;
};

} // namespace test_support
