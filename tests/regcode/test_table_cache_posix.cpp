#include "table_folder.h"

#include <csignal>
#include <set>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kavro {
namespace {

namespace fs = std::filesystem;

/// Runs something in a process that is killed at its n-th stop at a system call (before or after
/// it). False when it came to its end before that.
template <class Work>
bool killed_at(int stop, Work work) {
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        work();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    for (int i = 0; i < stop && WIFSTOPPED(status); ++i) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    if (!WIFSTOPPED(status))
        return false;
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return true;
}

class TableCache : public TableFolder {};

} // namespace

TEST_F(TableCache, APowerCutAtAnyStepLeavesTheOldTableOrTheNewOne) {
    std::set<std::string> left_behind;
    int stop = 0;
    bool killed = true;
    while (killed) {
        write_table_cache(folder(), R"({"ABC": "old"})");
        killed = killed_at(++stop, [this] { write_table_cache(folder(), R"({"ABC": "new"})"); });
        left_behind.insert(convert("ABC"));
    }
    EXPECT_EQ(left_behind, (std::set<std::string>{"old", "new"}));
    EXPECT_GT(stop, 10) << "the updates were not traced";
}

TEST_F(TableCache, LinksAndPipesAreNotFollowed) {
    write_table_cache(folder(), R"({"ABC": "right"})");
    fs::rename(cache_file(), folder() + "/aside");
    fs::create_symlink("aside", cache_file());
    EXPECT_EQ(convert("ABC"), "");
    fs::remove(cache_file());
    ASSERT_EQ(mkfifo(cache_file().c_str(), 0600), 0);
    EXPECT_EQ(convert("ABC"), "");
}

} // namespace kavro
