#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstdint>
#include <functional>

namespace kavro {

/// Bounds one step of the transport: unless it is cleared in time, the deadline passes and its
/// action ends the step. Runs on the steady clock, so that setting the wall clock changes nothing.
class DeadlineTimer {
public:
    DeadlineTimer(boost::asio::io_context &context, std::function<void()> on_expired);

    /// Starts anew; a deadline set earlier no longer counts, even when it has just passed. 0 sets
    /// none.
    void set(std::chrono::milliseconds timeout);
    void clear();
    /// Whether the deadline passed since it was last set.
    bool expired() const { return expired_; }

private:
    void handle_wait(const boost::system::error_code &error, std::uint64_t generation);

    boost::asio::steady_timer timer_;
    std::function<void()> on_expired_;
    /// A wait that completed just before the timer was set again or cleared is already queued: it
    /// is told from the current one by its number.
    std::uint64_t generation_ = 0;
    bool expired_ = false;
};

} // namespace kavro
