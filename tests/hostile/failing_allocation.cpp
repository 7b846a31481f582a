#include "hostile/failing_allocation.h"

#include <openssl/crypto.h>

#include <cstdlib>
#include <new>

namespace {

/// What is left to go until one fails; 0 when none shall fail any more.
thread_local std::size_t countdown = 0;
bool openssl_is_reached = false;

bool fails() {
    return countdown != 0 && --countdown == 0;
}

void *allocate(std::size_t size) {
    return fails() ? nullptr : std::malloc(size != 0 ? size : 1);
}

/// OpenSSL lets its memory functions be replaced before it has allocated anything, which it does in
/// constructors of static objects already.
[[gnu::constructor(101)]] void replace_functions_of_openssl() {
    openssl_is_reached =
        CRYPTO_set_mem_functions([](std::size_t size, const char *,
                                    int) { return fails() ? nullptr : std::malloc(size); },
                                 [](void *memory, std::size_t size, const char *, int) {
                                     return fails() ? nullptr : std::realloc(memory, size);
                                 },
                                 [](void *memory, const char *, int) { std::free(memory); }) == 1;
}

} // namespace

// The operators for arrays are the standard library's, which calls these.
void *operator new(std::size_t size) {
    if (void *memory = allocate(size))
        return memory;
    throw std::bad_alloc();
}
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
    return allocate(size);
}
void operator delete(void *memory) noexcept {
    std::free(memory);
}
void operator delete(void *memory, std::size_t) noexcept {
    std::free(memory);
}

namespace hostile {

FailingAllocation::FailingAllocation(std::size_t nth) {
    countdown = nth;
}

FailingAllocation::~FailingAllocation() {
    countdown = 0;
}

bool FailingAllocation::happened() const {
    return countdown == 0;
}

bool FailingAllocation::reaches_openssl() {
    return openssl_is_reached;
}

} // namespace hostile
