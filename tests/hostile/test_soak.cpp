#include "captured_log.h"
#include "hostile/fault_case.h"
#include "hostile/rounds.h"
#include "scripted_peer.h"
#include "system.h"

#include <gtest/gtest.h>

#include <iostream>
#include <malloc.h>
#include <random>

using namespace hostile;

namespace {

/// The cases in the order of chance. One silence in fifty is kept, for each costs a deadline.
class Chance {
public:
    std::vector<Case> take(int count) {
        std::vector<Case> taken;
        while (taken.size() < std::size_t(count)) {
            const Case &any = cases_[random_() % cases_.size()];
            if (any.ill != Ill::stall || random_() % 50 == 0)
                taken.push_back(any);
        }
        return taken;
    }

private:
    std::mt19937 random_{20261121};
    const std::vector<Case> cases_ = all_cases();
};

TEST(Soak, NeitherMemoryNorDescriptorsGrow) {
    constexpr int block = 50;
    constexpr std::ptrdiff_t settling = 160 * 1024; // caches of the libraries, whatever the rounds
    constexpr std::ptrdiff_t each = 16;             // what a handle remembers of each broker
    const test_support::TrustedCa trust;
    const kavro::CapturedLog log;
    Chance chance;
    const auto handle = test_support::new_handle(deadline);
    for (int warm_up = 0; warm_up < 4; ++warm_up)
        run_cases(handle, chance.take(block));
    const auto descriptors = test_support::open_descriptors();
    const auto memory = mallinfo2().uordblks;
    const int rounds = hostile::rounds(400);
    for (int done = 0; done < rounds && !testing::Test::HasFailure(); done += block)
        run_cases(handle, chance.take(block));
    const auto grown = std::ptrdiff_t(mallinfo2().uordblks) - std::ptrdiff_t(memory);
    std::cout << rounds << " requests: memory in use " << memory << " bytes and then " << grown
              << " more, " << descriptors << " descriptors and then "
              << test_support::open_descriptors() << '\n';
    EXPECT_LT(grown, settling + each * rounds);
    EXPECT_EQ(test_support::open_descriptors(), descriptors);
}

} // namespace
