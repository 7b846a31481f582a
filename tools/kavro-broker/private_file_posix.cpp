#include "private_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <unistd.h>

namespace kavro_cli {
namespace {

bool write_all(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const auto count = ::write(descriptor, content.data(), content.size());
        if (count < 0 && errno != EINTR)
            return false;
        content.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    return fsync(descriptor) == 0;
}

} // namespace

void write_private_file(const std::string &path, std::string_view content) {
    auto temporary = path + ".XXXXXX";
    const int descriptor = mkstemp(temporary.data());
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), path);
    const bool written = write_all(descriptor, content);
    close(descriptor);
    if (written && std::rename(temporary.c_str(), path.c_str()) == 0)
        return;
    const int problem = errno;
    unlink(temporary.c_str());
    throw std::system_error(problem, std::generic_category(), path);
}

} // namespace kavro_cli
