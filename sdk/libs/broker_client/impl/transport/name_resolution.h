#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/system/error_code.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kavro {

/// Looks up host names without ever making its owner wait for the system's resolver.
///
/// The system call cannot be interrupted, so it runs on a thread of its own. A look-up that is
/// cancelled completes at once; its thread runs out unheard, and at most 16 such threads exist in
/// the process: with that many, further look-ups fail at once.
class NameResolver {
public:
    /// The addresses in the system's order, at most 16 of them.
    using Endpoints = std::vector<boost::asio::ip::tcp::endpoint>;
    using Handler = std::function<void(boost::system::error_code, const Endpoints &)>;
    /// Looks a host up and waits for the answer. Runs on a thread of its own, one that may outlive
    /// the resolver.
    using BlockingLookup = std::function<Endpoints(const std::string &host, const std::string &port,
                                                   boost::system::error_code &error)>;

    static constexpr std::size_t max_endpoints = 16;
    static constexpr int max_abandoned = 16;

    /// Asks the system's resolver.
    static Endpoints system_lookup(const std::string &host, const std::string &port,
                                   boost::system::error_code &error);

    explicit NameResolver(boost::asio::io_context &context,
                          BlockingLookup blocking_lookup = system_lookup);
    ~NameResolver();
    NameResolver(const NameResolver &) = delete;
    NameResolver &operator=(const NameResolver &) = delete;

    /// Calls `handler` once, from the context. One look-up at a time. `port` must be a decimal
    /// number below 65536: no service names are looked up.
    void async_resolve(const std::string &host, const std::string &port, Handler handler);

    /// Completes the look-up under way, if any, with operation_aborted.
    void cancel();

private:
    struct Lookup;

    boost::asio::io_context &context_;
    BlockingLookup blocking_lookup_;
    std::shared_ptr<Lookup> lookup_;
};

} // namespace kavro
