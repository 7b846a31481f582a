#include "captured_log.h"
#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"

#include <gtest/gtest.h>

#include <vector>

namespace kavro {
namespace {

using namespace std::string_literals;

struct Address {
    bool parsed;
    std::string hostname;
    std::string port;
    std::string protocol;

    friend bool operator==(const Address &, const Address &) = default;
    friend std::ostream &operator<<(std::ostream &out, const Address &address) {
        return out << address.parsed << " host '" << printable(address.hostname) << "' port '"
                   << address.port << "' protocol '" << address.protocol << "'";
    }
};

/// Parses into outputs that hold "old", "443" and "old" before.
Address parse(std::string_view uri) {
    Address address{false, "old", "443", "old"};
    address.parsed = parse_uri(uri, address.hostname, address.port, address.protocol);
    return address;
}

TEST(ParseUri, SplitsAddresses) {
    // Whether that is an IPv6 address would take too long to decide.
    const std::string undecided = std::string(2040, ' ') + "\n?";
    const std::pair<std::string, Address> rows[] = {
        // An IPv6 address leaves the port alone unless it brings one.
        {"::1", {true, "::1", "443", ""}},
        {"[::1]", {true, "::1", "443", ""}},
        {"[fe80::1]:60443", {true, "fe80::1", "60443", ""}},
        {"[fe80::1%eth0]:443", {true, "fe80::1%eth0", "443", ""}},
        {"[::ffff:192.0.2.1]:0", {true, "::ffff:192.0.2.1", "0", ""}},
        {"https://[2001:db8::1]:65535/", {true, "2001:db8::1", "65535", "https"}},
        {"view://::1/", {true, "::1", "443", "view"}},
        {" \t[::1]:443\r\n", {true, "::1", "443", ""}},
        // What is no IPv6 address after all is cut at the first colon.
        {"https://[::1]:99999", {true, "[", "", "https"}},
        {"[::1]:", {true, "[", "", ""}},
        {"::1]", {true, "", "", ""}},
        {"[]", {true, "[]", "", ""}},
        {"https://[::1]:443/path", {true, "[", "", "https"}},
        {"::1\0"s, {true, "", "", ""}},
        // Host names and IPv4 addresses overwrite everything.
        {"", {true, "", "", ""}},
        {"broker", {true, "broker", "", ""}},
        {"broker:8443", {true, "broker", "8443", ""}},
        {"http://broker:80/path", {true, "broker", "80", "http"}},
        {"https://broker/path", {true, "broker/path", "", "https"}},
        {"HTTPS://broker", {true, "HTTPS", "", ""}},
        {"broker:99999", {true, "broker", "99999", ""}},
        {"broker:-1", {true, "broker", "", ""}},
        {"%n%s\x1b", {true, "%n%s\x1b", "", ""}},
        {"bro\nker:443", {true, "bro\nker", "443", ""}},
        // A line end behind the host does not parse; the scheme has been looked for by then.
        {"broker:443\r\n", {false, "old", "443", ""}},
        {"broker:8443\rX", {false, "old", "443", "old"}},
        {"https://broker:443/\nX", {false, "old", "443", "old"}},
        // Length.
        {std::string(2048, 'a'), {true, std::string(2048, 'a'), "", ""}},
        {undecided, {true, undecided, "", ""}},
        {std::string(2049, 'a'), {false, "old", "443", "old"}},
        {"[::1]:" + std::string(3000, '1'), {false, "old", "443", "old"}},
    };
    const CapturedLog log;
    for (const auto &[uri, expected] : rows)
        EXPECT_EQ(parse(uri), expected) << printable(uri);
}

TEST(ParseUri, LogsWhatCameInAndWhatCameOut) {
    const std::string parsed = " parsed successfully. Output: hostname (";
    const auto asked = [](const std::string &uri) {
        return LogLine{
            0, 2, 0, "parse_uri (" + uri + "). Input: hostname (old), port (443), protocol (old)"};
    };
    const auto invalid = [](const std::string &reason) {
        return LogLine{0, 2, -500, "Invalid port. Exception [" + reason + "]"};
    };
    const CapturedLog log;
    for (const char *uri : {"https://[::1]:99999", "[::1]:", "[::1]:1", "a\nb"})
        parse(uri);
    const std::vector<LogLine> expected = {
        asked("https://[::1]:99999"),
        invalid("stoul argument out of range"),
        {0, 3, 0, "IPv4/FQDN" + parsed + "[), port (), protocol (https)"},
        asked("[::1]:"),
        invalid("invalid stoul argument"),
        {0, 3, 0, "IPv4/FQDN" + parsed + "[), port (), protocol ()"},
        asked("[::1]:1"),
        {0, 3, 0, "IPv6 address" + parsed + "::1), port (1), protocol ()"},
        asked("a\\x0Ab"),
        {0, 3, 0, "IPv4/FQDN" + parsed + "a\\x0Ab), port (), protocol ()"},
    };
    EXPECT_EQ(log.lines(), expected);
}

TEST(IsIpv6Address, AllowsOneZone) {
    for (const char *address : {"::", "fe80::1", "::ffff:192.0.2.1", "fe80::1%eth0"})
        EXPECT_TRUE(is_ipv6_address(address)) << address;
    for (const auto &address :
         {"fe80::1%"s, "fe80::1%a%b"s, ""s, "192.0.2.1"s, "[::1]"s, "::1 "s, "::1\0"s})
        EXPECT_FALSE(is_ipv6_address(address)) << printable(address);
}

TEST(EscapeXml, LeavesNoSpecialCharacter) {
    EXPECT_EQ(escape_xml("&lt;a b='c' d=\"e\">&</a>\xff"),
              "&amp;lt;a b=&apos;c&apos; d=&quot;e&quot;&gt;&amp;&lt;/a&gt;\xff");
}

} // namespace
} // namespace kavro
