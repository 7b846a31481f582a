#include "transport/blocking_call.h"

#include "transport/system_threads.h"

#include <boost/asio/error.hpp>
#include <boost/system/errc.hpp>

#include <atomic>
#include <memory>
#include <system_error>
#include <thread>

namespace kavro {

namespace asio = boost::asio;
using boost::system::error_code;

namespace {

/// The calls that this process has left behind. A child of a fork begins with none: the threads
/// stayed with its parent.
class AbandonedCalls {
public:
    bool too_many() { return count() >= BlockingCall::max_abandoned; }
    void add(int difference) { count() += difference; }

private:
    std::atomic<int> &count() {
        const long process = process_id();
        if (counted_for_.exchange(process) != process)
            count_ = 0;
        return count_;
    }

    std::atomic<long> counted_for_ = 0;
    std::atomic<int> count_ = 0;
};

AbandonedCalls abandoned_calls;

/// What the owner and the call's thread share. All of it is there before the thread starts, so that
/// to come to an end cannot fail. Whoever comes second leaves the state to the other.
struct Course {
    enum class State { under_way, over, abandoned };

    std::atomic<State> state = State::under_way;
    std::shared_ptr<const system_sockets::Wakeup> owner;
    error_code error;

    /// False when the other side has decided already.
    bool decide(State decided) {
        State undecided = State::under_way;
        return state.compare_exchange_strong(undecided, decided);
    }
};

void run_out(Course &course, const std::function<void()> &call) {
    try {
        call();
    } catch (const std::exception &) {
        course.error = asio::error::no_memory; // a thread must not end the process
    }
    if (course.decide(Course::State::over))
        course.owner->ring();
    else
        abandoned_calls.add(-1);
}

} // namespace

error_code BlockingCall::run(std::function<void()> call, Waiter &waiter) {
    if (abandoned_calls.too_many())
        return make_error_code(boost::system::errc::resource_unavailable_try_again);
    const auto course = std::make_shared<Course>();
    course->owner = waiter.wakeup();
    try {
        const SignalsHeldBack for_the_thread;
        std::thread([course, call = std::move(call)] { run_out(*course, call); }).detach();
    } catch (const std::system_error &) {
        return asio::error::no_memory;
    }
    error_code error;
    while (!error && course->state == Course::State::under_way)
        error = waiter.wait();
    if (!error)
        return course->error;
    abandoned_calls.add(1);
    if (!course->decide(Course::State::abandoned))
        abandoned_calls.add(-1); // it was over already
    return error;
}

} // namespace kavro
