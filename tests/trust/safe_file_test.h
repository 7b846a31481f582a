#pragma once

#include "temporary_home.h"
#include "utils/src/safe_file.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>

namespace kavro {

class SafeFile : public testing::Test {
protected:
    static constexpr std::size_t limit = 1000;

    std::string path(const char *name) const { return (home_.folder() / name).string(); }
    std::ptrdiff_t files() const {
        using Entries = std::filesystem::directory_iterator;
        return std::distance(Entries(home_.folder()), Entries());
    }

    test_support::TemporaryHome home_;
};

} // namespace kavro
