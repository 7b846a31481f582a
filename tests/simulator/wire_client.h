#pragma once
#include "broker_sim.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

/// A TLS client that shows what comes over the wire. Nothing in it waits longer than its limit.
class WireClient {
public:
    using Error = boost::system::error_code;

    explicit WireClient(const broker_sim::Simulator &simulator,
                        std::chrono::milliseconds limit = std::chrono::seconds(20),
                        std::string_view server = broker_sim::server_name::broker);

    /// An operation that does not end within the limit fails with timed_out.
    Error connect();
    Error handshake();
    Error send(std::string_view bytes);

    /// What came until the connection ended or the limit was over. Each piece is a TLS record.
    struct Received {
        std::vector<std::string> pieces;
        Error end;

        std::string text() const;
    };
    Received receive();

    /// Changes the limit for what follows.
    void wait_at_most(std::chrono::milliseconds limit) { limit_ = limit; }

private:
    template <class Start>
    Error run(Start start);

    boost::asio::ip::tcp::endpoint peer_;
    std::chrono::milliseconds limit_;
    boost::asio::io_context io_;
    boost::asio::ssl::context tls_;
    boost::asio::ssl::stream<boost::asio::ip::tcp::socket> stream_;
};

/// What a server sends to these bytes on a connection of their own, and how that ended.
WireClient::Received converse(const broker_sim::Simulator &simulator, std::string_view bytes,
                              std::chrono::milliseconds patience = std::chrono::seconds(20),
                              std::string_view server = broker_sim::server_name::broker);

/// An HTTP request to the broker whose answer is followed by the end of the connection.
std::string http_request(std::string_view message, std::string_view cookie = {});

/// A request document around a message element.
std::string document(std::string_view message);
