#include "support/scripted_peer.h"
#include "table_folder.h"
#include "transport/proxy/proxy.h"
#include "utils/src/safe_file.h"

namespace kavro {
namespace {

using namespace test_support;
using namespace std::chrono_literals;

constexpr const char *new_table = R"({"ABC": "new"})";

struct TableUpdate : TableTest {
    static void update(const std::string &port, std::chrono::milliseconds timeout = 10s) {
        CapturedLog::lines().clear();
        update_lookup_table({"127.0.0.1", port, timeout});
    }
    void expect_old_table(const std::string &reason) const {
        EXPECT_EQ(table.bytes(), before);
        EXPECT_EQ(convert("ABC"), "old");
        EXPECT_TRUE(CapturedLog::holds("Error updating table " + reason))
            << testing::PrintToString(CapturedLog::lines());
    }

    TrustedCa trusted;
    const std::string before = table.bytes();
};

std::string with(std::string_view header) {
    return "HTTP/1.1 200 OK\r\n" + std::string(header) + "\r\n\r\n{}";
}

} // namespace

TEST_F(TableUpdate, TakesAGoodTableHoweverItComes) {
    const std::string bytes = http_ok(new_table, "Server: x\r\n");
    const Script whole = ending_with(bytes);
    Script by_proxy = {expect_request(), send("HTTP/1.1 200 Fine\r\n\r\n")};
    by_proxy.insert(by_proxy.end(), whole.begin(), whole.end());
    const std::pair<Script, bool> rows[] = {
        {whole, false}, {after_request({drip(bytes, 1)}), false}, {by_proxy, true}};
    for (const auto &[script, proxied] : rows) {
        table.write(R"({"ABC": "old"})");
        const auto old = table.path() + "/old";
        std::filesystem::create_hard_link(table.file(), old);
        const ScriptedPeer peer({script});
        if (proxied)
            set_common_proxy(*parse_proxy("http://" + peer.address(), nullptr, nullptr));
        update(proxied ? "1" : peer.port());
        set_common_proxy(nullptr);
        EXPECT_EQ(read_plain_file(old, before.size()), before) << "a power cut may come any time";
        std::filesystem::remove(old);
        EXPECT_EQ(unpacked_table(read_table_cache(table.path())), new_table);
        EXPECT_EQ(convert("ABC"), "new");
        EXPECT_TRUE(peer.record(0).received.ends_with(
            "GET /cm-lookup.cfg HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"));
        EXPECT_FALSE(CapturedLog::holds("Error"));
    }
}

TEST_F(TableUpdate, WhateverFailsKeepsTheOldTable) {
    constexpr const char *in_head = "Read response header failed (";
    constexpr const char *in_body = "Read response body failed (";
    constexpr const char *no_object = "The table is no JSON object";
    constexpr const char *in_handshake = "Handshake failed (";
    constexpr const char *too_late = "Timeout while downloading the regcode table.";
    const struct {
        const char *what;
        Script script;
        const char *reason;
        ServerIdentity identity = trusted_server();
    } rows[] = {
        {"refusal", ending_with("HTTP/1.1 404 No\r\nContent-Length: 2\r\n\r\n{}"), in_head},
        {"length over the limit", ending_with(with("Content-Length: 16777217")), in_head},
        {"head without end", ending_with(std::string(70'000, 'x')), in_head},
        {"cut in the body", ending_with(with("Content-Length: 3")), in_body},
        {"no length", ending_with(with("Server: x")), no_object},
        {"reset", after_request({rst()}), in_head},
        {"list", ending_with(http_ok("[]")), no_object},
        {"no JSON", ending_with(http_ok("{ABC}")), ""},
        {"no TLS", {send("HTTP/1.1 200 OK\r\n\r\n")}, in_handshake},
        {"unknown authority", {handshake()}, in_handshake, untrusted_server()},
        {"another name", {handshake()}, in_handshake, trusted_server({.names = {"other.test"}})},
        {"silent", {stall()}, too_late},
        {"silent after the handshake", {handshake(), stall()}, too_late},
        {"slow", after_request({drip(http_ok(std::string(1000, ' ')), 1, 20ms)}), too_late},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        const ScriptedPeer peer({row.script}, {.identity = row.identity});
        const auto start = std::chrono::steady_clock::now();
        update(peer.port(), row.reason == too_late ? 300ms : 10s);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
        expect_old_table(row.reason);
    }
    update("not a port");
    expect_old_table("Connection failed (");
}

TEST_F(TableUpdate, NeedsAServiceAndALocation) {
    update_lookup_table({});
    expect_old_table("This build knows no registration service");
    const ScriptedPeer peer({ending_with(http_ok(new_table))});
    set_cache_location(table.path() + "/missing");
    update(peer.port());
    EXPECT_TRUE(CapturedLog::holds("Error updating table conversion_table.dat cannot be written"));
    EXPECT_TRUE(CapturedLog::holds("Error reading cached table conversion_table.dat"));
    set_cache_location({});
    update(peer.port());
    EXPECT_EQ(CapturedLog::count("Error updating table Cache location not specified"), 1);
    EXPECT_FALSE(CapturedLog::holds("Error reading"));
    EXPECT_EQ(peer.connection_count(), 1u);
}

} // namespace kavro
