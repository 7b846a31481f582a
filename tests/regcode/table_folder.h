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

/// The cache location, with a table in it, for as long as it lives.
class TableFolder {
public:
    explicit TableFolder(const std::string &json) {
        write(json);
        set_cache_location(path());
    }
    ~TableFolder() {
        set_cache_location({});
        std::filesystem::remove_all(folder_);
    }
    TableFolder(const TableFolder &) = delete;
    TableFolder &operator=(const TableFolder &) = delete;

    std::string path() const { return folder_.string(); }
    std::string file() const { return path() + "/conversion_table.dat"; }
    void write(const std::string &json) const { write_table_cache(path(), json); }
    std::string bytes() const {
        std::ifstream in(file(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    const std::filesystem::path folder_ = test_support::fresh_folder();
};

struct TableTest : testing::Test {
    static std::string convert(const std::string &code) {
        return convert_registration_code("https://" + code);
    }

    CapturedLog log;
    TableFolder table{R"({"ABC": "old"})"};
};

} // namespace kavro
