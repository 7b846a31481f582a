#include "transport/connection_report.h"

#include "utils/src/ascii.h"

#include <algorithm>
#include <utility>

namespace kavro {

using ascii::starts_ignoring_case;

namespace {

/// RFC 8446 section 5.1: a record begins with its type and the major version.
bool is_tls_record(std::string_view bytes) {
    constexpr char first_type = 20, last_type = 23, major_version = 3;
    return bytes[0] >= first_type && bytes[0] <= last_type &&
           (bytes.size() == 1 || bytes[1] == major_version);
}

} // namespace

PeerSpeech peer_speech(std::string_view first_bytes) {
    if (first_bytes.empty())
        return PeerSpeech::nothing;
    if (is_tls_record(first_bytes))
        return PeerSpeech::tls;
    return starts_ignoring_case(first_bytes, "http/") ? PeerSpeech::http : PeerSpeech::other;
}

AnswerKind answer_kind(std::string_view body) {
    const auto start = std::min(body.find_first_not_of(" \t\r\n"), body.size());
    body.remove_prefix(start);
    const bool html =
        starts_ignoring_case(body, "<!doctype html") || starts_ignoring_case(body, "<html");
    return html ? AnswerKind::html : AnswerKind::other;
}

void ConnectionReport::enter(ConnectionPhase next) {
    const auto now = Clock::now();
    leave_phase(now);
    phase = next;
    since_ = now;
}

void ConnectionReport::stop() {
    leave_phase(Clock::now());
}

void ConnectionReport::continue_on(const ConnectionReport &made) {
    reused = true;
    host = made.host;
    port = made.port;
    proxy = made.proxy;
    address = made.address;
    tls_version = made.tls_version;
    cipher = made.cipher;
    verification = made.verification;
    certificate_errors = made.certificate_errors;
}

void ConnectionReport::leave_phase(Clock::time_point now) {
    if (const auto since = std::exchange(since_, std::nullopt))
        times[static_cast<std::size_t>(phase)] = now - *since;
}

} // namespace kavro
