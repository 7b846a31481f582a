#include "utils/src/broker_log.h"
#include "utils/src/client_identity.h"
#include "utils/src/network_adapters_win.h"
#include "utils/src/wide_text_win.h"

#include <winsock2.h>

#include <iphlpapi.h>
#include <windows.h>

#include <algorithm>
#include <iterator>

namespace kavro {
namespace {

NetworkAdapter describe(const IP_ADAPTER_INFO &info) {
    NetworkAdapter adapter{info.AdapterName, {}, {}};
    for (const IP_ADDR_STRING *address = &info.IpAddressList; address != nullptr;
         address = address->Next)
        adapter.addresses.emplace_back(address->IpAddress.String);
    // The record has room for eight bytes, whatever length the driver states.
    const std::size_t length = info.AddressLength;
    const std::size_t present = std::min(length, std::size(info.Address));
    adapter.hardware_address.assign(info.Address, info.Address + present);
    adapter.hardware_address.resize(length);
    return adapter;
}

} // namespace

std::optional<std::vector<NetworkAdapter>> list_network_adapters(AdaptersInfo adapters_info) {
    // One adapter with one address is the usual number.
    static_assert(sizeof(IP_ADAPTER_INFO) == 704);
    IP_ADAPTER_INFO only{};
    std::vector<IP_ADAPTER_INFO> several;
    IP_ADAPTER_INFO *first = &only;
    ULONG size = sizeof only;
    ULONG failure = adapters_info(first, &size);
    if (failure == ERROR_BUFFER_OVERFLOW) {
        // More addresses stand behind the records: the size is no multiple of theirs.
        several.resize(size / sizeof(IP_ADAPTER_INFO) + 1);
        first = several.data();
        failure = adapters_info(first, &size);
        if (failure != ERROR_SUCCESS) {
            log_error("get_local_mac_address() GetAdaptersInfo() with allocated buffer failed: %d",
                      static_cast<int>(failure));
            return std::nullopt;
        }
    } else if (failure != ERROR_SUCCESS) {
        log_error("get_local_mac_address() GetAdaptersInfo() failed: %d",
                  static_cast<int>(failure));
        return std::nullopt;
    }
    std::vector<NetworkAdapter> adapters;
    for (const IP_ADAPTER_INFO *info = first; info != nullptr; info = info->Next)
        adapters.push_back(describe(*info));
    return adapters;
}

std::optional<std::vector<NetworkAdapter>> list_network_adapters() {
    return list_network_adapters(&GetAdaptersInfo);
}

std::string system_timezone_windows() {
    DYNAMIC_TIME_ZONE_INFORMATION zone{};
    if (GetDynamicTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID)
        return {};
    return to_utf8(zone.TimeZoneKeyName);
}

} // namespace kavro
