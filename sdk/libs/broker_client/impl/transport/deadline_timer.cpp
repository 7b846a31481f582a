#include "transport/deadline_timer.h"

#include "utils/src/broker_log.h"

namespace kavro {

DeadlineTimer::DeadlineTimer(std::function<void()> on_expired)
    : on_expired_(std::move(on_expired)) {}

void DeadlineTimer::set(std::chrono::milliseconds timeout) {
    log_debug("Deadline Timer timeout set to %ld milliseconds.",
              static_cast<long>(timeout.count()));
    expired_ = false;
    if (timeout == std::chrono::milliseconds::zero())
        replace({});
    else
        replace(Clock::now() + timeout);
}

void DeadlineTimer::clear() {
    log_debug("Deadline Timer timeout cleared.");
    replace({});
}

void DeadlineTimer::replace(std::optional<Clock::time_point> due) {
    if (due_)
        log_debug("Deadline Timer was cancelled.");
    due_ = due;
}

void DeadlineTimer::expire() {
    log_debug("Deadline Timer has expired!");
    due_.reset();
    expired_ = true;
    on_expired_();
}

bool DeadlineTimer::run_one(boost::asio::io_context &context) {
    if (!due_)
        return context.run_one() != 0;
    if (context.run_one_until(*due_) != 0)
        return true;
    if (context.stopped())
        return false;
    expire();
    return true;
}

void DeadlineTimer::poll(boost::asio::io_context &context) {
    context.poll();
    if (due_ && Clock::now() >= *due_) {
        expire();
        context.poll();
    }
}

} // namespace kavro
