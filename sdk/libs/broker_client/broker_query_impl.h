#pragma once

#include "kavro_broker.h"
#include "query_broker_client.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

/// A type finder: searches on the caller's thread, one search at a time, and remembers what the
/// last one found.
struct broker_query_impl {
    explicit broker_query_impl(kavro::ProbeSettings probe_settings = {});

    /// Blocks until the search is over or cancelled. An empty port stands for the usual ones.
    kavro_broker_result find(const std::string &address, const std::string &port);

    /// Ends the search that runs, if any. From any thread and in a signal handler.
    void cancel() noexcept;

    const kavro::ProbeSettings settings;
    std::uint32_t finished = 0;  ///< 1 once a search has come to an end of its own
    std::uint32_t type_code = 0; ///< 0 when no broker was recognised
    std::string resolved_address;
    std::string port;

private:
    const std::shared_ptr<kavro::Waiter> waiter_;
    std::atomic<bool> cancelled_ = false;
};
