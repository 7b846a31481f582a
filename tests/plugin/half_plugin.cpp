#include <cstdio>
#include <cstdlib>

// Has one entry point of the two, and tells when it is unloaded.

namespace {

struct Presence {
    ~Presence() { std::puts("unloaded"); }
} presence;

} // namespace

extern "C" void ENTRY_POINT() {
    std::abort();
}
