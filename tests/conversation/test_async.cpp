#include "conversation/conversation.h"
#include "kavro_broker_async.hpp"
#include "support/scripted_peer.h"

// The layer for programs with an event loop.

using namespace conversation;
using namespace test_support;
using kavro_broker::async_broker;

namespace {

/// The program's thread is the one that runs it.
class Loop {
public:
    kavro_broker::post_function post() {
        return [this](std::function<void()> function) {
            const std::lock_guard lock(mutex_);
            posted_.push_back(std::move(function));
            changed_.notify_all();
        };
    }
    /// Calls this many functions.
    void run(int count) {
        for (; count > 0; --count) {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return !posted_.empty(); });
            const auto function = std::move(posted_.front());
            posted_.pop_front();
            lock.unlock();
            function();
        }
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> posted_;
};

kavro_broker::broker asking(const std::string &port) {
    kavro_broker::broker broker;
    broker.set_broker_address("127.0.0.1", port);
    broker.set_client_info("async", "1.0", "test");
    return broker;
}

const auto ask_method = [](kavro_broker::broker &broker) { return broker.auth_method(); };

const auto no_operation = [](kavro_broker::broker &broker) {
    return broker.perform_desktop_operation("desktop-office", 99), 0;
};

class Async : public testing::Test {
protected:
    /// Puts down what a request came to, and that the program's thread was told.
    auto noting() {
        return [this](auto future) {
            EXPECT_EQ(std::this_thread::get_id(), thread_);
            try {
                results_.push_back(static_cast<kavro_broker_result>(future.get()));
            } catch (const kavro_broker::error &error) {
                results_.push_back(error.code());
            }
        };
    }
    bool waits(const ScriptedPeer &peer) {
        return peer.wait_for(0, [](const PeerRecord &seen) { return !seen.received.empty(); });
    }

    const Log log_;
    Loop loop_;
    const std::thread::id thread_ = std::this_thread::get_id();
    std::vector<kavro_broker_result> results_;
};

TEST_F(Async, ResultsComeInTurnOnTheProgramsThread) {
    const Conversation talk(open_door());
    async_broker broker(asking(std::to_string(talk.broker.port())), loop_.post());
    broker.ask(ask_method, noting());
    broker.ask([](auto &b) { return b.request_desktop_list().size(); }, noting());
    broker.ask(no_operation, noting());
    loop_.run(3);
    EXPECT_EQ(results_, (std::vector<kavro_broker_result>{KAVRO_BROKER_AUTH_METHOD_NONE, 4,
                                                          KAVRO_BROKER_ERR_INVALID_PARAMETER}));
}

TEST_F(Async, ACancelEndsWhatHasBeenAskedSoFar) {
    const auto begin = Clock::now();
    const ScriptedPeer silent({{expect_bytes(1), stall()}});
    async_broker broker(asking(silent.port()), loop_.post());
    broker.ask(ask_method, noting());
    broker.ask(ask_method, noting());
    ASSERT_TRUE(waits(silent));
    broker.cancel();
    broker.ask([](auto &b) { return b.get() != nullptr; }, noting());
    loop_.run(3);
    for (int i = 0; i < 20; ++i) {
        broker.ask(ask_method, [](auto) {});
        broker.cancel(); // whether it has begun or not
        loop_.run(1);
    }
    EXPECT_EQ(results_, (std::vector<kavro_broker_result>{KAVRO_BROKER_ERR_CANCELLED,
                                                          KAVRO_BROKER_ERR_CANCELLED, 1}));
    EXPECT_LT(Clock::now() - begin, 10s);
}

TEST_F(Async, NothingIsHeardOfABrokerThatIsGone) {
    const ScriptedPeer silent({{expect_bytes(1), stall()}});
    const auto begin = Clock::now();
    {
        async_broker broker(asking(silent.port()), loop_.post());
        broker.ask(ask_method, noting());
        broker.ask(ask_method, noting());
        ASSERT_TRUE(waits(silent));
    }
    loop_.run(1); // was posted at its end
    EXPECT_TRUE(results_.empty());
    EXPECT_LT(Clock::now() - begin, margin);
}

struct Fire {
    struct promise_type {
        Fire get_return_object() { return {}; }
        std::suspend_never initial_suspend() { return {}; }
        std::suspend_never final_suspend() noexcept { return {}; }
        void return_void() {}
        void unhandled_exception() { std::terminate(); }
    };
};

Fire converse(async_broker &broker, std::vector<kavro_broker_result> &results) {
    results.push_back(co_await kavro_broker::answer(broker, ask_method));
    try {
        results.push_back(co_await kavro_broker::answer(broker, no_operation));
    } catch (const kavro_broker::error &error) {
        results.push_back(error.code());
    }
}

TEST_F(Async, CoroutinesAwaitAnswers) {
    const Conversation talk(open_door());
    async_broker broker(asking(std::to_string(talk.broker.port())), loop_.post());
    converse(broker, results_);
    loop_.run(2);
    EXPECT_EQ(results_, (std::vector<kavro_broker_result>{KAVRO_BROKER_AUTH_METHOD_NONE,
                                                          KAVRO_BROKER_ERR_INVALID_PARAMETER}));
}

} // namespace
