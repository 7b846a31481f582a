#include "error_codes.h"
#include "export_guard.h"
#include "kavro_broker_extras.h"
#include "records.h"
#include "request_frame.h"
#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"

#include <algorithm>
#include <memory>
#include <new>
#include <span>

// The requests. Each checks its arguments and names the operation that answers it; the rest is the
// request frame. And the escaping of what users typed into them.

using namespace kavro;

namespace {

/// An authentication request: whatever the broker answers, what it wants next is stored.
template <class Start>
kavro_broker_result authenticate(kavro_broker_handle handle,
                                 std::initializer_list<const void *> required, Start start,
                                 const char *function = __builtin_FUNCTION()) {
    return in_request(
        handle, required,
        [&](broker_client_impl &client) { return ask(client, start, client.auth); }, function);
}

/// The answered fields that the stored dialog has, in the caller's order.
std::vector<DialogAnswer> matching_answers(const std::vector<DialogField> &dialog,
                                           std::span<const kavro_broker_name_value> given) {
    std::vector<DialogAnswer> answers;
    for (const auto &[name, value] : given) {
        const auto field = std::ranges::find(dialog, std::string_view(name), &DialogField::id);
        if (field != dialog.end())
            answers.push_back({field->id, value, field->loggable});
        else
            log_info("The dialog has no field \"%s\": it is left out.", printable(name).c_str());
    }
    return answers;
}

} // namespace

kavro_broker_result kavro_broker_get_auth_method(kavro_broker_handle handle, uint32_t *method) {
    if (method != nullptr)
        *method = static_cast<uint32_t>(KAVRO_BROKER_AUTH_METHOD_UNKNOWN);
    return in_request(handle, {method}, [method](broker_client_impl &client) {
        BrokerResult outcome = ask(
            client,
            [](iBROKER_CLIENT &protocol, auto done) { protocol.get_authentication_method(done); },
            client.auth);
        if (outcome.code == ERROR_CODE_NONE)
            *method = convert_from_auth_result_value(client.auth.method);
        return outcome;
    });
}

kavro_broker_result kavro_broker_send_password(kavro_broker_handle handle, const char *user_name,
                                               const char *domain, const char *password) {
    return authenticate(handle, {user_name, domain, password},
                        [&](iBROKER_CLIENT &protocol, auto done) {
                            protocol.authenticate_password(user_name, password, domain, done);
                        });
}

kavro_broker_result kavro_broker_send_auth_dialog(kavro_broker_handle handle, const char *button_id,
                                                  const kavro_broker_name_value *fields,
                                                  uint32_t field_count) {
    const std::span given(fields, fields != nullptr ? field_count : 0);
    const bool usable = given.size() == field_count &&
                        std::ranges::all_of(given, [](const kavro_broker_name_value &field) {
                            return field.name != nullptr && field.value != nullptr;
                        });
    if (!usable)
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    return authenticate(handle, {button_id}, [&](iBROKER_CLIENT &protocol, auto done) {
        protocol.authenticate_dialog(matching_answers(handle->auth.dialog_fields, given), button_id,
                                     done);
    });
}

kavro_broker_result kavro_broker_send_oauth_code(kavro_broker_handle handle, const char *code) {
    return authenticate(handle, {code}, [&](iBROKER_CLIENT &protocol, auto done) {
        protocol.authenticate_oauth(code, done);
    });
}

kavro_broker_result kavro_broker_send_accept_disclaimer(kavro_broker_handle handle,
                                                        uint8_t accept) {
    if (accept > 1)
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    return authenticate(handle, {}, [accept](iBROKER_CLIENT &protocol, auto done) {
        protocol.accept_disclaimer(accept == 1, done);
    });
}

kavro_broker_result kavro_broker_send_new_password(kavro_broker_handle handle,
                                                   const char *user_name, const char *domain,
                                                   const char *old_password,
                                                   const char *new_password,
                                                   const char *new_password_again) {
    const bool mistyped = new_password != nullptr && new_password_again != nullptr &&
                          std::string_view(new_password) != new_password_again;
    if (mistyped)
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    return authenticate(handle, {user_name, domain, old_password, new_password, new_password_again},
                        [&](iBROKER_CLIENT &protocol, auto done) {
                            protocol.update_password(user_name, old_password, new_password, domain,
                                                     done);
                        });
}

