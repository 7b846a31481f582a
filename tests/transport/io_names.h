#pragma once

#include "io_client.h"
#include "transport/name_resolution.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
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
            state->change([&] { ++state->waiting; });
            state->wait([&] { return state->released; });
            state->change([&] { --state->waiting; });
            return state->answer;
        };
    }
    void wait_for_lookups(int number) const {
        state_->wait([&] { return state_->waiting == number; });
    }
    /// Answers all look-ups.
    void release() {
        state_->change([this] { state_->released = true; });
        wait_for_lookups(0);
    }

private:
    struct State {
        void change(const auto &make_it) {
            const std::lock_guard lock(mutex);
            make_it();
            changed.notify_all();
        }
        /// What would be waited for without end fails the test.
        void wait(const auto &condition) {
            std::unique_lock lock(mutex);
            EXPECT_TRUE(changed.wait_for(lock, 20s, condition));
        }

        NameResolver::Endpoints answer;
        std::mutex mutex;
        std::condition_variable changed;
        int waiting = 0;
        bool released = false;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Leaves as many look-ups behind as there may be: each of a connection that is cancelled.
inline void abandon_lookups(const SilentNames &silent) {
    for (int i = 1; i <= NameResolver::max_abandoned; ++i) {
        HttpsXmlClient client(silent.lookup());
        const auto canceller = cancel_after(client, [&] { silent.wait_for_lookups(i); });
        EXPECT_EQ(connect(client, "broker.test:443").result.result, ConnectCode::cancelled);
    }
}

} // namespace kavro
