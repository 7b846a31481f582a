#include "safe_file_test.h"

#include <atomic>
#include <fstream>
#include <optional>
#include <thread>

namespace kavro {

namespace fs = std::filesystem;

TEST_F(SafeFile, OnlyPlainFilesAreRead) {
    std::ofstream(path("plain")) << "content";
    std::ofstream(path("empty"));
    std::ofstream(path("just small enough")) << std::string(limit, 'x');
    std::ofstream(path("too large")) << std::string(limit + 1, 'x');
    fs::create_directory(path("folder"));
    const std::pair<const char *, std::optional<std::string>> cases[] = {
        {"plain", "content"},
        {"empty", ""},
        {"just small enough", std::string(limit, 'x')},
        {"too large", std::nullopt},
        {"folder", std::nullopt},
        {"missing", std::nullopt},
    };
    for (const auto &[name, content] : cases)
        EXPECT_EQ(read_plain_file(path(name), limit), content) << name;
}

TEST_F(SafeFile, IsReplacedOrLeftAlone) {
    EXPECT_FALSE(replace_file(path("file"), "first"));
    EXPECT_FALSE(replace_file(path("file"), "second"));
    EXPECT_EQ(read_plain_file(path("file"), limit), "second");

    fs::create_directory(path("folder"));
    EXPECT_TRUE(replace_file(path("folder"), "new"));
    EXPECT_TRUE(replace_file(path("missing/file"), "new"));
    EXPECT_EQ(files(), 2);
}

TEST_F(SafeFile, ReadersSeeOldOrNewWhoeverWrites) {
    constexpr int rounds = 200;
    constexpr std::size_t large = 1'000'000;
    const std::string contents[] = {std::string(100'000, 'a'), std::string(150'000, 'b')};
    ASSERT_FALSE(replace_file(path("file"), contents[0]));
    std::atomic<int> failures = 0;
    std::atomic<int> running = 2;
    const auto writer = [&](const std::string &content) {
        return std::jthread([&] {
            for (int i = 0; i < rounds; ++i)
                failures += replace_file(path("file"), content) ? 1 : 0;
            --running;
        });
    };
    const std::jthread writers[] = {writer(contents[0]), writer(contents[1])};
    while (running != 0) {
        const auto content = read_plain_file(path("file"), large);
        EXPECT_TRUE(content == contents[0] || content == contents[1]);
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(files(), 1);
}

} // namespace kavro
