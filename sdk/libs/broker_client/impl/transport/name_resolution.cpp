#include "transport/name_resolution.h"

#include "transport/system_threads.h"
#include "utils/src/broker_utils.h"

#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>

#include <algorithm>
#include <atomic>
#include <memory>
#include <system_error>
#include <thread>

namespace kavro {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

/// The look-ups that this process has left behind. A child of a fork begins with none: the threads
/// stayed with its parent.
class AbandonedLookups {
public:
    bool too_many() { return count() >= NameResolver::max_abandoned; }
    void add(int difference) { count() += difference; }

private:
    std::atomic<int> &count() {
        const long process = process_id();
        if (counted_for_.exchange(process) != process)
            count_ = 0;
        return count_;
    }

    std::atomic<long> counted_for_ = 0;
    std::atomic<int> count_ = 0;
};

AbandonedLookups abandoned_lookups;

/// What the owner and the look-up's thread share. All of it is there before the thread starts, so
/// that to hand over an answer cannot fail. Whoever comes second leaves the state to the other.
struct Lookup {
    enum class State { under_way, answered, abandoned };

    std::atomic<State> state = State::under_way;
    std::shared_ptr<const system_sockets::Wakeup> owner;
    NameResolver::Endpoints endpoints;
    error_code error;

    /// False when the other side has decided already.
    bool decide(State decided) {
        State undecided = State::under_way;
        return state.compare_exchange_strong(undecided, decided);
    }
};

void look_up(Lookup &lookup, const NameResolver::BlockingLookup &blocking_lookup,
             const std::string &host, const std::string &port) {
    try {
        lookup.endpoints = blocking_lookup(host, port, lookup.error);
        if (lookup.endpoints.size() > NameResolver::max_endpoints)
            lookup.endpoints.resize(NameResolver::max_endpoints);
    } catch (const std::exception &) {
        lookup.error = asio::error::no_memory; // a thread must not end the process
    }
    if (lookup.decide(Lookup::State::answered))
        lookup.owner->ring();
    else
        abandoned_lookups.add(-1);
}

} // namespace

NameResolver::Endpoints NameResolver::system_lookup(const std::string &host,
                                                    const std::string &port, error_code &error) {
    asio::io_context own_context;
    const auto results =
        tcp::resolver(own_context).resolve(host, port, tcp::resolver::numeric_service, error);
    Endpoints endpoints;
    for (const auto &entry : results)
        endpoints.push_back(entry.endpoint());
    return endpoints;
}

NameResolver::Endpoints NameResolver::resolve(const std::string &host, const std::string &port,
                                              Waiter &waiter, error_code &error) const {
    error = {};
    if (!is_port_number(port))
        error = asio::error::service_not_found;
    else if (abandoned_lookups.too_many())
        error = asio::error::host_not_found_try_again;
    if (error)
        return {};
    const auto lookup = std::make_shared<Lookup>();
    lookup->owner = waiter.wakeup();
    try {
        const SignalsHeldBack for_the_thread;
        std::thread([lookup, blocking = blocking_lookup_, host, port] {
            look_up(*lookup, blocking, host, port);
        }).detach();
    } catch (const std::system_error &) {
        error = asio::error::no_memory;
        return {};
    }
    while (!error && lookup->state == Lookup::State::under_way)
        error = waiter.wait();
    if (error) {
        abandoned_lookups.add(1);
        if (!lookup->decide(Lookup::State::abandoned))
            abandoned_lookups.add(-1); // it had answered already
        return {};
    }
    error = lookup->error;
    return std::move(lookup->endpoints);
}

} // namespace kavro
