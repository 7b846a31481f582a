#pragma once

#include "io_client.h"
#include "transport/blocking_call.h"
#include "transport/name_resolution.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace kavro {

/// Stands in for the system's resolver: knows the names that it is told.
class Names {
public:
    using Endpoints = NameResolver::Endpoints;

    void set(const std::string &host, Endpoints endpoints) { state_->known[host] = endpoints; }
    /// How often anything was looked up.
    int lookups() const { return state_->lookups; }

    NameResolver::BlockingLookup lookup() const {
        return [state = state_](const std::string &host, const std::string &,
                                boost::system::error_code &error) {
            ++state->lookups;
            if (!state->known.contains(host))
                error = boost::asio::error::host_not_found;
            return error ? Endpoints() : state->known[host];
        };
    }

private:
    struct State {
        std::map<std::string, Endpoints> known;
        int lookups = 0;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// A name server that answers no look-up before it is told to.
class SilentNames {
public:
    explicit SilentNames(NameResolver::Endpoints answer = {}) {
        state_->answer = std::move(answer);
    }
    ~SilentNames() { release(); }
    SilentNames(const SilentNames &) = delete;
    SilentNames &operator=(const SilentNames &) = delete;

    NameResolver::BlockingLookup lookup() const {
        return [state = state_](auto &&...) {
            ++state->waiting;
            state->released.wait(false);
            --state->waiting;
            return state->answer;
        };
    }
    /// What would be waited for without end fails the test.
    void wait_for_lookups(int number) const {
        const auto end = std::chrono::steady_clock::now() + 20s;
        while (state_->waiting != number && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        EXPECT_EQ(state_->waiting, number);
    }
    /// Answers all look-ups.
    void release() {
        state_->released = true;
        state_->released.notify_all();
        wait_for_lookups(0);
    }

private:
    struct State {
        NameResolver::Endpoints answer;
        std::atomic<int> waiting = 0;
        std::atomic<bool> released = false;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Leaves as many look-ups behind as there may be: each of a connection that is cancelled.
inline void abandon_lookups(const SilentNames &silent) {
    for (int i = 1; i <= BlockingCall::max_abandoned; ++i) {
        HttpsXmlClient client(silent.lookup());
        const auto canceller = cancel_after(client, [&] { silent.wait_for_lookups(i); });
        EXPECT_EQ(connect(client, "broker.test:443").result.result, ConnectCode::cancelled);
    }
}

} // namespace kavro
