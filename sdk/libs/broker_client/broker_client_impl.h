#pragma once

#include "broker_factory.h"
#include "kavro/src/results.h"
#include "kavro_broker.h"
#include "request_report.h"
#include "utils/src/broker_log.h"

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

/// One conversation with one broker: what the caller set, what the broker answered, and the
/// protocol client in between.
struct broker_client_impl {
    broker_client_impl() = default;
    broker_client_impl(const broker_client_impl &) = delete;
    broker_client_impl &operator=(const broker_client_impl &) = delete;

    /// Takes over the protocol client; once only.
    void create(std::uint32_t type, kavro::BrokerClientHandle client);

    static constexpr const char *default_port = "443";
    /// Without a port: the default one, and then a second one. Another broker than before must be
    /// greeted; the session with the one before is left as it is.
    void set_address(const char *broker_address, const char *broker_port);

    /// From the next request on: for how long its connection may wait for the one after it.
    void keep_connection(std::chrono::seconds idle);
    bool keeps_connection() const { return most_idle.count() != 0; }

    void add_trust_anchor(kavro::Security::cX509_CERT_CHAIN::Der certificate);

    /// False, and nothing changes, when a request is running already, and while the listener is
    /// being told something. A cancel counts from here
    /// to the request's end, wherever in it it lands.
    bool begin_request();
    void end_request(kavro_broker_result code) noexcept;
    /// After an exception an operation is half done: leaves nothing of it for the next.
    void abandon_operation() noexcept;
    /// From any thread, and in a signal handler: neither allocates nor locks nor waits.
    void cancel() noexcept;
    bool cancelled() const { return cancelled_; }

    kavro::Listener listener; ///< hears what is logged on behalf of the handle
    kavro::BrokerClientHandle protocol;
    std::uint32_t type_code = 0;

    std::uint32_t variant = KAVRO_BROKER_VARIANT_ADDRESS;
    std::string product_name;
    std::string product_version;
    std::string platform;
    std::string locale = "en_US";
    std::string address;
    std::string port;
    std::string time_zone;
    bool port_fallback = false; ///< the caller gave no port
    bool fail_if_unverified = true;
    kavro::ProxyHandle proxy;
    kavro::Variables hello_client_variables;
    /// The system's, where OpenSSL does not find them by itself, and then the caller's.
    kavro::Security::cX509_CERT_CHAIN trust_anchors;
    kavro::KeyPins key_pins;
    std::chrono::seconds connect_to_desktop_timeout{180};
    kavro::TimeLimits limits;
    std::chrono::steady_clock::duration most_idle{0}; ///< of a kept connection

    bool hello_completed = false;
    bool hello_still_valid = false;

    std::string last_error_message; ///< of the last request, empty when it went well
    kavro::HelloResult hello;
    kavro::cAUTH_RESULT auth;
    kavro::CertResult certificates;
    kavro::RequestReport report;

private:
    void hand_over_trust_anchors();
    void run_out() noexcept; ///< all that is ready

    enum class Stage { idle, running, ending };

    std::size_t system_anchor_count_ = 0;
    std::atomic<Stage> stage_ = Stage::idle;
    std::atomic<int> cancellers_ = 0; ///< threads and signal handlers inside cancel()
    std::atomic<bool> cancelled_ = false;
    static_assert(std::atomic<Stage>::is_always_lock_free && std::atomic<int>::is_always_lock_free);
};
