#include "kavro/src/kavro_broker_client.h"

#include "kavro/src/allocate_resource.h"
#include "kavro/src/authenticate.h"
#include "kavro/src/logout.h"
#include "kavro/src/power_operation.h"
#include "kavro/src/resource_list.h"
#include "regcode/registration_code.h"
#include "utils/src/assertion.h"
#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"
#include "utils/src/client_identity.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <stdexcept>

namespace kavro {

namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr const char *cipher_list =
    "ECDHE-RSA-AES256-GCM-SHA384:ECDHE-RSA-AES128-GCM-SHA256:ECDHE-RSA-AES256-SHA384:"
    "ECDHE-RSA-AES128-SHA256:AES256-GCM-SHA384:AES128-GCM-SHA256:AES256-SHA256:AES128-SHA256:"
    "AES256-SHA:AES128-SHA";

constexpr const char *nil_mac_address = "00:00:00:00:00:00";

constexpr CodeRow<ConnectCode> connect_codes[] = {
    {ConnectCode::connected, ERROR_CODE_NONE},
    {ConnectCode::invalid_params, ERROR_CODE_INVALID_PARAMS},
    {ConnectCode::timeout, ERROR_CODE_TIMEOUT},
    {ConnectCode::cancelled, ERROR_CODE_CANCELLED},
    {ConnectCode::resolve_failed, ERROR_CODE_CONNECT_RESOLVE_FAILED},
    {ConnectCode::connect_failed, ERROR_CODE_CONNECT_FAILED},
    {ConnectCode::connect_refused, ERROR_CODE_CONNECT_REFUSED},
    {ConnectCode::tls_handshake_failed, ERROR_CODE_CONNECT_TLS_HANDSHAKE_FAILED},
    {ConnectCode::socket_or_sys_failure, ERROR_CODE_SOCKET_OR_SYS_FAILURE},
    {ConnectCode::certificate_failed, ERROR_CODE_CERTIFICATE_FAILED},
    {ConnectCode::certificate_failed_but_warnable, ERROR_CODE_CERTIFICATE_FAILED_BUT_WARNABLE},
    {ConnectCode::proxy_failed, ERROR_CODE_PROXY_FAILED},
    {ConnectCode::proxy_log_in_wanted, ERROR_CODE_PROXY_AUTH_REQUIRED},
};

/// Why an answer with another status than 200 is none: RFC 9110 section 15.5.8, RFC 6585 section 6.
std::string words_of_status(int status) {
    const std::string number = "HTTP status " + std::to_string(status);
    switch (status) {
    case 407:
        return number + ": a proxy wants a log-in";
    case 511:
        return number + ": the network wants a log-in";
    default:
        return number;
    }
}

template <class Handler>
void require(const Handler &handler, const char *function) {
    broker_assert(static_cast<bool>(handler), function);
}

} // namespace

cKAVRO_BROKER_CLIENT::cKAVRO_BROKER_CLIENT() {
    transport_.set_cipher_list(cipher_list);
    transport_.set_client_log_id(nil_uuid);
}

bool cKAVRO_BROKER_CLIENT::connect_to_broker(const ConnectionRequest &request,
                                             ConnectionHandler handler) {
    require(handler, "cKAVRO_BROKER_CLIENT::handle_connect_to_broker");
    transport_.report_to(request.report);
    transport_.set_proxy(request.proxy);
    resolved_address_ = request.address;
    if (request.is_registration_code) {
        const std::string url = "https://" + request.address;
        try {
            resolved_address_ = convert_registration_code(url, transport_.checkpoint());
        } catch (const Interrupted &) {
            handler({ERROR_CODE_CANCELLED}, {});
            return false;
        }
        if (resolved_address_.empty()) {
            discovery_log_info("Unable to convert registration code:%s to an URL",
                               printable(url).c_str());
            return false;
        }
    }
    if (request.product_name.empty() || request.product_version.empty() ||
        request.platform.empty()) {
        handler({ERROR_CODE_INVALID_STATE, "The client information is not set."}, {});
        return false;
    }
    identity_.product_name = request.product_name;
    identity_.product_version = without_leading_zeros(request.product_version);
    identity_.platform = request.platform;
    identity_.locale = request.locale;
    identity_.time_zone = request.time_zone;
    limits_ = request.limits;
    transport_.set_most_idle(request.most_idle);
    try {
        transport_.connect(
            resolved_address_, request.fail_if_unverified,
            [this, handler](const ConnectResult &result) {
                handle_connect_to_broker(result, handler);
            },
            limits_.connect, request.port);
        return true;
    } catch (const std::logic_error &unusable_address) {
        const std::string reason = unusable_address.what();
        handler({ERROR_CODE_INVALID_PARAMS, "The address cannot be used: " + reason}, {});
    } catch (const boost::system::system_error &failure) {
        handler({ERROR_CODE_SOCKET_OR_SYS_FAILURE, failure.what()}, {});
    }
    return false;
}

