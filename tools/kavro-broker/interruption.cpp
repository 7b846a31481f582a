#include "interruption.h"

#include "failure.h"

#include <utility>

namespace kavro_cli {

void Interruption::raise(int signal) {
    const std::lock_guard lock(mutex_);
    if (signal_ == 0)
        signal_ = signal;
    woken_.notify_all();
}

void Interruption::cancel_request() {
    const std::lock_guard lock(mutex_);
    if (signal_ != 0 && cancel_)
        cancel_();
}

void Interruption::reset() {
    const std::lock_guard lock(mutex_);
    signal_ = 0;
}

int Interruption::signal() const {
    const std::lock_guard lock(mutex_);
    return signal_;
}

void Interruption::check() const {
    if (raised())
        throw Failure(KAVRO_BROKER_ERR_CANCELLED);
}

void Interruption::pause(std::chrono::milliseconds duration) const {
    {
        std::unique_lock lock(mutex_);
        woken_.wait_for(lock, duration, [this] { return signal_ != 0; });
    }
    check();
}

Interruption::Watch::Watch(Interruption &interruption, std::function<void()> cancel)
    : interruption_(interruption) {
    interruption_.set_cancel(std::move(cancel));
}

Interruption::Watch::~Watch() {
    interruption_.set_cancel(nullptr);
}

void Interruption::set_cancel(std::function<void()> cancel) {
    const std::lock_guard lock(mutex_);
    cancel_ = std::move(cancel);
}

} // namespace kavro_cli
