#pragma once

#include "broker_client_impl.h"
#include "captured_log.h"
#include "kavro/src/kavro_broker_client.h"
#include "support/scripted_peer.h"

#include <chrono>
#include <string>

namespace kavro {

using namespace test_support;
using namespace std::chrono_literals;

inline std::string answer(std::string_view message) {
    return R"(<kavro-client version="2.1">)" + std::string(message) + "</kavro-client>";
}

inline constexpr const char *target =
    "<target><ip-address>localhost</ip-address><hostname>vm.test</hostname><port>4172</port>"
    "<session-id>7</session-id><connect-tag>0123456789abcdef</connect-tag></target>";

/// The provisioning server's answer.
inline std::string provisioned(const std::string &id = "SESSION_PROVISION_SUCCESSFUL") {
    return answer("<session-provision-resp><result><result-id>" + id +
                  "</result-id><result-str>in words</result-str></result>" + target +
                  "</session-provision-resp>");
}

/// A `provision-info`.
inline std::string description(const std::string &address, const std::string &port,
                               const std::string &leaf = {}) {
    return "<provision-info><provisioner><provisioning-scheme>s</provisioning-scheme><ip-address>" +
           address + "</ip-address><port>" + port + "</port><leaf-certificate>" + leaf +
           "</leaf-certificate><provisioning-variables><variable><name>n</name><value>TICKET"
           "</value></variable><variable><name>n</name><value>OTHER</value></variable></"
           "provisioning-variables></provisioner>"
           "</provision-info>";
}

/// A broker that greets, sets a cookie and answers an allocation with `allocation`; and a client
/// whose provisioning may take `timeout`.
class Allocation {
public:
    explicit Allocation(const std::string &allocation, std::chrono::milliseconds timeout = 10s)
        : broker_({{handshake(), expect_request(), send(http_ok(hello(), cookies))},
                   {handshake(), expect_request(),
                    send(http_ok(answer("<allocate-resource-resp><result><result-id>"
                                        "ALLOC_SUCCESSFUL</result-id></result>" +
                                        allocation + "</allocate-resource-resp>")))}}) {
        handle_.create(KAVRO_BROKER_TYPE_KAVRO,
                       BrokerClientHandle(new cKAVRO_BROKER_CLIENT({10s, 10s, timeout})));
        kavro_broker_set_broker_address(&handle_, "127.0.0.1", broker_.port().c_str());
        kavro_broker_set_client_info(&handle_, "test client", "1", "Linux");
        kavro_broker_set_timezone(&handle_, "W. Europe Standard Time");
        CapturedLog::lines().clear();
    }
    ~Allocation() { kavro_broker_free_desktop_connection_info(info); }
    Allocation(const Allocation &) = delete;
    Allocation &operator=(const Allocation &) = delete;

    kavro_broker_result run() {
        return kavro_broker_connect_to_desktop(&handle_, "desktop-1", nullptr, &info);
    }
    void cancel() { kavro_broker_cancel(&handle_); }
    const std::string &message() const { return handle_.last_error_message; }
    std::string log_id() const { return handle_.protocol->get_client_log_id(); }
    const cDESKTOP_CONNECTION_RESULT &connection() const { return handle_.connection; }

    kavro_broker_desktop_connection_info info = nullptr;

private:
    static constexpr const char *cookies =
        "Set-Cookie: b=second; Path=/\r\nSet-Cookie: a=first; Path=/\r\n";

    static std::string hello() {
        std::string self;
        for (const std::string name :
             {"product-name", "product-version", "platform", "locale", "ip-address", "hostname"})
            self += "<" + name + ">x</" + name + ">";
        return answer("<hello-resp><brokers-info><broker-info>" + self +
                      "</broker-info></brokers-info><next-authentication><authentication-methods>"
                      "<method>AUTHENTICATION_NOT_REQUIRED</method></authentication-methods>"
                      "</next-authentication></hello-resp>");
    }

    TrustedCa trusted_;
    ScriptedPeer broker_;
    broker_client_impl handle_;
};

} // namespace kavro
