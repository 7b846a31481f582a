#include "utils/src/safe_string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace kavro {
namespace {

using Reports = std::vector<std::pair<std::string, int>>;

Reports reports;

void record(const char *message, void *pointer, int error) {
    EXPECT_EQ(pointer, nullptr);
    reports.emplace_back(message, error);
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

TEST_F(SafeString, StrnlenAgreesWithStrnlen) {
    std::mt19937 dice(3);
    for (int round = 0; round < 2000; ++round) {
        const std::vector<char> text = [&] { // on the heap, where a read too far is seen
            const Arena arena(dice);
            return std::vector<char>(arena.bytes.begin(), arena.bytes.begin() + 1 + arena.dest);
        }();
        ASSERT_EQ(kavro_strnlen_s(text.data(), text.size()), strnlen(text.data(), text.size()));
    }
    EXPECT_EQ(kavro_strnlen_s(nullptr, 0), 0u);
    EXPECT_EQ(reports, Reports{});
}

TEST_F(SafeString, StrcasecmpComparesUpperCase) {
    const struct {
        const char *dest;
        const char *src;
        std::size_t count;
        int difference;
    } rows[] = {
        {"Broker", "bROKER", 100, 0},
        {"Broker", "Brokers", 6, 0},
        {"Broker", "Brokers", 7, -'S'},
        {"brokers", "BROKER", 7, 'S'},
        {"a", "B", 1, -1},
        {"_", "a", 1, '_' - 'A'},
        {"", "", 1, 0},
        {"x\0a", "x\0b", 3, 0},
        {"\xff", "a", 1, 0xff - 'A'},
    };
    for (const auto &row : rows)
        EXPECT_EQ(kavro_strcasecmp_s(row.dest, row.src, row.count), row.difference)
            << row.dest << ' ' << row.src;
    EXPECT_EQ(reports, Reports{});
}

TEST_F(SafeString, ReportsEachMistake) {
    static char text[8] = "text";
    static constexpr kavro_safe_api_regex_storage ten{10};
    static constexpr kavro_safe_api_regex_storage eleven{11};
    const struct {
        int (*call)();
        int result;
        Reports reports;
    } rows[] = {
        {[] { return kavro_strcpy_s(nullptr, 8, "x"); },
         400,
         {{"kavro_strcpy_s: dest is null", 400}}},
        {[] { return kavro_strcpy_s(text, 0, "x"); }, 401, {{"kavro_strcpy_s: dmax is 0", 401}}},
        {[] { return kavro_strcpy_s(text, 8, nullptr); },
         400,
         {{"kavro_strcpy_s: src is null", 400}}},
        {[] { return kavro_strcpy_s(text, 8, text + 4); }, 0, {}},
        {[] { return kavro_strcpy_s(text, 1, text); }, 0, {}},
        {[] { return kavro_strcpy_s(text, 8, "12345678"); },
         406,
         {{"kavro_strcpy_s: not enough space for src", 406}}},
        {[] { return kavro_strcpy_s(text, 8, "1234567"); }, 0, {}},
        {[] { return kavro_strcpy_s(text + 2, 6, text); },
         404,
         {{"kavro_strcpy_s: overlapping objects", 404}}},
        {[] { return kavro_memcpy_s(nullptr, 8, "x", 0); },
         400,
         {{"kavro_memcpy_s: dest is NULL", 400}}},
        {[] { return kavro_memcpy_s(text, 0, nullptr, 0); }, 0, {}},
        {[] { return kavro_memcpy_s(text, 1, nullptr, 2); },
         403,
         {{"kavro_memcpy_s: smax exceeds dmax", 403}}},
        {[] { return kavro_memcpy_s(text, 8, nullptr, 1); },
         400,
         {{"kavro_memcpy_s: src is NULL", 400}}},
        {[] { return kavro_memcpy_s(text, 7, text + 1, 1); },
         404,
         {{"kavro_memcpy_s: overlap undefined", 404}}},
        {[] { return kavro_strcasecmp_s(nullptr, nullptr, 0); },
         -1,
         {{"kavro_strcasecmp_s: dest is null", 400},
          {"kavro_strcasecmp_s: src is null", 400},
          {"kavro_strcasecmp_s: count is 0", 401}}},
        {[] { return kavro_strcasecmp_s("x", nullptr, 1); },
         -1,
         {{"kavro_strcasecmp_s: src is null", 400}}},
        {[] { return kavro_strcasecmp_s("x", "x", 0); },
         -1,
         {{"kavro_strcasecmp_s: count is 0", 401}}},
        {[] { return static_cast<int>(kavro_strnlen_s("x", 0)); },
         0,
         {{"kavro_strnlen_s: dmax is 0", 401}}},
        {[] { return kavro_safe_api_sscanf_regex("x", 1, "x", &ten); },
         -1,
         {{"kavro_safe_api_sscanf_regex: Please customize implementation of RegEx API for your "
           "platform",
           409}}},
        {[] { return kavro_safe_api_sscanf_regex("", 1, nullptr, nullptr); },
         -1,
         {{"kavro_safe_api_sscanf_regex: string_for_checking has zero length", 405}}},
        {[] { return kavro_safe_api_sscanf_regex("x", 1, "x", &eleven); }, -1, {}},
    };
    testing::internal::CaptureStdout();
    for (const auto &row : rows) {
        reports.clear();
        std::strcpy(text, "text");
        EXPECT_EQ(row.call(), row.result) << &row - rows;
        EXPECT_EQ(reports, row.reports) << &row - rows;
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "kavro_safe_api_sscanf_regex: n_storage_provided(11) is bigger than maximum(10)\n");
}

TEST_F(SafeString, HandlersAreReplacedOneByOne) {
    EXPECT_EQ(kavro_set_string_error_handler(&kavro_safe_api_error_handler), &record);
    testing::internal::CaptureStdout();
    kavro_strcpy_s(nullptr, 1, "");
    kavro_memcpy_s(nullptr, 1, "", 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "kavro_safe_api_error_handler: [400] kavro_strcpy_s: dest is null\n");
    EXPECT_EQ(reports, (Reports{{"kavro_memcpy_s: dest is NULL", 400}}));

    EXPECT_EQ(kavro_set_string_error_handler(nullptr), &kavro_safe_api_error_handler);
    EXPECT_EQ(kavro_strcpy_s(nullptr, 1, ""), 400);
    EXPECT_EQ(reports.size(), 1u);
}

} // namespace
} // namespace kavro
