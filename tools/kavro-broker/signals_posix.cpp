#include "signals.h"

#include "terminal.h"

#include <csignal>
#include <pthread.h>
#include <unistd.h>

namespace kavro_cli {
namespace {

/// How often a request is asked to end once the user wants to stop.
constexpr timespec cancel_interval{0, 50'000'000};

sigset_t stop_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaddset(&signals, signal);
    return signals;
}

[[noreturn]] void leave_at_once(int signal) {
    restore_terminal();
    _exit(128 + signal);
}

} // namespace

SignalWatch::SignalWatch(Interruption &interruption) : interruption_(interruption) {
    const auto signals = stop_signals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    thread_ = std::thread([this] { run(); });
}

SignalWatch::~SignalWatch() {
    stopping_ = true;
    pthread_kill(thread_.native_handle(), SIGTERM);
    thread_.join();
}

void SignalWatch::run() {
    const auto signals = stop_signals();
    for (;;) {
        const bool raised = interruption_.raised();
        const int signal = raised ? sigtimedwait(&signals, nullptr, &cancel_interval)
                                  : sigwaitinfo(&signals, nullptr);
        if (stopping_)
            return;
        if (signal > 0 && raised)
            leave_at_once(signal);
        if (signal > 0)
            interruption_.raise(signal);
        if (interruption_.raised())
            interruption_.cancel_request();
    }
}

} // namespace kavro_cli
