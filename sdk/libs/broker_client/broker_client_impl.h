#pragma once

#include "broker_factory.h"
#include "kavro/src/results.h"
#include "kavro_broker.h"
#include "request_report.h"

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

    void add_trust_anchor(kavro::Security::cX509_CERT_CHAIN::Der certificate);

    /// False, and nothing changes, when a request is running already. A cancel counts from here
    /// to the request's end, wherever in it it lands.
    bool begin_request();
    void end_request() noexcept;
    /// From any thread, and in a signal handler: neither allocates nor locks nor waits.
    void cancel() noexcept;
    bool cancelled() const { return cancelled_; }

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
    kavro::Variables hello_client_variables;
    /// The system's, where OpenSSL does not find them by itself, and then the caller's.
    kavro::Security::cX509_CERT_CHAIN trust_anchors;
    std::chrono::seconds connect_to_desktop_timeout{180};

    bool hello_completed = false;
    bool hello_still_valid = false;

    kavro::BrokerResult result; ///< of the last step
    std::string last_error_message;
    kavro::HelloResult hello;
    kavro::cAUTH_RESULT auth;
    kavro::CertResult certificates;
    kavro::DesktopListHandle desktops;
    kavro::cDESKTOP_CONNECTION_RESULT connection;
    kavro::RequestReport report;

private:
    void hand_over_trust_anchors();

    enum class Stage { idle, running, ending };

    std::size_t system_anchor_count_ = 0;
    std::atomic<Stage> stage_ = Stage::idle;
    std::atomic<int> cancellers_ = 0; ///< threads and signal handlers inside cancel()
    std::atomic<bool> cancelled_ = false;
    static_assert(std::atomic<Stage>::is_always_lock_free && std::atomic<int>::is_always_lock_free);
};
