#pragma once

namespace kavro {

/// Empties the vector registers, in which the last bytes that were copied still stand when a
/// request is over. A function that is bound at its first call has the dynamic linker save them all
/// on the stack, and so a password in them would get into a caller's memory.
void forget_registers() noexcept;

} // namespace kavro
