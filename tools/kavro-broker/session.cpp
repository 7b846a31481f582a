#include "session.h"

#include "display_text.h"
#include "registration_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kavro_cli {
namespace {

std::string escaped(const std::string &text) {
    return read_text(kavro_broker_escape_text, text.c_str());
}

Secret escaped(const Secret &text) {
    std::size_t length = 0;
    require(kavro_broker_escape_text(text.c_str(), nullptr, &length));
    std::vector<char, WipingAllocator<char>> buffer(length);
    require(kavro_broker_escape_text(text.c_str(), buffer.data(), &length));
    return Secret({buffer.data(), length - 1});
}

VariableList escaped(const Variables &variables) {
    Variables texts;
    for (const auto &[name, value] : variables)
        texts.emplace_back(escaped(name), escaped(value));
    return make_variable_list(texts);
}

void trust(kavro_broker_handle handle, const Der &certificate) {
    require(kavro_broker_add_trust_anchor(handle, certificate.data(), certificate.size()));
}

void set_address(kavro_broker_handle handle, const Options &options,
                 const Surroundings &surroundings) {
    if (options.registration_code.empty())
        return require(kavro_broker_set_broker_address(handle, options.broker_host.c_str(),
                                                       options.broker_port.c_str()));
    update_registration_table(options, surroundings);
    require(kavro_broker_set_broker_address(handle, options.registration_code.c_str(), nullptr));
    require(kavro_broker_set_broker_variant(handle, KAVRO_BROKER_VARIANT_REGISTRATION_CODE));
}

Handle make_handle() {
    kavro_broker_handle handle = nullptr;
    require(kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle));
    return Handle(handle);
}

} // namespace

Session::Session(const Options &options, const Surroundings &surroundings)
    : surroundings_(surroundings),
      pin_(options.pin),
      registration_code_(options.registration_code),
      handle_(make_handle()),
      watch_(surroundings.interruption, [handle = handle_.get()] { kavro_broker_cancel(handle); }) {
    auto *handle = handle_.get();
    set_address(handle, options, surroundings);
    require(kavro_broker_set_client_info(handle, "kavro-broker", KAVRO_CLI_VERSION,
                                         KAVRO_CLI_PLATFORM));
    if (options.locale)
        require(kavro_broker_set_locale(handle, escaped(*options.locale).c_str()));
    if (options.timezone)
        require(kavro_broker_set_timezone(handle, escaped(*options.timezone).c_str()));
    require(
        kavro_broker_set_hello_client_variables(handle, escaped(options.hello_variables).get()));
    require(kavro_broker_fail_if_unverified(handle, !options.insecure));
    require(kavro_broker_enable_oauth(handle, true));
    for (const auto &file : options.trust_anchor_files)
        for (const auto &certificate : load_certificates(file))
            trust(handle, certificate);
}

void Session::show(ClientCertificate &certificate) {
    certificate.install(handle_.get());
    client_certificate_ = &certificate;
}

uint32_t Session::auth_method() {
    uint32_t method = 0;
    const auto ask = [&] {
        return request("Asking the broker",
                       [&] { return kavro_broker_get_auth_method(handle_.get(), &method); });
    };
    auto result = ask();
    if (result == KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE && shows_pinned_certificate()) {
        // The pin vouches for it. As an anchor it is also what every later connection must show.
        trust(handle_.get(), certificates().front().der);
        result = ask();
    }
    check(result);
    check_pin();
    tell_what_the_code_stands_for();
    return method;
}

void Session::tell_what_the_code_stands_for() {
    if (const auto code = std::exchange(registration_code_, {}); !code.empty())
        surroundings_.err << visible(fmt::format("The registration code {} stands for {}.", code,
                                                 resolved_address()))
                          << std::endl;
}

bool Session::shows_pinned_certificate() const {
    const auto chain = certificates();
    return !chain.empty() && !pin_.empty() && chain.front().sha256 == pin_;
}

/// Before anything secret is sent: the log-in begins with the question for the method.
void Session::check_pin() const {
    if (pin_.empty() || shows_pinned_certificate())
        return;
    Failure failure(ExitStatus::untrusted, "PIN_MISMATCH",
                    "The broker shows another certificate than the pinned one.");
    failure.certificates = certificates();
    throw failure;
}

