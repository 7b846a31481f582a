#pragma once

#include "transport/name_resolution.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace kavro {

/// Stands in for the system's resolver: knows the names that it is told.
class Names {
public:
    using Endpoints = NameResolver::Endpoints;

    void set(const std::string &host, Endpoints endpoints) { (*known_)[host] = endpoints; }
    /// How often anything was looked up.
    int lookups() const { return *lookups_; }

    NameResolver::BlockingLookup lookup() const {
        return [known = known_, count = lookups_](const std::string &host, const std::string &,
                                                  boost::system::error_code &error) {
            ++*count;
            const auto found = known->find(host);
            if (found == known->end())
                error = boost::asio::error::host_not_found;
            return error ? Endpoints() : found->second;
        };
    }

private:
    std::shared_ptr<std::map<std::string, Endpoints>> known_ =
        std::make_shared<std::map<std::string, Endpoints>>();
    std::shared_ptr<int> lookups_ = std::make_shared<int>();
};

/// A name server that answers no look-up before it is told to.
class SilentNames {
public:
    explicit SilentNames(NameResolver::Endpoints answer = {})
        : state_(std::make_shared<State>(std::move(answer))) {}
    ~SilentNames() { release(); }
    SilentNames(const SilentNames &) = delete;
    SilentNames &operator=(const SilentNames &) = delete;

    NameResolver::BlockingLookup lookup() const { return LookUp(state_); }

    void wait_for_lookups(int number) const {
        std::unique_lock lock(state_->mutex);
        state_->wait(lock, [&] { return state_->threads == number; });
    }

    /// Answers all look-ups and waits until their threads have ended.
    void release() {
        std::unique_lock lock(state_->mutex);
        state_->released = true;
        state_->changed.notify_all();
        state_->wait(lock, [this] { return state_->threads == 0; });
    }

private:
    struct State {
        explicit State(NameResolver::Endpoints endpoints) : answer(std::move(endpoints)) {}

        void count(int difference) {
            const std::lock_guard lock(mutex);
            threads += difference;
            changed.notify_all();
        }

        /// What would be waited for without end fails the test.
        template <class Condition>
        void wait(std::unique_lock<std::mutex> &lock, Condition condition) {
            EXPECT_TRUE(changed.wait_for(lock, std::chrono::seconds(20), condition));
        }

        const NameResolver::Endpoints answer;
        std::mutex mutex;
        std::condition_variable changed;
        int threads = 0; ///< in a look-up, or on the way out of one
        bool released = false;
    };

    /// Every look-up has a copy of its own, and its thread keeps it to the end.
    class LookUp {
    public:
        explicit LookUp(std::shared_ptr<State> state) : state_(std::move(state)) {}
        LookUp(const LookUp &other) : state_(other.state_) {}
        LookUp &operator=(const LookUp &) = delete;
        ~LookUp() {
            if (called_)
                state_->count(-1);
        }

        NameResolver::Endpoints operator()(const std::string &, const std::string &,
                                           boost::system::error_code &) {
            called_ = true;
            state_->count(1);
            std::unique_lock lock(state_->mutex);
            state_->wait(lock, [this] { return state_->released; });
            return state_->answer;
        }

    private:
        std::shared_ptr<State> state_;
        bool called_ = false;
    };

    std::shared_ptr<State> state_;
};

} // namespace kavro
