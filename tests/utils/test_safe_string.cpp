#include "utils/src/safe_string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <string>
#include <utility>

namespace kavro {
namespace {

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
class SafeString : public testing::Test {
protected:
    void SetUp() override {
        reports.clear();
        kavro_set_string_error_handler(&record);
        kavro_set_memory_error_handler(&record);
    }
    void TearDown() override {
        kavro_set_string_error_handler(nullptr);
        kavro_set_memory_error_handler(nullptr);
    }
};

/// Bytes with a zero here and there, and two places in them that may overlap.
struct Arena {
    static constexpr std::size_t size = 48;

    explicit Arena(std::mt19937 &dice) {
        for (char &c : bytes)
            c = dice() % 16 ? static_cast<char>('a' + dice() % 26) : '\0';
        bytes.back() = '\0';
        dest = dice() % size;
        src = dice() % size;
        dmax = dice() % (size - dest + 1);
    }

    std::array<char, size> bytes;
    std::size_t dest;
    std::size_t src;
    std::size_t dmax;

    std::size_t gap() const { return dest > src ? dest - src : src - dest; }
};

void expect_untouched_outside(const Arena &before, const Arena &after) {
    EXPECT_TRUE(
        std::equal(before.bytes.begin(), before.bytes.begin() + before.dest, after.bytes.begin()));
    EXPECT_TRUE(std::equal(before.bytes.begin() + before.dest + before.dmax, before.bytes.end(),
                           after.bytes.begin() + before.dest + before.dmax));
}

TEST_F(SafeString, StrcpyCopiesAllOrNothing) {
    std::mt19937 dice(1);
    for (int round = 0; round < 20000; ++round) {
        const Arena before(dice);
        const std::string text = before.bytes.data() + before.src;
        const std::size_t needed = text.size() + 1;
        const int expected = before.dmax == 0                               ? 401
                             : before.gap() == 0                            ? 0
                             : before.gap() < std::min(needed, before.dmax) ? 404
                             : needed > before.dmax                         ? 406
                                                                            : 0;
        Arena after = before;
        char *const dest = after.bytes.data() + after.dest;
        ASSERT_EQ(kavro_strcpy_s(dest, after.dmax, after.bytes.data() + after.src), expected);
        expect_untouched_outside(before, after);
        if (after.dmax != 0) {
            ASSERT_EQ(std::string(dest), expected == 0 ? text : "");
        }
    }
}

TEST_F(SafeString, MemcpyCopiesAllOrNothing) {
    std::mt19937 dice(2);
    for (int round = 0; round < 20000; ++round) {
        const Arena before(dice);
        const std::size_t smax = dice() % (Arena::size - before.src + 1);
        const bool overlap = before.src < before.dest   ? before.gap() < smax
                             : before.dest < before.src ? before.gap() < before.dmax
                                                        : false;
        const int expected = smax == 0 ? 0 : smax > before.dmax ? 403 : overlap ? 404 : 0;
        Arena model = before;
        if (expected == 0)
            std::memmove(&model.bytes[model.dest], &model.bytes[model.src], smax);
        else
            std::memset(&model.bytes[model.dest], 0, model.dmax);
        Arena after = before;
        ASSERT_EQ(
            kavro_memcpy_s(&after.bytes[after.dest], after.dmax, &after.bytes[after.src], smax),
            expected);
        ASSERT_EQ(after.bytes, model.bytes);
    }
}

TEST_F(SafeString, StrcasecmpComparesUpperCase) {
    expect(kavro_strcasecmp_s("Broker", "bROKER", 100), 0, "");
    expect(kavro_strcasecmp_s("Broker", "Brokers", 6), 0, "");
    expect(kavro_strcasecmp_s("Broker", "Brokers", 7), -'S', "");
    expect(kavro_strcasecmp_s("brokers", "BROKER", 7), 'S', "");
    expect(kavro_strcasecmp_s("_", "a", 1), '_' - 'A', "");
    expect(kavro_strcasecmp_s("x\0a", "x\0b", 3), 0, "");
    expect(kavro_strcasecmp_s("\xff", "a", 1), 0xff - 'A', "");
    expect(kavro_strcasecmp_s("x", nullptr, 1), -1, "400 kavro_strcasecmp_s: src is null;");
    expect(kavro_strcasecmp_s("x", "x", 0), -1, "401 kavro_strcasecmp_s: count is 0;");
    expect(kavro_strcasecmp_s(nullptr, nullptr, 0), -1,
           "400 kavro_strcasecmp_s: dest is null;400 kavro_strcasecmp_s: src is null;"
           "401 kavro_strcasecmp_s: count is 0;");
}

TEST_F(SafeString, StrnlenEndsAtTheZeroOrWhereItMust) {
    expect(kavro_strnlen_s("abc", 9), 3, "");
    expect(kavro_strnlen_s("abc", 2), 2, "");
    expect(kavro_strnlen_s(nullptr, 0), 0, "");
    expect(kavro_strnlen_s("x", 0), 0, "401 kavro_strnlen_s: dmax is 0;");
}

TEST_F(SafeString, ReportsEachMistake) {
    char text[8] = "text";
    expect(kavro_strcpy_s(nullptr, 8, "x"), 400, "400 kavro_strcpy_s: dest is null;");
    expect(kavro_strcpy_s(text, 0, "x"), 401, "401 kavro_strcpy_s: dmax is 0;");
    expect(kavro_strcpy_s(text, 8, "1234567"), 0, "");
    expect(kavro_strcpy_s(text, 1, text), 0, "");
    expect(kavro_strcpy_s(text, 8, "12345678"), 406,
           "406 kavro_strcpy_s: not enough space for src;");
    std::strcpy(text, "text");
    expect(kavro_strcpy_s(text + 2, 6, text), 404, "404 kavro_strcpy_s: overlapping objects;");
    expect(kavro_strcpy_s(text, 8, nullptr), 400, "400 kavro_strcpy_s: src is null;");
    EXPECT_STREQ(text, "");

    expect(kavro_memcpy_s(nullptr, 8, "x", 0), 400, "400 kavro_memcpy_s: dest is NULL;");
    expect(kavro_memcpy_s(text, 0, nullptr, 0), 0, "");
    expect(kavro_memcpy_s(text, 1, nullptr, 2), 403, "403 kavro_memcpy_s: smax exceeds dmax;");
    expect(kavro_memcpy_s(text, 8, nullptr, 1), 400, "400 kavro_memcpy_s: src is NULL;");
    expect(kavro_memcpy_s(text, 7, text + 1, 1), 404, "404 kavro_memcpy_s: overlap undefined;");
}

TEST_F(SafeString, RegexIsLeftToThePlatform) {
    const kavro_safe_api_regex_storage ten{10};
    const kavro_safe_api_regex_storage eleven{11};
    expect(kavro_safe_api_sscanf_regex("x", 1, "x", &ten), -1,
           "409 kavro_safe_api_sscanf_regex: Please customize implementation of RegEx API for "
           "your platform;");
    expect(kavro_safe_api_sscanf_regex("", 1, nullptr, nullptr), -1,
           "405 kavro_safe_api_sscanf_regex: string_for_checking has zero length;");
    testing::internal::CaptureStdout();
    expect(kavro_safe_api_sscanf_regex("x", 1, "x", &eleven), -1, "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "kavro_safe_api_sscanf_regex: n_storage_provided(11) is bigger than maximum(10)\n");
}

TEST_F(SafeString, HandlersAreReplacedOneByOne) {
    EXPECT_EQ(kavro_set_string_error_handler(&kavro_safe_api_error_handler), &record);
    testing::internal::CaptureStdout();
    expect(kavro_strcpy_s(nullptr, 1, ""), 400, "");
    expect(kavro_memcpy_s(nullptr, 1, "", 1), 400, "400 kavro_memcpy_s: dest is NULL;");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "kavro_safe_api_error_handler: [400] kavro_strcpy_s: dest is null\n");

    EXPECT_EQ(kavro_set_string_error_handler(nullptr), &kavro_safe_api_error_handler);
    expect(kavro_strcpy_s(nullptr, 1, ""), 400, "");
}

} // namespace
} // namespace kavro
