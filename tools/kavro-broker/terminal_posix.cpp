#include "terminal.h"

#include "failure.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <optional>
#include <poll.h>
#include <string_view>
#include <sys/ioctl.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>

namespace kavro_cli {
namespace {

/// How long an interruption may go unnoticed while the user is asked.
constexpr int poll_interval_ms = 50;

/// The terminal whose echo is off, so that any thread can switch it on again.
struct SilencedTerminal {
    int descriptor;
    termios before;
};
std::mutex silenced_mutex;
std::optional<SilencedTerminal> silenced;

void switch_echo_on() {
    const std::lock_guard lock(silenced_mutex);
    if (silenced)
        tcsetattr(silenced->descriptor, TCSADRAIN, &silenced->before);
    silenced.reset();
}

/// Keeps typed characters invisible, all but the line end, for as long as it lives.
class EchoOff {
public:
    explicit EchoOff(int descriptor) {
        const std::lock_guard lock(silenced_mutex);
        termios settings{};
        if (tcgetattr(descriptor, &settings) != 0)
            throw std::system_error(errno, std::generic_category(), "the terminal");
        silenced = SilencedTerminal{descriptor, settings};
        settings.c_lflag = (settings.c_lflag & ~static_cast<tcflag_t>(ECHO)) | ECHONL;
        tcsetattr(descriptor, TCSADRAIN, &settings);
    }
    ~EchoOff() { switch_echo_on(); }
    EchoOff(const EchoOff &) = delete;
    EchoOff &operator=(const EchoOff &) = delete;
};

void wait_until_readable(int descriptor, const Interruption &interruption) {
    pollfd waiting{descriptor, POLLIN, 0};
    int ready = 0;
    while (ready == 0 || (ready < 0 && errno == EINTR)) {
        interruption.check();
        ready = poll(&waiting, 1, poll_interval_ms);
    }
}

void write_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const auto count = ::write(descriptor, text.data(), text.size());
        if (count < 0 && errno != EINTR)
            return;
        text.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
}

class Terminal : public Console {
public:
    Terminal(int descriptor, const Interruption &interruption)
        : descriptor_(descriptor), interruption_(interruption) {}
    ~Terminal() override { close(descriptor_); }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    void write(std::string_view text) override { write_all(descriptor_, text); }

    bool ask(std::string_view prompt, Secret &line, Echo echo) override {
        std::optional<EchoOff> echo_off;
        if (echo == Echo::off)
            echo_off.emplace(descriptor_);
        write(prompt);
        try {
            return read_line(descriptor_, line, interruption_);
        } catch (const Failure &) {
            write("\n");
            throw;
        }
    }

    std::size_t width() const override {
        winsize size{};
        const bool known = ioctl(descriptor_, TIOCGWINSZ, &size) == 0 && size.ws_col >= 20;
        return known ? size.ws_col : 80;
    }

private:
    int descriptor_;
    const Interruption &interruption_;
};

} // namespace

std::unique_ptr<Console> open_terminal(const Interruption &interruption) {
    const int descriptor = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    return descriptor < 0 ? nullptr : std::make_unique<Terminal>(descriptor, interruption);
}

void restore_terminal() {
    switch_echo_on();
    if (takes_control_sequences(STDERR_FILENO))
        write_all(STDERR_FILENO, "\r\x1b[K");
}

bool is_terminal(int descriptor) {
    return isatty(descriptor) == 1;
}

bool takes_control_sequences(int descriptor) {
    const char *kind = std::getenv("TERM");
    return is_terminal(descriptor) && kind != nullptr && std::string_view(kind) != "dumb";
}

bool read_character(int descriptor, char &character, const Interruption &interruption) {
    for (;;) {
        wait_until_readable(descriptor, interruption);
        const auto count = read(descriptor, &character, 1);
        if (count >= 0)
            return count == 1;
        if (errno != EINTR && errno != EAGAIN)
            throw std::system_error(errno, std::generic_category());
    }
}

} // namespace kavro_cli
