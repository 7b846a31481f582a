#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// Who this client is, as the broker wants to hear it. None of these fails outward: where the
/// system does not tell, they log and return a fixed fallback.
namespace kavro {

/// MAC text of the network adapter that owns this local address, else "00:00:00:00:00:00".
std::string get_local_mac_address(const std::string &local_ip);

/// UUID of the present second and that adapter; empty when the MAC text is too short.
std::string get_version1_uuid(std::string local_mac);

/// Windows name of the system's time zone ("W. Europe Standard Time"), else empty.
std::string get_timezone_windows();

/// A network adapter as the system describes it.
struct NetworkAdapter {
    std::string name;
    std::vector<std::string> addresses;
    std::vector<uint8_t> hardware_address;
};

// What the system is asked; a source file for each platform.

/// The adapters in the system's own order; nothing, and a log line, when it does not tell.
std::optional<std::vector<NetworkAdapter>> list_network_adapters();

/// Windows name of the system's time zone; empty when it has none.
std::string system_timezone_windows();

// What is made of it, the same everywhere.

/// What get_local_mac_address() answers when these are the adapters.
std::string local_mac_address(std::span<const NetworkAdapter> adapters,
                              const std::string &local_ip);

/// What get_version1_uuid() answers at `ticks`, in units of 100 ns since 1970-01-01, when its dice
/// show `random`.
std::string version1_uuid(uint64_t ticks, uint32_t random, const std::string &local_mac);

} // namespace kavro