void cKAVRO_BROKER_CLIENT::handle_connect_to_broker(const ConnectResult &result,
                                                    const ConnectionHandler &handler) {
    if (result.result == ConnectCode::connected && !transport_.report().reused)
        learn_identity();
    if (transport_.client_log_id() == nil_uuid && result.result == ConnectCode::connected) {
        transport_.set_client_log_id(get_version1_uuid(identity_.mac_address));
        report_session_log_id(transport_.client_log_id());
    }
    log_info("Client-Log-ID: %s", printable(transport_.client_log_id()).c_str());

    CertResult certificates;
    certificates.certificates = result.certificates;
    if (result.result == ConnectCode::certificate_failed ||
        result.result == ConnectCode::certificate_failed_but_warnable) {
        certificates.errors = result.certificate_errors;
        certificates.host = result.host;
        certificates.error_text = result.error_text;
        certificates.connected_securely = result.connect_securely;
    }
    const eERROR_CODE code =
        code_of(connect_codes, result.result, "cKAVRO_BROKER_CLIENT::handle_connect_to_broker");
    handler({code, result.error_text}, std::move(certificates));
}

void cKAVRO_BROKER_CLIENT::learn_identity() {
    identity_.host_name = transport_.local_host_name();
    identity_.local_address = transport_.local_address();
    identity_.mac_address = get_local_mac_address(identity_.local_address);
    identity_.server_address = transport_.remote_address();
    identity_.server_host_name = transport_.host();
    if (identity_.mac_address.empty()) {
        identity_.mac_address = nil_mac_address;
        log_info("broker protocoal: mac address is empty, reset to %s", nil_mac_address);
    }
}

/// The nil identifier announces a new client, which must not present the session of the one before.
void cKAVRO_BROKER_CLIENT::set_client_log_id(std::string id) {
    if (id == nil_uuid)
        transport_.forget_cookies();
    transport_.set_client_log_id(std::move(id));
}

std::uint32_t cKAVRO_BROKER_CLIENT::clear_session() {
    transport_.disconnect();
    identity_.mac_address.clear();
    identity_.local_address.clear();
    return 0;
}

template <class Record, class... Given, class Handler>
auto cKAVRO_BROKER_CLIENT::reading(const Message<Record, Given...> &message, Handler handler) {
    return [this, &message, handler = std::move(handler)](const PostResult &post) {
        Record record;
        BrokerResult result = read_answer(message, post, dialect_, record);
        transport_.report().result_id = result.result_id;
        if (result.code == ERROR_CODE_HTTP_NOT_OK)
            result.message = words_of_status(transport_.report().http_status);
        handler(result, std::move(record));
    };
}

template <class Record, class... Given, class Handler>
void cKAVRO_BROKER_CLIENT::exchange(const Message<Record, Given...> &message, milliseconds timeout,
                                    Handler handler, const std::type_identity_t<Given> &...given) {
    transport_.http_post_with_xml_path(broker_path, request_text(message, dialect_, given...),
                                       reading(message, std::move(handler)), timeout);
}

void cKAVRO_BROKER_CLIENT::do_hello(const Variables &client_variables, HelloHandler handler) {
    require(handler, hello_message.completion);
    exchange(
        hello_message, limits_.request,
        [this, handler = std::move(handler)](const BrokerResult &result, HelloAnswer answer) {
            handler(result, std::move(answer.hello), kept(std::move(answer.auth)));
        },
        dialect_, identity_, client_variables);
}

/// What the broker wants by now. A failed answer that says nothing new leaves what it asked for
/// before, so that the caller may answer that again.
cAUTH_RESULT cKAVRO_BROKER_CLIENT::kept(AuthAnswer answer) {
    if (!answer.next_authentication.empty()) {
        next_authentication_ = std::move(answer.next_authentication);
        wanted_ = std::move(answer.auth);
    } else {
        wanted_.to_client_variables = std::move(answer.auth.to_client_variables);
    }
    return wanted_;
}

void cKAVRO_BROKER_CLIENT::get_authentication_method(AuthHandler handler) {
    require(handler, authentication_method_message.completion);
    transport_.answer_locally(
        request_text(authentication_method_message, dialect_, next_authentication_),
        reading(authentication_method_message, [this, handler = std::move(handler)](
                                                   const BrokerResult &result, AuthAnswer answer) {
            handler(result, kept(std::move(answer)));
        }));
}

template <class... Given>
void cKAVRO_BROKER_CLIENT::authenticate(const Message<AuthAnswer, Given...> &message,
                                        AuthHandler handler,
                                        const std::type_identity_t<Given> &...given) {
    require(handler, message.completion);
    exchange(
        message, limits_.authentication,
        [this, handler = std::move(handler)](const BrokerResult &result, AuthAnswer answer) {
            handler(result, kept(std::move(answer)));
        },
        given...);
}

void cKAVRO_BROKER_CLIENT::authenticate_password(std::string_view user_name,
                                                 std::string_view password, std::string_view domain,
                                                 AuthHandler handler) {
    authenticate(password_message, std::move(handler), user_name, password, domain);
}

