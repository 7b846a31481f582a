#include "broker_client_impl.h"
#include "captured_log.h"
#include "kavro/src/kavro_broker_client.h"
#include "records.h"
#include "support/one_line.h"
#include "support/requests.h"
#include "support/scripted_peer.h"
#include "support/unreachable.h"
#include "transport/tls_exchange.h"
#include "transport/waiter.h"

#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <thread>

namespace kavro {
namespace {

using namespace test_support;
using namespace std::chrono_literals;

constexpr auto ok = KAVRO_BROKER_OK;
constexpr auto mangled = KAVRO_BROKER_ERR_MANGLED_RESPONSE;
constexpr auto too_late = KAVRO_BROKER_ERR_SESSION_PROVISION_TIMEOUT;
constexpr auto failed = KAVRO_BROKER_ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED;

/// The provisioning server's answer.
std::string provisioned(const std::string &id = "SESSION_PROVISION_SUCCESSFUL") {
    return broker_answer(
        "session-provision", id,
        "<target><ip-address>localhost</ip-address><hostname>vm.test</hostname><port>4172</port>"
        "<session-id>7</session-id><connect-tag>0123456789abcdef</connect-tag></target>");
}

/// A `provision-info`.
std::string description(const std::string &address, const std::string &port,
                        const std::string &leaf = {}) {
    return "<provision-info><provisioner><provisioning-scheme>s</provisioning-scheme><ip-address>" +
           address + "</ip-address><port>" + port + "</port><leaf-certificate>" + leaf +
           "</leaf-certificate><provisioning-variables><variable><name>n</name><value>T&amp;&lt;"
           "</value></variable><variable><name>n</name><value>OTHER</value></variable></"
           "provisioning-variables></provisioner>"
           "</provision-info>";
}

/// A client with that long for its provisioning, and a broker that answers its allocation so.
struct Allocation {
    explicit Allocation(const std::string &allocation, std::chrono::milliseconds timeout = 10s)
        : broker({welcome("Set-Cookie: b=second; Path=/\r\nSet-Cookie: a=first; Path=/\r\n"),
                  answering(broker_answer("allocate-resource", "ALLOC_SUCCESSFUL", allocation))}),
          handle(new_handle(10s, broker.port())) {
        kavro_broker_set_time_limit(handle.get(), KAVRO_BROKER_LIMIT_PROVISIONING,
                                    static_cast<uint32_t>(timeout.count()));
        kavro_broker_set_timezone(handle.get(), "W. Europe Standard Time");
        CapturedLog::lines().clear();
    }
    kavro_broker_result run() const { return allocate(handle.get()); }
    const std::string &message() const { return handle->last_error_message; }

