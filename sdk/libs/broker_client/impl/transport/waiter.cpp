#include "transport/waiter.h"

#include "utils/src/broker_log.h"

#include <boost/asio/error.hpp>

#include <algorithm>

namespace kavro {

void Waiter::set_deadline(std::chrono::milliseconds timeout) {
    log_debug("Deadline Timer timeout set to %ld milliseconds.",
              static_cast<long>(timeout.count()));
    expired_ = false;
    if (timeout == std::chrono::milliseconds::zero())
        replace({});
    else
        replace(Clock::now() + timeout);
}

void Waiter::clear_deadline() {
    if (!due_)
        return;
    log_debug("Deadline Timer timeout cleared.");
    replace({});
}

void Waiter::drop_deadline() {
    replace({});
}

void Waiter::replace(std::optional<Clock::time_point> due) {
    if (due_)
        log_debug("Deadline Timer was cancelled.");
    due_ = due;
}

void Waiter::cancel() noexcept {
    cancelled_ = true;
    wakeup_->ring();
}

Waiter::error_code Waiter::check() {
    if (due_ && !cancelled_ && Clock::now() >= *due_) {
        log_debug("Deadline Timer has expired!");
        due_.reset();
        expired_ = true;
    }
    return expired_ || cancelled_ ? error_code(boost::asio::error::operation_aborted)
                                  : error_code();
}

Waiter::error_code Waiter::wait(std::span<system_sockets::Awaited> sockets,
                                std::optional<Clock::time_point> until) {
    if (const error_code over = check())
        return over;
    if (due_)
        until = until ? std::min(*until, *due_) : *due_;
    std::optional<std::chrono::milliseconds> left;
    if (until)
        left = std::max(std::chrono::ceil<std::chrono::milliseconds>(*until - Clock::now()),
                        std::chrono::milliseconds::zero());
    system_sockets::wait_for(sockets, *wakeup_, left);
    return check();
}

} // namespace kavro
