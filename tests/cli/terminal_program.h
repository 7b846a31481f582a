#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

/// A program on a pseudo-terminal of its own, with a test in the place of its user.
class TerminalProgram {
public:
    /// `environment` holds "NAME=VALUE" texts, and is all that the program gets.
    TerminalProgram(const std::vector<std::string> &arguments,
                    const std::vector<std::string> &environment);
    ~TerminalProgram();
    TerminalProgram(const TerminalProgram &) = delete;
    TerminalProgram &operator=(const TerminalProgram &) = delete;

    /// False when the screen does not show this text within the time.
    bool wait_for(const std::string &text,
                  std::chrono::milliseconds limit = std::chrono::seconds(20));

    void type(const std::string &text);

    bool echoes() const;

    /// The exit status, or -1 when the program does not end by itself within the time.
    int wait_for_exit(std::chrono::milliseconds limit);

    /// Everything that appeared so far.
    const std::string &screen() const { return screen_; }

private:
    /// False when the time is over or there is nothing more to come.
    bool read_some(std::chrono::steady_clock::time_point deadline);

    pid_t process_ = -1;
    int terminal_ = -1;
    std::string screen_;
};
