#pragma once

#include "transport/connection_report.h"
#include "transport/http_framing.h"
#include "transport/peer.h"
#include "transport/post_result.h"
#include "transport/route.h"
#include "trust/client_signing.h"
#include "trust/server_verification.h"
#include "trust/trust_store.h"
#include "utils/src/checkpoint.h"
#include "utils/src/openssl_types.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace boost::system {
class error_code;
}

namespace kavro {

class NameResolver;
class TlsConnection;
class Waiter;

/// How an attempt to connect ended.
enum class ConnectCode : std::uint32_t {
    connected = 0,
    invalid_params = 1,
    timeout = 2,
    cancelled = 3,
    resolve_failed = 4,
    connect_failed = 5,
    connect_refused = 6,
    tls_handshake_failed = 7,
    socket_or_sys_failure = 8,
    certificate_failed = 9,
    certificate_failed_but_warnable = 10,
    proxy_failed = 11,
    proxy_log_in_wanted = 12
};

struct ConnectResult {
    ConnectCode result = ConnectCode::connected;
    /// As the server showed them; none unless it was reached and judged.
    Security::cX509_CERT_CHAIN certificates;
    std::vector<std::uint32_t> certificate_errors; ///< what was wrong with each, by depth
    std::string host;
    bool connect_securely = true;
    std::string error_text; ///< of the system, the TLS library or the certificate check
};

/// One HTTPS connection at a time to a broker, and what is remembered from one to the next: cookies
/// and the address last used, each kept for the host and port that it came from. A connection may
/// be kept for a while; the next connect() then goes on with it, if it would make the same.
///
/// Every operation returns at once, is carried out by run_io() on its caller's thread and completes
/// exactly once there. Each is bounded by a deadline. One operation at a time; only cancel() may be
/// called from another thread.
class HttpsXmlClient {
public:
    using ConnectHandler = std::function<void(const ConnectResult &)>;
    using PostHandler = std::function<void(const PostResult &)>;
    /// Receives the address as text; empty when none was found.
    using ResolveHandler = std::function<void(const std::string &)>;

    HttpsXmlClient();
    /// @param waiter waits for everything that is done here; null for one of its own.
    explicit HttpsXmlClient(const NameResolver &resolver, std::shared_ptr<Waiter> waiter = nullptr);
    ~HttpsXmlClient();
    HttpsXmlClient(const HttpsXmlClient &) = delete;
    HttpsXmlClient &operator=(const HttpsXmlClient &) = delete;

    /// Connects and completes the TLS handshake, all within the time-out; or goes on with the
    /// connection that was kept.
    ///
    /// @param address anything parse_uri() takes. @param port used when the address has none.
    /// @param connect_securely whether the server must prove who it is.
    /// @param use_view_verifier judge it by the rules for View brokers.
    /// @throws std::logic_error for a literal address whose port is no port and for a name too long
    ///         for TLS, boost::system::system_error when TLS cannot be set up; the handler is not
    ///         called then.
    void connect(const std::string &address, bool connect_securely, ConnectHandler on_connected,
                 std::chrono::milliseconds timeout, const std::string &port = {},
                 bool use_view_verifier = false);

    /// Posts a document over the open connection and reads the answer. A failure closes it.
    void http_post_with_xml_path(std::string_view path, std::string_view xml, PostHandler on_posted,
                                 std::chrono::milliseconds timeout);

    /// Completes as if the broker had answered with this document.
    void answer_locally(SecureText xml, PostHandler on_posted);

    /// Looks up a host name on its own. A failure is an empty address, never an error.
    void resolve_name(const std::string &host, ResolveHandler on_resolved,
                      std::chrono::milliseconds timeout);

    /// Calls a handler from run_io().
    void post(std::function<void()> handler) { job_ = std::move(handler); }

    /// A connection that is kept may be idle for less than this; 0 keeps none.
    void set_most_idle(std::chrono::steady_clock::duration most) { most_idle_ = most; }
    /// Keeps the connection for the next connect(), if its last answer lets it; else closes it.
    void release();
    /// Closes the connection at once and forgets an operation that has not been carried out.
    void disconnect();
    /// Ends the operation under way, or else the next one, as cancelled. From any thread and in a
    /// signal handler.
    void cancel() noexcept;

    /// Carries out operations until none is left (block). None can be without waiting, so that
    /// otherwise only a cancel that has met no operation is forgotten.
    void run_io(bool block);

