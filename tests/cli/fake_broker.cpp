#include "fake_broker.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>

using kavro_cli::Variables;

struct broker_client_impl {
    std::string message;
};
struct kavro_broker_desktop_list_record {
    std::vector<kavro_cli::Desktop> desktops;
};
struct kavro_broker_desktop_connection_record {
    kavro_cli::Target target;
};
struct kavro_broker_variable_list_record {
    Variables variables;
};
struct broker_query_impl {};

namespace fake {

Broker broker;

std::vector<std::string> Broker::noted_of(const std::string &word) const {
    std::vector<std::string> found;
    std::ranges::copy_if(noted, std::back_inserter(found), [&](const std::string &line) {
        return line == word || line.starts_with(word + ' ');
    });
    return found;
}

void Broker::log(int32_t category, int32_t severity, int32_t error, const char *format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    log_function(category, severity, error, format, arguments);
    va_end(arguments);
}

namespace {

template <class... Texts>
kavro_broker_result note(const std::string &word, const Texts &...texts) {
    const std::vector<std::string> all{std::string(texts)...};
    broker.noted.push_back(all.empty() ? word : fmt::format("{} {}", word, fmt::join(all, "|")));
    return KAVRO_BROKER_OK;
}

template <class... Texts>
kavro_broker_result request(kavro_broker_handle handle, const std::string &word,
                            const Texts &...texts) {
    note(word, texts...);
    broker.during(word);
    broker.greeted = true;
    auto &results = broker.results[word];
    kavro_broker_result result = KAVRO_BROKER_OK;
    if (!results.empty()) {
        result = results.front();
        results.pop_front();
    }
    handle->message = result == KAVRO_BROKER_OK ? "" : broker.message;
    return result;
}

/// An answer to what the broker wants.
template <class... Texts>
kavro_broker_result answer(kavro_broker_handle handle, const std::string &word,
                           const Texts &...texts) {
    const auto result = request(handle, word, texts...);
    if (result == KAVRO_BROKER_OK)
        broker.methods.pop_front();
    return result;
}

kavro_broker_result put(const std::string &text, char *buffer, std::size_t *length) {
    const auto size = std::exchange(*length, text.size() + 1);
    if (buffer == nullptr)
        return KAVRO_BROKER_OK;
    if (size < text.size() + 1)
        return KAVRO_BROKER_ERR_BUFFER_TOO_SMALL;
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return KAVRO_BROKER_OK;
}

kavro_broker_result put_count(std::size_t count, uint32_t *output) {
    *output = static_cast<uint32_t>(count);
    return KAVRO_BROKER_OK;
}

} // namespace
} // namespace fake

using fake::answer;
using fake::broker;
using fake::note;
using fake::put;
using fake::put_count;
using fake::request;

void kavro_broker_set_log_function(kavro_broker_log_function function) {
    broker.log_function = function;
}
const char *kavro_broker_get_version() {
    return "fake library";
}

kavro_broker_result kavro_broker_create(uint32_t, kavro_broker_handle *handle) {
    *handle = new broker_client_impl;
    return KAVRO_BROKER_OK;
}
void kavro_broker_free(kavro_broker_handle handle) {
    delete handle;
}
void kavro_broker_cancel(kavro_broker_handle) {}

kavro_broker_result kavro_broker_set_broker_address(kavro_broker_handle, const char *address,
                                                    const char *port) {
    return note("address", address, port == nullptr ? "none" : port);
}
kavro_broker_result kavro_broker_set_broker_variant(kavro_broker_handle, uint32_t variant) {
    return note("variant", std::to_string(variant));
}
void kavro_broker_set_cache_file_location(const char *folder) {
    note("cache", folder);
}
kavro_broker_result kavro_broker_enable_oauth(kavro_broker_handle, bool enable) {
    return note("oauth-enabled", enable ? "yes" : "no");
}
kavro_broker_result kavro_broker_escape_text(const char *text, char *buffer, size_t *length) {
    std::string escaped;
    for (const char character : std::string(text))
        escaped += std::strchr("<>&'\"", character) ? fmt::format("&{};", character)
                                                    : std::string(1, character);
    return put(escaped, buffer, length);
}
kavro_broker_result kavro_broker_set_client_info(kavro_broker_handle, const char *, const char *,
                                                 const char *) {
    return KAVRO_BROKER_OK;
}
kavro_broker_result kavro_broker_set_locale(kavro_broker_handle, const char *locale) {
    return note("locale", locale);
}
kavro_broker_result kavro_broker_set_timezone(kavro_broker_handle, const char *zone) {
    return note("timezone", zone);
}
kavro_broker_result kavro_broker_fail_if_unverified(kavro_broker_handle, bool fail) {
    return note("verify", fail ? "yes" : "no");
}
kavro_broker_result kavro_broker_set_connect_to_desktop_timeout(kavro_broker_handle,
                                                                uint16_t seconds) {
    return note("timeout", std::to_string(seconds));
}
kavro_broker_result kavro_broker_set_hello_client_variables(kavro_broker_handle,
                                                            kavro_broker_variable_list list) {
    if (list != nullptr)
        for (const auto &[name, value] : list->variables)
            note("hello-variable", name, value);
    return KAVRO_BROKER_OK;
}

