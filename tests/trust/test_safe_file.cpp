#include "temporary_home.h"

#include "utils/src/safe_file.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kavro {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t limit = 1000;

class SafeFile : public testing::Test {
protected:
    std::string path(const char *name) const { return folder_.folder() / name; }
    std::ptrdiff_t files() const {
        return std::distance(fs::directory_iterator(folder_.folder()), fs::directory_iterator());
    }

    test_support::TemporaryHome folder_;
};

/// Runs something in a process of its own, which says whether it went well.
class Child {
public:
    explicit Child(const std::function<bool()> &work) : id_(fork()) {
        if (id_ == 0)
            _exit(work() ? 0 : 1);
    }
    bool running() {
        if (!ended_)
            ended_ = waitpid(id_, &status_, WNOHANG) == id_;
        return !ended_;
    }
    bool went_well() {
        if (!ended_)
            ended_ = waitpid(id_, &status_, 0) == id_;
        return ended_ && WIFEXITED(status_) && WEXITSTATUS(status_) == 0;
    }

private:
    pid_t id_;
    int status_ = 0;
    bool ended_ = false;
};

} // namespace

TEST_F(SafeFile, OnlyPlainFilesAreRead) {
    std::ofstream(path("plain")) << "content";
    std::ofstream(path("empty"));
    std::ofstream(path("just small enough")) << std::string(limit, 'x');
    std::ofstream(path("too large")) << std::string(limit + 1, 'x');
    fs::create_symlink("plain", path("link"));
    fs::create_directory(path("folder"));
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    const struct {
        std::string path;
        std::optional<std::string> content;
    } cases[] = {
        {path("plain"), "content"},
        {path("empty"), ""},
        {path("just small enough"), std::string(limit, 'x')},
        {path("too large"), std::nullopt},
        {path("link"), std::nullopt},
        {path("folder"), std::nullopt},
        {path("pipe"), std::nullopt}, // nobody writes to it: waiting would be for ever
        {path("missing"), std::nullopt},
        {"/dev/zero", std::nullopt},
    };
    for (const auto &row : cases)
        EXPECT_EQ(read_plain_file(row.path, limit), row.content) << row.path;
}

TEST_F(SafeFile, IsReplacedForItsOwnerOnly) {
    EXPECT_TRUE(replace_file(path("file"), "first"));
    fs::permissions(path("file"), fs::perms::all);
    EXPECT_TRUE(replace_file(path("file"), "second"));
    EXPECT_EQ(read_plain_file(path("file"), limit), "second");
    EXPECT_EQ(fs::status(path("file")).permissions(), fs::perms(0600));

    fs::create_symlink("file", path("link"));
    EXPECT_TRUE(replace_file(path("link"), "third"));
    EXPECT_EQ(read_plain_file(path("link"), limit), "third");
    EXPECT_EQ(read_plain_file(path("file"), limit), "second");
    EXPECT_EQ(files(), 2);
}

TEST_F(SafeFile, OldContentSurvivesAFailure) {
    std::ofstream(path("file")) << "old";
    Child full([this] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit small{10, 10};
        return setrlimit(RLIMIT_FSIZE, &small) == 0 &&
               !replace_file(path("file"), std::string(limit, 'x'));
    });
    EXPECT_TRUE(full.went_well());
    EXPECT_EQ(read_plain_file(path("file"), limit), "old");

    fs::create_directory(path("folder"));
    EXPECT_FALSE(replace_file(path("folder"), "new"));
    EXPECT_FALSE(replace_file(path("missing/file"), "new"));
    EXPECT_EQ(files(), 2);
}

TEST_F(SafeFile, ReadersSeeOldOrNewWhoeverWrites) {
    constexpr int rounds = 200;
    constexpr std::size_t large = 1'000'000;
    const std::string contents[] = {std::string(100'000, 'a'), std::string(150'000, 'b')};
    ASSERT_TRUE(replace_file(path("file"), contents[0]));
    const auto writer = [&](const std::string &content) {
        return Child([&, content] {
            for (int i = 0; i < rounds; ++i) {
                if (!replace_file(path("file"), content))
                    return false;
            }
            return true;
        });
    };
    Child writers[] = {writer(contents[0]), writer(contents[1])};
    while (writers[0].running() || writers[1].running()) {
        const auto content = read_plain_file(path("file"), large);
        ASSERT_TRUE(content == contents[0] || content == contents[1]);
    }
    for (Child &child : writers)
        EXPECT_TRUE(child.went_well());
    EXPECT_EQ(files(), 1);
}

} // namespace kavro
