#include "broker_client_impl.h"
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

/// All others may have been acted upon, and only their caller knows whether to ask again.
TEST(FaultTable, WhatOnlyAsksIsAskedAgainWhenAKeptConnectionIsDead) {
    using namespace test_support;
    const TrustedCa trust;
    const kavro::CapturedLog log;
    for (const Request &request : requests()) {
        if (request.answer.empty())
            continue;
        SCOPED_TRACE(request.name);
        const std::string_view name = request.name;
        const bool again = name == "hello" || name == "list" || name == "bye";
        const ScriptedPeer broker({{handshake(), expect_request(), send(http_ok(hello_answer())),
                                    expect_request(), fin()},
                                   {handshake(), expect_request(), send(http_ok(request.answer)),
                                    expect_request(), send(http_ok(good_request().answer))}});
        const auto handle = new_handle(deadline, broker.port());
        kavro_broker_keep_connection(handle.get(), 60);
        EXPECT_EQ(ask_method(handle.get()), KAVRO_BROKER_OK);
        EXPECT_EQ(request.send(handle.get()),
                  again ? KAVRO_BROKER_OK : KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE);
        EXPECT_EQ(broker.record(0).requests.size(), 2u) << "the dead one took the request";
        const auto &connections = handle->report.connections;
        EXPECT_TRUE(connections.front()->reused);
        EXPECT_EQ(connections.size() > 1 && !connections[1]->reused, again);
        EXPECT_EQ(broker.connection_count(), again ? 2u : 1u);
    }
}

} // namespace
