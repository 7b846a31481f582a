#include "system.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <psapi.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace test_support {

std::optional<std::string> exchange_variable(const char *name,
                                             const std::optional<std::string> &value) {
    const char *before = std::getenv(name);
    const auto result = before ? std::optional<std::string>(before) : std::nullopt;
    _putenv_s(name, value ? value->c_str() : "");
    return result;
}

std::ptrdiff_t open_descriptors() {
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return static_cast<std::ptrdiff_t>(count);
}

std::size_t peak_memory() {
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    return memory.PeakWorkingSetSize;
}

int descriptor_with(const std::string &text) {
    int ends[2];
    if (_pipe(ends, static_cast<unsigned>(text.size()) + 1, _O_BINARY) != 0)
        return -1;
    const bool written = _write(ends[1], text.data(), static_cast<unsigned>(text.size())) >= 0;
    _close(ends[1]);
    return written ? ends[0] : -1;
}

void close_descriptor(int descriptor) {
    _close(descriptor);
}

bool ended_by_abort(int status) {
    return status == 3;
}

std::string output_of(const std::string &command) {
    // The command interpreter takes the outermost quotes for its own.
    const std::string quoted = '"' + command + '"';
    const std::unique_ptr<FILE, int (*)(FILE *)> out(_popen(quoted.c_str(), "r"), _pclose);
    std::string text;
    for (int c = 0; (c = std::fgetc(out.get())) != EOF;)
        text += static_cast<char>(c);
    return text;
}

} // namespace test_support
