#include "transport/system_threads.h"

#include <process.h>

namespace kavro {

/// Nothing is delivered to a thread that did not ask for it.
struct SignalsHeldBack::Mask {};

SignalsHeldBack::SignalsHeldBack() = default;
SignalsHeldBack::~SignalsHeldBack() = default;

long process_id() {
    return ::_getpid();
}

} // namespace kavro