    TrustedCa trusted;
    ScriptedPeer broker;
    const OwnedHandle handle;
};

/// XML without any element of that name: it has another one.
std::string without(std::string xml, const std::string &name) {
    for (const std::string &tag : {"<" + name + ">", "</" + name + ">"})
        for (std::size_t at; (at = xml.find(tag)) != std::string::npos;)
            xml.replace(at + tag.size() - name.size() - 1, name.size(), "other");
    return xml;
}

class Provisioning : public testing::Test {
    CapturedLog log_;
};

} // namespace

TEST_F(Provisioning, TlsOptionsAreExactlyThese) {
    auto tls = provisioning_tls();
    EXPECT_EQ(SSL_CTX_get_options(tls.get()), 0x96000854u);
    EXPECT_EQ(SSL_CTX_get_verify_mode(tls.get()), SSL_VERIFY_NONE);
    EXPECT_NE(SSL_CTX_get_verify_callback(tls.get()), nullptr);
}

TEST_F(Provisioning, TheTargetComesFromTheProvisioningServer) {
    const ScriptedPeer server({answering(provisioned())},
                              {.identity = shown(self_signed({.names = {"x"}}))});
    Allocation allocation(description("127.0.0.1", server.port()));
    kavro_broker_desktop_connection_info target = nullptr;
    EXPECT_EQ(kavro_broker_connect_to_desktop(allocation.handle.get(), "d", nullptr, &target), ok)
        << allocation.message();
    const std::string address = target != nullptr ? target->connection.target_address : "";
    kavro_broker_free_desktop_connection_info(target);
    EXPECT_TRUE(address == "127.0.0.1" || address == "::1") << address; // it was "localhost"
    EXPECT_EQ(server.connection_count(), 1u);
    const std::string received = server.record(0).received;
    const std::string body =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?> <kavro-client version=\"2.1\"> "
        "<session-provision> <jsessionid>first</jsessionid> <gateway-ticket>T&<</gateway-ticket> "
        "<request-context> <amzn-request-id>" +
        allocation.handle->protocol->get_client_log_id() +
        "</amzn-request-id> </request-context> <client-info> "
        "<time-zone-windows>W. Europe Standard Time</time-zone-windows> <locale>en_US</locale> "
        "</client-info> </session-provision> </kavro-client>  ";
    const std::size_t length = received.size() - received.find("\r\n\r\n") - 4;
    EXPECT_EQ(in_one_line(received),
              "POST /kavro-broker/xml HTTP/1.1 "
              "Host: 127.0.0.1Content-Type: text/xml charset=UTF-8Content-Length: " +
                  std::to_string(length) + "  " + body);
    for (const std::string &line : {"Session provisioner info ==> scheme=s, ip=127.0.0.1, port=" +
                                        server.port() + ", aws-gateway-ticket=T&<, leaf-cert= ",
                                    "Number of bytes write: " + std::to_string(received.size())})
        EXPECT_EQ(CapturedLog::count(line), 1) << line;
    EXPECT_EQ(CapturedLog::count("Deadline Timer was cancelled."), 5)
        << "the exchange leaves no deadline behind";
    EXPECT_TRUE(CapturedLog::holds("Provision result : <kavro-client"));
    EXPECT_FALSE(CapturedLog::holds("first")) << "a cookie in the log";
    EXPECT_FALSE(CapturedLog::holds("0123456789abcdef")) << "a connect tag in the log";
}

TEST_F(Provisioning, EveryMissingElementOfTheDescriptionIsReported) {
    for (const std::string name :
         {"provisioner", "provisioning-scheme", "ip-address", "port", "leaf-certificate",
          "provisioning-variables", "variable", "name", "value"}) {
        Allocation allocation(without(description("127.0.0.1", "1"), name));
        EXPECT_EQ(allocation.run(), mangled) << name;
        EXPECT_EQ(CapturedLog::count("Desktop connection handler: Could not find " + name + " tag"),
                  1);
        EXPECT_FALSE(CapturedLog::holds("Session provisioner info")) << name;
    }
}

TEST_F(Provisioning, AnswersAndTheirResults) {
    const std::string good = provisioned();
    constexpr const char *unread = "Failed to get provision result: ";
    const struct {
        const char *what;
        Script script;
        kavro_broker_result result;
        const char *message = "";
        std::chrono::milliseconds timeout = 10s;
    } rows[] = {
        {"byte by byte", after_request({drip(http_ok(good), 1)}), ok},
        {"length in lower case",
         after_request({send("HTTP/1.1 200 OK\r\ncontent-length: " + std::to_string(good.size()) +
                             "\r\n\r\n" + good),
                        stall()}),
         ok},
        {"no length", ending_with("HTTP/1.1 200 OK\r\n\r\n" + good), ok},
        {"XML alone", ending_with(good), ok},
        {"no goodbye", after_request({send(good), fin()}), ok},
        {"no TLS", {expect_bytes(1), fin()}, failed, "Handshake failed: "},
        {"reset", after_request({rst()}), failed, unread},
        {"status 500", ending_with("HTTP/1.1 500 No\r\nContent-Length: 0\r\n\r\n"), failed, unread},
        {"no XML", answering("<a>"), failed, "The provision result is no XML"},
        {"no root", answering("<broker/>"), failed, "Could not find kavro-client tag"},
        {"no element", answering("<?xml version=\"1.0\"?>\n"), failed,
         "Could not find kavro-client tag"},
        {"no result", answering(without(good, "result")), failed, "Could not find result tag"},
        {"another id", answering(provisioned("session_provision_successful")), failed,
         "Session provisioning failed: session_provision_successful in words"},
        {"no connect tag", answering(without(good, "connect-tag")), mangled},
        {"no handshake", {expect_bytes(1), stall()}, too_late, "Session provisioning t", 300ms},
        {"no answer", after_request({stall()}), too_late, "Session provisioning t", 300ms},
        {"too slow", after_request({drip(http_ok(good), 1, 50ms)}), too_late, "Session", 300ms},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        const ScriptedPeer server({row.script});
        Allocation allocation(description("127.0.0.1", server.port()), row.timeout);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(allocation.run(), row.result);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
        EXPECT_EQ(CapturedLog::count("Provisioning timeout, close the connection"),
                  row.result == too_late ? 1 : 0);
        EXPECT_TRUE(allocation.message().starts_with(row.message)) << allocation.message();
        EXPECT_TRUE(CapturedLog::holds(allocation.message()));
        EXPECT_EQ(server.connection_count(), 1u) << "no second attempt";
    }
}

TEST_F(Provisioning, ServersThatCannotBeReached) {
    const RefusingPort refusing;
    const struct {
        std::string address, port, reason = {};
    } rows[] = {
        {"127.0.0.1", refusing.port()},
        {"", "443"},
        {std::string(64, 'x'), "443"}, // too long a label: no name server is asked
        {"127.0.0.1&#13;&#10;X: 1", "443", "The host name cannot be used"},
        {"127.0.0.1", "abc"},
    };
    for (const auto &row : rows) {
        Allocation allocation(description(row.address, row.port));
        EXPECT_EQ(allocation.run(), failed) << row.address << ' ' << row.port;
        EXPECT_TRUE(allocation.message().starts_with("Connecting to provision server failed : " +
                                                     row.reason))
            << allocation.message();
    }
}

TEST_F(Provisioning, TheServerMustShowTheAnnouncedCertificate) {
    const auto base64 = [](const std::string &pem) {
        const auto begin = pem.find('\n') + 1;
        return pem.substr(begin, pem.find("-----END") - begin);
    };
    const ServerIdentity identity = shown(self_signed());
    const std::string other = shown(self_signed()).certificate;
    std::string in_one_line = base64(identity.certificate);
    std::erase(in_one_line, '\n');
    const std::tuple<const char *, std::string, kavro_broker_result> rows[] = {
        {"PEM", identity.certificate, ok},       {"base64", base64(identity.certificate), ok},
        {"base64 in one line", in_one_line, ok}, {"another, PEM", other, failed},
        {"no certificate", "none", ok},          {"cut short", in_one_line.substr(0, 400), ok},
    };
    for (const auto &[what, leaf, result] : rows) {
        const ScriptedPeer server({answering(provisioned())}, {.identity = identity});
        Allocation allocation(description("127.0.0.1", server.port(), leaf));
        EXPECT_EQ(allocation.run(), result) << what << allocation.message();
        EXPECT_EQ(server.record(0).requests.size(), result == ok ? 1u : 0u) << what;
    }
    EXPECT_TRUE(CapturedLog::holds("leaf certificate cannot be read"));
}

TEST_F(Provisioning, IsCancelledWhereverTheServerFallsSilent) {
    for (const Script &script : {Script{expect_bytes(1), stall()}, after_request({stall()})}) {
        const ScriptedPeer server({script, answering(provisioned())});
        const Allocation allocation(description("127.0.0.1", server.port()), 30s);
        std::chrono::steady_clock::time_point start;
        std::thread canceller([&] {
            server.wait_for(0, [](const PeerRecord &seen) { return !seen.received.empty(); });
            start = std::chrono::steady_clock::now();
            kavro_broker_cancel(allocation.handle.get());
        });
        EXPECT_EQ(allocation.run(), KAVRO_BROKER_ERR_CANCELLED);
        canceller.join();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 1s); // promised are 200 ms
        EXPECT_EQ(server.connection_count(), 1u) << "no second attempt";
        EXPECT_EQ(allocation.run(), ok) << "the cancel is over";
    }
}

TEST_F(Provisioning, ACancelThatComesFirstIsKeptForIt) {
    const ScriptedPeer server({{stall()}});
    Waiter waiter;
    waiter.cancel();
    cDESKTOP_CONNECTION_RESULT connection;
    EXPECT_EQ(provision_session({"", "127.0.0.1", server.port(), "", ""}, {}, {}, waiter, 30s,
                                "2.1", connection)
                  .code,
              ERROR_CODE_CANCELLED);
}

} // namespace kavro
