#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kavro {

/// How far a connection has come.
enum class ConnectionPhase {
    prepare, ///< nothing was tried yet
    resolve,
    connect, ///< TCP, all addresses together
    proxy,   ///< from there to the proxy's consent
    handshake,
    ready, ///< made, nothing sent yet
    send,
    wait, ///< from the request's last byte to the answer's first
    receive,
    parse,
    answered
};

/// What the other side's first bytes look like.
enum class PeerSpeech { nothing, tls, http, other };
PeerSpeech peer_speech(std::string_view first_bytes);

/// What went over one socket, TLS records and all.
struct Traffic {
    std::uint64_t sent = 0;
    std::uint64_t received = 0;
    PeerSpeech peer_speech = PeerSpeech::nothing;
};

/// What the body of an answer looks like.
enum class AnswerKind { none, html, xml, other };

/// As far as it shows before the body is read: xml is not told.
AnswerKind answer_kind(std::string_view body);

/// Through whom a connection goes.
struct ProxyReport {
    const char *kind; ///< as "http"
    std::string host;
    std::string port;
    int status = 0; ///< its last answer: of HTTP, or the reply of SOCKS
};

/// What became of one connection, for a bug report: nothing here is the user's, and of the server's
/// words there are only numbers and keywords of the protocol.
struct ConnectionReport {
    using Clock = std::chrono::steady_clock;
    static constexpr auto phase_count = static_cast<std::size_t>(ConnectionPhase::answered) + 1;

    /// Ends the time of the phase before.
    void enter(ConnectionPhase next);
    /// The connection ends in the phase that it is in.
    void stop();
    bool reached(ConnectionPhase wanted) const { return phase >= wanted; }
    /// The connection was made for a request before, and is ready for this one.
    void continue_on(const ConnectionReport &made);
    /// It was kept, and had gone when the request was sent: no byte of an answer has come.
    bool was_dead() const { return reused && !error.empty() && !reached(ConnectionPhase::receive); }

    std::string host;
    std::string port;
    bool reused = false;              ///< was kept by a request before
    std::optional<ProxyReport> proxy; ///< whose addresses follow then
    std::vector<std::string> tried;   ///< addresses with ports, in order
    std::string address;              ///< the one of them that answered
    ConnectionPhase phase = ConnectionPhase::prepare;
    std::array<std::optional<Clock::duration>, phase_count> times;
    const char *tls_version = nullptr; ///< null until the handshake is done; constants of OpenSSL
    const char *cipher = nullptr;
    const char *verification = nullptr; ///< of the certificates; a constant
    std::vector<std::uint32_t> certificate_errors;
    std::string error; ///< words of the system, the TLS library or the certificate check
    int http_status = 0;
    AnswerKind answer = AnswerKind::none;
    std::string_view result_id; ///< a constant of the protocol
    Traffic traffic;

private:
    void leave_phase(Clock::time_point now);

    std::optional<Clock::time_point> since_;
};

} // namespace kavro
