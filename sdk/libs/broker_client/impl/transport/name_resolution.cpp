#include "transport/name_resolution.h"

#include "utils/src/broker_utils.h"

#include <boost/asio/error.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace kavro {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

std::atomic<int> abandoned_lookups{0};

} // namespace

/// What the owner and the look-up's thread share. Whoever takes the handler completes the look-up;
/// the context is touched only while the handler is still here, so an abandoned thread never
/// reaches for a context that is gone.
struct NameResolver::Lookup {
    Lookup(asio::io_context &owner, Handler on_done)
        : context(owner), handler(std::move(on_done)), work(owner.get_executor()) {}

    bool complete(error_code error, Endpoints endpoints) {
        const std::lock_guard lock(mutex);
        if (!handler)
            return false;
        // Let go of from here, the context might stop while its thread starts the next operation.
        asio::post(context, [handler = std::move(handler), error, endpoints = std::move(endpoints),
                             work = std::move(work)] { handler(error, endpoints); });
        handler = nullptr;
        return true;
    }

    std::mutex mutex;
    asio::io_context &context;
    Handler handler;
    asio::executor_work_guard<asio::io_context::executor_type> work;
};

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

NameResolver::NameResolver(asio::io_context &context, BlockingLookup blocking_lookup)
    : context_(context), blocking_lookup_(std::move(blocking_lookup)) {}

NameResolver::~NameResolver() {
    cancel();
}

void NameResolver::async_resolve(const std::string &host, const std::string &port,
                                 Handler handler) {
    lookup_ = std::make_shared<Lookup>(context_, std::move(handler));
    if (!is_port_number(port)) {
        lookup_->complete(asio::error::service_not_found, {});
        return;
    }
    if (abandoned_lookups >= max_abandoned) {
        lookup_->complete(asio::error::host_not_found_try_again, {});
        return;
    }
    try {
        std::thread([lookup = lookup_, look_up = blocking_lookup_, host, port] {
            error_code error;
            Endpoints endpoints;
            try {
                endpoints = look_up(host, port, error);
                endpoints.resize(std::min(endpoints.size(), max_endpoints));
            } catch (const std::exception &) {
                error = asio::error::no_memory; // a thread must not end the process
            }
            if (!lookup->complete(error, std::move(endpoints)))
                --abandoned_lookups;
        }).detach();
    } catch (const std::system_error &) {
        lookup_->complete(asio::error::no_memory, {});
    }
}

void NameResolver::cancel() {
    if (const auto lookup = std::exchange(lookup_, nullptr)) {
        ++abandoned_lookups;
        if (!lookup->complete(asio::error::operation_aborted, {}))
            --abandoned_lookups; // it had answered already
    }
}

} // namespace kavro
