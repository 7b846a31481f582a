#pragma once

#include "canaries.h"
#include "captured_log.h"
#include "kavro_broker_extras.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>

// Handles of short deadlines, and requests that are made of them over the C interface. What a
// request hands out is there exactly when it went well, and freed again.

namespace test_support {

using Handle = kavro_broker_handle;
using OwnedHandle = std::unique_ptr<std::remove_pointer_t<Handle>, decltype(&kavro_broker_free)>;

inline void set_port(const OwnedHandle &handle, const std::string &port) {
    kavro_broker_set_broker_address(handle.get(), "127.0.0.1", port.c_str());
}

/// A handle whose requests have this long, if anything, instead of half a minute.
inline OwnedHandle new_handle(std::chrono::milliseconds deadline, const std::string &port = {}) {
    Handle made = nullptr;
    if (kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &made) == KAVRO_BROKER_ERR_NO_LOG_FUNCTION) {
        const kavro::CapturedLog log(kavro_broker_set_log_function);
        kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &made);
    }
    OwnedHandle handle(made, kavro_broker_free);
    if (deadline != deadline.zero()) {
        for (const auto limit : {KAVRO_BROKER_LIMIT_CONNECT, KAVRO_BROKER_LIMIT_REQUEST,
                                 KAVRO_BROKER_LIMIT_AUTHENTICATION})
            kavro_broker_set_time_limit(made, limit, static_cast<uint32_t>(deadline.count()));
        kavro_broker_set_connect_to_desktop_timeout(
            made, static_cast<uint16_t>(std::chrono::ceil<std::chrono::seconds>(deadline).count()));
    }
    kavro_broker_set_client_info(made, "test client", "1.0", "Linux");
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
         return kavro_broker_send_securid_pinchange(h, "1", canary::pin, canary::new_pin);
     }},
    {"securid wait", kavro_broker_send_securid_wait},
    {"allocate", allocate},
    {"operate", [](Handle h) { return kavro_broker_perform_desktop_operation(h, "d", 2); }},
};

/// How that one of them is sent.
inline auto request_named(std::string_view name) {
    return std::ranges::find(all_requests, name, &NamedRequest::name)->send;
}

} // namespace test_support
