#include "terminal.h"

#include "failure.h"

#include <windows.h>

#include <io.h>

#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace kavro_cli {
namespace {

/// How long an interruption may go unnoticed while input is waited for.
constexpr DWORD poll_interval_ms = 50;

/// The console's own ends, whatever the standard ones were redirected to.
HANDLE open_console(const wchar_t *name) {
    return CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       nullptr, OPEN_EXISTING, 0, nullptr);
}

HANDLE console_input() {
    static const HANDLE input = open_console(L"CONIN$");
    return input;
}

HANDLE console_output() {
    static const HANDLE output = open_console(L"CONOUT$");
    return output;
}

void set_mode(HANDLE console, DWORD bits, bool on) {
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode) != 0)
        SetConsoleMode(console, on ? mode | bits : mode & ~bits);
}

/// Keeps typed characters invisible for as long as it lives.
class EchoOff {
public:
    EchoOff() { set_mode(console_input(), ENABLE_ECHO_INPUT, false); }
    ~EchoOff() { set_mode(console_input(), ENABLE_ECHO_INPUT, true); }
    EchoOff(const EchoOff &) = delete;
    EchoOff &operator=(const EchoOff &) = delete;
};

void append_utf8(Secret &line, const wchar_t *text, DWORD length) {
    char bytes[4 * 64];
    const int count = WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(length), bytes,
                                          sizeof bytes, nullptr, nullptr);
    line.append({bytes, static_cast<std::size_t>(count)});
    kavro::cleanse(bytes, sizeof bytes);
}

/// One line without its end; false when the input ends before a line has begun.
bool read_console_line(Secret &line, const Interruption &interruption) {
    line.clear();
    for (;;) {
        wchar_t piece[64];
        DWORD length = 0;
        if (ReadConsoleW(console_input(), piece, std::size(piece) - 1, &length, nullptr) == 0 ||
            length == 0) {
            // Ctrl+C ends the reading a moment before its handler runs.
            interruption.pause(std::chrono::milliseconds(poll_interval_ms));
            return !line.empty();
        }
        // Both halves of a character in one piece, else they would not become one.
        const bool cut = piece[length - 1] >= 0xD800 && piece[length - 1] <= 0xDBFF;
        DWORD other_half = 0;
        if (cut)
            ReadConsoleW(console_input(), piece + length, 1, &other_half, nullptr);
        length += other_half;
        const bool ended = piece[length - 1] == L'\n';
        while (length != 0 && (piece[length - 1] == L'\n' || piece[length - 1] == L'\r'))
            --length;
        append_utf8(line, piece, length);
        kavro::cleanse(piece, sizeof piece);
        if (ended)
            return true;
        if (line.size() > longest_line)
            throw std::system_error(std::make_error_code(std::errc::value_too_large));
    }
}

class Terminal : public Console {
public:
    explicit Terminal(const Interruption &interruption) : interruption_(interruption) {}

    void write(std::string_view text) override {
        std::wstring wide(text.size(), L'\0');
        const int length =
            MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                                static_cast<int>(wide.size()));
        DWORD written = 0;
        WriteConsoleW(console_output(), wide.data(), static_cast<DWORD>(length), &written, nullptr);
    }

    bool ask(std::string_view prompt, Secret &line, Echo echo) override {
        std::optional<EchoOff> echo_off;
        if (echo == Echo::off)
            echo_off.emplace();
        write(prompt);
        const bool answered = read_console_line(line, interruption_);
        if (echo_off)
            write("\n");
        return answered;
    }

    std::size_t width() const override {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        const bool known = GetConsoleScreenBufferInfo(console_output(), &info) != 0;
        const int columns = info.srWindow.Right - info.srWindow.Left + 1;
        return known && columns >= 20 ? static_cast<std::size_t>(columns) : 80;
    }

private:
    const Interruption &interruption_;
};

/// Reading from a pipe could not be interrupted: what is there is looked at first. Files and
/// consoles end by themselves.
void wait_until_readable(int descriptor, const Interruption &interruption) {
    const HANDLE input = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    interruption.check();
    if (GetFileType(input) != FILE_TYPE_PIPE)
        return;
    DWORD available = 0;
    while (PeekNamedPipe(input, nullptr, 0, nullptr, &available, nullptr) != 0 && available == 0)
        interruption.pause(std::chrono::milliseconds(poll_interval_ms));
}

} // namespace

std::unique_ptr<Console> open_terminal(const Interruption &interruption) {
    SetConsoleOutputCP(CP_UTF8);
    const bool present =
        console_input() != INVALID_HANDLE_VALUE && console_output() != INVALID_HANDLE_VALUE;
    return present ? std::make_unique<Terminal>(interruption) : nullptr;
}

void restore_terminal() {
    set_mode(console_input(), ENABLE_ECHO_INPUT, true);
    if (takes_control_sequences(_fileno(stderr)))
        std::fputs("\r\x1b[K", stderr);
}

bool is_terminal(int descriptor) {
    return _isatty(descriptor) != 0;
}

bool takes_control_sequences(int descriptor) {
    const HANDLE screen = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    DWORD mode = 0;
    return GetConsoleMode(screen, &mode) != 0 &&
           SetConsoleMode(screen, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

bool read_character(int descriptor, char &character, const Interruption &interruption) {
    wait_until_readable(descriptor, interruption);
    const int count = _read(descriptor, &character, 1);
    if (count < 0)
        throw std::system_error(errno, std::generic_category());
    return count == 1;
}

} // namespace kavro_cli