    void set_cipher_list(const char *ciphers);
    /// Trusts these certificates besides the system's own anchors. They are read at once.
    void setCertificateExtractor(const CertificateExtractor &extractor);
    void set_platform_verifier(std::shared_ptr<ICertVerifier> verifier) {
        ++trust_changes_;
        proxy_verification_.set_platform_verifier(verifier);
        verification_.set_platform_verifier(std::move(verifier));
    }
    /// With one, the broker's own key must be among them, verified or not; one that is needs no
    /// known issuer. A proxy's is not asked for.
    void set_key_pins(KeyPins pins) {
        ++trust_changes_;
        verification_.set_key_pins(std::move(pins));
    }
    /// Whether the broker, when it is verified, must show its certificate's status.
    void require_stapled_status(bool require) {
        ++trust_changes_;
        verification_.require_stapled_status(require);
    }
    /// The way of the connections that are made from now on.
    void set_proxy(ProxyHandle proxy) { proxy_ = std::move(proxy); }
    /// The way of a connection to somebody else, who is judged as the broker is not: for as long as
    /// this client lives and does not connect itself.
    Route route();
    /// Where the next connection is recorded, up to its end or to the next one.
    void report_to(std::shared_ptr<ConnectionReport> report) { report_ = std::move(report); }
    ConnectionReport &report() { return *report_; }
    /// For work beside a connection, which a cancel ends.
    Checkpoint checkpoint() const;
    /// For what else is done while an operation is carried out: its cancel ends that as well.
    Waiter &waiter() { return *waiter_; }
    /// What the client shows and signs with when a server asks who it is; to change it.
    ClientSigning &client_signing() {
        ++trust_changes_;
        return signing_;
    }
    void set_client_log_id(std::string id) { client_log_id_ = std::move(id); }
    const std::string &client_log_id() const { return client_log_id_; }

    /// Ends the session with the broker that was connected to last.
    void forget_cookies();
    /// The value of the first cookie, by name, that the broker has set; empty when there is none.
    std::string_view first_cookie() const;

    /// Of the connection that was made last.
    const std::string &host() const { return way_.peer.host; }
    const std::string &local_address() const { return local_address_; }
    const std::string &local_host_name() const { return local_host_name_; }
    const std::string &remote_address() const { return remote_address_; }

private:
    using error_code = boost::system::error_code;

    /// What one peer left behind never reaches another.
    struct PeerMemory;

    /// All that decides who a connection is with, and who vouches for that: one that is kept serves
    /// a request for the same only.
    struct Way {
        Peer peer;
        bool connect_securely = true;
        bool use_view_verifier = false;
        unsigned trust_changes = 0;
        ProxyHandle proxy;
        bool operator==(const Way &) const = default;
    };

    bool is_kept_for(const Way &way);
    TrustStore &trust();
    void prepare_connection();
    ConnectResult establish();
    ConnectResult unreached(const error_code &error);
    ConnectResult stopped_by_proxy(const error_code &error);
    ConnectResult handshake_failed(const error_code &error);
    ConnectResult judged();
    ConnectResult rejected_by(const ServerVerification &judge, const char *whose = "");
    ConnectResult finish_connect(ConnectCode code, std::string error_text = {});
    void record_tls();
    void record_addresses();

    PostResult exchange();
    PostResult read_answer(SecureText body, ConnectionReport &report);
    PostResult post_failed(const error_code &error);
    PostResult finish_post(PostResult result);
    void hand_over(const PostHandler &on_posted, const PostResult &result);

    PeerMemory &memory() { return memory_of(way_.peer); }
    PeerMemory &memory_of(const Peer &peer);
    void throw_if_over();

    const std::shared_ptr<Waiter> waiter_;
    ClientSigning signing_; ///< outlives the connections that sign through it
    SslContextHandle tls_;
    std::unique_ptr<const NameResolver> resolver_;
    std::unique_ptr<TlsConnection> connection_;
    std::function<void()> job_; ///< the operation that is to be carried out

    Way way_; ///< of the connection that was asked for last
    unsigned trust_changes_ = 0;
    std::chrono::steady_clock::duration most_idle_{0};
    std::optional<std::chrono::steady_clock::time_point> idle_since_; ///< while it is kept
    bool answered_whole_ = true; ///< and so the connection may be kept
    ProxyHandle proxy_;
    std::map<Peer, std::unique_ptr<PeerMemory>> memories_;
    ServerVerification verification_;
    ServerVerification proxy_verification_;
    std::unique_ptr<TrustStore> own_trust_; ///< when there are anchors besides the system's
    std::shared_ptr<ConnectionReport> report_ = std::make_shared<ConnectionReport>();
    SecureText request_;

    std::string client_log_id_;
    std::string local_address_;
    std::string local_host_name_;
    std::string remote_address_;
};

} // namespace kavro
