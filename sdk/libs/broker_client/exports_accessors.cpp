#include "error_codes.h"
#include "export_guard.h"
#include "kavro_broker_extras.h"

// The answers of the last requests, read from the handle.

using namespace kavro;

namespace {

/// One text of the handle.
template <class Find>
kavro_broker_result get_text(kavro_broker_handle handle, Find find, char *buffer,
                             std::size_t *length) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        return put_text({find(client), buffer, length});
    });
}

/// Puts the number of items of the list that `find` picks.
template <class Find>
kavro_broker_result get_count(kavro_broker_handle handle, Find find, std::uint32_t *count) {
    return with_handle(handle, {count},
                       [&](broker_client_impl &client) { return put_count(find(client), count); });
}

// The lists of a handle.
const Variables &hello_variables(const broker_client_impl &client) {
    return client.hello.broker_variables;
}
const std::vector<std::string> &domains(const broker_client_impl &client) {
    return client.auth.domains;
}
const Variables &auth_variables(const broker_client_impl &client) {
    return client.auth.to_client_variables;
}
const std::vector<DialogField> &fields(const broker_client_impl &client) {
    return client.auth.dialog_fields;
}
const std::vector<DialogButton> &buttons(const broker_client_impl &client) {
    return client.auth.dialog_buttons;
}
const std::vector<Security::cX509_CERT_CHAIN::Der> &certificates(const broker_client_impl &client) {
    return client.certificates.certificates.entries();
}

} // namespace

kavro_broker_result kavro_broker_get_broker_error_message(kavro_broker_handle handle, char *buffer,
                                                          size_t *length) {
    return get_text(
        handle, [](auto &client) { return std::string_view(client.last_error_message); }, buffer,
        length);
}

kavro_broker_result kavro_broker_get_request_report(kavro_broker_handle handle, char *buffer,
                                                    size_t *length) {
    return with_handle(handle, {}, [&](broker_client_impl &client) -> kavro_broker_result {
        if (client.report.empty())
            return KAVRO_BROKER_ERR_INVALID_STATE;
        return put_text({to_json(client.report), buffer, length});
    });
}

kavro_broker_result kavro_broker_get_broker_info(kavro_broker_handle handle, char *product_name,
                                                 size_t *product_name_length, char *product_version,
                                                 size_t *product_version_length, char *platform,
                                                 size_t *platform_length) {
    return with_handle(handle, {}, [&](broker_client_impl &client) -> kavro_broker_result {
        if (!client.hello_completed)
            return KAVRO_BROKER_ERR_INVALID_STATE;
        return put_texts({{client.hello.product_name, product_name, product_name_length},
                          {client.hello.product_version, product_version, product_version_length},
                          {client.hello.platform, platform, platform_length}});
    });
}

kavro_broker_result kavro_broker_get_resolved_broker_address(kavro_broker_handle handle,
                                                             char *buffer, size_t *length) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        return put_text({client.protocol->get_resolved_address(), buffer, length});
    });
}

kavro_broker_result kavro_broker_get_num_hello_broker_variables(kavro_broker_handle handle,
                                                                uint32_t *count) {
    return get_count(handle, hello_variables, count);
}

kavro_broker_result kavro_broker_get_hello_broker_variable(kavro_broker_handle handle,
                                                           uint32_t index, char *name,
                                                           size_t *name_length, char *value,
                                                           size_t *value_length) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        return put_variable(hello_variables(client), index, name, name_length, value, value_length);
    });
}

kavro_broker_result kavro_broker_get_num_auth_domains(kavro_broker_handle handle, uint32_t *count) {
    return get_count(handle, domains, count);
}

kavro_broker_result kavro_broker_get_auth_domain(kavro_broker_handle handle, uint32_t index,
                                                 char *buffer, size_t *length) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        return with_item(domains(client), index, [&](const std::string &domain) {
            return put_text({domain, buffer, length});
        });
    });
}

kavro_broker_result kavro_broker_get_num_auth_to_client_variables(kavro_broker_handle handle,
                                                                  uint32_t *count) {
    return get_count(handle, auth_variables, count);
}

