#include "utils/src/broker_log.h"
#include "utils/src/client_identity.h"

#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <mutex>
#include <string_view>

namespace kavro {
namespace {

struct FreeInterfaceAddresses {
    void operator()(ifaddrs *list) const { freeifaddrs(list); }
};

/// The adapter of that name, added if it is new.
NetworkAdapter &adapter_named(std::vector<NetworkAdapter> &adapters, std::string_view name) {
    const auto known = std::ranges::find(adapters, name, &NetworkAdapter::name);
    return known != adapters.end()
               ? *known
               : adapters.emplace_back(NetworkAdapter{std::string(name), {}, {}});
}

/// Adds an address as text, the way endpoints show theirs: with the zone of a link-local one.
void add_ip_address(NetworkAdapter &adapter, const sockaddr *address, socklen_t length) {
    std::array<char, NI_MAXHOST> text;
    if (getnameinfo(address, length, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) == 0)
        adapter.addresses.emplace_back(text.data());
}

void add_address(NetworkAdapter &adapter, const sockaddr *address) {
    if (address->sa_family == AF_INET) {
        add_ip_address(adapter, address, sizeof(sockaddr_in));
    } else if (address->sa_family == AF_INET6) {
        add_ip_address(adapter, address, sizeof(sockaddr_in6));
    } else if (address->sa_family == AF_PACKET) {
        // The system makes room for as many bytes as it says, be they more than sll_addr declares.
        const auto *link = reinterpret_cast<const sockaddr_ll *>(address);
        adapter.hardware_address.assign(link->sll_addr, link->sll_addr + link->sll_halen);
    }
}

} // namespace

std::optional<std::vector<NetworkAdapter>> list_network_adapters() {
    ifaddrs *list = nullptr;
    if (getifaddrs(&list) != 0) {
        log_error("get_local_mac_address() getifaddrs() failed: %d", errno);
        return std::nullopt;
    }
    const std::unique_ptr<ifaddrs, FreeInterfaceAddresses> owner(list);

    // Every address is an entry of its own, the hardware address too. An address with a label
    // ("eth0:1") belongs to the adapter before the colon.
    std::vector<NetworkAdapter> adapters;
    for (const ifaddrs *entry = list; entry != nullptr; entry = entry->ifa_next) {
        const std::string_view label = entry->ifa_name;
        if (entry->ifa_addr != nullptr)
            add_address(adapter_named(adapters, label.substr(0, label.find(':'))), entry->ifa_addr);
    }
    return adapters;
}

std::string system_timezone_windows() {
    static std::mutex detection; // ICU looks for the system's zone through static buffers
    const std::lock_guard lock(detection);
    const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::detectHostTimeZone());
    if (zone == nullptr)
        return {};

    icu::UnicodeString iana_name;
    icu::UnicodeString windows_name;
    UErrorCode status = U_ZERO_ERROR;
    icu::TimeZone::getWindowsID(zone->getID(iana_name), windows_name, status);
    std::string name;
    return windows_name.toUTF8String(name);
}

} // namespace kavro
