#pragma once
#include "connection_server.h"
#include "http_message.h"
#include "scenario.h"

#include <boost/asio/ssl/context.hpp>

#include <cstdint>
#include <optional>
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
        std::uint64_t number = 0;                               ///< what sent() is told of it
        std::optional<boost::asio::ip::tcp::endpoint> tunnel{}; ///< where the connection then leads
    };

    virtual Door door() = 0; ///< looked at before each TCP accept
    virtual Connection accept() = 0;
    virtual Reply answer(unsigned connection, const HttpRequest &request) = 0;
    virtual void sent(std::uint64_t number) = 0; ///< all of the reply of that number
    virtual void ended(unsigned connection) = 0;

protected:
    ~Service() = default;
};

/// HTTP/1.1 over TLS; as a proxy, whatever a client begins with.
class HttpsServer {
public:
    /// Listens, but serves nobody before start(). @param proxy null for every other server.
    HttpsServer(const std::string &address, const Listener &listener, boost::asio::ssl::context tls,
                const Proxy *proxy, Service &service);

    void start();

    boost::asio::ip::tcp::endpoint endpoint() const { return connections_.endpoint(); }

    void mind_the_door() { connections_.mind_the_door(); }

private:
    boost::asio::awaitable<void> serve(Socket socket);
    boost::asio::awaitable<void> speak(Socket socket, unsigned connection);
    template <class Stream, class Client>
    boost::asio::awaitable<void> converse(Stream &stream, Client &client, unsigned connection);

    boost::asio::ssl::context tls_;
    const Patience patience_;
    const Proxy *const proxy_;
    Service &service_;
    ConnectionServer connections_; ///< the last, because its thread uses all of the above
};

} // namespace broker_sim
