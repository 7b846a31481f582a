#include "captured_log.h"
#include "utils/src/network_adapters_win.h"

#include <gtest/gtest.h>

#include <winsock2.h>

#include <iphlpapi.h>

#include <algorithm>
#include <cstring>

// What is made of the system's answers about its adapters; the answers come from here.

namespace kavro {
namespace {

struct Answer {
    ULONG code;
    std::size_t records = 0; ///< to be told of, one of them with a second address behind it
    ULONG address_length = 6;
};

/// What the system says, call by call, and the room that it was offered.
std::vector<Answer> answers;
std::vector<ULONG> offered;

/// The addresses of an adapter, the hardware's too, are its number.
void describe(IP_ADAPTER_INFO &info, int number, ULONG address_length) {
    info = {};
    std::snprintf(info.AdapterName, sizeof info.AdapterName, "{adapter-%d}", number);
    std::snprintf(info.IpAddressList.IpAddress.String, sizeof info.IpAddressList.IpAddress.String,
                  "192.0.2.%d", number);
    info.AddressLength = address_length;
    std::ranges::fill(info.Address, static_cast<BYTE>(number));
}

ULONG __stdcall adapters_info(IP_ADAPTER_INFO *first, ULONG *size) {
    const Answer answer = answers.at(offered.size());
    offered.push_back(*size);
    const ULONG needed =
        static_cast<ULONG>(answer.records * sizeof(IP_ADAPTER_INFO) + sizeof(IP_ADDR_STRING));
    if (answer.code == ERROR_BUFFER_OVERFLOW)
        *size = needed;
    if (answer.code != ERROR_SUCCESS)
        return answer.code;
    for (std::size_t i = 0; i < answer.records; ++i) {
        describe(first[i], static_cast<int>(i) + 1, answer.address_length);
        first[i].Next = i + 1 < answer.records ? &first[i + 1] : nullptr;
    }
    if (*size >= needed) {
        auto *second = reinterpret_cast<IP_ADDR_STRING *>(first + answer.records);
        *second = {};
        std::strcpy(second->IpAddress.String, "198.51.100.1");
        first[answer.records - 1].IpAddressList.Next = second;
    }
    return ERROR_SUCCESS;
}

/// "name=address,address/length" for each adapter.
std::string told(const std::vector<NetworkAdapter> &adapters) {
    std::string text;
    for (const auto &adapter : adapters) {
        text += adapter.name + "=";
        for (const auto &address : adapter.addresses)
            text += address + ",";
        text += "/" + std::to_string(adapter.hardware_address.size()) + " ";
    }
    return text;
}

TEST(NetworkAdapters, AreAskedForOnceMoreWhenTheyNeedMoreRoom) {
    constexpr ULONG usual = 704;
    const ULONG three = 3 * usual + sizeof(IP_ADDR_STRING);
    const std::string failed = "get_local_mac_address() GetAdaptersInfo() failed: ";
    const std::string failed_again =
        "get_local_mac_address() GetAdaptersInfo() with allocated buffer failed: ";
    const struct {
        std::vector<Answer> answers;
        std::vector<ULONG> offered;
        std::string told; ///< or the line that is logged
    } rows[] = {
        {{{ERROR_SUCCESS, 1}}, {usual}, "{adapter-1}=192.0.2.1,/6 "},
        {{{ERROR_SUCCESS, 1, 9}}, {usual}, "{adapter-1}=192.0.2.1,/9 "},
        {{{ERROR_BUFFER_OVERFLOW, 3}, {ERROR_SUCCESS, 3}},
         {usual, three},
         "{adapter-1}=192.0.2.1,/6 {adapter-2}=192.0.2.2,/6 "
         "{adapter-3}=192.0.2.3,198.51.100.1,/6 "},
        {{{ERROR_NO_DATA}}, {usual}, failed + "232"},
        {{{ERROR_BUFFER_OVERFLOW, 3}, {ERROR_BUFFER_OVERFLOW, 9}},
         {usual, three},
         failed_again + "111"},
        {{{ERROR_BUFFER_OVERFLOW, 3}, {ERROR_NOT_SUPPORTED}}, {usual, three}, failed_again + "50"},
    };
    for (const auto &row : rows) {
        const CapturedLog log;
        answers = row.answers;
        offered.clear();
        const auto adapters = list_network_adapters(&adapters_info);
        EXPECT_EQ(offered, row.offered) << row.told;
        if (adapters)
            EXPECT_EQ(told(*adapters), row.told);
        else
            EXPECT_EQ(CapturedLog::lines(), (std::vector<LogLine>{{0, 1, -500, row.told}}));
    }
}

TEST(NetworkAdapters, OfThisMachineHaveTheAddressesTheirNamesStandFor) {
    const auto adapters = list_network_adapters();
    ASSERT_TRUE(adapters.has_value());
    for (const NetworkAdapter &adapter : *adapters) {
        const std::string expected = local_mac_address(*adapters, adapter.addresses.front());
        EXPECT_EQ(get_local_mac_address(adapter.addresses.front()), expected) << adapter.name;
    }
}

TEST(NetworkAdapters, TimeZoneHasTheNameOfItsKey) {
    const std::string zone = get_timezone_windows();
    HKEY key = nullptr;
    const std::string path = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\" + zone;
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS)
        << zone;
    RegCloseKey(key);
}

} // namespace
} // namespace kavro
