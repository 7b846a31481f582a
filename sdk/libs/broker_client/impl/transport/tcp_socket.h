#pragma once

#include "transport/connection_report.h"
#include "transport/name_resolution.h"
#include "transport/system_sockets.h"
#include "transport/waiter.h"

#include <cstddef>
#include <utility>

namespace kavro {

/// A connected TCP socket, or none. It never waits: what cannot be done at once is `would_block`.
class TcpSocket {
public:
    using error_code = boost::system::error_code;
    using Endpoint = boost::asio::ip::tcp::endpoint;

    TcpSocket() = default;
    /// Starts to connect; over once the socket can be written to, and then error() tells how.
    TcpSocket(const Endpoint &endpoint, error_code &error);
    TcpSocket(TcpSocket &&other) noexcept
        : handle_(std::exchange(other.handle_, system_sockets::no_socket)) {}
    TcpSocket &operator=(TcpSocket &&other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~TcpSocket();

    system_sockets::Handle handle() const { return handle_; }
    /// What went wrong with the socket since this was asked last.
    error_code error() const;
    void send_without_delay();
    std::size_t read(char *data, std::size_t size, error_code &error);
    std::size_t write(const char *data, std::size_t size, error_code &error);
    Endpoint local_endpoint(error_code &error) const;
    Endpoint remote_endpoint(error_code &error) const;

private:
    system_sockets::Handle handle_ = system_sockets::no_socket;
};

/// Connects to the first of a peer's addresses that answers. They are tried side by side, each a
/// quarter of a second after the one before or as soon as that has failed (RFC 8305 section 5).
/// @param report is told of each address that is tried, and of the one that answered.
/// @throws boost::system::system_error when there is no socket left to try with.
TcpSocket connect_to_one_of(const NameResolver::Endpoints &endpoints, Waiter &waiter,
                            ConnectionReport &report, boost::system::error_code &error);

} // namespace kavro