kavro_broker_result kavro_broker_get_auth_method(kavro_broker_handle handle, uint32_t *method) {
    *method =
        broker.methods.empty() ? uint32_t{KAVRO_BROKER_AUTH_METHOD_NONE} : broker.methods.front();
    return request(handle, "method");
}
kavro_broker_result kavro_broker_send_password(kavro_broker_handle handle, const char *user,
                                               const char *domain, const char *password) {
    return answer(handle, "password", user, domain, password);
}
kavro_broker_result kavro_broker_send_new_password(kavro_broker_handle handle, const char *user,
                                                   const char *domain, const char *old_password,
                                                   const char *password, const char *again) {
    return answer(handle, "new-password", user, domain, old_password, password, again);
}
kavro_broker_result kavro_broker_send_accept_disclaimer(kavro_broker_handle handle,
                                                        uint8_t accept) {
    return answer(handle, "disclaimer", accept == 1 ? "accepted" : "rejected");
}
kavro_broker_result kavro_broker_send_oauth_code(kavro_broker_handle handle, const char *code) {
    return answer(handle, "oauth", code);
}
kavro_broker_result kavro_broker_send_auth_dialog(kavro_broker_handle handle, const char *button,
                                                  const kavro_broker_name_value *fields,
                                                  uint32_t count) {
    std::string line = button;
    for (uint32_t i = 0; i < count; ++i)
        line += fmt::format("|{}={}", fields[i].name, fields[i].value);
    return answer(handle, "dialog", line);
}
kavro_broker_result kavro_broker_clear_session(kavro_broker_handle handle) {
    if (!broker.greeted)
        return KAVRO_BROKER_OK;
    const auto result = request(handle, "bye");
    broker.greeted = false;
    return result;
}
kavro_broker_result kavro_broker_request_desktop_list(kavro_broker_handle handle,
                                                      kavro_broker_desktop_list *list) {
    const auto result = request(handle, "list");
    if (result == KAVRO_BROKER_OK)
        *list = new kavro_broker_desktop_list_record{broker.desktops};
    return result;
}
kavro_broker_result kavro_broker_connect_to_desktop(kavro_broker_handle handle, const char *id,
                                                    kavro_broker_variable_list variables,
                                                    kavro_broker_desktop_connection_info *info) {
    std::string line = id;
    if (variables != nullptr)
        for (const auto &[name, value] : variables->variables)
            line += fmt::format("|{}={}", name, value);
    const auto result = request(handle, "connect", line);
    if (result == KAVRO_BROKER_OK)
        *info = new kavro_broker_desktop_connection_record{broker.target};
    return result;
}
kavro_broker_result kavro_broker_perform_desktop_operation(kavro_broker_handle handle,
                                                           const char *id, uint32_t operation) {
    return request(handle, "power", id, std::to_string(operation));
}

kavro_broker_result kavro_broker_get_broker_error_message(kavro_broker_handle handle, char *buffer,
                                                          size_t *length) {
    return put(handle->message, buffer, length);
}
kavro_broker_result kavro_broker_get_broker_info(kavro_broker_handle, char *product,
                                                 size_t *product_length, char *version,
                                                 size_t *version_length, char *platform,
                                                 size_t *platform_length) {
    put("Fake", product, product_length);
    put("7", version, version_length);
    return put("Nowhere", platform, platform_length);
}
kavro_broker_result kavro_broker_get_resolved_broker_address(kavro_broker_handle, char *buffer,
                                                             size_t *length) {
    return put("fake.example", buffer, length);
}
kavro_broker_result kavro_broker_get_num_certificates(kavro_broker_handle, uint32_t *count) {
    *count = static_cast<uint32_t>(broker.certificates.size());
    return KAVRO_BROKER_OK;
}

