#include "transport/name_resolution.h"

#include "transport/blocking_call.h"
#include "utils/src/broker_utils.h"

#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>

#include <memory>

namespace kavro {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

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
    struct Answer {
        Endpoints endpoints;
        error_code error;
    };
    error = is_port_number(port) ? error_code() : asio::error::service_not_found;
    if (error)
        return {};
    auto answer = BlockingCall::ask(
        [blocking_lookup = blocking_lookup_, host, port] {
            Answer found;
            found.endpoints = blocking_lookup(host, port, found.error);
            return found;
        },
        waiter, error);
    if (error == boost::system::errc::resource_unavailable_try_again)
        error = asio::error::host_not_found_try_again;
    if (!answer)
        return {};
    error = answer->error;
    if (answer->endpoints.size() > max_endpoints)
        answer->endpoints.resize(max_endpoints);
    return std::move(answer->endpoints);
}

} // namespace kavro
