#pragma once

#include "broker_client_impl.h"
#include "kavro/src/kavro_broker_client.h"

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
inline OwnedHandle new_handle(std::chrono::milliseconds deadline, const std::string &port = {},
                              std::chrono::milliseconds provisioning = std::chrono::seconds(10)) {
    OwnedHandle handle(new broker_client_impl, kavro_broker_free);
    handle->create(KAVRO_BROKER_TYPE_KAVRO,
                   kavro::BrokerClientHandle(
                       new kavro::cKAVRO_BROKER_CLIENT({deadline, deadline, provisioning})));
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

} // namespace test_support