kavro_broker_result Session::send_password(const std::string &user, const std::string &domain,
                                           const Secret &password) {
    return request("Logging in", [&] {
        return kavro_broker_send_password(handle_.get(), escaped(user).c_str(),
                                          escaped(domain).c_str(), escaped(password).c_str());
    });
}

kavro_broker_result Session::send_new_password(const std::string &user, const std::string &domain,
                                               const Secret &old_password,
                                               const Secret &new_password) {
    const auto replacement = escaped(new_password);
    return request("Changing the password", [&] {
        return kavro_broker_send_new_password(
            handle_.get(), escaped(user).c_str(), escaped(domain).c_str(),
            escaped(old_password).c_str(), replacement.c_str(), replacement.c_str());
    });
}

kavro_broker_result
Session::send_dialog(const std::string &button_id,
                     const std::vector<std::pair<std::string, Secret>> &fields) {
    std::vector<Secret> values;
    for (const auto &field : fields)
        values.push_back(escaped(field.second));
    // The names are compared with those that the broker sent, so they stay what they are.
    std::vector<kavro_broker_name_value> pairs;
    for (std::size_t i = 0; i < fields.size(); ++i)
        pairs.push_back({fields[i].first.c_str(), values[i].c_str()});
    return request("Logging in", [&] {
        return kavro_broker_send_auth_dialog(handle_.get(), escaped(button_id).c_str(),
                                             pairs.data(), static_cast<uint32_t>(pairs.size()));
    });
}

kavro_broker_result Session::send_disclaimer(bool accept) {
    return request("Answering the disclaimer", [&] {
        return kavro_broker_send_accept_disclaimer(handle_.get(), accept ? 1 : 0);
    });
}

kavro_broker_result Session::send_oauth_code(const Secret &code) {
    return request("Logging in", [&] {
        return kavro_broker_send_oauth_code(handle_.get(), escaped(code).c_str());
    });
}

std::string Session::resolved_address() const {
    return read_text(kavro_broker_get_resolved_broker_address, handle_.get());
}

std::string Session::disclaimer() const {
    return read_text(kavro_broker_get_disclaimer_text, handle_.get());
}

std::vector<Desktop> Session::desktops() {
    kavro_broker_desktop_list list = nullptr;
    check(request("Listing the desktops",
                  [&] { return kavro_broker_request_desktop_list(handle_.get(), &list); }));
    return read_desktops(DesktopList(list).get());
}

void Session::operate(const std::string &desktop_id, uint32_t operation) {
    check(request("Waiting for the desktop", [&] {
        return kavro_broker_perform_desktop_operation(handle_.get(), escaped(desktop_id).c_str(),
                                                      operation);
    }));
}

kavro_broker_result Session::connect(const std::string &desktop_id,
                                     const Variables &agent_variables, uint16_t timeout_seconds,
                                     Target &target) {
    require(kavro_broker_set_connect_to_desktop_timeout(handle_.get(), timeout_seconds));
    const auto variables = escaped(agent_variables);
    kavro_broker_desktop_connection_info info = nullptr;
    const auto result = request("Connecting the desktop", [&] {
        return kavro_broker_connect_to_desktop(handle_.get(), escaped(desktop_id).c_str(),
                                               variables.get(), &info);
    });
    const ConnectionInfo owned(info);
    if (result == KAVRO_BROKER_OK)
        target = read_target(info);
    return result;
}

void Session::log_out() {
    if (!surroundings_.interruption.raised())
        request("Logging out", [&] { return kavro_broker_clear_session(handle_.get()); });
}

Failure Session::failure(kavro_broker_result result) const {
    Failure failure(result, read_text(kavro_broker_get_broker_error_message, handle_.get()));
    if (result == KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED && client_certificate_ != nullptr)
        failure.detail = client_certificate_->problem();
    if (result == KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED && !registration_code_.empty() &&
        resolved_address().empty())
        failure.detail = "The registration code is not in the table of codes.";
    if (failure.status != ExitStatus::untrusted)
        return failure;
    uint32_t verdict = 0;
    if (kavro_broker_get_certificate_error(handle_.get(), 0, &verdict) == KAVRO_BROKER_OK)
        failure.detail =
            std::string("The broker's certificate ") + describe_certificate(verdict) + ".";
    failure.certificates = certificates();
    return failure;
}

void Session::check(kavro_broker_result result) const {
    if (result != KAVRO_BROKER_OK)
        throw failure(result);
}

} // namespace kavro_cli
