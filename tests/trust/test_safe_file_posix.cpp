#include "safe_file_test.h"

#include <csignal>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// Links, pipes, devices and access rights; and a disk that is full.

namespace kavro {

namespace fs = std::filesystem;

TEST_F(SafeFile, PipesDevicesAndLinksAreNotRead) {
    std::ofstream(path("file")) << "content";
    fs::create_symlink("file", path("link"));
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0); // nobody writes: waiting would be for ever
    for (const std::string &name : {path("pipe"), path("link"), std::string("/dev/zero")})
        EXPECT_EQ(read_plain_file(name, limit), std::nullopt) << name;
}

TEST_F(SafeFile, IsReplacedForItsOwnerOnly) {
    EXPECT_FALSE(replace_file(path("file"), "first"));
    fs::permissions(path("file"), fs::perms::all);
    EXPECT_FALSE(replace_file(path("file"), "second"));
    EXPECT_EQ(fs::status(path("file")).permissions(), fs::perms(0600));

    fs::create_symlink("file", path("link"));
    EXPECT_FALSE(replace_file(path("link"), "third"));
    EXPECT_EQ(read_plain_file(path("link"), limit), "third");
    EXPECT_EQ(read_plain_file(path("file"), limit), "second");
    EXPECT_EQ(files(), 2);
}

TEST_F(SafeFile, OldContentSurvivesAFullDisk) {
    std::ofstream(path("file")) << "old";
    const pid_t child = fork(); // the limit is for life
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit small{10, 10};
        const bool survived =
            setrlimit(RLIMIT_FSIZE, &small) == 0 &&
            replace_file(path("file"), std::string(limit, 'x')) == std::errc::file_too_large;
        _exit(survived ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(read_plain_file(path("file"), limit), "old");
    EXPECT_EQ(files(), 1);
}

} // namespace kavro
