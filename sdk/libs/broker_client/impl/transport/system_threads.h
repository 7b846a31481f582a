#pragma once

#include <memory>

namespace kavro {

/// Holds all signals back for as long as it exists, and for good on threads that start meanwhile:
/// the program's handlers must not run on threads that it does not know.
class SignalsHeldBack {
public:
    SignalsHeldBack();
    ~SignalsHeldBack();
    SignalsHeldBack(const SignalsHeldBack &) = delete;
    SignalsHeldBack &operator=(const SignalsHeldBack &) = delete;

private:
    struct Mask;
    std::unique_ptr<Mask> before_;
};

/// Which process this is; a fork's child is another one.
long process_id();

} // namespace kavro
