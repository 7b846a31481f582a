#include "transport/https_xml_client.h"

#include "transport/name_resolution.h"
#include "transport/tls_connection.h"
#include "transport/waiter.h"
#include "trust/tls_settings.h"
#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"
#include "utils/src/checkpoint.h"
#include "utils/src/openssl_handles.h"
#include "xml/xml_message_log.h"

#include <boost/asio/error.hpp>
#include <boost/asio/ip/host_name.hpp>
#include <boost/asio/ssl/error.hpp>

#include <optional>
#include <utility>

namespace kavro {

namespace asio = boost::asio;
namespace ssl = boost::asio::ssl;
using namespace std::chrono_literals;

namespace {

constexpr std::size_t shown_parse_error = 20;

/// Where an address leads, if it can be used.
std::optional<Peer> peer_of(const std::string &address, const std::string &port) {
    Peer peer;
    std::string protocol;
    if (!parse_uri(address, peer.host, peer.port, protocol) || !is_usable_host(peer.host))
        return std::nullopt;
    if (peer.port.empty())
        peer.port = port;
    return peer;
}

bool is_unknown_ca_alert(const boost::system::error_code &error) {
    const auto packed = static_cast<unsigned long>(error.value());
    return ERR_GET_LIB(packed) == ERR_LIB_SSL &&
           ERR_GET_REASON(packed) == SSL_R_TLSV1_ALERT_UNKNOWN_CA;
}

/// A zone is the business of this machine alone (RFC 6874 section 1): no server hears of it.
std::string without_zone(const std::string &host) {
    return is_ipv6_address(host) ? host.substr(0, host.find('%')) : host;
}

bool is_accepted(VerificationOutcome outcome) {
    return outcome == VerificationOutcome::passed || outcome == VerificationOutcome::not_checked;
}

using VerificationRules = bool (ServerVerification::*)(bool, X509_STORE_CTX *) noexcept;

VerifyCallback verified_by(ServerVerification &verification, VerificationRules rules) {
    return [&verification, rules](bool preverified, X509_STORE_CTX *store) {
        return (verification.*rules)(preverified, store);
    };
}

/// What is said of an error: the library's own words, and what they mean when a certificate was
/// asked for.
std::string text_of(const boost::system::error_code &error, const TlsConnection &connection) {
    if (error.category() == asio::error::get_ssl_category() && connection.missed_certificate())
        return "the broker wants a client certificate (" + error.message() + ")";
    return error.message();
}

/// The document is parsed once more for the log, in a copy that is wiped with the parsed document.
void log_outgoing(std::string_view xml) {
    if (!messages_are_logged())
        return;
    std::string unreadable;
    const auto document = XmlDocument::parse(SecureText(xml), unreadable);
    log_message(document ? document->root() : XmlNode(), MessageDirection::sending);
}

void warn_of_unasked_bytes() {
    broker_log(LogCategory::general, LogSeverity::info, generic_error,
               "cHTTPS_XML_CLIENT::http_post_with_xml_path() WARNING - buffers are not empty!");
}

PostResult failed(ePOST_RESULT result, std::string error_text = {}) {
    return {result, std::move(error_text), nullptr};
}

PostResult mangled_http(std::string_view reason) {
    std::string text = "The HTTP response is mangled: ";
    text += reason;
    log_error("%s", text.c_str());
    return failed(POST_RESULT_MANGLED_RESPONSE, std::move(text));
}

} // namespace

struct HttpsXmlClient::PeerMemory {
    std::optional<TcpSocket::Endpoint> endpoint;
    CookieTable cookies;
};

HttpsXmlClient::HttpsXmlClient() : HttpsXmlClient(NameResolver()) {}

HttpsXmlClient::HttpsXmlClient(const NameResolver &resolver, std::shared_ptr<Waiter> waiter)
    : waiter_(waiter ? std::move(waiter) : std::make_shared<Waiter>()),
      tls_(client_tls_context()),
      resolver_(std::make_unique<NameResolver>(resolver)) {
    configure_verified_tls(tls_.get());
}

HttpsXmlClient::~HttpsXmlClient() = default;

void HttpsXmlClient::set_cipher_list(const char *ciphers) {
    if (SSL_CTX_set_cipher_list(tls_.get(), ciphers) != 1)
        throw_openssl_error("set_cipher_list");
}

void HttpsXmlClient::setCertificateExtractor(const CertificateExtractor &extractor) {
    own_trust_ = std::make_unique<TrustStore>(extract_certificates(extractor));
}

HttpsXmlClient::PeerMemory &HttpsXmlClient::memory_of(const Peer &peer) {
    auto &memory = memories_[peer];
    if (!memory)
        memory = std::make_unique<PeerMemory>();
    return *memory;
}

std::string_view HttpsXmlClient::first_cookie() const {
    const auto known = memories_.find(way_.peer);
    if (known == memories_.end() || known->second->cookies.empty())
        return {};
    return known->second->cookies.begin()->second;
}

void HttpsXmlClient::forget_cookies() {
    memory().cookies.clear();
}

void HttpsXmlClient::run_io(bool block) {
    while (block && job_)
        std::exchange(job_, nullptr)();
    waiter_->forget_cancel();
}

Checkpoint HttpsXmlClient::checkpoint() const {
    return [waiter = waiter_] {
        if (waiter->cancelled())
            throw Interrupted();
    };
}

void HttpsXmlClient::cancel() noexcept {
    waiter_->cancel();
}

void HttpsXmlClient::release() {
    if (!connection_ || !answered_whole_)
        return disconnect();
    idle_since_ = Waiter::Clock::now();
}

void HttpsXmlClient::disconnect() {
    job_ = nullptr;
    connection_.reset();
    idle_since_.reset();
    waiter_->drop_deadline();
    wipe(request_); // also of an operation that an exception left half done
    trace_exit("HttpsXmlClient::disconnect");
}

// How a connection is made: address, name resolution, TCP, TLS. The steps stand in the order in
// which they are taken; each leaves through finish_connect().

void HttpsXmlClient::connect(const std::string &address, bool connect_securely,
                             ConnectHandler on_connected, std::chrono::milliseconds timeout,
                             const std::string &port, bool use_view_verifier) {
    log_debug("ENTRY: %s, connect_securely=%s", "HttpsXmlClient::connect",
              connect_securely ? "TRUE" : "FALSE");
    log_debug("Connecting to %s (port %s) with timeout of %ld milliseconds",
              printable(address).c_str(), printable(port).c_str(),
              static_cast<long>(timeout.count()));
    const auto peer = peer_of(address, port);
    const Way way{peer.value_or(way_.peer), connect_securely, use_view_verifier, trust_changes_,
                  proxy_};
    const bool kept = peer && is_kept_for(way);
    idle_since_.reset();
    answered_whole_ = true;
    if (kept) {
        connection_->begin_anew(report_);
    } else {
        connection_.reset();
        verification_.begin({}, connect_securely);
        way_ = way;
        if (peer) {
            prepare_connection();
            waiter_->set_deadline(timeout);
        }
    }
    // The handler may start the next operation.
    job_ = [this, kept, on_connected = std::move(on_connected)] {
        on_connected(kept ? finish_connect(ConnectCode::connected) : establish());
    };
    trace_exit("HttpsXmlClient::connect");
}

/// Whether the connection is one that is kept for such a request, and its peer still there.
bool HttpsXmlClient::is_kept_for(const Way &way) {
    if (!connection_ || !idle_since_ || way != way_ ||
        Waiter::Clock::now() - *idle_since_ >= most_idle_)
        return false;
    if (way.connect_securely && trust().current().get() != SSL_CTX_get_cert_store(tls_.get()))
        return false; // those that it was judged by are no longer the ones
    const error_code found = connection_->look();
    if (!found)
        warn_of_unasked_bytes();
    return found == asio::error::would_block;
}

TrustStore &HttpsXmlClient::trust() {
    return own_trust_ ? *own_trust_ : TrustStore::of_process();
}

void HttpsXmlClient::prepare_connection() {
    connection_ = std::make_unique<TlsConnection>(tls_.get(), way_.peer, *waiter_, report_);
    connection_->go_by(route());
    verification_.begin(without_zone(way_.peer.host), way_.connect_securely);
    signing_.install(connection_->native_handle());
    if (!verification_.judges_server())
        return;
    if (way_.connect_securely)
        SSL_set_tlsext_status_type(connection_->native_handle(), TLSEXT_STATUSTYPE_ocsp);
    SSL_CTX_set1_cert_store(tls_.get(), trust().current().get());
    connection_->set_verify_callback(verified_by(
        verification_, way_.use_view_verifier ? &ServerVerification::verify_server_view
                                              : &ServerVerification::verify_server_pbp));
}

Route HttpsXmlClient::route() {
    const auto judge = [this](const std::string &host) {
        proxy_verification_.begin(without_zone(host), way_.connect_securely);
        return way_.connect_securely
                   ? verified_by(proxy_verification_, &ServerVerification::verify_server_pbp)
                   : VerifyCallback();
    };
    return {way_.proxy, tls_.get(), judge,
            [this] { return is_accepted(proxy_verification_.outcome()); }};
}

ConnectResult HttpsXmlClient::establish() {
    if (!connection_)
        return finish_connect(ConnectCode::invalid_params,
                              "the host name is empty, too long or no host name");
    const auto known = [this](const Peer &peer) -> auto & {
        return memory_of(peer).endpoint;
    };
    if (const error_code error = connection_->reach(*resolver_, known))
        return unreached(error);
    if (const error_code error = connection_->shake_hands())
        return handshake_failed(error);
    return judged();
}

ConnectResult HttpsXmlClient::unreached(const error_code &error) {
    const bool found = report_->reached(ConnectionPhase::connect);
    if (waiter_->expired())
        return finish_connect(ConnectCode::timeout);
    if (!found || error == asio::error::operation_aborted || error.category() == proxy_category())
        waiter_->clear_deadline();
    if (error == asio::error::operation_aborted)
        return finish_connect(ConnectCode::cancelled);
    if (error.category() == proxy_category())
        return stopped_by_proxy(error);
    if (!found)
        return finish_connect(ConnectCode::resolve_failed, error.message());
    if (error == asio::error::timed_out)
        return finish_connect(ConnectCode::timeout);
    if (error == asio::error::connection_refused)
        return finish_connect(ConnectCode::connect_refused, error.message());
    broker_log(LogCategory::general, LogSeverity::error, error.value(),
               "cHTTPS_XML_CLIENT::handle_connect( e.catagory=%s, e.value=%d (0x%x) "
               "e.message='%s' )",
               error.category().name(), error.value(), static_cast<unsigned>(error.value()),
               error.message().c_str());
    return finish_connect(ConnectCode::connect_failed, error.message());
}

ConnectResult HttpsXmlClient::stopped_by_proxy(const error_code &error) {
    if (error == ProxyError::certificate) {
        const std::string proxy_host = report_->proxy->host;
        auto result = rejected_by(proxy_verification_, "the proxy's certificate: ");
        result.host = proxy_host;
        return result;
    }
    const std::string words = connection_->words_of(error);
    log_error("%s", printable(words).c_str());
    return finish_connect(error == ProxyError::log_in_wanted ? ConnectCode::proxy_log_in_wanted
                                                             : ConnectCode::proxy_failed,
                          words);
}

ConnectResult HttpsXmlClient::handshake_failed(const error_code &error) {
    if (waiter_->expired())
        return finish_connect(ConnectCode::timeout);
    waiter_->clear_deadline();
    if (error == asio::error::operation_aborted)
        return finish_connect(ConnectCode::cancelled);
    log_info("%s, Handshake failure: e.category='%s', e.value=%d, e.message='%s'",
             "HttpsXmlClient::handle_handshake", error.category().name(), error.value(),
             error.message().c_str());
    if (error.category() == asio::error::get_ssl_category()) {
        // Some brokers reject a client that they do not know in this way; without verification the
        // connection counts as made.
        if (!verification_.judges_server() && is_unknown_ca_alert(error))
            return finish_connect(ConnectCode::connected);
        return finish_connect(ConnectCode::tls_handshake_failed, text_of(error, *connection_));
    }
    const bool expected = error.category() == ssl::error::get_stream_category() ||
                          error.category() == asio::error::get_misc_category() ||
                          std::string_view(error.category().name()) == "system";
    if (!expected)
        log_info("%s, Handshake failure: Unknown ASIO error happened'",
                 "HttpsXmlClient::handle_handshake");
    return finish_connect(ConnectCode::socket_or_sys_failure, error.message());
}

ConnectResult HttpsXmlClient::judged() {
    waiter_->clear_deadline();
    verification_.judge_status(connection_->native_handle());
    record_tls();
    if (!is_accepted(verification_.outcome()))
        return rejected_by(verification_);
    record_addresses();
    return finish_connect(ConnectCode::connected);
}

/// Its certificates are handed out, so that the user can be asked.
ConnectResult HttpsXmlClient::rejected_by(const ServerVerification &judge, const char *whose) {
    const bool warnable = judge.outcome() == VerificationOutcome::failed_but_warnable;
    const auto code =
        warnable ? ConnectCode::certificate_failed_but_warnable : ConnectCode::certificate_failed;
    std::string words = whose + judge.error_text();
    if (const auto places = trust().places_without_authorities(); warnable && !places.empty())
        words += "; no authority could be read: " + places;
    report_->certificate_errors = judge.error_codes();
    ConnectResult result = finish_connect(code, std::move(words));
    result.certificates = judge.chain();
    result.certificate_errors = judge.error_codes();
    return result;
}

void HttpsXmlClient::record_tls() {
    const SSL *const tls = connection_->native_handle();
    report_->tls_version = SSL_get_version(tls);
    report_->cipher = SSL_get_cipher_name(tls);
    report_->verification = outcome_name(verification_.outcome());
    report_->certificate_errors = verification_.error_codes();
}

void HttpsXmlClient::record_addresses() {
    error_code error;
    const TcpSocket &socket = connection_->socket();
    const auto local = socket.local_endpoint(error);
    local_address_ = error ? "127.0.0.1" : local.address().to_string();
    if (error)
        log_info("Failed to get socket local endpt ip (%d)", error.value());

    local_host_name_ = asio::ip::host_name(error);
    if (error) {
        log_info("Failed to get hostname (%d)", error.value());
        local_host_name_ = "localhost";
    }

    const auto remote = socket.remote_endpoint(error);
    remote_address_ = error ? "" : remote.address().to_string();
    if (error)
        log_info("Failed to get socket remote endpt ip (%d)", error.value());
}

ConnectResult HttpsXmlClient::finish_connect(ConnectCode code, std::string error_text) {
    waiter_->drop_deadline();
    ConnectResult result;
    result.result = code;
    result.host = way_.peer.host;
    result.connect_securely = way_.connect_securely;
    if (connection_)
        report_->traffic = connection_->traffic();
    if (code == ConnectCode::connected) {
        result.certificates = verification_.chain();
        result.certificate_errors = verification_.error_codes();
        report_->enter(ConnectionPhase::ready);
    } else {
        connection_.reset();
        report_->stop();
        report_->error = error_text;
        report_to(std::make_shared<ConnectionReport>()); // whatever comes is not on this connection
    }
    result.error_text = std::move(error_text);
    return result;
}

// How a document is posted and its answer read.

void HttpsXmlClient::http_post_with_xml_path(std::string_view path, std::string_view xml,
                                             PostHandler on_posted,
                                             std::chrono::milliseconds timeout) {
    request_ = http_post_request(path, without_zone(way_.peer.host), client_log_id_,
                                 memory().cookies, xml);
    log_outgoing(xml);
    waiter_->set_deadline(timeout);
    job_ = [this, on_posted = std::move(on_posted)] {
        const PostResult result = exchange();
        wipe(request_);
        hand_over(on_posted, result);
    };
}

void HttpsXmlClient::answer_locally(SecureText xml, PostHandler on_posted) {
    // A function object can be copied, and so can what it holds.
    const auto body = std::make_shared<SecureText>(std::move(xml));
    job_ = [this, body, on_posted = std::move(on_posted)] {
        ConnectionReport nobody_sent_it;
        hand_over(on_posted, finish_post(read_answer(std::move(*body), nobody_sent_it)));
    };
}

/// Records are read by the handler, and a long answer has many: a cancel is heard there as well.
void HttpsXmlClient::hand_over(const PostHandler &on_posted, const PostResult &result) {
    try {
        on_posted(result);
    } catch (const Interrupted &) {
        on_posted(failed(POST_RESULT_CANCELLED));
    }
}

PostResult HttpsXmlClient::exchange() {
    if (!connection_)
        return post_failed(asio::error::not_connected);
    HttpResponseParser answer(memory().cookies);
    auto state = HttpResponseParser::State::need_more;
    error_code error = connection_->write(request_);
    if (!error)
        error = connection_->read(answer, state);
    report_->http_status = answer.status();
    if (error)
        return post_failed(error);
    switch (state) {
    case HttpResponseParser::State::complete:
        answered_whole_ = answer.keeps_connection();
        if (most_idle_ > 0s && answer.overrun())
            warn_of_unasked_bytes();
        return finish_post(read_answer(answer.take_body(), *report_));
    case HttpResponseParser::State::not_ok:
        return finish_post(failed(POST_RESULT_NOT_HTTP_OK));
    default:
        waiter_->clear_deadline(); // before the failure is told
        return finish_post(mangled_http(answer.reason()));
    }
}

/// Reads an answer's body, whoever it came from.
PostResult HttpsXmlClient::read_answer(SecureText body, ConnectionReport &report) try {
    report.enter(ConnectionPhase::parse);
    report.answer = answer_kind(body);
    std::string error;
    auto document = XmlDocument::parse(std::move(body), error, [this] { throw_if_over(); });
    if (!document) {
        log_error("Received XML message parse error: %s",
                  error.substr(0, shown_parse_error).c_str());
        return failed(POST_RESULT_MANGLED_RESPONSE);
    }
    if (report.answer == AnswerKind::other)
        report.answer = AnswerKind::xml;
    log_message(document->root(), MessageDirection::received);
    return {POST_RESULT_SUCCESS, {}, std::move(document)};
} catch (const Interrupted &) {
    return failed(waiter_->expired() ? POST_RESULT_TIMEOUT : POST_RESULT_CANCELLED);
}

void HttpsXmlClient::throw_if_over() {
    if (waiter_->check())
        throw Interrupted();
}

PostResult HttpsXmlClient::post_failed(const error_code &error) {
    if (waiter_->expired())
        return finish_post(failed(POST_RESULT_TIMEOUT));
    if (error == asio::error::operation_aborted)
        return finish_post(failed(POST_RESULT_CANCELLED));
    waiter_->clear_deadline(); // before the failure is told
    broker_log(LogCategory::general, LogSeverity::error, error.value(),
               "cHTTPS_XML_CLIENT encountered error val=%d cat='%s' message='%s'", error.value(),
               error.category().name(), error.message().c_str());
    const bool tls = error.category() == asio::error::get_ssl_category();
    return finish_post(
        failed(tls ? POST_RESULT_TLS_PROTOCOL_ERROR : POST_RESULT_SOCKET_OR_SYS_FAILURE,
               connection_ ? text_of(error, *connection_) : error.message()));
}

PostResult HttpsXmlClient::finish_post(PostResult result) {
    waiter_->clear_deadline();
    if (connection_)
        report_->traffic = connection_->traffic();
    report_->error = result.error_text;
    if (result.result == POST_RESULT_SUCCESS) {
        report_->enter(ConnectionPhase::answered);
    } else {
        report_->stop();
        connection_.reset(); // what may be left of the answer must not be taken for the next one
    }
    return result;
}

void HttpsXmlClient::resolve_name(const std::string &host, ResolveHandler on_resolved,
                                  std::chrono::milliseconds timeout) {
    constexpr const char *handler_name = "HttpsXmlClient::handle_addr_resolve";
    log_debug("%s: attempting to resolve %s", "HttpsXmlClient::resolve_name",
              printable(host).c_str());
    waiter_->set_deadline(timeout);
    job_ = [this, host, on_resolved = std::move(on_resolved)] {
        error_code error;
        const auto endpoints = resolver_->resolve(host, "0", *waiter_, error);
        waiter_->clear_deadline();
        std::string address;
        if (error) {
            broker_log(LogCategory::general, LogSeverity::info, error.value(),
                       "%s: error trying to resolve hostname - e.category=%s, e.value=%d (0x%x) "
                       "e.message='%s'",
                       handler_name, error.category().name(), error.value(),
                       static_cast<unsigned>(error.value()), error.message().c_str());
        } else if (!endpoints.empty()) {
            address = endpoints.front().address().to_string();
            log_debug("%s: resolve returned address %s", handler_name, address.c_str());
        }
        on_resolved(address);
    };
}

} // namespace kavro
