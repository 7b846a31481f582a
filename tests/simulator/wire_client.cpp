#include "wire_client.h"

#include <boost/asio/write.hpp>
#include <gtest/gtest.h>

#include <array>
#include <numeric>

namespace asio = boost::asio;

WireClient::WireClient(const broker_sim::Simulator &simulator, std::chrono::milliseconds limit,
                       std::string_view server)
    : peer_(asio::ip::make_address(simulator.address()), simulator.port(server)),
      limit_(limit),
      tls_(asio::ssl::context::tls_client),
      stream_(io_, tls_) {
    tls_.add_certificate_authority(asio::buffer(simulator.ca_pem()));
    stream_.set_verify_mode(asio::ssl::verify_peer);
    stream_.set_verify_callback(asio::ssl::host_name_verification(simulator.address()));
}

template <class Start>
WireClient::Error WireClient::run(Start start) {
    Error result = asio::error::timed_out;
    start([&result](const Error &error, auto &&...) { result = error; });
    io_.restart();
    io_.run_for(limit_);
    if (!io_.stopped()) {
        Error ignored;
        stream_.next_layer().close(ignored);
        io_.run();
        result = asio::error::timed_out;
    }
    return result;
}

WireClient::Error WireClient::connect() {
    return run([&](auto done) { stream_.next_layer().async_connect(peer_, done); });
}

WireClient::Error WireClient::handshake() {
    if (const Error error = connect())
        return error;
    return run([&](auto done) { stream_.async_handshake(asio::ssl::stream_base::client, done); });
}

WireClient::Error WireClient::send(std::string_view bytes) {
    return run([&](auto done) { asio::async_write(stream_, asio::buffer(bytes), done); });
}

WireClient::Received WireClient::receive() {
    Received received;
    std::array<char, 20'000> piece;
    while (!received.end) {
        received.end = run([&](auto done) {
            stream_.async_read_some(asio::buffer(piece),
                                    [&, done](const Error &error, std::size_t size) mutable {
                                        if (size)
                                            received.pieces.emplace_back(piece.data(), size);
                                        done(error);
                                    });
        });
    }
    return received;
}

std::string WireClient::Received::text() const {
    return std::accumulate(pieces.begin(), pieces.end(), std::string());
}

WireClient::Received converse(const broker_sim::Simulator &simulator, std::string_view bytes,
                              std::chrono::milliseconds patience, std::string_view server) {
    WireClient client(simulator, std::chrono::seconds(20), server);
    EXPECT_FALSE(client.handshake());
    EXPECT_FALSE(client.send(bytes));
    client.wait_at_most(patience);
    return client.receive();
}

std::string document(std::string_view message) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<kavro-client version=\"2.1\">\r\n" +
           std::string(message) + "</kavro-client>\r\n";
}

std::string http_request(std::string_view message, std::string_view cookie) {
    const std::string body = document(message);
    std::string head = "POST /kavro-broker/xml HTTP/1.1\r\nHost: broker\r\nConnection: close\r\n";
    if (!cookie.empty())
        head += "Cookie: " + std::string(cookie) + "\r\n";
    return head + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}
