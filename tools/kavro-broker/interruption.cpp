#include "interruption.h"

#include "failure.h"

namespace kavro_cli {

void Interruption::raise(int signal) {
    const std::lock_guard lock(mutex_);
    if (signal_ == 0)
        signal_ = signal;
    woken_.notify_all();
}

void Interruption::cancel_request() {
    const std::lock_guard lock(mutex_);
    kavro_broker_cancel(handle_);
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

void Interruption::watch(kavro_broker_handle handle) {
    const std::lock_guard lock(mutex_);
    handle_ = handle;
}

} // namespace kavro_cli