kavro_broker_result kavro_broker_get_broker_certificate(kavro_broker_handle, uint32_t index,
                                                        uint8_t *buffer, size_t *length) {
    const auto &der = broker.certificates[index];
    *length = der.size();
    if (buffer != nullptr)
        std::ranges::copy(der, buffer);
    return KAVRO_BROKER_OK;
}

kavro_broker_result kavro_broker_add_trust_anchor(kavro_broker_handle, const uint8_t *,
                                                  size_t length) {
    broker.noted.push_back("trust-anchor " + std::to_string(length));
    return KAVRO_BROKER_OK;
}

kavro_broker_result kavro_broker_use_signing_certificate(kavro_broker_handle, const uint8_t *,
                                                         size_t length, kavro_broker_sign_function,
                                                         void *) {
    broker.noted.push_back("client-certificate " + std::to_string(length));
    return KAVRO_BROKER_OK;
}

kavro_broker_result kavro_broker_get_certificate_error(kavro_broker_handle, uint32_t,
                                                       uint32_t *verdict) {
    *verdict = broker.certificate_verdict;
    return KAVRO_BROKER_OK;
}
kavro_broker_result kavro_broker_get_num_auth_domains(kavro_broker_handle, uint32_t *count) {
    return put_count(broker.domains.size(), count);
}
kavro_broker_result kavro_broker_get_auth_domain(kavro_broker_handle, uint32_t index, char *buffer,
                                                 size_t *length) {
    return put(broker.domains[index], buffer, length);
}
kavro_broker_result kavro_broker_get_disclaimer_text(kavro_broker_handle, char *buffer,
                                                     size_t *length) {
    return put(broker.disclaimer, buffer, length);
}
kavro_broker_result kavro_broker_get_auth_dialog_prompt_text(kavro_broker_handle, char *buffer,
                                                             size_t *length) {
    return put(broker.dialog.prompt, buffer, length);
}
kavro_broker_result kavro_broker_get_auth_dialog_error_text(kavro_broker_handle, char *buffer,
                                                            size_t *length) {
    return put(broker.dialog.error, buffer, length);
}
kavro_broker_result kavro_broker_get_auth_dialog_get_num_fields(kavro_broker_handle,
                                                                uint32_t *count) {
    return put_count(broker.dialog.fields.size(), count);
}
kavro_broker_result kavro_broker_get_auth_dialog_field(kavro_broker_handle, uint32_t index,
                                                       uint32_t *kind, char *name,
                                                       size_t *name_length, char *label,
                                                       size_t *label_length, char *value,
                                                       size_t *value_length, uint8_t *hidden,
                                                       uint8_t *loggable, uint32_t *text_type) {
    const auto &field = broker.dialog.fields[index];
    *kind =
        field.read_only ? KAVRO_BROKER_DIALOG_FIELD_READ_ONLY : KAVRO_BROKER_DIALOG_FIELD_EDITABLE;
    *hidden = field.hidden ? 1 : 0;
    *loggable = field.loggable ? 1 : 0;
    *text_type = field.text_type;
    put(field.name, name, name_length);
    put(field.label, label, label_length);
    return put(field.value, value, value_length);
}
kavro_broker_result kavro_broker_get_auth_dialog_get_num_buttons(kavro_broker_handle,
                                                                 uint32_t *count) {
    return put_count(broker.dialog.buttons.size(), count);
}
kavro_broker_result kavro_broker_get_auth_dialog_button(kavro_broker_handle, uint32_t index,
                                                        char *id, size_t *id_length, char *label,
                                                        size_t *label_length, uint8_t *is_default) {
    const auto &button = broker.dialog.buttons[index];
    *is_default = button.is_default ? 1 : 0;
    put(button.id, id, id_length);
    return put(button.label, label, label_length);
}

kavro_broker_result kavro_broker_get_num_desktops(kavro_broker_desktop_list list, uint32_t *count) {
    return put_count(list->desktops.size(), count);
}
#define DESKTOP_TEXT(member)                                                                       \
    kavro_broker_result kavro_broker_get_desktop_##member(                                         \
        kavro_broker_desktop_list list, uint32_t index, char *buffer, size_t *length) {            \
        return put(list->desktops[index].member, buffer, length);                                  \
    }
