#pragma once

#include "broker_client_impl.h"
#include "canaries.h"
#include "kavro/src/kavro_broker_client.h"
#include "kavro_broker_extras.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

// Handles of short deadlines, and requests that are made of them over the C interface. What a
// request hands out is there exactly when it went well, and freed again.

namespace test_support {

using Handle = kavro_broker_handle;
using OwnedHandle = std::unique_ptr<broker_client_impl, decltype(&kavro_broker_free)>;

inline void set_port(const OwnedHandle &handle, const std::string &port) {
    kavro_broker_set_broker_address(handle.get(), "127.0.0.1", port.c_str());
}

/// A handle whose requests have this long instead of half a minute.
inline OwnedHandle new_handle(std::chrono::milliseconds deadline, const std::string &port = {}) {
    OwnedHandle handle(new broker_client_impl, kavro_broker_free);
    handle->create(KAVRO_BROKER_TYPE_KAVRO,
                   kavro::BrokerClientHandle(new kavro::cKAVRO_BROKER_CLIENT));
    handle->limits = {deadline, deadline, deadline};
    handle->connect_to_desktop_timeout = std::chrono::ceil<std::chrono::seconds>(deadline);
    kavro_broker_set_client_info(handle.get(), "test client", "1.0", "Linux");
    set_port(handle, port);
    return handle;
}

inline kavro_broker_result ask_method(Handle handle) {
    uint32_t method = 0;
    return kavro_broker_get_auth_method(handle, &method);
}

inline kavro_broker_result list(Handle handle) {
    kavro_broker_desktop_list desktops = nullptr;
    const auto result = kavro_broker_request_desktop_list(handle, &desktops);
    EXPECT_EQ(desktops != nullptr, result == KAVRO_BROKER_OK);
    kavro_broker_free_desktop_list(desktops);
    return result;
}

inline kavro_broker_result allocate(Handle handle) {
    kavro_broker_desktop_connection_info target = nullptr;
    const auto result = kavro_broker_connect_to_desktop(handle, "d", nullptr, &target);
    EXPECT_EQ(target != nullptr, result == KAVRO_BROKER_OK);
    kavro_broker_free_desktop_connection_info(target);
    return result;
}

struct NamedRequest {
    const char *name;
    kavro_broker_result (*send)(Handle);
};

/// Every request export but the log-out, by what the protocol client is asked for.
inline const NamedRequest all_requests[] = {
    {"list", list},
    {"method", ask_method},
    {"password",
     [](Handle h) {
         return kavro_broker_send_password(h, canary::user, "EXAMPLE", canary::password);
     }},
    {"dialog",
     [](Handle h) {
         const kavro_broker_name_value field = {"pin", canary::pin};
         return kavro_broker_send_auth_dialog(h, "ok", &field, 1);
     }},
    {"oauth", [](Handle h) { return kavro_broker_send_oauth_code(h, canary::oauth_code); }},
    {"accept", [](Handle h) { return kavro_broker_send_accept_disclaimer(h, 1); }},
    {"reject", [](Handle h) { return kavro_broker_send_accept_disclaimer(h, 0); }},
    {"new password",
     [](Handle h) {
         return kavro_broker_send_new_password(h, canary::user, "EXAMPLE", canary::password,
                                               canary::new_password, canary::new_password);
     }},
    {"securid", [](Handle h) { return kavro_broker_send_securid_auth(h, canary::user, "1"); }},
    {"securid token", [](Handle h) { return kavro_broker_send_securid_token(h, canary::pin); }},
    {"securid pin",
     [](Handle h) {
         return kavro_broker_send_securid_pinchange(h, "1", canary::pin, canary::pin);
     }},
    {"securid wait", kavro_broker_send_securid_wait},
    {"allocate", allocate},
    {"operate", [](Handle h) { return kavro_broker_perform_desktop_operation(h, "d", 2); }},
};

} // namespace test_support
