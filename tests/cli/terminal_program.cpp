#include "terminal_program.h"

#include <algorithm>
#include <csignal>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

std::vector<char *> pointers_to(const std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    for (const auto &text : texts)
        pointers.push_back(const_cast<char *>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

TerminalProgram::TerminalProgram(const std::vector<std::string> &arguments,
                                 const std::vector<std::string> &environment) {
    const auto argv = pointers_to(arguments);
    const auto envp = pointers_to(environment);
    process_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
    if (process_ == 0) {
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    if (process_ < 0)
        throw std::runtime_error("no pseudo-terminal");
}

TerminalProgram::~TerminalProgram() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    close(terminal_);
}

bool TerminalProgram::read_some(std::chrono::steady_clock::time_point deadline) {
    using namespace std::chrono;
    const auto left = duration_cast<milliseconds>(deadline - steady_clock::now()).count();
    pollfd waiting{terminal_, POLLIN, 0};
    if (left <= 0 || poll(&waiting, 1, static_cast<int>(left)) <= 0)
        return false;
    char bytes[4096];
    const auto count = read(terminal_, bytes, sizeof(bytes));
    screen_.append(bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
}

bool TerminalProgram::wait_for(const std::string &text, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (screen_.find(text) == std::string::npos)
        if (!read_some(deadline))
            return false;
    return true;
}

void TerminalProgram::type(const std::string &text) {
    if (write(terminal_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("the pseudo-terminal takes no input");
}

bool TerminalProgram::echoes() const {
    termios settings{};
    return tcgetattr(terminal_, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
}

int TerminalProgram::wait_for_exit(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (read_some(deadline)) {
    }
    // The terminal's last reader is gone, so all that is left to the process is to end.
    if (std::chrono::steady_clock::now() >= deadline)
        return -1;
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
