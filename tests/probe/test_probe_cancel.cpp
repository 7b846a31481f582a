#include "probe_test.h"

#include "transport/io_names.h"

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
    const ScriptedPeer peer({after_request({stall()})});
    const struct {
        const char *phase;
        std::string address;
        std::function<void()> wait;
    } rows[] = {
        {"look-up", "broker.test", [&] { names.wait_for_lookups(1); }},
        {"answer", peer.address(),
         [&] { peer.wait_for(0, [](const PeerRecord &seen) { return !seen.requests.empty(); }); }},
    };
    for (const auto &[phase, address, wait] : rows) {
        SCOPED_TRACE(phase);
        broker_query_impl finder({.timeouts = {30s}, .lookup = names.lookup()});
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
