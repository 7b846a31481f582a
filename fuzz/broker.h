#pragma once

#include "fuzzing.h"
#include "support/scripted_peer.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace fuzz {

/// The only port that a fuzzer gets through to; see offline.cpp.
extern std::atomic<int> open_port;

/// A broker on the loopback interface, trusted as long as it lives, that answers with what the
/// fuzzer wants.
class Broker {
public:
    Broker()
        : peer_({{test_support::handshake(), [this](auto &client) { return serve(client); }}}) {
        open_port = peer_.endpoint().port();
    }

    /// The requests to come get these answers, one after the other and again from the first. One
    /// that starts as an element is sent as the body of a good response, any other as it is.
    void answer_with(std::vector<std::string> answers) {
        const std::lock_guard lock(mutex_);
        answers_ = std::move(answers);
        next_ = 0;
    }

    std::string address() const { return "https://" + peer_.address(); }
    std::string port() const { return peer_.port(); }

private:
    boost::asio::awaitable<void> serve(test_support::PeerConnection &client) {
        for (;;) {
            co_await test_support::expect_request()(client);
            const std::string answer = next_answer();
            if (!answer.starts_with('<'))
                co_return co_await end_with(answer, client);
            co_await test_support::send(test_support::http_ok(answer))(client);
        }
    }

    static boost::asio::awaitable<void> end_with(const std::string &answer,
                                                 test_support::PeerConnection &client) {
        co_await test_support::send(answer)(client);
        co_await test_support::close_notify()(client);
    }

    std::string next_answer() {
        const std::lock_guard lock(mutex_);
        return answers_.empty() ? "" : answers_[next_++ % answers_.size()];
    }

    test_support::TrustedCa trust_;
    std::mutex mutex_;
    std::vector<std::string> answers_;
    std::size_t next_ = 0;
    test_support::ScriptedPeer peer_;
};

/// The broker for the next execution. A new one now and then, because it remembers every
/// connection.
inline Broker &current_broker() {
    // Made here, not later: so that it ends, and its threads do, while OpenSSL is still there.
    static auto broker = std::make_unique<Broker>();
    static int executions = 0;
    if (++executions % 64 == 0) {
        broker.reset(); // what it trusts must go first
        broker = std::make_unique<Broker>();
    }
    return *broker;
}

} // namespace fuzz
