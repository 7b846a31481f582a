#pragma once

#include <cstddef>
#include <functional>
#include <utility>

namespace kavro {

/// Long work was ended by its checkpoint.
struct Interrupted {};

/// Called now and then by long work. Throws Interrupted, or what its maker likes better, to end it.
using Checkpoint = std::function<void()>;

/// Calls a checkpoint after so many small steps of work that asking costs nothing, and so few that
/// a cancel is heard within milliseconds.
class PacedCheckpoint {
public:
    static constexpr std::size_t interval = 64 * 1024;

    explicit PacedCheckpoint(Checkpoint checkpoint = {}) : checkpoint_(std::move(checkpoint)) {}

    void step(std::size_t count = 1) {
        steps_ += count;
        if (steps_ >= interval)
            call();
    }

private:
    void call() {
        steps_ = 0;
        if (checkpoint_)
            checkpoint_();
    }

    Checkpoint checkpoint_;
    std::size_t steps_ = 0;
};

} // namespace kavro
