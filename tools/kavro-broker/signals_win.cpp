#include "signals.h"

#include "terminal.h"

#include <windows.h>

#include <csignal>
#include <cstdlib>

namespace kavro_cli {
namespace {

/// How often a request is asked to end once the user wants to stop.
constexpr DWORD cancel_interval_ms = 50;

/// Raised once the user wants to stop. It lives as long as the process, since the system may call
/// back at any time.
HANDLE stop_requested() {
    static const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return event;
}

/// Runs on a thread that the system makes for it.
BOOL WINAPI on_console_event(DWORD) {
    if (WaitForSingleObject(stop_requested(), 0) == WAIT_OBJECT_0) {
        restore_terminal();
        std::_Exit(128 + SIGINT);
    }
    SetEvent(stop_requested());
    return TRUE;
}

} // namespace

SignalWatch::SignalWatch(Interruption &interruption) : interruption_(interruption) {
    ResetEvent(stop_requested());
    SetConsoleCtrlHandler(&on_console_event, TRUE);
    thread_ = std::thread([this] { run(); });
}

SignalWatch::~SignalWatch() {
    SetConsoleCtrlHandler(&on_console_event, FALSE);
    stopping_ = true;
    SetEvent(stop_requested());
    thread_.join();
}

void SignalWatch::run() {
    while (!stopping_) {
        WaitForSingleObject(stop_requested(), INFINITE);
        if (stopping_)
            return;
        interruption_.raise(SIGINT);
        while (!stopping_ && interruption_.raised()) {
            interruption_.cancel_request();
            Sleep(cancel_interval_ms);
        }
        if (!stopping_)
            ResetEvent(stop_requested());
    }
}

} // namespace kavro_cli
