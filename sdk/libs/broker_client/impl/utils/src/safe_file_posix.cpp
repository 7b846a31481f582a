#include "utils/src/safe_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kavro {

namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int number) : number_(number) {}
    ~FileDescriptor() { close(); }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;

    explicit operator bool() const { return number_ >= 0; }
    int get() const { return number_; }
    bool close() {
        const int number = number_;
        number_ = -1;
        return number < 0 || ::close(number) == 0;
    }

private:
    int number_;
};

bool read_all(int file, std::string &content) {
    std::size_t filled = 0;
    while (filled < content.size()) {
        const ssize_t got = read(file, content.data() + filled, content.size() - filled);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        filled += static_cast<std::size_t>(got);
    }
    return true;
}

bool write_all(int file, std::string_view content) {
    std::size_t written = 0;
    while (written < content.size()) {
        const ssize_t put = write(file, content.data() + written, content.size() - written);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        written += static_cast<std::size_t>(put);
    }
    return true;
}

std::error_code last_error() {
    return {errno != 0 ? errno : EIO, std::generic_category()};
}

} // namespace

std::optional<std::string> read_plain_file(const std::string &path, std::size_t limit) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size < 0 || static_cast<std::size_t>(status.st_size) > limit)
        return std::nullopt;
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    if (!read_all(file.get(), content))
        return std::nullopt;
    return content;
}

std::error_code replace_file(const std::string &path, std::string_view content) {
    std::string temporary = path + ".XXXXXX";
    FileDescriptor file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file)
        return last_error();
    // On disk before it gets its name, else a power cut could leave the name with nothing behind
    // it.
    if (write_all(file.get(), content) && fsync(file.get()) == 0 && file.close() &&
        rename(temporary.c_str(), path.c_str()) == 0)
        return {};
    const std::error_code failure = last_error();
    unlink(temporary.c_str());
    return failure;
}

} // namespace kavro