kavro_broker_result kavro_broker_send_securid_auth(kavro_broker_handle handle,
                                                   const char *user_name, const char *passcode) {
    return authenticate(handle, {user_name, passcode}, [&](iBROKER_CLIENT &protocol, auto done) {
        protocol.authenticate_securid(user_name, passcode, done);
    });
}

kavro_broker_result kavro_broker_send_securid_token(kavro_broker_handle handle, const char *token) {
    return authenticate(handle, {token}, [&](iBROKER_CLIENT &protocol, auto done) {
        protocol.authenticate_securid_token(token, done);
    });
}

kavro_broker_result kavro_broker_send_securid_pinchange(kavro_broker_handle handle,
                                                        const char *token, const char *new_pin,
                                                        const char *new_pin_again) {
    return authenticate(handle, {token, new_pin, new_pin_again},
                        [&](iBROKER_CLIENT &protocol, auto done) {
                            protocol.change_securid_pin(token, new_pin, new_pin_again, done);
                        });
}

kavro_broker_result kavro_broker_send_securid_wait(kavro_broker_handle handle) {
    return authenticate(
        handle, {}, [](iBROKER_CLIENT &protocol, auto done) { protocol.wait_for_securid(done); });
}

kavro_broker_result kavro_broker_request_desktop_list(kavro_broker_handle handle,
                                                      kavro_broker_desktop_list *list) {
    return in_request(handle, {list}, [list](broker_client_impl &client) {
        DesktopListHandle desktops;
        BrokerResult outcome = ask<Repeatable::yes>(
            client, [](iBROKER_CLIENT &protocol, auto done) { protocol.get_resource_list(done); },
            desktops);
        if (outcome.code == ERROR_CODE_NONE)
            *list = new (std::nothrow) kavro_broker_desktop_list_record{
                desktops ? desktops : std::make_shared<DesktopList>()};
        return outcome;
    });
}

kavro_broker_result kavro_broker_connect_to_desktop(kavro_broker_handle handle,
                                                    const char *desktop_id,
                                                    kavro_broker_variable_list variables,
                                                    kavro_broker_desktop_connection_info *info) {
    return in_request(handle, {desktop_id, info}, [&](broker_client_impl &client) {
        auto made = std::make_unique<kavro_broker_desktop_connection_record>();
        BrokerResult outcome = ask(
            client,
            [&](iBROKER_CLIENT &protocol, auto done) {
                protocol.allocate_resource(
                    desktop_id, variables != nullptr ? variables->variables : Variables(), done,
                    client.connect_to_desktop_timeout);
            },
            made->connection);
        if (outcome.code == ERROR_CODE_NONE)
            *info = made.release();
        return outcome;
    });
}

kavro_broker_result kavro_broker_perform_desktop_operation(kavro_broker_handle handle,
                                                           const char *desktop_id,
                                                           uint32_t operation) {
    return in_request(handle, {desktop_id}, [&](broker_client_impl &client) {
        auto command = static_cast<eKAVRO_BROKER_DESKTOP_CMD>(operation);
        return ask(
            client,
            [&](iBROKER_CLIENT &protocol, auto done) {
                protocol.perform_operation(desktop_id, command, done);
            },
            command);
    });
}

kavro_broker_result kavro_broker_send_certificate_confirmation(kavro_broker_handle handle,
                                                               uint32_t flag, const void *first,
                                                               const void *second) {
    return with_handle(handle, {first, second}, [flag](broker_client_impl &) {
        return flag <= 1 ? KAVRO_BROKER_OK : KAVRO_BROKER_ERR_INVALID_PARAMETER;
    });
}

kavro_broker_result kavro_broker_escape_text(const char *text, char *buffer, size_t *length) {
    if (!all_given({text, length}))
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    return guard([&] {
        const std::string_view plain = text;
        SecureText escaped;
        escaped.reserve(plain.size() + sizeof escaped); // in memory that will be wiped
        append_escaped_xml(escaped, plain);
        return put_text({escaped, buffer, length});
    });
}
