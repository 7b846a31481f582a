#pragma once

#include <cstddef>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace hostile {

/// A secret for the length of a test, kept so that this program itself holds no copy of it: what
/// is in memory is only readable through a mask.
class MaskedText {
public:
    /// One of its own for each number.
    explicit MaskedText(unsigned number);

    static constexpr std::size_t size = 48;

    /// Writes it in plain, with a terminating zero.
    void reveal(char (&buffer)[size + 1]) const;
    /// In how many places of this process's memory a piece of it stands. Whoever frees memory may
    /// spoil its beginning, so pieces count as well as the whole.
    std::size_t copies_in_memory() const;
    /// The same for a child process.
    std::size_t copies_in_memory_of(pid_t process) const;

private:
    std::vector<unsigned char> masked_;
};

} // namespace hostile
