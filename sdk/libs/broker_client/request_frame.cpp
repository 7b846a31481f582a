#include "request_frame.h"

#include "error_codes.h"
#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"

namespace kavro {

namespace {

constexpr const char *default_port = "443";
constexpr const char *second_port = "60443";

class RequestScope {
public:
    explicit RequestScope(broker_client_impl &handle) : handle_(handle) {}
    ~RequestScope() { handle_.end_request(); }
    RequestScope(const RequestScope &) = delete;
    RequestScope &operator=(const RequestScope &) = delete;

private:
    broker_client_impl &handle_;
};

/// A whole request: what a cancel can end and the report tells of. One at a time.
template <class Steps>
kavro_broker_result in_request(broker_client_impl &handle, Steps steps) {
    if (!handle.begin_request())
        return KAVRO_BROKER_ERR_INVALID_STATE;
    const RequestScope scope(handle);
    handle.report.begin();
    const kavro_broker_result code = steps();
    handle.report.end(code);
    return code;
}

/// After an exception out of a handler the operation is half done. It is ended here, so that none
/// of its handlers is left to run inside the next request.
void abandon_operation(iBROKER_CLIENT &protocol) {
    constexpr int attempts = 100;
    for (int i = 0; i < attempts; ++i) {
        try {
            protocol.clear_session();
            protocol.run_io(true);
            return;
        } catch (...) {
            // Whatever threw again has been taken off the queue.
        }
    }
}

ConnectionRequest connection_request(const broker_client_impl &handle) {
    ConnectionRequest request;
    request.is_registration_code = handle.variant == KAVRO_BROKER_VARIANT_REGISTRATION_CODE;
    if (request.is_registration_code) {
        request.address = handle.address;
        request.port = handle.port;
    } else if (is_ipv6_address(handle.address)) {
        request.address = "https://[" + handle.address + "]:" + handle.port;
    } else {
        request.address = "https://" + handle.address + ":" + handle.port;
    }
    request.product_name = handle.product_name;
    request.product_version = handle.product_version;
    request.platform = handle.platform;
    request.locale = handle.locale;
    request.time_zone = handle.time_zone;
    request.fail_if_unverified = handle.fail_if_unverified;
    return request;
}

/// Whether there is a second port to try, which is then the handle's port.
bool fall_back_to_second_port(broker_client_impl &handle) {
    if (!handle.port_fallback || handle.port != default_port || handle.cancelled())
        return false;
    discovery_log_info("No Kavro broker found on port %s, retrying on port %s.", default_port,
                       second_port);
    handle.port = second_port;
    handle.report.second_port = true;
    return true;
}

} // namespace

void run_step(broker_client_impl &handle, eERROR_CODE without_answer,
              const std::function<void(iBROKER_CLIENT &)> &start) {
    handle.result = {without_answer, {}, {}, {}};
    if (!handle.cancelled()) {
        try {
            start(*handle.protocol);
            handle.protocol->run_io(true);
        } catch (const std::exception &failure) {
            abandon_operation(*handle.protocol);
            handle.result = {ERROR_CODE_SOCKET_OR_SYS_FAILURE, failure.what(), {}, {}};
        } catch (...) { // a plug-in may throw anything
            abandon_operation(*handle.protocol);
            handle.result = {ERROR_CODE_SOCKET_OR_SYS_FAILURE, {}, {}, {}};
        }
    }
    if (handle.cancelled())
        handle.result = {ERROR_CODE_CANCELLED, {}, {}, {}};
}

kavro_broker_result conclude(broker_client_impl &handle) {
    const kavro_broker_result code = broker_convert_error(handle.result.code);
    if (code != KAVRO_BROKER_OK)
        handle.last_error_message = handle.result.message;
    return code;
}

kavro_broker_result broker_connection_opens(broker_client_impl *handle) {
    broker_assert(handle != nullptr, "broker_connection_opens");
    do {
        if (handle->address.empty() || handle->port.empty())
            return KAVRO_BROKER_ERR_INVALID_STATE;
        handle->last_error_message.clear();
        run_step(*handle, ERROR_CODE_CONNECT_RESOLVE_FAILED, [handle](iBROKER_CLIENT &protocol) {
            const ConnectionRequest request = connection_request(*handle);
            handle->report.connections.push_back(request.report);
            protocol.connect_to_broker(request, completion(handle, "connect_to_broker_callback",
                                                           &broker_client_impl::certificates));
        });
    } while (handle->result.code == ERROR_CODE_CONNECT_REFUSED &&
             fall_back_to_second_port(*handle));
    return conclude(*handle);
}

void broker_connection_closes(broker_client_impl *handle) {
    broker_assert(handle != nullptr, "broker_connection_closes");
    handle->protocol->clear_session();
}

kavro_broker_result send_hello_if_necessary(broker_client_impl *handle) {
    broker_assert(handle != nullptr, "send_hello_if_necessary");
    if (handle->hello_still_valid)
        return KAVRO_BROKER_OK;
    kavro_broker_result code = KAVRO_BROKER_OK;
    do {
        code = broker_connection_opens(handle);
        if (code != KAVRO_BROKER_OK)
            return code;
        ++handle->report.hellos;
        run_step(*handle, ERROR_CODE_SOCKET_OR_SYS_FAILURE, [handle](iBROKER_CLIENT &protocol) {
            protocol.do_hello(handle->hello_client_variables,
                              completion(handle, "hello_callback", &broker_client_impl::hello,
                                         &broker_client_impl::auth));
        });
        broker_connection_closes(handle);
        code = conclude(*handle);
    } while (code != KAVRO_BROKER_OK && fall_back_to_second_port(*handle));
    if (code == KAVRO_BROKER_OK)
        handle->hello_completed = handle->hello_still_valid = true;
    return code;
}

kavro_broker_result run_request(broker_client_impl &handle,
                                const std::function<void(iBROKER_CLIENT &)> &start) {
    return in_request(handle, [&] {
        kavro_broker_result code = send_hello_if_necessary(&handle);
        if (code == KAVRO_BROKER_OK)
            code = broker_connection_opens(&handle);
        if (code != KAVRO_BROKER_OK)
            return code;
        run_step(handle, ERROR_CODE_SOCKET_OR_SYS_FAILURE, start);
        broker_connection_closes(&handle);
        return conclude(handle);
    });
}

kavro_broker_result end_session(broker_client_impl &handle) {
    return in_request(handle, [&] {
        kavro_broker_result code = KAVRO_BROKER_OK;
        if (handle.hello_completed)
            code = send_hello_if_necessary(&handle);
        if (handle.hello_completed && code == KAVRO_BROKER_OK) {
            broker_connection_opens(&handle); // a good-bye that does not get through is no failure
            run_step(handle, ERROR_CODE_SOCKET_OR_SYS_FAILURE, [&handle](iBROKER_CLIENT &protocol) {
                protocol.do_logout(completion(&handle, "bye_callback"));
            });
            broker_connection_closes(&handle);
            code = conclude(handle);
            if (code == KAVRO_BROKER_OK)
                handle.hello_completed = false;
        }
        handle.hello_still_valid = false;
        return code;
    });
}

} // namespace kavro
