#include "spinner.h"

namespace kavro_cli {
namespace {

std::mutex current_mutex;
Spinner *current = nullptr;

void make_current(Spinner *spinner) {
    const std::lock_guard lock(current_mutex);
    current = spinner;
}

} // namespace

Spinner::Spinner(std::string label, Write write, std::chrono::milliseconds delay)
    : label_(std::move(label)), write_(std::move(write)), thread_([this, delay] { run(delay); }) {
    make_current(this);
}

Spinner::~Spinner() {
    make_current(nullptr);
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    ended_.notify_all();
    thread_.join();
}

void Spinner::say(const std::string &label) {
    const std::lock_guard lock(current_mutex);
    if (current == nullptr)
        return;
    const std::lock_guard label_lock(current->mutex_);
    current->label_ = label;
}

void Spinner::run(std::chrono::milliseconds delay) {
    static constexpr std::string_view frames = "|/-\\";
    if (!wait(delay))
        return;
    std::size_t frame = 0;
    do
        write_("\r" + label() + " " + frames[frame++ % frames.size()] + "\x1b[K");
    while (wait(std::chrono::milliseconds(120)));
    write_("\r\x1b[K");
}

std::string Spinner::label() {
    const std::lock_guard lock(mutex_);
    return label_;
}

bool Spinner::wait(std::chrono::milliseconds duration) {
    std::unique_lock lock(mutex_);
    return !ended_.wait_for(lock, duration, [this] { return ending_; });
}

} // namespace kavro_cli
