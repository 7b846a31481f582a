#include "captured_log.h"
#include "system.h"
#include "utils/src/client_identity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace kavro {
namespace {

constexpr const char *unknown = "00:00:00:00:00:00";

NetworkAdapter adapter(std::vector<std::string> addresses, std::vector<uint8_t> hardware_address) {
    return {"eth", std::move(addresses), std::move(hardware_address)};
}

TEST(LocalMacAddress, FormatsTheHardwareAddressOfTheAdapter) {
    const NetworkAdapter adapters[] = {
        adapter({"192.0.2.1"}, {0x02, 0xfc, 0x00, 0x0a, 0xb0, 0xff}),
        adapter({"192.0.2.2", "192.0.2.3", "fe80::1%eth1"}, {1, 2, 3, 0xff}),
        adapter({"192.0.2.4"}, {1, 2, 3, 4, 5, 6, 7, 8}),
        adapter({"192.0.2.5"}, {1, 2, 3, 4, 5, 6, 7, 8, 9}),
        adapter({"192.0.2.6"}, {}),
        adapter({"192.0.2.1"}, {9, 9, 9, 9, 9, 9}),
    };
    const std::string start = "get_local_mac_address() ";
    const struct {
        std::string local_ip, mac;
        int length;
        std::string error{};
    } rows[] = {
        {"192.0.2.1", "02:fc:00:0a:b0:ff", 6},
        {"192.0.2.3", "01:02:03:ff:00:00", 4},
        {"fe80::1%eth1", "01:02:03:ff:00:00", 4},
        {"192.0.2.4", "01:02:03:04:05:06:07:08", 8},
        {"192.0.2.5", unknown, 0, start + ": adapter AddressLength 9 exceeds max 8"},
        {"192.0.2.6", unknown, 0},
        {"192.0.2", unknown, 0, start + "No adapter with IP 192.0.2"},
        {"\n", unknown, 0, start + "No adapter with IP \\x0A"},
    };
    for (const auto &[local_ip, mac, length, error] : rows) {
        const CapturedLog log;
        EXPECT_EQ(local_mac_address(adapters, local_ip), mac);
        const LogLine found{0, 2, 0,
                            "mac address from adapter: address is " + mac +
                                ", adapter address length is " + std::to_string(length) + " bytes"};
        EXPECT_EQ(log.lines(), (std::vector{error.empty() ? found : LogLine{0, 1, -500, error}}));
    }
}

TEST(LocalMacAddress, AgreesWithWhatTheSystemSaysOfEachInterface) {
    const CapturedLog log;
    EXPECT_EQ(get_local_mac_address("127.0.0.1"), unknown);
    const auto adapters = list_network_adapters();
    ASSERT_TRUE(adapters.has_value());
    for (const NetworkAdapter &listed : *adapters) {
        std::string mac;
        std::getline(std::ifstream("/sys/class/net/" + listed.name + "/address"), mac);
        if (mac.size() != 17) // a tunnel has none
            continue;
        for (const std::string &address : listed.addresses)
            EXPECT_EQ(get_local_mac_address(address), mac) << address;
    }
}

TEST(Version1Uuid, FillsItsFieldsWithItsOwnDigits) {
    const struct {
        uint64_t ticks;
        uint32_t random;
        const char *uuid;
    } rows[] = {
        {0, 0, "00000000-4440-1000-8020-0123456789Ab"},
        {9'999'999, 0x0a05, "00000000-4440-1000-8a25-0123456789Ab"},
        {10'000'000, 0x3f10, "00989680-4440-1000-bf10-0123456789Ab"},
        {0x0123'00ab'8000'0000, 0xffffffff, "7f6c1c00-44ab-1123-bfff-0123456789Ab"},
        {17'000'000'001'234'567, 0xdeadbeef, "f12e8000-6568-103c-beef-0123456789Ab"},
        {0xffff'ffff'ffff'ffff, 0x0001, "ff6e4100-ffff-1fff-8021-0123456789Ab"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(version1_uuid(row.ticks, row.random, "01:23:45:67:89:Ab"), row.uuid);
}

TEST(Version1Uuid, IsOfThisTimeAndDiffersFromTheLast) {
    const CapturedLog log;
    const auto uuid = [] { return get_version1_uuid("01:23:45:67:89:ab:cd:ef"); };
    const std::string now = uuid();
    EXPECT_TRUE(now.ends_with("-0123456789ab")) << now;
    // The first three groups are the time: between 2020 and 2100 bits 48 to 59 are 0x38 to 0x92.
    const std::string century = now.substr(14, 4);
    EXPECT_TRUE(century >= "1038" && century <= "1092") << now;
    const std::string others[] = {uuid(), uuid(), uuid()}; // of 14 random bits each
    EXPECT_TRUE(std::ranges::any_of(others, [&](const std::string &other) {
        return other.substr(19, 4) != now.substr(19, 4);
    }));

    EXPECT_EQ(get_version1_uuid("01:23:45:67:89:a"), "");
    EXPECT_EQ(CapturedLog::text(), "get_version1_uuid(): local_mac 01:23:45:67:89:a is not "
                                   "sufficient (17 chars required)\n");
}

TEST(TimezoneWindows, NamesTheZoneOfTheSystem) {
    const std::pair<const char *, const char *> rows[] = {
        {"Europe/Berlin", "W. Europe Standard Time"},
        {":America/New_York", "Eastern Standard Time"},
        {"Asia/Calcutta", "India Standard Time"},
        {"UTC", "UTC"},
        {"Nonsense/Zone", ""},
    };
    for (const auto &[zone, name] : rows) {
        const CapturedLog log;
        const auto before = test_support::exchange_variable("TZ", zone);
        EXPECT_EQ(get_timezone_windows(), name) << zone;
        test_support::exchange_variable("TZ", before);
        EXPECT_EQ(CapturedLog::text(),
                  *name == '\0' ? "get_timezone_windows: Invalid timezone.\n" : "");
    }
}

} // namespace
} // namespace kavro
