#pragma once
#include "connection_server.h"
#include "http_message.h"

#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>

#include <cstdint>
#include <string>

namespace broker_sim {

/// Who knows the answers. Called on the server's thread only.
class Service {
public:
    /// A new TCP connection and what goes wrong before its TLS.
    struct Connection {
        unsigned number = 0;
        Fault fault{};
    };
    /// An answer and how its way is spoilt.
    struct Reply {
        HttpAnswer answer{};
        Fault fault{};
        std::uint64_t number = 0; ///< what sent() is told of it
    };

    virtual bool refuses_to_accept() = 0; ///< asked before each TCP accept
    virtual Connection accept() = 0;
    virtual Reply answer(unsigned connection, const HttpRequest &request) = 0;
    virtual void sent(std::uint64_t number) = 0; ///< all of the reply of that number

protected:
    ~Service() = default;
};

/// HTTP/1.1 over TLS.
class HttpsServer {
public:
    /// Listens, but serves nobody before start().
    HttpsServer(const std::string &address, std::uint16_t port, boost::asio::ssl::context tls,
                Service &service);

    void start();

    boost::asio::ip::tcp::endpoint endpoint() const { return connections_.endpoint(); }

    /// Has the service asked again whether it accepts; returns when that is settled.
    void reconsider_accepting() { connections_.reconsider_refusing(); }

private:
    using Stream = boost::asio::ssl::stream<Socket>;

    boost::asio::awaitable<void> serve(Socket socket);
    boost::asio::awaitable<void> converse(Stream &stream, unsigned connection);

    boost::asio::ssl::context tls_;
    Service &service_;
    ConnectionServer connections_; ///< the last, because its thread uses all of the above
};

} // namespace broker_sim
