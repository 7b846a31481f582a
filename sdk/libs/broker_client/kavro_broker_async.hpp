/**
 * @file kavro_broker_async.hpp
 * @brief Requests for programs with an event loop: they return at once, and what came of them is
 * handed to a function on the program's own thread.
 */
#pragma once

#include "kavro_broker.hpp"

#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <thread>
#if defined(__cpp_impl_coroutine)
#include <coroutine>
#endif

namespace kavro_broker {

/// Has the program's thread call a function soon, as QMetaObject::invokeMethod(), g_idle_add(),
/// PostMessage() and asio::post() do. It is called on another thread, and may drop what it is given
/// when the program's thread has ended.
using post_function = std::function<void(std::function<void()>)>;

/// A broker that is asked from the program's thread, without waiting. Made, asked and destroyed on
/// that thread; cancel() may be called on any. What is asked runs on a thread of this object's, one
/// after the other, and so do the broker's callbacks.
class async_broker {
public:
    /// @param configured with its settings made.
    /// @param post reaches the program's thread.
    async_broker(broker configured, post_function post)
        : broker_(std::move(configured)),
          post_(std::move(post)),
          worker_([this] { work(); }),
          canceller_([this] { pass_cancels_on(); }) {}

    /// Cancels what is under way and waits for its end, 200 ms at most. No function is called from
    /// now on.
    ~async_broker() {
        *gone_ = true;
        {
            const std::lock_guard lock(mutex_);
            cancelled_ = asked_;
            ended_ = true;
        }
        changed_.notify_all();
        worker_.join();
        canceller_.join();
    }
    async_broker(const async_broker &) = delete;
    async_broker &operator=(const async_broker &) = delete;

    /// Has `request(broker &)` called on the other thread, and then `done` on the program's, with a
    /// std::future that is ready: it gives what the request returned or throws what it threw,
    /// kavro_broker::error most of all. What `done` throws is the event loop's affair.
    template <class Request, class Done>
    void ask(Request request, Done done) {
        using Result = std::invoke_result_t<Request &, broker &>;
        auto task = std::make_shared<std::packaged_task<Result(bool)>>(
            [this, request = std::move(request)](bool cancelled) mutable {
                if (cancelled)
                    throw error(KAVRO_BROKER_ERR_CANCELLED);
                return request(broker_);
            });
        auto deliver = [gone = gone_, task, done = std::move(done)]() mutable {
            if (!*gone)
                done(task->get_future());
        };
        {
            const std::lock_guard lock(mutex_);
            waiting_.push_back(
                {[task](bool cancelled) { (*task)(cancelled); }, std::move(deliver)});
            ++asked_;
        }
        changed_.notify_all();
    }

    /// Ends all that has been asked so far with #KAVRO_BROKER_ERR_CANCELLED, and returns at once.
    void cancel() {
        {
            const std::lock_guard lock(mutex_);
            cancelled_ = asked_;
        }
        changed_.notify_all();
    }

private:
    struct question {
        std::function<void(bool cancelled)> run;
        std::function<void()> deliver;
    };

    void work() {
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return ended_ || !waiting_.empty(); });
            if (ended_)
                return;
            question now = std::move(waiting_.front());
            waiting_.pop_front();
            running_ = true;
            const bool cancelled = begun_++ < cancelled_;
            lock.unlock();
            now.run(cancelled);
            post_(std::move(now.deliver)); // what `done` holds is let go of where it is called
            now = {};
            lock.lock();
            running_ = false;
            changed_.notify_all();
        }
    }

    /// A cancel that meets no request yet is forgotten, so that it is said until it is heard.
    void pass_cancels_on() {
        std::unique_lock lock(mutex_);
        while (!ended_ || running_) {
            if (running_ && begun_ <= cancelled_) {
                broker_.cancel();
                changed_.wait_for(lock, std::chrono::milliseconds(10));
            } else {
                changed_.wait(lock);
            }
        }
    }

    broker broker_;
    const post_function post_;
    const std::shared_ptr<bool> gone_ = std::make_shared<bool>(false); // the program's thread's
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<question> waiting_;
    std::size_t asked_ = 0, begun_ = 0, cancelled_ = 0; // how many; the first of them, in turn
    bool running_ = false, ended_ = false;
    std::thread worker_, canceller_;
};

#if defined(__cpp_impl_coroutine)
/// The same for coroutines on the program's thread: `co_await answer(broker, request)`. One that
/// waits for a broker that is destroyed is not resumed any more.
template <class Request>
class answer {
public:
    using result = std::invoke_result_t<Request &, broker &>;

    answer(async_broker &asked, Request request) : asked_(asked), request_(std::move(request)) {}

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> waiting) {
        asked_.ask(std::move(request_), [this, waiting](std::future<result> made) {
            made_ = std::move(made);
            waiting.resume();
        });
    }
    result await_resume() { return made_.get(); }

private:
    async_broker &asked_;
    Request request_;
    std::future<result> made_;
};
#endif

} // namespace kavro_broker