void cKAVRO_BROKER_CLIENT::authenticate_dialog(std::span<const DialogAnswer> fields,
                                               std::string_view button_id, AuthHandler handler) {
    authenticate(dialog_message, std::move(handler), fields, button_id);
}

void cKAVRO_BROKER_CLIENT::authenticate_oauth(std::string_view code, AuthHandler handler) {
    authenticate(oauth_message, std::move(handler), code);
}

void cKAVRO_BROKER_CLIENT::accept_disclaimer(bool accept, AuthHandler handler) {
    authenticate(disclaimer_message, std::move(handler), accept);
}

void cKAVRO_BROKER_CLIENT::update_password(std::string_view user_name,
                                           std::string_view old_password,
                                           std::string_view new_password, std::string_view domain,
                                           AuthHandler handler) {
    authenticate(password_update_message, std::move(handler), user_name, old_password, new_password,
                 domain);
}

void cKAVRO_BROKER_CLIENT::complete_unimplemented(AuthHandler handler) {
    transport_.post([handler = std::move(handler)] { handler({ERROR_CODE_NOT_IMPLEMENTED}, {}); });
}

void cKAVRO_BROKER_CLIENT::get_resource_list(DesktopListHandler handler) {
    require(handler, resource_list_message.completion);
    exchange(resource_list_message, limits_.request, std::move(handler));
}

void cKAVRO_BROKER_CLIENT::allocate_resource(std::string_view resource_id,
                                             const Variables &agent_variables,
                                             AllocationHandler handler, milliseconds timeout) {
    require(handler, allocate_resource_message.completion);
    if (identity_.time_zone.empty()) // looked up only here, where it is told
        identity_.time_zone = get_timezone_windows();
    exchange(
        allocate_resource_message, timeout,
        [this, handler = std::move(handler), deadline = Clock::now() + timeout](BrokerResult result,
                                                                                Allocation answer) {
            if (result.code == ERROR_CODE_NONE && answer.provisioner)
                result = provision(*answer.provisioner, answer.connection);
            if (result.code != ERROR_CODE_NONE)
                return handler(result, {});
            const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
            resolve_target(std::move(answer.connection), std::max(left, 1ms), handler);
        },
        identity_, resource_id, agent_variables);
}

BrokerResult cKAVRO_BROKER_CLIENT::provision(const Provisioner &provisioner,
                                             cDESKTOP_CONNECTION_RESULT &connection) {
    return provision_session(provisioner,
                             {.jsessionid = transport_.first_cookie(),
                              .request_id = transport_.client_log_id(),
                              .time_zone = identity_.time_zone,
                              .locale = identity_.locale},
                             transport_.route(), transport_.waiter(), limits_.provisioning,
                             dialect_.version, connection);
}

/// A target given by name is looked up; a name that cannot be looked up stays as it is, because the
/// caller may know it better.
void cKAVRO_BROKER_CLIENT::resolve_target(cDESKTOP_CONNECTION_RESULT connection,
                                          milliseconds timeout, const AllocationHandler &handler) {
    const std::string target = connection.target_address;
    if (is_ip_address(target)) {
        log_debug("%s is a valid address", printable(target).c_str());
        return handler({}, std::move(connection));
    }
    log_debug("%s is not a valid address, attempting to resolve it", printable(target).c_str());
    auto resolved = [connection = std::move(connection),
                     handler](const std::string &address) mutable {
        log_debug("%s: resolved hostname %s to ip addr %s",
                  "cKAVRO_BROKER_CLIENT::handle_allocate_resource_resolve_complete",
                  printable(connection.target_address).c_str(), address.c_str());
        if (is_ip_address(address)) {
            connection.target_address = address;
            log_debug("resolved hostname to %s", address.c_str());
        }
        handler({}, std::move(connection));
    };
    if (target.empty()) // which a resolver would take for this machine
        return resolved({});
    transport_.resolve_name(target, std::move(resolved), timeout);
}

void cKAVRO_BROKER_CLIENT::perform_operation(std::string_view resource_id,
                                             eKAVRO_BROKER_DESKTOP_CMD command,
                                             OperationHandler handler) {
    require(handler, power_operation_message.completion);
    exchange(
        power_operation_message, limits_.request,
        [command, handler = std::move(handler)](const BrokerResult &result, Nothing) {
            handler(result, command);
        },
        resource_id, command);
}

/// The broker's answer, or its silence, changes nothing: the user has left.
void cKAVRO_BROKER_CLIENT::do_logout(LogoutHandler handler) {
    require(handler, logout_message.completion);
    transport_.http_post_with_xml_path(
        broker_path, request_text(logout_message, dialect_),
        [this, handler = std::move(handler)](const PostResult &post) {
            if (post.result != POST_RESULT_CANCELLED)
                transport_.forget_cookies();
            handler({});
        },
        limits_.request);
}

} // namespace kavro
