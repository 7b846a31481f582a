#include "export_guard.h"
#include "kavro_broker_extras.h"
#include "kavro_broker_version.h"
#include "records.h"
#include "regcode/registration_code.h"
#include "request_frame.h"
#include "utils/src/broker_log.h"

#include <memory>

// The life of a handle, logging and settings.

using namespace kavro;

namespace {

constexpr int api_version = 9;

BrokerClientHandle client_for(std::uint32_t type_code) {
    switch (type_code) {
    case KAVRO_BROKER_TYPE_KAVRO:
        return BrokerClientHandle(cBROKER_FACTORY::create(cBROKER_FACTORY::own_protocol));
    case KAVRO_BROKER_TYPE_VIEW:
        return BrokerClientHandle(cBROKER_FACTORY::create(cBROKER_FACTORY::view));
    default:
        return nullptr;
    }
}

/// A text setting that the broker is told with the hello: it must be told again.
kavro_broker_result set_text(kavro_broker_handle handle, std::string broker_client_impl::*member,
                             const char *text, bool hello_stays_valid,
                             const char *function = __builtin_FUNCTION()) {
    return with_handle(
        handle, {text},
        [&](broker_client_impl &client) {
            client.*member = text;
            client.hello_still_valid = client.hello_still_valid && hello_stays_valid;
            return KAVRO_BROKER_OK;
        },
        function);
}

} // namespace

kavro_broker_result kavro_broker_create(uint32_t type_code, kavro_broker_handle *handle) {
    broker_log(LogCategory::general, LogSeverity::banner, 0,
               "Moravelt Module Name = %s Broker, External Product Version = %s, Internal Product "
               "Version = %s, KAVRO_BROKER_API Version = %d",
               KAVRO_BROKER_MODULE_NAME, KAVRO_BROKER_PRODUCT_VERSION, KAVRO_BROKER_BUILD_VERSION,
               api_version);
    if (handle == nullptr)
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    *handle = nullptr;
    if (!has_log_function())
        return KAVRO_BROKER_ERR_NO_LOG_FUNCTION;
    return guard([&]() -> kavro_broker_result {
        auto client = client_for(type_code);
        if (client == nullptr)
            return KAVRO_BROKER_ERR_CREATE_FAILED;
        auto made = std::make_unique<broker_client_impl>();
        made->create(type_code, std::move(client));
        *handle = made.release();
        return KAVRO_BROKER_OK;
    });
}

void kavro_broker_free(kavro_broker_handle handle) {
    guard_void([handle] { delete handle; });
}

const char *kavro_broker_get_version(void) {
    return KAVRO_BROKER_MODULE_NAME " " KAVRO_BROKER_BUILD_VERSION;
}

void kavro_broker_set_log_function(kavro_broker_log_function function) {
    set_log_function(function);
}

void kavro_broker_set_log_level(int32_t highest_severity) {
    set_log_level(highest_severity);
}

kavro_broker_result kavro_broker_set_message_function(kavro_broker_handle handle,
                                                      kavro_broker_message_function function,
                                                      void *context) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        client.listener.function = function;
        client.listener.context = context;
        return KAVRO_BROKER_OK;
    });
}

void kavro_broker_set_session_log_id_function(kavro_broker_session_log_id_function function) {
    set_session_log_id_function(function);
}

kavro_broker_result kavro_broker_set_broker_address(kavro_broker_handle handle, const char *address,
                                                    const char *port) {
    return with_handle(handle, {address}, [&](broker_client_impl &client) {
        client.set_address(address, port);
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_set_broker_variant(kavro_broker_handle handle, uint32_t variant) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        client.variant = variant;
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_set_client_info(kavro_broker_handle handle,
                                                 const char *product_name,
                                                 const char *product_version,
                                                 const char *platform) {
    return with_handle(
        handle, {product_name, product_version, platform}, [&](broker_client_impl &client) {
            client.product_name = product_name;
            client.product_version = product_version;
            client.platform = platform;
            client.hello_still_valid = false;
            client.protocol->set_client_log_id(nil_uuid); // the next connection makes a new one
            return KAVRO_BROKER_OK;
        });
}

kavro_broker_result kavro_broker_set_locale(kavro_broker_handle handle, const char *locale) {
    return set_text(handle, &broker_client_impl::locale, locale, false);
}

kavro_broker_result kavro_broker_set_timezone(kavro_broker_handle handle, const char *name) {
    return set_text(handle, &broker_client_impl::time_zone, name, true);
}

kavro_broker_result kavro_broker_set_hello_client_variables(kavro_broker_handle handle,
                                                            kavro_broker_variable_list list) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        client.hello_client_variables = list != nullptr ? list->variables : Variables();
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_set_connect_to_desktop_timeout(kavro_broker_handle handle,
                                                                uint16_t seconds) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        constexpr std::chrono::seconds usual{180};
        constexpr std::chrono::seconds one_day{86400};
        client.connect_to_desktop_timeout = seconds == 0        ? usual
                                            : seconds == 0xFFFF ? one_day
                                                                : std::chrono::seconds(seconds);
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_fail_if_unverified(kavro_broker_handle handle, bool fail) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        client.fail_if_unverified = fail;
        return KAVRO_BROKER_OK;
    });
}

void kavro_broker_enable_ipv6(kavro_broker_handle handle, bool enable) {
    with_handle(handle, {}, [&](broker_client_impl &client) {
        client.protocol->enable_ipv6(enable);
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_enable_oauth(kavro_broker_handle handle, bool enable) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        client.protocol->enable_oauth(enable);
        client.hello_still_valid = false;
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_set_client_certificate(kavro_broker_handle handle,
                                                        const uint8_t *certificate,
                                                        size_t certificate_length,
                                                        kavro_broker_sign_function sign,
                                                        void *context) {
    const bool usable = certificate_length != 0 && sign != nullptr;
    return with_handle(handle, {certificate, context}, [&](broker_client_impl &) {
        return usable ? KAVRO_BROKER_OK : KAVRO_BROKER_ERR_INVALID_PARAMETER;
    });
}

void kavro_broker_set_cache_file_location(const char *path) {
    guard_void([path] {
        if (path == nullptr)
            return;
        set_cache_location(path);
        update_lookup_table(RegistrationService::of_this_build());
    });
}

void kavro_broker_cancel(kavro_broker_handle handle) {
    if (handle != nullptr)
        handle->cancel();
}

kavro_broker_result kavro_broker_clear_session(kavro_broker_handle handle) {
    return in_request(handle, {}, end_session);
}
