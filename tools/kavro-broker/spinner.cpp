#include "spinner.h"

namespace kavro_cli {

Spinner::Spinner(std::string label, Write write, std::chrono::milliseconds delay)
    : label_(std::move(label)), write_(std::move(write)), thread_([this, delay] { run(delay); }) {}

Spinner::~Spinner() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    ended_.notify_all();
    thread_.join();
}

void Spinner::run(std::chrono::milliseconds delay) {
    static constexpr std::string_view frames = "|/-\\";
    if (!wait(delay))
        return;
    std::size_t frame = 0;
    do
        write_("\r" + label_ + " " + frames[frame++ % frames.size()] + "\x1b[K");
    while (wait(std::chrono::milliseconds(120)));
    write_("\r\x1b[K");
}

bool Spinner::wait(std::chrono::milliseconds duration) {
    std::unique_lock lock(mutex_);
    return !ended_.wait_for(lock, duration, [this] { return ending_; });
}

} // namespace kavro_cli
