#pragma once
#include "connection_server.h"

#include <cstdint>
#include <functional>
#include <string>

namespace broker_sim {

/// Shows a browser on this machine what goes on: plain HTTP on 127.0.0.1, nothing to write.
class StatusServer {
public:
    /// `status` gives the JSON that the page draws; it is called on the server's own thread.
    /// Port 0 is a free one. Throws when it cannot listen.
    StatusServer(std::uint16_t port, std::function<std::string()> status);

    std::uint16_t port() const { return connections_.endpoint().port(); }

private:
    boost::asio::awaitable<void> serve(Socket socket);

    std::function<std::string()> status_;
    ConnectionServer connections_; ///< the last, because its thread uses the above
};

} // namespace broker_sim
