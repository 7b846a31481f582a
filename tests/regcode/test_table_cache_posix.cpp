#include "table_folder.h"

#include <csignal>
#include <set>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kavro {
namespace {

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

} // namespace

TEST_F(TableTest, APowerCutAtAnyStepLeavesTheOldTableOrTheNewOne) {
    std::set<std::string> left_behind;
    int stop = 0;
    bool killed = true;
    while (killed) {
        table.write(R"({"ABC": "old"})");
        killed = killed_at(++stop, [this] { table.write(R"({"ABC": "new"})"); });
        left_behind.insert(convert("ABC"));
    }
    EXPECT_EQ(left_behind, (std::set<std::string>{"old", "new"}));
    EXPECT_GT(stop, 10) << "the updates were not traced";
}

} // namespace kavro
