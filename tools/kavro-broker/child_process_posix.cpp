#include "child_process.h"

#include "failure.h"
#include "words.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace kavro_cli {
namespace {

/// How long a program has after it was asked to end.
constexpr int most_polls = 50;
constexpr std::chrono::milliseconds poll_interval(10);

void require(int error) {
    if (error != 0)
        throw std::system_error(error, std::generic_category());
}

/// What a program has instead of this one's input, output and signals. In a session of its own it
/// leads the group of all that it starts; a question on the terminal fails there, instead of being
/// stopped for ever as those of background jobs are.
class SpawnRules {
public:
    explicit SpawnRules(int output) {
        require(posix_spawn_file_actions_init(&actions_));
        require(posix_spawnattr_init(&attributes_));
        require(
            posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
        require(posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO));
        sigset_t none;
        sigemptyset(&none);
        require(posix_spawnattr_setsigmask(&attributes_, &none));
        require(
            posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID));
    }
    ~SpawnRules() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }
    SpawnRules(const SpawnRules &) = delete;
    SpawnRules &operator=(const SpawnRules &) = delete;

    pid_t spawn(std::vector<std::string> words) const {
        std::vector<char *> arguments;
        for (auto &word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        pid_t process = 0;
        require(posix_spawnp(&process, arguments[0], &actions_, &attributes_, arguments.data(),
                             environ));
        return process;
    }

private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

class Child final : public ChildProcess {
public:
    explicit Child(const std::vector<std::string> &words) {
        int ends[2];
        require(pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno);
        output_ = ends[0];
        const std::shared_ptr<void> input(nullptr, [&](void *) { close(ends[1]); });
        try {
            process_ = SpawnRules(ends[1]).spawn(words);
        } catch (...) {
            close(output_);
            throw;
        }
    }
    ~Child() override {
        if (!exit_status())
            end();
        close(output_);
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    int output() const override { return output_; }

    std::optional<int> exit_status() override {
        int status = 0;
        if (!status_ && waitpid(process_, &status, WNOHANG) == process_)
            status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        return status_;
    }

private:
    void end() {
        kill(-process_, SIGTERM);
        for (int polls = 0; polls < most_polls && !exit_status(); ++polls)
            std::this_thread::sleep_for(poll_interval);
        kill(-process_, SIGKILL);
        if (!status_)
            waitpid(process_, nullptr, 0);
    }

    pid_t process_ = 0;
    int output_ = -1;
    std::optional<int> status_;
};

} // namespace

std::unique_ptr<ChildProcess> start_program(const std::string &command) {
    return std::make_unique<Child>(words_of(command));
}

std::string program_of(const std::string &command) {
    const auto words = words_of(command);
    if (words.empty())
        throw Failure(ExitStatus::usage, "NO_PROGRAM", "No program is named.");
    return words.front();
}

} // namespace kavro_cli
