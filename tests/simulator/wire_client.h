#pragma once
#include "broker_sim.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string>
#include <string_view>
#include <vector>

/// A TLS client that shows what comes over the wire. What does not end within its limit fails with
/// timed_out.
class WireClient {
public:
    using Error = boost::system::error_code;

    explicit WireClient(const broker_sim::Simulator &simulator,
                        std::chrono::milliseconds limit = std::chrono::seconds(20),
                        std::string_view server = broker_sim::server_name::broker)
        : peer_(boost::asio::ip::make_address(simulator.address()), simulator.port(server)),
          limit_(limit) {}

    /// Of TCP and of TLS.
    Error handshake() {
        const Error error =
            run([this](auto done) { stream_.next_layer().async_connect(peer_, done); });
        return error ? error
                     : run([this](auto done) { stream_.async_handshake(stream_.client, done); });
    }
    Error send(std::string_view bytes) {
        return run([&](auto done) { async_write(stream_, boost::asio::buffer(bytes), done); });
    }

    /// What came until the connection ended or the limit was over. Each piece is a TLS record.
    struct Received {
        std::vector<std::string> pieces;
        std::string text; ///< all of them
        Error end;
    };
    Received receive(std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        Received received;
        std::array<char, 20'000> piece;
        limit_ = limit;
        while (!received.end) {
            std::size_t size = 0;
            received.end = run([&](auto done) {
                stream_.async_read_some(boost::asio::buffer(piece),
                                        [&, done](const Error &error, std::size_t count) mutable {
                                            size = count;
                                            done(error);
                                        });
            });
            if (size != 0)
                received.text += received.pieces.emplace_back(piece.data(), size);
        }
        return received;
    }

private:
    template <class Start>
    Error run(Start start) {
        Error result = boost::asio::error::timed_out;
        start([&result](const Error &error, auto &&...) { result = error; });
        io_.restart();
        io_.run_for(limit_);
        if (io_.stopped())
            return result;
        stream_.next_layer().close();
        io_.run();
        return boost::asio::error::timed_out;
    }

    boost::asio::ip::tcp::endpoint peer_;
    std::chrono::milliseconds limit_;
    boost::asio::io_context io_;
    boost::asio::ssl::context tls_{boost::asio::ssl::context::tls_client};
    boost::asio::ssl::stream<boost::asio::ip::tcp::socket> stream_{io_, tls_};
};

/// What a server sends to these bytes on a connection of their own, and how that ended.
inline WireClient::Received converse(const broker_sim::Simulator &simulator, std::string_view bytes,
                                     std::chrono::milliseconds patience = std::chrono::seconds(20),
                                     std::string_view server = broker_sim::server_name::broker) {
    WireClient client(simulator, std::chrono::seconds(20), server);
    EXPECT_FALSE(client.handshake());
    EXPECT_FALSE(client.send(bytes));
    return client.receive(patience);
}

/// An HTTP request to the broker around a message element; the end of the connection follows its
/// answer.
inline std::string http_request(std::string_view message, const std::string &cookie = {}) {
    const std::string body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
                             "<kavro-client version=\"2.1\">\r\n" +
                             std::string(message) + "</kavro-client>\r\n";
    return "POST /kavro-broker/xml HTTP/1.1\r\nHost: broker\r\nConnection: close\r\n" +
           (cookie.empty() ? "" : "Cookie: " + cookie + "\r\n") +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}
