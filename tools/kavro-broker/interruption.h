#pragma once

#include <kavro_broker.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace kavro_cli {

/// The user's wish to stop, passed from the thread that waits for signals to whatever is waiting
/// for something else: a request, a prompt or a pause.
class Interruption {
public:
    /// Remembers the first signal and wakes pauses.
    void raise(int signal);

    /// Ends the running request, if any. A request that starts a moment later does not notice, so
    /// this is repeated for as long as the program runs on after raise().
    void cancel_request();

    bool raised() const { return signal() != 0; }

    /// The signal, or 0.
    int signal() const;

    /// Throws the failure that a raised interruption means.
    void check() const;

    /// Throws the same as soon as it is raised.
    void pause(std::chrono::milliseconds duration) const;

    /// Names the handle whose requests are to be cancelled; null before it is freed.
    void watch(kavro_broker_handle handle);

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable woken_;
    int signal_ = 0;
    kavro_broker_handle handle_ = nullptr;
};

} // namespace kavro_cli
