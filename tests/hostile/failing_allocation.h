#pragma once

#include <cstddef>

namespace hostile {

/// While it lives, one allocation of the calling thread fails: the n-th of those that the library,
/// or OpenSSL for it, makes from now on. The program's `operator new` and OpenSSL's memory
/// functions are replaced for it.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t nth);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation &) = delete;
    FailingAllocation &operator=(const FailingAllocation &) = delete;

    /// False when there were not as many.
    bool happened() const;
    /// Whether OpenSSL takes its memory from here.
    static bool reaches_openssl();
};

} // namespace hostile
