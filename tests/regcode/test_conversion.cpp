#include "support/repeated.h"
#include "table_folder.h"

namespace kavro {
namespace {

using test_support::repeated;

constexpr std::size_t most = 16 * 1024 * 1024;

struct Conversion : TableTest {
    void put_bytes(std::string_view bytes) const {
        std::ofstream(table.file(), std::ios::binary) << bytes;
    }
};

/// A table that says ABC is "right" and has something else in it, `depth` deep.
std::string with_nested(int depth) {
    return R"({"ABC": "right", "x": )" + repeated(R"({"a":)", depth - 1) + "1" +
           repeated("}", depth);
}

} // namespace

TEST_F(Conversion, LooksUpWhatStandsBeforeThePlusSign) {
    table.write(R"( {"ABC": "broker.example:443", "a": {"b": "nested", "": "?"},
        "list": ["x"], "{[": "brackets", "twice": "first", "twice": "second",
        "line": "two\nlines", "quote\"": "quote"})");
    const std::pair<std::string, std::vector<std::string>> rows[] = {
        {"broker.example:443", {"ABC", "ABC+xyz+"}},
        {"nested", {"a.b+c"}},
        {"quote", {"quote\""}},
        {"first", {"twice"}},
        {"two\nlines", {"line"}},
        {"", {"abc", "", "a", "list", std::string("ABC\0", 4), std::string(1'000'000, '.')}},
    };
    for (const auto &[address, codes] : rows)
        for (const std::string &code : codes)
            EXPECT_EQ(convert(code), address) << code.substr(0, 20);
    const LogLine found{KAVRO_BROKER_LOG_CATEGORY_DISCOVERY, KAVRO_BROKER_LOG_INFO, 0,
                        "Found AWS broker address=broker.example:443"};
    EXPECT_EQ(CapturedLog::lines().front(), found);
    EXPECT_EQ(CapturedLog::count("Found AWS broker address=two\\x0Alines"), 1);

    // Eight characters go, whatever they are.
    EXPECT_EQ(convert_registration_code("12345678ABC"), "broker.example:443");
    EXPECT_EQ(convert_registration_code("ABC"), "");
}

TEST_F(Conversion, NeedsAReadableTable) {
    const std::tuple<const char *, std::string, const char *> rows[] = {
        {"list", R"(["right"])", ""},
        {"not closed", R"({"ABC": "right")", ""},
        {"something behind it", R"({"ABC": "right"} x)", ""},
        {"as deep as can be", with_nested(64), "right"},
        {"one deeper", with_nested(65), ""},
        {"no depth", R"({"ABC": "right", "x": "\")" + std::string(65, '[') + "\"}", "right"},
        {"deep without end", "{\"\\\\\":" + std::string(most - 10, '['), ""},
        {"too many values", R"({"ABC": "right", "x": [0)" + repeated(",0", 500'000) + "]}", ""},
        {"as large as can be", R"({"ABC": "right"})" + std::string(most - 16, ' '), "right"},
        {"one byte larger", R"({"ABC": "right"})" + std::string(most - 15, ' '), ""},
    };
    for (const auto &[what, json, address] : rows) {
        table.write(json);
        EXPECT_EQ(convert("ABC"), address) << what;
    }
}

TEST_F(Conversion, EveryCutAndEveryFlippedByteOfTheCacheIsNoticed) {
    table.write(R"({"ABC": "right", "DEF": "wrong"})");
    const std::string good = table.bytes();
    ASSERT_EQ(convert("ABC"), "right");
    for (std::size_t i = 0; i < good.size(); ++i) {
        put_bytes(good.substr(0, i));
        EXPECT_EQ(convert("ABC"), "") << "cut to " << i;
        for (const char bits : {'\x01', '\xff'}) {
            std::string flipped = good;
            flipped[i] = static_cast<char>(flipped[i] ^ bits);
            put_bytes(flipped);
            EXPECT_EQ(convert("ABC"), "") << "byte " << i;
        }
    }
    put_bytes(good + "x");
    EXPECT_EQ(convert("ABC"), "") << "bytes behind the stream";
}

TEST_F(Conversion, ReadsATableOnceAndHearsItsCheckpoint) {
    const auto convert = [](int calls_allowed) {
        int calls = 0;
        const std::string address = convert_registration_code("https://ABC", [&] {
            if (++calls > calls_allowed)
                throw Interrupted();
        });
        return std::pair(address, calls != 0);
    };
    for (const char *address : {"one", "two"}) { // as long as each other
        table.write(R"({"ABC": ")" + std::string(address) + "\"" + std::string(200'000, ' ') + "}");
        EXPECT_THROW(convert(1), Interrupted);
        EXPECT_EQ(convert(100), std::pair(std::string(address), true));
        EXPECT_EQ(convert(100), std::pair(std::string(address), false)) << "as it was read before";
    }
}

TEST_F(Conversion, NeedsALocation) {
    table.write(R"({"ABC": "right"})");
    const auto here = std::filesystem::current_path();
    std::filesystem::current_path(table.path());
    set_cache_location(".");
    std::filesystem::current_path(here);
    EXPECT_EQ(convert("ABC"), "right") << "where the program was";
    const std::pair<std::string, const char *> rows[] = {
        {table.path() + "/", "right"}, {"", ""},         {table.path() + "/missing", ""},
        {std::string(5000, 'x'), ""},  {"\xff\xfe", ""},
    };
    for (const auto &[location, address] : rows) {
        set_cache_location(location);
        EXPECT_EQ(convert("ABC"), address) << location.substr(0, 80);
    }
}

} // namespace kavro
