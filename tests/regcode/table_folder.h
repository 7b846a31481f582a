#pragma once

#include "captured_log.h"
#include "regcode/registration_code.h"
#include "regcode/table_cache.h"
#include "support/system.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace kavro {

/// A cache location of the test's own.
class TableFolder : public testing::Test {
protected:
    TableFolder() { set_cache_location(folder_.string()); }
    ~TableFolder() override {
        set_cache_location({});
        std::filesystem::remove_all(folder_);
    }

    std::string folder() const { return folder_.string(); }
    std::string cache_file() const { return folder() + "/conversion_table.dat"; }
    std::string cached_bytes() const {
        std::ifstream file(cache_file(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
    static std::string convert(const std::string &code) {
        return convert_registration_code("https://" + code);
    }

    CapturedLog log_;

private:
    const std::filesystem::path folder_ = test_support::fresh_folder();
};

} // namespace kavro
