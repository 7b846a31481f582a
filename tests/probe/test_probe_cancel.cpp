#include "probe_test.h"

#include "support/unreachable.h"
#include "transport/io_names.h"

#include <atomic>
#include <future>
#include <random>
#include <thread>

namespace kavro {
namespace {

using Clock = std::chrono::steady_clock;

/// The next poll comes within 10 ms; the rest is for slow machines and sanitizers.
constexpr auto promptly = 1s;

TEST(CancelFindType, EndsTheSearchWhateverItWaitsFor) {
    const CapturedLog log;
    const SilentNames names;
    const FullBacklog backlog;
    const ScriptedPeer no_handshake({{expect_bytes(1), stall()}});
    const ScriptedPeer no_answer({after_request({stall()})});
    const auto is_asked = [](const ScriptedPeer &peer) {
        peer.wait_for(0, [](const PeerRecord &seen) { return !seen.received.empty(); });
    };
    std::atomic<bool> looked_up = false;
    const auto find_backlog = [&](auto &, auto &, auto &) {
        looked_up = true;
        looked_up.notify_all();
        return NameResolver::Endpoints{backlog.endpoint()};
    };
    const struct {
        const char *phase;
        NameResolver::BlockingLookup lookup;
        std::string address;
        std::function<void()> wait;
    } rows[] = {
        {"look-up", names.lookup(), "broker.test", [&] { names.wait_for_lookups(1); }},
        {"connect", find_backlog, "broker.test", [&] { looked_up.wait(false); }},
        {"handshake", {}, no_handshake.address(), [&] { is_asked(no_handshake); }},
        {"answer", {}, no_answer.address(), [&] { is_asked(no_answer); }},
    };
    for (const auto &[phase, lookup, address, wait] : rows) {
        SCOPED_TRACE(phase);
        broker_query_impl finder({.timeouts = {30s}, .lookup = lookup});
        auto search = std::async(std::launch::async, [&] { return find(finder, address); });
        wait();
        const auto cancelled_at = Clock::now();
        kavro_broker_cancel_find_type(&finder);
        EXPECT_EQ(search.get(), "5");
        EXPECT_LT(Clock::now() - cancelled_at, promptly);
        EXPECT_EQ(finder.finished, 0u);
    }
}

/// The first protocols fail, so that transports are replaced while the cancels come in. One that
/// comes before the search has begun is forgotten.
TEST(CancelFindType, AtAnyMomentIsEitherInTimeOrWithoutEffect) {
    const CapturedLog log;
    const ScriptedPeer peer({after_request({rst()})});
    broker_query_impl finder;
    std::mt19937 random(20261122);
    for (int round = 0; round < 24; ++round) {
        auto search = std::async(std::launch::async, [&] { return find(finder, peer.address()); });
        const auto moment = Clock::now() + std::chrono::microseconds(random() % 60000);
        while (Clock::now() < moment)
            std::this_thread::yield();
        for (int storm = 0; storm < 1000; ++storm)
            kavro_broker_cancel_find_type(&finder);
        const std::string found = search.get();
        EXPECT_TRUE(found == "5" || found == "HARD " + peer.port()) << found;
        kavro_broker_cancel_find_type(&finder);
        if (round % 8 == 0) {
            EXPECT_EQ(find(finder, peer.address()), "HARD " + peer.port());
        }
    }
}

} // namespace
} // namespace kavro
