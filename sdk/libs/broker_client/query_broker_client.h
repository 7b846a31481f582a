#pragma once

#include "transport/https_xml_client.h"
#include "transport/name_resolution.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kavro {

/// What can be found at an address.
enum BROKER_TYPE : std::int32_t {
    AWS_KAVRO_BROKER = -3,
    NON_EXISTENT_BROKER = -2,
    UNKNOWN_BROKER = -1,
    KAVRO_BROKER = 0,
    VIEW_BROKER = 1,
    DIRECT_HARD_HOST = 2
};

struct ProbeResult {
    BROKER_TYPE type = UNKNOWN_BROKER;
    std::string resolved_address; ///< what a registration code stands for, else empty
    std::string port;             ///< the one that was tried last
};

/// Where and how long to look when the caller does not say.
struct ProbeSettings {
    std::string broker_port = "443";
    std::string second_broker_port = "60443";
    std::string direct_host_port = "4172";
    /// One round through all protocols with each of these.
    std::vector<std::chrono::milliseconds> timeouts{std::chrono::milliseconds(500),
                                                    std::chrono::milliseconds(3000)};
    NameResolver::BlockingLookup lookup = NameResolver::system_lookup;
};

/// Finds out what answers at an address: speaks each protocol in turn, every attempt on a transport
/// of its own, and ends with the first that is understood. No certificate is verified here: send
/// nothing secret.
class QueryBrokerClient {
public:
    /// @param address host name, address or registration code.
    /// @param port empty for the usual ones; the address may bring its own, which counts more.
    /// @param waiter waits for every attempt. @param cancelled whether the search shall end.
    /// @throws std::invalid_argument for a port that is none.
    QueryBrokerClient(const std::string &address, const std::string &port,
                      const ProbeSettings &settings, std::shared_ptr<Waiter> waiter,
                      const std::atomic<bool> &cancelled);
    ~QueryBrokerClient();
    QueryBrokerClient(const QueryBrokerClient &) = delete;
    QueryBrokerClient &operator=(const QueryBrokerClient &) = delete;

    /// Searches. What a cancelled search has found says nothing; it may also throw Interrupted.
    /// @throws std::invalid_argument for an address that nobody can connect to.
    ProbeResult get_broker_type();

private:
    /// What an attempt has shown: a kind of broker, nothing yet, or that there is nothing.
    using Finding = std::optional<BROKER_TYPE>;

    std::string broker_of_code() const;
    bool choose_attempt();
    bool next_protocol();
    Finding try_next();
    Finding handle_connect(const ConnectResult &result);
    Finding speak_protocol();
    Finding handle_post_resp(const PostResult &result);
    ProbeResult finish(BROKER_TYPE type, std::string resolved_address = {}) const;

    const ProbeSettings settings_;
    const std::string url_;
    const std::shared_ptr<Waiter> waiter_;
    const std::atomic<bool> &cancelled_;
    std::string port_;
    int protocol_index_ = -1;
    bool auto_port_ = false; ///< the caller gave no port
    std::size_t timeout_index_ = 0;
    std::unique_ptr<HttpsXmlClient> transport_;
};

} // namespace kavro
