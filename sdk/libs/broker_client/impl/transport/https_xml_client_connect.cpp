#include "transport/https_xml_client.h"

#include "trust/trust_store.h"
#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"

#include <boost/asio/ip/host_name.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/error.hpp>

#include <charconv>
#include <stdexcept>

// How a connection is made: address, name resolution, TCP, TLS. The handlers stand in the order in
// which they run; each leaves through finish_connect().

namespace kavro {

namespace asio = boost::asio;
namespace ssl = boost::asio::ssl;

namespace {

/// Strict: a literal address is connected to as it stands, and nobody else will look at its port.
std::uint16_t literal_port(const std::string &port) {
    int number = 0;
    const char *const end = port.data() + port.size();
    const auto [rest, error] = std::from_chars(port.data(), end, number);
    if (error == std::errc::invalid_argument || rest != end)
        throw std::invalid_argument("invalid stoi argument");
    if (error == std::errc::result_out_of_range || number < 0 || number > 65535)
        throw std::out_of_range("stoi argument out of range");
    return static_cast<std::uint16_t>(number);
}

std::string text_of(const asio::ip::tcp::endpoint &endpoint) {
    const std::string address = endpoint.address().to_string();
    return (endpoint.address().is_v6() ? "[" + address + "]:" : address + ":") +
           std::to_string(endpoint.port());
}

bool is_unknown_ca_alert(const boost::system::error_code &error) {
    const auto packed = static_cast<unsigned long>(error.value());
    return ERR_GET_LIB(packed) == ERR_LIB_SSL &&
           ERR_GET_REASON(packed) == SSL_R_TLSV1_ALERT_UNKNOWN_CA;
}

} // namespace

void HttpsXmlClient::connect(const std::string &address, bool connect_securely,
                             ConnectHandler on_connected, std::chrono::milliseconds timeout,
                             const std::string &port, bool use_view_verifier) {
    log_debug("ENTRY: %s, connect_securely=%s", "HttpsXmlClient::connect",
              connect_securely ? "TRUE" : "FALSE");
    log_debug("Connecting to %s (port %s) with timeout of %ld milliseconds",
              printable(address).c_str(), printable(port).c_str(),
              static_cast<long>(timeout.count()));
    on_connected_ = std::move(on_connected);
    connect_securely_ = connect_securely;
    timeout_ = timeout;
    cancelled_ = false;
    verification_.begin({}, connect_securely);
    if (set_peer(address, port)) {
        prepare_tls(use_view_verifier);
        start_connecting();
    } else {
        asio::post(context_, [this] { finish_connect(ConnectCode::invalid_params); });
    }
    trace_exit("HttpsXmlClient::connect");
}

bool HttpsXmlClient::set_peer(const std::string &address, const std::string &port) {
    Peer peer;
    std::string protocol;
    if (!parse_uri(address, peer.host, peer.port, protocol) || !is_usable_host(peer.host))
        return false;
    if (peer.port.empty())
        peer.port = port;
    peer_ = std::move(peer);
    report_->host = peer_.host;
    report_->port = peer_.port;
    return true;
}

void HttpsXmlClient::prepare_tls(bool use_view_verifier) {
    stream_.emplace(context_, tls_.get());
    verification_.begin(peer_.host, connect_securely_);
    signing_.install(stream_->native_handle());
    if (!connect_securely_)
        return;
    TrustStore &trust = own_trust_ ? *own_trust_ : TrustStore::of_process();
    SSL_CTX_set1_cert_store(tls_.get(), trust.current().get());
    const auto verify = use_view_verifier ? &ServerVerification::verify_server_view
                                          : &ServerVerification::verify_server_pbp;
    stream_->set_verify_callback([this, verify](bool preverified, X509_STORE_CTX *certificates) {
        return (verification_.*verify)(preverified, certificates);
    });
}

void HttpsXmlClient::start_connecting() {
    error_code not_literal;
    const auto literal = asio::ip::make_address(peer_.host, not_literal);
    if (!not_literal) {
        const Endpoint endpoint(literal, literal_port(peer_.port));
        connect_to({endpoint});
        return;
    }
    if (SSL_set_tlsext_host_name(stream_->native_handle(), peer_.host.c_str()) != 1) {
        drain_openssl_errors();
        throw std::invalid_argument("host name too long for TLS");
    }
    if (const auto &known = memory().endpoint) {
        connect_to({*known});
        return;
    }
    set_deadline();
    report_->enter(ConnectionPhase::resolve);
    resolver_.async_resolve(peer_.host, peer_.port,
                            [this](const error_code &error, const NameResolver::Endpoints &found) {
                                handle_resolve(error, found);
                            });
}

void HttpsXmlClient::handle_resolve(const error_code &error,
                                    const NameResolver::Endpoints &endpoints) {
    if (timer_.expired())
        return finish_connect(ConnectCode::timeout);
    if (cancelled_)
        return finish_connect(ConnectCode::cancelled);
    if (error || endpoints.empty())
        return finish_connect(ConnectCode::resolve_failed, error.message());
    connect_to(endpoints);
}

void HttpsXmlClient::connect_to(NameResolver::Endpoints endpoints) {
    endpoints_ = std::move(endpoints);
    next_endpoint_ = 0;
    report_->enter(ConnectionPhase::connect);
    connect_next();
}

void HttpsXmlClient::connect_next() {
    const Endpoint endpoint = endpoints_[next_endpoint_++];
    memory().endpoint = endpoint;
    report_->tried.push_back(text_of(endpoint));
    set_deadline();
    error_code failure; // is met again, and reported, by what comes next
    stream_->open(endpoint.protocol(), failure);
    stream_->socket().async_connect(endpoint,
                                    [this](const error_code &error) { handle_connect(error); });
}

void HttpsXmlClient::handle_connect(const error_code &error) {
    if (cancelled_)
        return finish_connect(ConnectCode::cancelled);
    if (error || timer_.expired()) {
        if (next_endpoint_ < endpoints_.size()) {
            close_socket();
            return connect_next();
        }
        memory().endpoint.reset();
        if (timer_.expired() || error == asio::error::timed_out)
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
    error_code ignored; // both options are wishes
    stream_->socket().set_option(asio::ip::tcp::no_delay(true), ignored);
    stream_->socket().set_option(asio::socket_base::linger(false, 0), ignored);
    report_->enter(ConnectionPhase::handshake);
    stream_->async_handshake([this](const error_code &failure) { handle_handshake(failure); });
}

void HttpsXmlClient::handle_handshake(const error_code &error) {
    if (timer_.expired())
        return finish_connect(ConnectCode::timeout);
    if (cancelled_)
        return finish_connect(ConnectCode::cancelled);
    if (error)
        return handshake_failed(error);
    record_tls();
    switch (verification_.outcome()) {
    case VerificationOutcome::failed:
        return finish_connect(ConnectCode::certificate_failed, verification_.error_text());
    case VerificationOutcome::failed_but_warnable:
        return finish_connect(ConnectCode::certificate_failed_but_warnable,
                              verification_.error_text());
    case VerificationOutcome::not_checked:
    case VerificationOutcome::passed:
        record_addresses();
        return finish_connect(ConnectCode::connected);
    }
}

void HttpsXmlClient::handshake_failed(const error_code &error) {
    log_info("%s, Handshake failure: e.category='%s', e.value=%d, e.message='%s'",
             "HttpsXmlClient::handle_handshake", error.category().name(), error.value(),
             error.message().c_str());
    if (error.category() == asio::error::get_ssl_category()) {
        // Some brokers reject a client that they do not know in this way; without verification the
        // connection counts as made.
        if (!connect_securely_ && is_unknown_ca_alert(error))
            return finish_connect(ConnectCode::connected);
        return finish_connect(ConnectCode::tls_handshake_failed, error.message());
    }
    const bool expected = error.category() == ssl::error::get_stream_category() ||
                          error.category() == asio::error::get_misc_category() ||
                          std::string_view(error.category().name()) == "system";
    if (!expected)
        log_info("%s, Handshake failure: Unknown ASIO error happened'",
                 "HttpsXmlClient::handle_handshake");
    finish_connect(ConnectCode::socket_or_sys_failure, error.message());
}

void HttpsXmlClient::record_tls() {
    const SSL *const tls = stream_->native_handle();
    report_->tls_version = SSL_get_version(tls);
    report_->cipher = SSL_get_cipher_name(tls);
    report_->verification = outcome_name(verification_.outcome());
    report_->certificate_errors = verification_.error_codes();
}

void HttpsXmlClient::record_traffic() {
    if (report_->reached(ConnectionPhase::connect)) // before, the stream may be an earlier one's
        report_->traffic = stream_->traffic();
}

void HttpsXmlClient::record_addresses() {
    error_code error;
    const auto &socket = stream_->socket();
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

void HttpsXmlClient::finish_connect(ConnectCode code, std::string error_text) {
    timer_.clear();
    record_traffic();
    if (code == ConnectCode::connected) {
        report_->enter(ConnectionPhase::ready);
    } else {
        close_socket();
        report_->stop();
        report_->error = error_text;
        report_to(std::make_shared<ConnectionReport>()); // whatever comes is not on this connection
    }
    ConnectResult result;
    result.result = code;
    result.certificates = verification_.chain();
    result.certificate_errors = verification_.error_codes();
    result.host = peer_.host;
    result.connect_securely = connect_securely_;
    result.error_text = std::move(error_text);
    // The handler may start the next operation.
    std::exchange(on_connected_, nullptr)(result);
}

} // namespace kavro
