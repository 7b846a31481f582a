#pragma once

#include "transport/waiter.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/system/error_code.hpp>

#include <functional>
#include <string>
#include <vector>

namespace kavro {

/// Looks up host names without ever making its owner wait for the system's resolver.
///
/// The system call cannot be interrupted, so it is a BlockingCall.
class NameResolver {
public:
    /// The addresses in the system's order, at most 16 of them.
    using Endpoints = std::vector<boost::asio::ip::tcp::endpoint>;
    /// Looks a host up and waits for the answer. Runs on a thread of its own, one that may outlive
    /// the resolver.
    using BlockingLookup = std::function<Endpoints(const std::string &host, const std::string &port,
                                                   boost::system::error_code &error)>;

    static constexpr std::size_t max_endpoints = 16;

    /// Asks the system's resolver.
    static Endpoints system_lookup(const std::string &host, const std::string &port,
                                   boost::system::error_code &error);

    NameResolver(BlockingLookup blocking_lookup = system_lookup)
        : blocking_lookup_(std::move(blocking_lookup)) {}

    /// Looks a host up for as long as the waiter has patience; afterwards the error is
    /// operation_aborted. `port` must be a decimal number below 65536: no service names are looked
    /// up.
    Endpoints resolve(const std::string &host, const std::string &port, Waiter &waiter,
                      boost::system::error_code &error) const;

private:
    BlockingLookup blocking_lookup_;
};

} // namespace kavro
