#pragma once
// A connection broker for tests and demonstrations: real TLS on a real socket, scripted behaviour.
#include "faults.h"
#include "scenario.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace broker_sim {

/// One HTTP request as it came over the wire, byte for byte.
struct RecordedRequest {
    unsigned connection = 0; ///< from 1, in order of acceptance
    std::string kind{};      ///< as rules match it; empty when there is none
    std::string head{};      ///< up to and with the blank line
    std::string body{};
    std::string server{server_name::broker}; ///< that it came to
};

/// A running broker, with the servers beside it. All members may be called from any thread.
class Simulator {
public:
    /// Listens at once and serves on a thread of its own. Throws when it cannot listen.
    explicit Simulator(Scenario scenario);
    /// Drops all connections, stalled ones too.
    ~Simulator();
    Simulator(const Simulator &) = delete;
    Simulator &operator=(const Simulator &) = delete;

    std::string address() const;
    /// Throws std::out_of_range for a server that the scenario does not have.
    std::uint16_t port(std::string_view server = server_name::broker) const;
    /// Where each of the servers listens.
    std::map<std::string, std::uint16_t> ports() const;

    /// The CA that issues the server certificate (see Issuer); one for all simulators of a process.
    const std::string &ca_pem() const;
    void write_ca(const std::filesystem::path &path) const;

    /// Writes the registration table into this folder as clients cache it, in the place of a
    /// download.
    void write_table_cache(const std::filesystem::path &folder) const;

    /// TCP connections accepted so far.
    unsigned connections(std::string_view server = server_name::broker) const;
    std::vector<RecordedRequest> requests() const;
    Variables client_to_broker_variables() const; ///< of the latest hello
    Variables client_to_agent_variables() const;  ///< of the latest allocation
    void clear_recording();                       ///< of requests and variables, not of connections

    /// False when that many have not come within the time.
    bool wait_for_requests(std::size_t count, std::chrono::milliseconds limit) const;
    bool wait_for_connections(unsigned count,
                              std::chrono::milliseconds limit) const; ///< of the broker

    void inject(Fault fault);
    void set_override(Override answer);
    void clear_faults(); ///< faults and overrides, the scenario's included

    std::string desktop_state(std::string_view id) const; ///< throws std::out_of_range

    /// From now on keeps what status() tells of the requests.
    void watch(std::string scenario_name);
    /// What goes on, without any secret, as JSON for the status page. Only after watch().
    std::string status() const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace broker_sim
