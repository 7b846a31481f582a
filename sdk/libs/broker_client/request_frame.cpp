#include "request_frame.h"

#include "error_codes.h"
#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"

namespace kavro {

namespace {

constexpr const char *second_port = "60443";

ConnectionRequest connection_request(const broker_client_impl &handle) {
    ConnectionRequest request;
    request.is_registration_code = handle.variant == KAVRO_BROKER_VARIANT_REGISTRATION_CODE;
    if (request.is_registration_code) {
        request.address = handle.address;
        request.port = handle.port;
    } else {
        request.address = "https://" + split_address(handle.address).authority(handle.port);
    }
    request.product_name = handle.product_name;
    request.product_version = handle.product_version;
    request.platform = handle.platform;
    request.locale = handle.locale;
    request.time_zone = handle.time_zone;
    request.fail_if_unverified = handle.fail_if_unverified;
    request.limits = handle.limits;
    request.most_idle = handle.most_idle;
    request.proxy = handle.proxy;
    return request;
}

/// Whether there is a second port to try, which is then the handle's port. A port in the address is
/// the caller's choice.
bool fall_back_to_second_port(broker_client_impl &handle) {
    if (!handle.port_fallback || handle.port != handle.default_port || handle.cancelled() ||
        !split_address(handle.address).port.empty())
        return false;
    discovery_log_info("No Kavro broker found on port %s, retrying on port %s.",
                       handle.default_port, second_port);
    handle.port = second_port;
    handle.report.second_port = true;
    return true;
}

/// A good-bye that does not get through is no failure; the introduction before it may be one.
BrokerResult say_good_bye(broker_client_impl &handle) {
    BrokerResult outcome = send_hello_if_necessary(handle);
    if (outcome.code != ERROR_CODE_NONE)
        return outcome;
    do {
        broker_connection_opens(handle);
        outcome = perform(handle, ERROR_CODE_SOCKET_OR_SYS_FAILURE,
                          [](iBROKER_CLIENT &protocol, auto done) { protocol.do_logout(done); });
        broker_connection_closes(handle);
    } while (kept_connection_was_dead(handle));
    if (outcome.code == ERROR_CODE_NONE)
        handle.hello_completed = false;
    return outcome;
}

} // namespace

kavro_broker_result conclude(broker_client_impl &handle, const BrokerResult &outcome) {
    const kavro_broker_result code = broker_convert_error(outcome.code);
    if (code == KAVRO_BROKER_OK)
        return code;
    handle.last_error_message = outcome.message;
    if (code == KAVRO_BROKER_ERR_INVALID_STATE && outcome.message.empty())
        handle.last_error_message = "The broker has no session for this request.";
    return code;
}

BrokerResult broker_connection_opens(broker_client_impl &handle) {
    if (handle.address.empty() || handle.port.empty())
        return {ERROR_CODE_INVALID_STATE, "The broker's address is not set."};
    if (split_address(handle.address).plain_http)
        return {ERROR_CODE_INVALID_PARAMS, plain_http_refused};
    BrokerResult outcome;
    do {
        const ConnectionRequest request = connection_request(handle);
        handle.report.connections.push_back(request.report);
        outcome = perform(
            handle, ERROR_CODE_CONNECT_RESOLVE_FAILED,
            [&](iBROKER_CLIENT &protocol, auto done) { protocol.connect_to_broker(request, done); },
            handle.certificates);
    } while (outcome.code == ERROR_CODE_CONNECT_REFUSED && fall_back_to_second_port(handle));
    return outcome;
}

void broker_connection_closes(broker_client_impl &handle) {
    if (handle.keeps_connection() && !handle.cancelled())
        handle.protocol->release_connection();
    else
        handle.protocol->clear_session(); // which ends the connection, not the broker's session
}

bool kept_connection_was_dead(const broker_client_impl &handle) {
    return handle.report.connections.back()->was_dead();
}

BrokerResult send_hello_if_necessary(broker_client_impl &handle) {
    BrokerResult outcome;
    if (handle.hello_still_valid)
        return outcome;
    do {
        outcome = broker_connection_opens(handle);
        if (outcome.code != ERROR_CODE_NONE)
            return outcome;
        ++handle.report.hellos;
        outcome = perform(
            handle, ERROR_CODE_SOCKET_OR_SYS_FAILURE,
            [&](iBROKER_CLIENT &protocol, auto done) {
                protocol.do_hello(handle.hello_client_variables, done);
            },
            handle.hello, handle.auth);
        broker_connection_closes(handle);
    } while (outcome.code != ERROR_CODE_NONE &&
             (kept_connection_was_dead(handle) || fall_back_to_second_port(handle)));
    if (outcome.code == ERROR_CODE_NONE)
        handle.hello_completed = handle.hello_still_valid = true;
    return outcome;
}

BrokerResult end_session(broker_client_impl &handle) {
    BrokerResult outcome;
    if (handle.hello_completed)
        outcome = say_good_bye(handle);
    if (handle.keeps_connection())
        handle.protocol->clear_session();
    handle.hello_still_valid = false;
    return outcome;
}

} // namespace kavro
