#include "captured_log.h"
#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"

#include <gtest/gtest.h>

#include <vector>

namespace kavro {
namespace {

using namespace std::string_literals;

/// Parses into outputs that hold "old", "443" and "old" before: "host|port|protocol".
std::string parse(std::string_view uri) {
    std::string host = "old", port = "443", protocol = "old";
    const bool parsed = parse_uri(uri, host, port, protocol);
    return (parsed ? "" : "refused: ") + host + '|' + port + '|' + protocol;
}

TEST(ParseUri, SplitsAddresses) {
    // Whether that is an IPv6 address would take too long to decide.
    const std::string undecided = std::string(2040, ' ') + "\n?";
    const std::pair<std::string, std::string> rows[] = {
        // An IPv6 address leaves the port alone unless it brings one.
        {"::1", "::1|443|"},
        {"[::1]", "::1|443|"},
        {"[fe80::1]:60443", "fe80::1|60443|"},
        {"[fe80::1%eth0]:443", "fe80::1%eth0|443|"},
        {"[::ffff:192.0.2.1]:0", "::ffff:192.0.2.1|0|"},
        {"https://[2001:db8::1]:65535/", "2001:db8::1|65535|https"},
        {"view://::1/", "::1|443|view"},
        {" \t[::1]:443\r\n", "::1|443|"},
        // What is no IPv6 address after all is cut at the first colon.
        {"https://[::1]:99999", "[||https"},
        {"[::1]:", "[||"},
        {"::1]", "||"},
        {"[]", "[]||"},
        {"https://[::1]:443/path", "[||https"},
        {"::1\0"s, "||"},
        {"fe80::1%", "fe80||"},
        {"fe80::1%a%b", "fe80||"},
        // Host names and IPv4 addresses overwrite everything.
        {"", "||"},
        {"broker", "broker||"},
        {"broker:8443", "broker|8443|"},
        {"http://broker:80/path", "broker|80|http"},
        {"https://broker/path", "broker/path||https"},
        {"HTTPS://broker", "HTTPS||"},
        {"broker:99999", "broker|99999|"},
        {"broker:-1", "broker||"},
        {"%n%s\x1b", "%n%s\x1b||"},
        {"bro\nker:443", "bro\nker|443|"},
        // A line end behind the host does not parse; the scheme has been looked for by then.
        {"broker:443\r\n", "refused: old|443|"},
        {"broker:8443\rX", "refused: old|443|old"},
        {"https://broker:443/\nX", "refused: old|443|old"},
        // Length.
        {std::string(2048, 'a'), std::string(2048, 'a') + "||"},
        {undecided, undecided + "||"},
        {std::string(2049, 'a'), "refused: old|443|old"},
        {"[::1]:" + std::string(3000, '1'), "refused: old|443|old"},
    };
    const CapturedLog log;
    for (const auto &[uri, expected] : rows)
        EXPECT_EQ(parse(uri), expected) << printable(uri);
}

TEST(ParseUri, LogsWhatCameInAndWhatCameOut) {
    const std::string before = "). Input: hostname (old), port (443), protocol (old)\n";
    const std::string ipv6 = "IPv6 address parsed successfully. Output: hostname (";
    const std::string other = "IPv4/FQDN parsed successfully. Output: hostname (";
    const std::pair<const char *, std::string> rows[] = {
        {"https://[::1]:99999", "parse_uri (https://[::1]:99999" + before +
                                    "Invalid port. Exception [stoul argument out of range]\n" +
                                    other + "[), port (), protocol (https)\n"},
        {"[::1]:", "parse_uri ([::1]:" + before +
                       "Invalid port. Exception [invalid stoul argument]\n" + other +
                       "[), port (), protocol ()\n"},
        {"[::1]:1", "parse_uri ([::1]:1" + before + ipv6 + "::1), port (1), protocol ()\n"},
        {"a\nb", "parse_uri (a\\x0Ab" + before + other + "a\\x0Ab), port (), protocol ()\n"},
    };
    const CapturedLog log;
    for (const auto &[uri, lines] : rows) {
        parse(uri);
        const auto &second = log.lines().at(1);
        EXPECT_EQ(second.error, second.text.starts_with("Invalid") ? -500 : 0);
        EXPECT_EQ(CapturedLog::take(), lines);
    }
}

TEST(EscapeXml, LeavesNoSpecialCharacter) {
    EXPECT_EQ(escape_xml("&lt;a b='c' d=\"e\">&</a>\xff"),
              "&amp;lt;a b=&apos;c&apos; d=&quot;e&quot;&gt;&amp;&lt;/a&gt;\xff");
}

} // namespace
} // namespace kavro
