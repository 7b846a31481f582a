#pragma once

#include "interruption.h"

#include <atomic>
#include <thread>

namespace kavro_cli {

/// Waits on a thread of its own for the signals that mean "stop". The first one raises the
/// interruption; a second one restores the terminal and ends the process at once.
///
/// To be made before any other thread, so that all of them leave these signals alone.
class SignalWatch {
public:
    explicit SignalWatch(Interruption &interruption);
    ~SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

private:
    void run();

    Interruption &interruption_;
    std::atomic<bool> stopping_ = false;
    std::thread thread_;
};

} // namespace kavro_cli
