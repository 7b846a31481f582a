#include "captured_log.h"
#include "hostile/fault_case.h"
#include "scripted_peer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <iostream>
#include <thread>

using namespace hostile;

namespace {

/// Every request, spoilt in every way at every moment: on eight threads at once, so that handles
/// that disturbed each other would be found out as well.
TEST(FaultTable, EveryRequestByEveryFaultAtEveryMoment) {
    constexpr std::size_t threads = 8;
    constexpr std::size_t block = 7;
    const test_support::TrustedCa trust;
    const kavro::CapturedLog log;
    const auto cases = all_cases();
    std::atomic<std::size_t> next = 0;
    std::vector<std::thread> workers;
    for (std::size_t i = 0; i < threads; ++i) {
        workers.emplace_back([&] {
            for (std::size_t at; (at = next.fetch_add(block)) < cases.size();)
                run_cases(test_support::new_handle(deadline),
                          std::span(cases).subspan(at, std::min(block, cases.size() - at)));
        });
    }
    for (auto &worker : workers)
        worker.join();
    std::cout << cases.size() << " cases\n";
}

} // namespace
