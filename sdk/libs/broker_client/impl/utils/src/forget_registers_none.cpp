#include "utils/src/forget_registers.h"

namespace kavro {

// Windows binds all functions before a program starts, so nobody saves the registers there; of
// other processors than x86-64 it is not known how to.
void forget_registers() noexcept {}

} // namespace kavro
