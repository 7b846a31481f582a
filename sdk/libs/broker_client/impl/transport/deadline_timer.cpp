#include "transport/deadline_timer.h"

#include "utils/src/broker_log.h"

#include <boost/asio/error.hpp>

namespace kavro {

DeadlineTimer::DeadlineTimer(boost::asio::io_context &context, std::function<void()> on_expired)
    : timer_(context), on_expired_(std::move(on_expired)) {}

void DeadlineTimer::set(std::chrono::milliseconds timeout) {
    log_debug("Deadline Timer timeout set to %ld milliseconds.",
              static_cast<long>(timeout.count()));
    expired_ = false;
    ++generation_;
    if (timeout == std::chrono::milliseconds::zero())
        return;
    timer_.expires_after(timeout);
    timer_.async_wait([this, generation = generation_](const boost::system::error_code &error) {
        handle_wait(error, generation);
    });
}

void DeadlineTimer::clear() {
    log_debug("Deadline Timer timeout cleared.");
    ++generation_;
    // Moving the expiry ends the pending wait as cancelled.
    timer_.expires_after(std::chrono::milliseconds(-1));
}

void DeadlineTimer::handle_wait(const boost::system::error_code &error, std::uint64_t generation) {
    if (error == boost::asio::error::operation_aborted) {
        log_debug("Deadline Timer was cancelled.");
        return;
    }
    if (generation != generation_)
        return;
    log_debug("Deadline Timer has expired!");
    expired_ = true;
    on_expired_();
}

} // namespace kavro