DESKTOP_TEXT(name)
DESKTOP_TEXT(id)
DESKTOP_TEXT(type)
DESKTOP_TEXT(state)
DESKTOP_TEXT(health)
#undef DESKTOP_TEXT
kavro_broker_result kavro_broker_get_desktop_operation_allowed(kavro_broker_desktop_list list,
                                                               uint32_t index, uint32_t operation,
                                                               uint8_t *allowed) {
    const auto &offered = list->desktops[index].operations;
    *allowed = std::ranges::any_of(kavro_cli::operations, [&](const kavro_cli::Operation &known) {
        return known.value == operation && std::ranges::count(offered, known.word) != 0;
    });
    return KAVRO_BROKER_OK;
}
void kavro_broker_free_desktop_list(kavro_broker_desktop_list list) {
    delete list;
}

kavro_broker_result
kavro_broker_get_desktop_connection_property(kavro_broker_desktop_connection_info info,
                                             uint32_t property, char *buffer, size_t *length) {
    const auto &target = info->target;
    if (property == KAVRO_BROKER_CONNECTION_USE_BROKER_ADDRESS) {
        *buffer = target.use_broker_address ? 1 : 0;
        *length = 1;
        return KAVRO_BROKER_OK;
    }
    if (property >= KAVRO_BROKER_CONNECTION_GATEWAY_TICKET && !target.gateway_ticket)
        return KAVRO_BROKER_ERR_NOT_AVAILABLE;
    const auto ticket = target.gateway_ticket.value_or(kavro_cli::GatewayTicket{});
    const std::string texts[] = {target.address,
                                 target.host_name,
                                 target.server_name,
                                 target.port,
                                 target.session_id,
                                 target.connect_tag,
                                 "",
                                 ticket.ticket,
                                 ticket.created,
                                 ticket.expires};
    return put(texts[property], buffer, length);
}
kavro_broker_result
kavro_broker_get_num_desktop_connection_agent_variables(kavro_broker_desktop_connection_info info,
                                                        uint32_t *count) {
    return put_count(info->target.agent_variables.size(), count);
}
kavro_broker_result
kavro_broker_get_desktop_connection_agent_variable(kavro_broker_desktop_connection_info info,
                                                   uint32_t index, char *name, size_t *name_length,
                                                   char *value, size_t *value_length) {
    const auto &variable = info->target.agent_variables[index];
    put(variable.first, name, name_length);
    return put(variable.second, value, value_length);
}
kavro_broker_result
kavro_broker_get_num_desktop_connection_alternate_targets(kavro_broker_desktop_connection_info info,
                                                          uint32_t *count) {
    return put_count(info->target.alternates.size(), count);
}
kavro_broker_result kavro_broker_get_desktop_connection_alternate_target(
    kavro_broker_desktop_connection_info info, uint32_t index, char *address,
    size_t *address_length, char *host_name, size_t *host_name_length, char *server_name,
    size_t *server_name_length, char *port, size_t *port_length) {
    const auto &alternate = info->target.alternates[index];
    put(alternate.address, address, address_length);
    put(alternate.host_name, host_name, host_name_length);
    put(alternate.server_name, server_name, server_name_length);
    return put(alternate.port, port, port_length);
}
void kavro_broker_free_desktop_connection_info(kavro_broker_desktop_connection_info info) {
    delete info;
}

kavro_broker_result kavro_broker_create_variable_list(uint32_t count,
                                                      kavro_broker_variable_list *list) {
    *list = new kavro_broker_variable_list_record{Variables(count)};
    return KAVRO_BROKER_OK;
}
kavro_broker_result kavro_broker_set_variable(kavro_broker_variable_list list, uint32_t index,
                                              const char *name, const char *value) {
    list->variables[index] = {name, value};
    return KAVRO_BROKER_OK;
}
void kavro_broker_free_variable_list(kavro_broker_variable_list list) {
    delete list;
}

kavro_broker_result kavro_broker_create_type_finder(kavro_broker_type_finder *finder) {
    *finder = new broker_query_impl;
    return KAVRO_BROKER_OK;
}
kavro_broker_result kavro_broker_find_type_extended(kavro_broker_type_finder, const char *address,
                                                    const char *port, uint32_t *type,
                                                    char *address_buffer, size_t address_size,
                                                    char *port_buffer, size_t port_size) {
    note("find", address, port == nullptr ? "none" : port);
    broker.during("find");
    if (broker.found_type == 0)
        return KAVRO_BROKER_ERR_NO_BROKER_FOUND;
    *type = broker.found_type;
    put("https://resolved.example", address_buffer, &address_size);
    return put("60443", port_buffer, &port_size);
}
void kavro_broker_cancel_find_type(kavro_broker_type_finder) {
    note("cancel-find");
}
void kavro_broker_free_type_finder(kavro_broker_type_finder finder) {
    delete finder;
}
