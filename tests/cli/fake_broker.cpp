#include "fake_broker.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>

struct broker_client_impl {
    std::string message;
};
struct kavro_broker_desktop_list_record {
    std::vector<kavro_cli::Desktop> desktops;
};
struct kavro_broker_desktop_connection_record {
    kavro_cli::Connection connection;
};
struct kavro_broker_variable_list_record {
    kavro_cli::Variables variables;
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

using Result = kavro_broker_result;
using Handle = kavro_broker_handle;
using List = kavro_broker_desktop_list;
using Connection = kavro_broker_desktop_connection_info;
using Variables = kavro_broker_variable_list;
using Finder = kavro_broker_type_finder;
using Text = char *;
using Length = size_t *;

void kavro_broker_set_log_function(kavro_broker_log_function function) {
    broker.log_function = function;
}
const char *kavro_broker_get_version() {
    return "fake library";
}
Result kavro_broker_create(uint32_t, Handle *handle) {
    *handle = new broker_client_impl;
    return KAVRO_BROKER_OK;
}
void kavro_broker_free(Handle handle) {
    delete handle;
}
void kavro_broker_cancel(Handle) {}

Result kavro_broker_set_broker_address(Handle, const char *address, const char *port) {
    return note("address", address, port);
}
Result kavro_broker_set_broker_variant(Handle, uint32_t variant) {
    return note("variant", std::to_string(variant));
}
void kavro_broker_set_cache_file_location(const char *folder) {
    note("cache", folder);
}
Result kavro_broker_enable_oauth(Handle, bool enable) {
    return note("oauth-enabled", enable ? "yes" : "no");
}
Result kavro_broker_escape_text(const char *text, Text buffer, Length length) {
    std::string escaped;
    for (const char character : std::string(text))
        escaped += std::strchr("<>&'\"", character) ? fmt::format("&{};", character)
                                                    : std::string(1, character);
    return put(escaped, buffer, length);
}
Result kavro_broker_set_client_info(Handle, const char *, const char *, const char *) {
    return KAVRO_BROKER_OK;
}
Result kavro_broker_set_locale(Handle, const char *locale) {
    return note("locale", locale);
}
Result kavro_broker_set_timezone(Handle, const char *zone) {
    return note("timezone", zone);
}
Result kavro_broker_fail_if_unverified(Handle, bool fail) {
    return note("verify", fail ? "yes" : "no");
}
Result kavro_broker_set_connect_to_desktop_timeout(Handle, uint16_t seconds) {
    return note("timeout", std::to_string(seconds));
}
Result kavro_broker_set_hello_client_variables(Handle, Variables list) {
    if (list != nullptr)
        for (const auto &[name, value] : list->variables)
            note("hello-variable", name, value);
    return KAVRO_BROKER_OK;
}
Result kavro_broker_get_auth_method(Handle handle, uint32_t *method) {
    *method =
        broker.methods.empty() ? uint32_t{KAVRO_BROKER_AUTH_METHOD_NONE} : broker.methods.front();
    return request(handle, "method");
}
Result kavro_broker_send_password(Handle handle, const char *user, const char *domain,
                                  const char *password) {
    return answer(handle, "password", user, domain, password);
}
Result kavro_broker_send_new_password(Handle handle, const char *user, const char *domain,
                                      const char *old_password, const char *password,
                                      const char *again) {
    return answer(handle, "new-password", user, domain, old_password, password, again);
}
Result kavro_broker_send_accept_disclaimer(Handle handle, uint8_t accept) {
    return answer(handle, "disclaimer", accept == 1 ? "accepted" : "rejected");
}
Result kavro_broker_send_oauth_code(Handle handle, const char *code) {
    return answer(handle, "oauth", code);
}
Result kavro_broker_send_auth_dialog(Handle handle, const char *button,
                                     const kavro_broker_name_value *fields, uint32_t count) {
    std::string line = button;
    for (uint32_t i = 0; i < count; ++i)
        line += fmt::format("|{}={}", fields[i].name, fields[i].value);
    return answer(handle, "dialog", line);
}
Result kavro_broker_clear_session(Handle handle) {
    if (!broker.greeted)
        return KAVRO_BROKER_OK;
    const auto result = request(handle, "bye");
    broker.greeted = false;
    return result;
}
Result kavro_broker_request_desktop_list(Handle handle, List *list) {
    const auto result = request(handle, "list");
    if (result == KAVRO_BROKER_OK)
        *list = new kavro_broker_desktop_list_record{broker.desktops};
    return result;
}
Result kavro_broker_connect_to_desktop(Handle handle, const char *id, Variables variables,
                                       Connection *info) {
    std::string line = id;
    if (variables != nullptr)
        for (const auto &[name, value] : variables->variables)
            line += fmt::format("|{}={}", name, value);
    const auto result = request(handle, "connect", line);
    if (result == KAVRO_BROKER_OK)
        *info = new kavro_broker_desktop_connection_record{broker.connection};
    return result;
}
Result kavro_broker_perform_desktop_operation(Handle handle, const char *id, uint32_t operation) {
    return request(handle, "power", id, std::to_string(operation));
}
Result kavro_broker_get_broker_error_message(Handle handle, Text buffer, Length length) {
    return put(handle->message, buffer, length);
}
Result kavro_broker_get_broker_info(Handle, Text product, Length product_length, Text version,
                                    Length version_length, Text platform, Length platform_length) {
    put("Fake", product, product_length);
    put("7", version, version_length);
    return put("Nowhere", platform, platform_length);
}
Result kavro_broker_get_resolved_broker_address(Handle, Text buffer, Length length) {
    return put("fake.example", buffer, length);
}
Result kavro_broker_get_num_certificates(Handle, uint32_t *count) {
    return put_count(broker.certificates.size(), count);
}
Result kavro_broker_get_broker_certificate(Handle, uint32_t index, uint8_t *buffer, Length length) {
    const auto &der = broker.certificates[index];
    *length = der.size();
    if (buffer != nullptr)
        std::ranges::copy(der, buffer);
    return KAVRO_BROKER_OK;
}
Result kavro_broker_add_trust_anchor(Handle, const uint8_t *, size_t length) {
    broker.noted.push_back("trust-anchor " + std::to_string(length));
    return KAVRO_BROKER_OK;
}
Result kavro_broker_use_signing_certificate(Handle, const uint8_t *, size_t length,
                                            kavro_broker_sign_function, void *) {
    broker.noted.push_back("client-certificate " + std::to_string(length));
    return KAVRO_BROKER_OK;
}
Result kavro_broker_get_certificate_error(Handle, uint32_t, uint32_t *verdict) {
    *verdict = broker.certificate_verdict;
    return KAVRO_BROKER_OK;
}
Result kavro_broker_get_num_auth_domains(Handle, uint32_t *count) {
    return put_count(broker.domains.size(), count);
}
Result kavro_broker_get_auth_domain(Handle, uint32_t index, Text buffer, Length length) {
    return put(broker.domains[index], buffer, length);
}
Result kavro_broker_get_disclaimer_text(Handle, Text buffer, Length length) {
    return put(broker.disclaimer, buffer, length);
}
Result kavro_broker_get_auth_dialog_prompt_text(Handle, Text buffer, Length length) {
    return put(broker.dialog.prompt_text, buffer, length);
}
Result kavro_broker_get_auth_dialog_error_text(Handle, Text buffer, Length length) {
    return put(broker.dialog.error_text, buffer, length);
}
Result kavro_broker_get_auth_dialog_get_num_fields(Handle, uint32_t *count) {
    return put_count(broker.dialog.fields.size(), count);
}
Result kavro_broker_get_auth_dialog_field(Handle, uint32_t index, uint32_t *kind, Text name,
                                          Length name_length, Text label, Length label_length,
                                          Text value, Length value_length, uint8_t *hidden,
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
Result kavro_broker_get_auth_dialog_get_num_buttons(Handle, uint32_t *count) {
    return put_count(broker.dialog.buttons.size(), count);
}
Result kavro_broker_get_auth_dialog_button(Handle, uint32_t index, Text id, Length id_length,
                                           Text label, Length label_length, uint8_t *is_default) {
    const auto &button = broker.dialog.buttons[index];
    *is_default = button.is_default ? 1 : 0;
    put(button.id, id, id_length);
    return put(button.label, label, label_length);
}
Result kavro_broker_get_num_desktops(List list, uint32_t *count) {
    return put_count(list->desktops.size(), count);
}
#define DESKTOP_TEXT(member)                                                                       \
    Result kavro_broker_get_desktop_##member(List list, uint32_t index, Text buffer,               \
                                             Length length) {                                      \
        return put(list->desktops[index].member, buffer, length);                                  \
    }
DESKTOP_TEXT(name)
DESKTOP_TEXT(id)
DESKTOP_TEXT(type)
DESKTOP_TEXT(state)
DESKTOP_TEXT(health)
#undef DESKTOP_TEXT
Result kavro_broker_get_desktop_operation_allowed(List list, uint32_t index, uint32_t operation,
                                                  uint8_t *allowed) {
    const auto &offered = list->desktops[index].operations;
    *allowed = std::ranges::count(offered, operation) != 0;
    return KAVRO_BROKER_OK;
}
void kavro_broker_free_desktop_list(List list) {
    delete list;
}

Result kavro_broker_get_desktop_connection_property(Connection info, uint32_t property, Text buffer,
                                                    Length length) {
    const auto &[target, session_id, connect_tag, use_broker_address, gateway_ticket, variables,
                 alternates] = info->connection;
    if (property == KAVRO_BROKER_CONNECTION_USE_BROKER_ADDRESS) {
        *buffer = use_broker_address ? 1 : 0;
        *length = 1;
        return KAVRO_BROKER_OK;
    }
    if (property >= KAVRO_BROKER_CONNECTION_GATEWAY_TICKET && !gateway_ticket)
        return KAVRO_BROKER_ERR_NOT_AVAILABLE;
    const auto ticket = gateway_ticket.value_or(kavro_broker::gateway_ticket{});
    const std::string texts[] = {target.address,
                                 target.host_name,
                                 target.server_name,
                                 target.port,
                                 session_id,
                                 connect_tag,
                                 "",
                                 ticket.ticket,
                                 ticket.creation,
                                 ticket.expiry};
    return put(texts[property], buffer, length);
}
Result kavro_broker_get_num_desktop_connection_agent_variables(Connection info, uint32_t *count) {
    return put_count(info->connection.agent_variables.size(), count);
}
Result kavro_broker_get_desktop_connection_agent_variable(Connection info, uint32_t index,
                                                          Text name, Length name_length, Text value,
                                                          Length value_length) {
    const auto &variable = info->connection.agent_variables[index];
    put(variable.name, name, name_length);
    return put(variable.value, value, value_length);
}
Result kavro_broker_get_num_desktop_connection_alternate_targets(Connection info, uint32_t *count) {
    return put_count(info->connection.alternate_targets.size(), count);
}
Result kavro_broker_get_desktop_connection_alternate_target(Connection info, uint32_t index,
                                                            Text address, Length address_length,
                                                            Text host_name, Length host_name_length,
                                                            Text server_name,
                                                            Length server_name_length, Text port,
                                                            Length port_length) {
    const auto &alternate = info->connection.alternate_targets[index];
    put(alternate.address, address, address_length);
    put(alternate.host_name, host_name, host_name_length);
    put(alternate.server_name, server_name, server_name_length);
    return put(alternate.port, port, port_length);
}
void kavro_broker_free_desktop_connection_info(Connection info) {
    delete info;
}
Result kavro_broker_create_variable_list(uint32_t count, Variables *list) {
    *list = new kavro_broker_variable_list_record{kavro_cli::Variables(count)};
    return KAVRO_BROKER_OK;
}
Result kavro_broker_set_variable(Variables list, uint32_t index, const char *name,
                                 const char *value) {
    list->variables[index] = {name, value};
    return KAVRO_BROKER_OK;
}
void kavro_broker_free_variable_list(Variables list) {
    delete list;
}
Result kavro_broker_get_request_report(Handle, Text buffer, Length length) {
    return put("{}", buffer, length);
}
Result kavro_broker_create_type_finder(Finder *finder) {
    *finder = new broker_query_impl;
    return KAVRO_BROKER_OK;
}
Result kavro_broker_find_type_extended(Finder, const char *address, const char *port,
                                       uint32_t *type, Text address_buffer, size_t address_size,
                                       Text port_buffer, size_t port_size) {
    note("find", address, port);
    broker.during("find");
    if (broker.found_type == 0)
        return KAVRO_BROKER_ERR_NO_BROKER_FOUND;
    *type = broker.found_type;
    put("https://resolved.example", address_buffer, &address_size);
    return put("60443", port_buffer, &port_size);
}
void kavro_broker_cancel_find_type(Finder) {
    note("cancel-find");
}
void kavro_broker_free_type_finder(Finder finder) {
    delete finder;
}
