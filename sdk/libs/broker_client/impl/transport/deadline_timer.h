#pragma once

#include <boost/asio/io_context.hpp>

#include <chrono>
#include <functional>
#include <optional>

namespace kavro {

/// Bounds one step of the transport: unless it is cleared in time, the deadline passes and its
/// action ends the step. On the steady clock, so that setting the wall clock changes nothing.
///
/// Whoever runs the context waits no longer than the deadline, which takes no system call of its
/// own to set or clear.
class DeadlineTimer {
public:
    explicit DeadlineTimer(std::function<void()> on_expired);

    /// Starts anew; a deadline set earlier no longer counts. 0 sets none.
    void set(std::chrono::milliseconds timeout);
    void clear();
    /// Whether the deadline passed since it was last set.
    bool expired() const { return expired_; }

    /// Waits for a handler of the context and calls it, or the action when the deadline comes
    /// first.
    /// @returns whether there was anything to wait for.
    bool run_one(boost::asio::io_context &context);
    /// Calls the handlers that are ready, and the action when the deadline has passed.
    void poll(boost::asio::io_context &context);

private:
    using Clock = std::chrono::steady_clock;

    void replace(std::optional<Clock::time_point> due);
    void expire();

    std::function<void()> on_expired_;
    std::optional<Clock::time_point> due_;
    bool expired_ = false;
};

} // namespace kavro
