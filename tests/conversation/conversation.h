#pragma once

#include "broker_sim.h"
#include "captured_log.h"
#include "kavro_broker_extras.h"
#include "support/minting.h"
#include "support/requests.h"
#include "support/text_of.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace conversation {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// Slow machines and sanitizers stretch everything but the deadline itself.
constexpr auto margin = 2s;

using test_support::read_text;
using test_support::text_of;

/// Through the public hook.
struct Log : kavro::CapturedLog {
    Log() : CapturedLog(kavro_broker_set_log_function) {}
};

/// Asks for no log-in.
inline broker_sim::Scenario open_door() {
    auto scenario = broker_sim::Scenario::demo();
    scenario.authentication.clear();
    return scenario;
}

/// A simulated broker whose authority is trusted, and a handle that is set up to talk to it.
struct Conversation {
    explicit Conversation(broker_sim::Scenario scenario = broker_sim::Scenario::demo(),
                          std::chrono::milliseconds deadline = {})
        : broker(std::move(scenario)),
          trust(broker.ca_pem()),
          owned(test_support::new_handle(deadline)) {
        kavro_broker_set_broker_address(handle, broker.address().c_str(),
                                        std::to_string(broker.port()).c_str());
        kavro_broker_set_client_info(handle, "test client", "01.002.0", "Linux");
    }
    ~Conversation() {
        kavro_broker_free_desktop_list(desktops);
        kavro_broker_free_desktop_connection_info(target);
    }
    Conversation(const Conversation &) = delete;
    Conversation &operator=(const Conversation &) = delete;

    /// What the broker wants next; fails the test when it does not say.
    uint32_t method() {
        uint32_t wanted = 0;
        EXPECT_EQ(kavro_broker_get_auth_method(handle, &wanted), KAVRO_BROKER_OK) << message();
        return wanted;
    }
    /// Logs in to the demo scenario.
    kavro_broker_result log_in(const char *user = "alice", const char *password = "wonderland") {
        const auto result = kavro_broker_send_accept_disclaimer(handle, 1);
        if (result != KAVRO_BROKER_OK)
            return result;
        return kavro_broker_send_password(handle, user, "EXAMPLE", password);
    }
    kavro_broker_result list() {
        kavro_broker_free_desktop_list(desktops);
        desktops = nullptr;
        return kavro_broker_request_desktop_list(handle, &desktops);
    }
    kavro_broker_result allocate(const char *id) {
        kavro_broker_free_desktop_connection_info(target);
        target = nullptr;
        return kavro_broker_connect_to_desktop(handle, id, nullptr, &target);
    }
    std::string property(uint32_t which) const {
        return text_of(kavro_broker_get_desktop_connection_property, target, which);
    }
    std::string message() const { return text_of(kavro_broker_get_broker_error_message, handle); }

    Log log;
    broker_sim::Simulator broker;
    test_support::TrustedCa trust;
    test_support::OwnedHandle owned;
    kavro_broker_handle handle = owned.get();
    kavro_broker_desktop_list desktops = nullptr;
    kavro_broker_desktop_connection_info target = nullptr;
};

} // namespace conversation
