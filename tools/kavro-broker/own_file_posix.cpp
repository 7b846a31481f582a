#include "own_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace kavro_cli {
namespace {

class Descriptor {
public:
    Descriptor(const std::string &path, int flags)
        : number_(open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR)) {}
    ~Descriptor() {
        if (number_ >= 0)
            close(number_);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int get() const { return number_; }

private:
    const int number_;
};

[[noreturn]] void fail(const std::string &path) {
    throw std::system_error(errno, std::generic_category(), path);
}

/// Why a file cannot be believed; null when it can.
const char *doubt_about(const struct stat &file) {
    if (!S_ISREG(file.st_mode))
        return "is no plain file";
    if (file.st_uid != geteuid())
        return "belongs to somebody else";
    if ((file.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return "may be written to by others";
    return file.st_size > off_t{longest_own_file} ? "is too long" : nullptr;
}

} // namespace

std::string read_own_file(const std::string &path) {
    const Descriptor file(path, O_RDONLY | O_NONBLOCK); // a pipe is not waited for
    if (file.get() < 0 && errno == ENOENT)
        return {};
    if (file.get() < 0 && errno == ELOOP)
        throw unfit_file(path, "is a link");
    struct stat status {};
    if (fstat(file.get(), &status) != 0)
        fail(path);
    if (const char *doubt = doubt_about(status))
        throw unfit_file(path, doubt);
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    if (read(file.get(), content.data(), content.size()) != status.st_size)
        fail(path);
    return content;
}

std::shared_ptr<void> lock_file(const std::string &path) {
    auto file = std::make_shared<Descriptor>(path, O_RDWR | O_CREAT);
    while (flock(file->get(), LOCK_EX) != 0)
        if (errno != EINTR)
            fail(path);
    return file;
}

} // namespace kavro_cli
