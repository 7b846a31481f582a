#pragma once

#include <openssl/x509.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utility>
#include <vector>

/// A program on a pseudo-terminal of its own, with a test in the place of its user.
class TerminalProgram {
public:
    /// Besides the test's trust and the terminal's kind its environment is one "NAME=VALUE" text.
    TerminalProgram(std::vector<std::string> arguments, const std::string &variable)
        : process_(forkpty(&terminal_, nullptr, nullptr, nullptr)) {
        if (process_ == 0) {
            std::vector<std::string> environment{"TERM=xterm", variable};
            for (const std::string name :
                 {X509_get_default_cert_file_env(), X509_get_default_cert_dir_env()})
                environment.push_back(name + "=" + std::getenv(name.c_str()));
            const auto argv = pointers_to(arguments);
            execve(argv[0], argv.data(), pointers_to(environment).data());
            _exit(127);
        }
    }
    ~TerminalProgram() {
        if (process_ > 0) {
            kill(process_, SIGKILL);
            waitpid(process_, nullptr, 0);
        }
        close(terminal_);
    }
    TerminalProgram(const TerminalProgram &) = delete;
    TerminalProgram &operator=(const TerminalProgram &) = delete;

    /// False when the screen does not show this text in reasonable time.
    bool wait_for(const std::string &text) {
        const auto deadline = Clock::now() + std::chrono::seconds(20);
        while (screen_.find(text) == std::string::npos)
            if (!read_some(deadline))
                return false;
        return true;
    }

    bool type(const std::string &text) {
        return write(terminal_, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    }

    bool echoes() const {
        termios settings{};
        return tcgetattr(terminal_, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    }

    /// The exit status, or -1 when the program does not end by itself within the time.
    int wait_for_exit(std::chrono::milliseconds limit) {
        const auto deadline = Clock::now() + limit;
        while (read_some(deadline)) {
        }
        // The terminal's last reader is gone, so all that is left to the process is to end.
        if (Clock::now() >= deadline)
            return -1;
        int status = 0;
        waitpid(std::exchange(process_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// Everything that appeared so far.
    const std::string &screen() const { return screen_; }

private:
    using Clock = std::chrono::steady_clock;

    static std::vector<char *> pointers_to(std::vector<std::string> &texts) {
        std::vector<char *> pointers;
        for (auto &text : texts)
            pointers.push_back(text.data());
        pointers.push_back(nullptr);
        return pointers;
    }

    /// False when the time is over or there is nothing more to come.
    bool read_some(Clock::time_point deadline) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd waiting{terminal_, POLLIN, 0};
        if (left <= 0 || poll(&waiting, 1, static_cast<int>(left)) <= 0)
            return false;
        char bytes[4096];
        const auto count = read(terminal_, bytes, sizeof(bytes));
        screen_.append(bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return count > 0;
    }

    int terminal_ = -1;
    pid_t process_ = -1;
    std::string screen_;
};
