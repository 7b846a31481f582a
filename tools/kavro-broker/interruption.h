#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace kavro_cli {

/// The user's wish to stop, passed from the thread that waits for signals to whatever is waiting
/// for something else: a request, a prompt or a pause.
class Interruption {
public:
    /// Remembers the first signal and wakes pauses.
    void raise(int signal);

    /// Ends the running request, if there is one and the user wants to stop. A request that starts
    /// a moment later does not notice, so this is repeated for as long as the program runs on after
    /// raise().
    void cancel_request();

    /// For a user who goes on after something else was stopped.
    void reset();

    bool raised() const { return signal() != 0; }

    /// The signal, or 0.
    int signal() const;

    /// Throws the failure that a raised interruption means.
    void check() const;

    /// Throws the same as soon as it is raised.
    void pause(std::chrono::milliseconds duration) const;

    /// Knows for as long as it lives how to end the requests of a handle.
    class Watch {
    public:
        Watch(Interruption &interruption, std::function<void()> cancel);
        ~Watch();
        Watch(const Watch &) = delete;
        Watch &operator=(const Watch &) = delete;

    private:
        Interruption &interruption_;
    };

private:
    void set_cancel(std::function<void()> cancel);

    mutable std::mutex mutex_;
    mutable std::condition_variable woken_;
    int signal_ = 0;
    std::function<void()> cancel_;
};

} // namespace kavro_cli
