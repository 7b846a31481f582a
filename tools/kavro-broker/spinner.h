#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace kavro_cli {

/// Tells the user on one terminal line that something takes a while. Waits that are over within
/// `delay` are not mentioned, and the line is clean again when the spinner is gone.
class Spinner {
public:
    using Write = std::function<void(std::string_view)>;

    Spinner(std::string label, Write write,
            std::chrono::milliseconds delay = std::chrono::milliseconds(300));
    ~Spinner();
    Spinner(const Spinner &) = delete;
    Spinner &operator=(const Spinner &) = delete;

    /// Changes what the spinner of this process says, if there is one just now.
    static void say(const std::string &label);

private:
    void run(std::chrono::milliseconds delay);
    std::string label();

    /// False when the spinner is to end.
    bool wait(std::chrono::milliseconds duration);

    std::string label_;
    Write write_;
    std::mutex mutex_;
    std::condition_variable ended_;
    bool ending_ = false;
    std::thread thread_;
};

} // namespace kavro_cli
