#include "utils/src/safe_string.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

namespace kavro {
namespace {

using namespace std::string_literals;

/// What the handlers were told, as "error message;" each.
std::string reports;

void record(const char *message, void *pointer, int error) {
    EXPECT_EQ(pointer, nullptr);
    reports += std::to_string(error) + ' ' + message + ';';
}

void expect(long result, long wanted, const char *reported) {
    EXPECT_EQ(result, wanted) << reported;
    EXPECT_EQ(std::exchange(reports, {}), reported);
}

/// Hears of what the string functions and the memory functions report.
struct SafeString : testing::Test {
    SafeString() {
        reports.clear();
        hear(&record);
    }
    ~SafeString() { hear(nullptr); }
    static void hear(kavro_safe_api_handler function) {
        kavro_set_string_error_handler(function);
        kavro_set_memory_error_handler(function);
    }
};

/// Copies within "abcd", a zero and "efg". Whatever fails leaves nothing of what was there.
TEST_F(SafeString, CopiesAllOrNothing) {
    constexpr std::size_t whole = SIZE_MAX; // a text, as long as it is
    const struct {
        std::size_t dest, dmax, src, smax;
        int result;
        std::string after;
    } rows[] = {
        {3, 5, 0, whole, 404, "abc\0"s},      {5, 3, 2, whole, 0, "abcd\0cd\0"s},
        {5, 3, 0, whole, 406, "abcd\0\0"s},   {5, 2, 2, whole, 406, "abcd\0\0"s},
        {0, 5, 4, whole, 0, "\0bcd\0efg"s},   {0, 2, 1, whole, 404, "\0"s},
        {0, 1, 1, whole, 406, "\0bcd\0efg"s}, {0, 4, 0, whole, 0, "abcd\0efg"s},
        {4, 4, 0, 4, 0, "abcdabcd"s},         {4, 3, 0, 4, 403, "abcd\0\0\0g"s},
        {3, 5, 0, 4, 404, "abc\0\0\0\0\0"s},  {3, 4, 0, 3, 0, "abcabcfg"},
        {0, 4, 4, 1, 0, "\0bcd\0efg"s},       {0, 5, 4, 1, 404, "\0\0\0\0\0efg"s},
        {0, 8, 0, 8, 0, "abcd\0efg"s},        {0, 8, 4, 0, 0, "abcd\0efg"s},
    };
    for (const auto &[dest, dmax, src, smax, result, after] : rows) {
        std::string text = "abcd\0efg"s;
        EXPECT_EQ(smax == whole ? kavro_strcpy_s(&text[dest], dmax, &text[src])
                                : kavro_memcpy_s(&text[dest], dmax, &text[src], smax),
                  result);
        EXPECT_TRUE(text.starts_with(after)) << text;
    }
}

TEST_F(SafeString, ReportsEachMistake) {
    char text[8] = "text";
    expect(kavro_strcpy_s(nullptr, 8, "x"), 400, "400 kavro_strcpy_s: dest is null;");
    expect(kavro_strcpy_s(text, 0, "x"), 401, "401 kavro_strcpy_s: dmax is 0;");
    expect(kavro_strcpy_s(text + 2, 6, text), 404, "404 kavro_strcpy_s: overlapping objects;");
    expect(kavro_strcpy_s(text, 8, "1234567"), 0, "");
    expect(kavro_strcpy_s(text, 8, "12345678"), 406,
           "406 kavro_strcpy_s: not enough space for src;");
    expect(kavro_strcpy_s(text, 8, nullptr), 400, "400 kavro_strcpy_s: src is null;");
    expect(kavro_memcpy_s(nullptr, 8, "x", 0), 400, "400 kavro_memcpy_s: dest is NULL;");
    expect(kavro_memcpy_s(text, 0, nullptr, 0), 0, "");
    expect(kavro_memcpy_s(text, 1, nullptr, 2), 403, "403 kavro_memcpy_s: smax exceeds dmax;");
    expect(kavro_memcpy_s(text, 8, nullptr, 1), 400, "400 kavro_memcpy_s: src is NULL;");
    expect(kavro_memcpy_s(text, 7, text + 1, 1), 404, "404 kavro_memcpy_s: overlap undefined;");
}

// Those that nobody in the library calls.
TEST_F(SafeString, TheRestOfTheLayer) {
    const kavro_safe_api_regex_storage ten{10};
    expect(kavro_strcasecmp_s("Broker", "bROKERS", 6), 0, "");
    expect(kavro_strcasecmp_s("_", "a", 1), '_' - 'A', "");
    expect(kavro_strcasecmp_s(nullptr, nullptr, 0), -1,
           "400 kavro_strcasecmp_s: dest is null;400 kavro_strcasecmp_s: src is null;"
           "401 kavro_strcasecmp_s: count is 0;");
    expect(kavro_strnlen_s("abc", 2), 2, "");
    expect(kavro_strnlen_s("x", 0), 0, "401 kavro_strnlen_s: dmax is 0;");
    expect(kavro_safe_api_sscanf_regex("x", 1, "x", &ten), -1,
           "409 kavro_safe_api_sscanf_regex: Please customize implementation of RegEx API for "
           "your platform;");
    EXPECT_EQ(kavro_set_string_error_handler(nullptr), &record);
    expect(kavro_strcpy_s(nullptr, 1, ""), 400, "");
    expect(kavro_memcpy_s(nullptr, 1, "", 1), 400, "400 kavro_memcpy_s: dest is NULL;");
}

} // namespace
} // namespace kavro
