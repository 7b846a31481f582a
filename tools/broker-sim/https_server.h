#pragma once
#include "http_message.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>

#include <cstdint>
#include <string>
#include <thread>

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

/// The text of what it throws names the address and the port.
boost::asio::ip::tcp::acceptor listen(boost::asio::io_context &io, const std::string &address,
                                      std::uint16_t port);

/// HTTP/1.1 over TLS: one thread, any number of connections, each of them a coroutine.
class HttpsServer {
public:
    /// Listens, but serves nobody before start().
    HttpsServer(const std::string &address, std::uint16_t port, boost::asio::ssl::context tls,
                Service &service);
    ~HttpsServer();

    void start();

    boost::asio::ip::tcp::endpoint endpoint() const { return acceptor_.local_endpoint(); }

    /// Has the service asked again whether it accepts; returns when that is settled.
    void reconsider_accepting();

private:
    using Socket = boost::asio::ip::tcp::socket;
    using Stream = boost::asio::ssl::stream<Socket>;

    boost::asio::awaitable<void> accept_all();
    boost::asio::awaitable<void> serve(Socket socket, unsigned connection, Fault before_tls);
    boost::asio::awaitable<void> converse(Stream &stream, unsigned connection);
    void close_the_door();

    boost::asio::io_context io_{1};
    boost::asio::ssl::context tls_;
    boost::asio::ip::tcp::acceptor acceptor_;
    Socket door_stop_; ///< fills the queue of connections not accepted yet
    Service &service_;
    std::thread thread_;
};

} // namespace broker_sim
