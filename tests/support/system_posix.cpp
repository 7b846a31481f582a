#include "system.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test_support {

std::optional<std::string> exchange_variable(const char *name,
                                             const std::optional<std::string> &value) {
    const char *before = std::getenv(name);
    const auto result = before ? std::optional<std::string>(before) : std::nullopt;
    if (value)
        setenv(name, value->c_str(), 1);
    else
        unsetenv(name);
    return result;
}

std::ptrdiff_t open_descriptors() {
    namespace fs = std::filesystem;
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

std::size_t peak_memory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

int descriptor_with(const std::string &text) {
    int ends[2];
    if (pipe(ends) != 0)
        return -1;
    const bool written = write(ends[1], text.data(), text.size()) >= 0;
    close(ends[1]);
    return written ? ends[0] : -1;
}

void close_descriptor(int descriptor) {
    close(descriptor);
}

bool ended_by_abort(int status) {
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
}

std::string output_of(const std::string &command) {
    const std::unique_ptr<FILE, int (*)(FILE *)> out(popen(command.c_str(), "r"), pclose);
    std::string text;
    for (int c = 0; (c = std::fgetc(out.get())) != EOF;)
        text += static_cast<char>(c);
    return text;
}

} // namespace test_support
