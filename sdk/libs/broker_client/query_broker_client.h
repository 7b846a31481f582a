#pragma once

#include "transport/https_xml_client.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
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
/// of its own, and ends with the first that is understood. Nobody's certificate is judged, so what
/// it sends may reach anybody.
///
/// Everything happens inside run_io(), which never waits.
class QueryBrokerClient {
public:
    using ResultHandler = std::function<void(const ProbeResult &)>;

    static constexpr int all_protocols = -1;

    /// @param address host name, address or registration code.
    /// @param port empty for the usual ones; the address may bring its own, which counts more.
    /// @param protocol_index a single protocol to be tried once, with the longest time-out and on
    ///        the given port; or all_protocols.
    /// @throws std::invalid_argument for a port that is none.
    QueryBrokerClient(const std::string &address, const std::string &port, int protocol_index,
                      const ProbeSettings &settings);
    ~QueryBrokerClient();
    QueryBrokerClient(const QueryBrokerClient &) = delete;
    QueryBrokerClient &operator=(const QueryBrokerClient &) = delete;

    /// Starts the search. The handler is called once, from run_io().
    void get_broker_type(ResultHandler on_result);

    /// Does what can be done at once.
    /// @throws std::invalid_argument for an address that nobody can connect to.
    void run_io();

private:
    void try_next();
    bool choose_attempt();
    bool next_protocol();
    bool longest_timeout();
    void renew_https_xml_client();
    void handle_connect(const ConnectResult &result);
    void speak_protocol();
    void handle_post_resp(const PostResult &result);
    void finish(BROKER_TYPE type);

    const ProbeSettings settings_;
    const std::string url_;
    std::string port_;
    int protocol_index_;
    const bool single_probe_;
    bool auto_port_ = false; ///< the caller gave no port
    std::size_t timeout_index_ = 0;
    bool step_due_ = false; ///< the search goes on with the next run_io()
    std::string resolved_address_;
    std::unique_ptr<HttpsXmlClient> transport_;
    ResultHandler on_result_;
};

} // namespace kavro