kavro_broker_result kavro_broker_get_auth_to_client_variable(kavro_broker_handle handle,
                                                             uint32_t index, char *name,
                                                             size_t *name_length, char *value,
                                                             size_t *value_length) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        return put_variable(auth_variables(client), index, name, name_length, value, value_length);
    });
}

kavro_broker_result kavro_broker_get_auth_dialog_prompt_text(kavro_broker_handle handle,
                                                             char *buffer, size_t *length) {
    return get_text(
        handle, [](auto &client) { return std::string_view(client.auth.dialog_prompt); }, buffer,
        length);
}

kavro_broker_result kavro_broker_get_auth_dialog_error_text(kavro_broker_handle handle,
                                                            char *buffer, size_t *length) {
    return get_text(
        handle, [](auto &client) { return std::string_view(client.auth.dialog_error); }, buffer,
        length);
}

kavro_broker_result kavro_broker_get_disclaimer_text(kavro_broker_handle handle, char *buffer,
                                                     size_t *length) {
    return get_text(
        handle, [](auto &client) { return std::string_view(client.auth.disclaimer); }, buffer,
        length);
}

kavro_broker_result kavro_broker_get_auth_dialog_get_num_fields(kavro_broker_handle handle,
                                                                uint32_t *count) {
    return get_count(handle, fields, count);
}

kavro_broker_result kavro_broker_get_auth_dialog_field(kavro_broker_handle handle, uint32_t index,
                                                       uint32_t *kind, char *name,
                                                       size_t *name_length, char *label,
                                                       size_t *label_length, char *value,
                                                       size_t *value_length, uint8_t *hidden,
                                                       uint8_t *loggable, uint32_t *text_type) {
    return with_handle(handle, {kind, hidden, loggable}, [&](broker_client_impl &client) {
        return with_item(fields(client), index, [&](const DialogField &field) {
            *kind = field.read_only ? KAVRO_BROKER_DIALOG_FIELD_READ_ONLY
                                    : KAVRO_BROKER_DIALOG_FIELD_EDITABLE;
            *hidden = field.hidden;
            *loggable = field.loggable;
            if (text_type != nullptr)
                *text_type = field.text_type;
            return put_texts({{field.id, name, name_length},
                              {field.label, label, label_length},
                              {field.text, value, value_length}});
        });
    });
}

kavro_broker_result kavro_broker_get_auth_dialog_get_num_buttons(kavro_broker_handle handle,
                                                                 uint32_t *count) {
    return get_count(handle, buttons, count);
}

kavro_broker_result kavro_broker_get_auth_dialog_button(kavro_broker_handle handle, uint32_t index,
                                                        char *id, size_t *id_length, char *label,
                                                        size_t *label_length, uint8_t *is_default) {
    return with_handle(handle, {is_default}, [&](broker_client_impl &client) {
        return with_item(buttons(client), index, [&](const DialogButton &button) {
            *is_default = button.is_default;
            return put_texts({{button.id, id, id_length}, {button.label, label, label_length}});
        });
    });
}

kavro_broker_result kavro_broker_get_num_certificates(kavro_broker_handle handle, uint32_t *count) {
    return get_count(handle, certificates, count);
}

kavro_broker_result kavro_broker_get_broker_certificate(kavro_broker_handle handle, uint32_t index,
                                                        uint8_t *buffer, size_t *length) {
    return with_handle(handle, {length}, [&](broker_client_impl &client) {
        return with_item(certificates(client), index, [&](const auto &certificate) {
            const bool copied = !certificate.empty() &&
                                client.certificates.certificates.copy_der(index, buffer, *length);
            return copied ? KAVRO_BROKER_OK : KAVRO_BROKER_ERR_BUFFER_TOO_SMALL;
        });
    });
}

kavro_broker_result kavro_broker_get_certificate_error(kavro_broker_handle handle, uint32_t index,
                                                       uint32_t *verdict) {
    return with_handle(handle, {verdict}, [&](broker_client_impl &client) {
        return with_item(client.certificates.errors, index, [verdict](std::uint32_t code) {
            *verdict = convert_certificate_verdict(code);
            return KAVRO_BROKER_OK;
        });
    });
}
