#pragma once

#include "connection_server.h"
#include "minting.h"

#include <boost/asio/ssl/context.hpp>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace test_support {

class PeerConnection;

/// One thing that the peer does on a connection. A step that fails, because the other side is gone
/// for instance, ends the script.
using Step = std::function<boost::asio::awaitable<void>(PeerConnection &)>;

/// What the peer does on one connection, TCP being established. Without handshake() the steps speak
/// plain TCP. When the script is at its end, the peer listens until the other side closes.
using Script = std::vector<Step>;

/// The TLS handshake as the server.
Step handshake();
/// Waits until that many bytes have come in.
Step expect_bytes(std::size_t count);
/// Waits for a whole HTTP request with its body.
Step expect_request();
Step send(std::string bytes);
/// Each piece is a TLS record of its own.
Step drip(std::string bytes, std::size_t piece, std::chrono::milliseconds pause = {});
/// Past TLS, also after the handshake.
Step send_plain(std::string bytes);
/// Asks for a new handshake (TLS 1.2).
Step renegotiate();
/// So many session tickets (RFC 8446 section 4.6.1), as they come behind a handshake.
Step send_tickets(int count);
/// Ends the sending direction: of TLS, of TCP, or all of TCP with a reset.
Step close_notify();
Step fin();
Step rst();
/// Neither sends nor reads any more for as long as the peer lives.
Step stall();

/// An HTTP answer with status 200.
std::string http_ok(std::string_view body, std::string_view header_lines = {});
/// A broker's message.
std::string broker_message(std::string_view content);
/// The answer to a request of that name.
std::string broker_answer(const std::string &request, std::string_view result_id,
                          std::string_view content = {});

/// Greets a client, and says what it wants of it: nothing, unless told.
std::string hello_answer(std::string_view next_authentication = {});

/// Shakes hands, reads a request and then does something with the connection.
Script after_request(Script steps);
/// Answers the first request with that body.
Script answering(std::string_view body, std::string_view header_lines = {});
/// Sends that, and ends the answer, whatever its length, with the connection.
Script ending_with(std::string bytes);
/// Greets the client.
Script welcome(std::string_view header_lines = {});

struct PeerTls {
    ServerIdentity identity = trusted_server();
    int min_version = 0; ///< as OpenSSL numbers them; 0 sets no bound
    int max_version = 0;
    bool demand_client_certificate = false;
    std::string client_authority{};  ///< PEM; the issuer of the certificates that are accepted
    std::string client_signatures{}; ///< that are asked of clients, as OpenSSL lists them
    std::string staple{};            ///< DER; shown to clients that ask for it
};

/// What a peer saw on one connection.
struct PeerRecord {
    std::string received; ///< decrypted, what came after the handshake; else all bytes
    std::vector<std::string> requests;
    std::string server_name;                      ///< that the client asked for (SNI)
    std::vector<std::uint8_t> client_certificate; ///< DER; empty when none was shown
    bool handshaken = false;
    bool resumed = false; ///< the handshake took up an earlier session
    bool closed = false;
};

/// A server on a loopback address that follows a script on each connection.
class ScriptedPeer {
public:
    /// The first connection follows the first script and so on; the last script serves all that
    /// come after.
    explicit ScriptedPeer(std::vector<Script> scripts, const PeerTls &tls = {},
                          const std::string &address = "127.0.0.1");
    ScriptedPeer(const ScriptedPeer &) = delete;
    ScriptedPeer &operator=(const ScriptedPeer &) = delete;

    boost::asio::ip::tcp::endpoint endpoint() const { return connections_.endpoint(); }
    std::string port() const { return std::to_string(endpoint().port()); }
    /// "address:port"
    std::string address() const;

    std::size_t connection_count() const;
    PeerRecord record(std::size_t connection) const;
    /// Waits until a connection's record is as wanted; false when that takes unreasonably long.
    bool wait_for(std::size_t connection,
                  const std::function<bool(const PeerRecord &)> &wanted) const;

private:
    friend class PeerConnection;

    boost::asio::awaitable<void> serve(broker_sim::Socket socket);

    std::vector<Script> scripts_;
    const std::string staple_;
    boost::asio::ssl::context tls_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::deque<PeerRecord> records_; ///< its elements stay where they are
    broker_sim::ConnectionServer
        connections_; ///< the last, because its thread uses all of the above
};

} // namespace test_support
