#pragma once

#include "transport/system_sockets.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <span>

namespace kavro {

/// The one place where the library waits: for sockets and for the system's resolver, no longer than
/// the deadline allows and not after a cancel. One for everything that happens on a handle.
///
/// The deadline is on the steady clock, so that setting the wall clock changes nothing. Only
/// cancel() may be called from another thread.
class Waiter {
public:
    using Clock = std::chrono::steady_clock;
    using error_code = boost::system::error_code;

    /// Bounds what comes until it is cleared; one set earlier no longer counts. 0 sets none.
    void set_deadline(std::chrono::milliseconds timeout);
    /// The deadline was met; says nothing when it has passed or none is set.
    void clear_deadline();
    /// There is nothing left that the deadline would end.
    void drop_deadline();
    void forget_deadline() { due_.reset(); }
    /// Whether the deadline passed since it was last set.
    bool expired() const { return expired_; }

    /// Ends the wait under way, or else the next one. Allocates and locks nothing: it may be called
    /// in a signal handler.
    void cancel() noexcept;
    bool cancelled() const { return cancelled_; }
    /// What was cancelled is over.
    void forget_cancel() { cancelled_ = false; }

    /// operation_aborted once the deadline has passed or somebody has cancelled.
    error_code check();
    /// Waits until one of the sockets is ready or somebody rings, or until the given moment; what
    /// for is for the caller to see.
    /// @returns operation_aborted when the deadline or a cancel ends it.
    error_code wait(std::span<system_sockets::Awaited> sockets = {},
                    std::optional<Clock::time_point> until = {});

    /// By which a thread that looks up a name ends the wait for it.
    const std::shared_ptr<const system_sockets::Wakeup> &wakeup() const { return wakeup_; }

private:
    void replace(std::optional<Clock::time_point> due);

    std::shared_ptr<const system_sockets::Wakeup> wakeup_ =
        std::make_shared<system_sockets::Wakeup>();
    std::atomic<bool> cancelled_ = false;
    std::optional<Clock::time_point> due_;
    bool expired_ = false;
};

} // namespace kavro
