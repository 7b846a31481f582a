#include "session.h"

#include "display_text.h"
#include "recording.h"
#include "registration_table.h"
#include "user_locale.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kavro_cli {
namespace {

constexpr const char *another_certificate =
    "The broker shows another certificate than the pinned one.";

using kavro_broker::escape_text;

/// Not by way of a string, which would leave the secret in memory.
Secret escape_text(const Secret &text) {
    const auto escape = [&text](char *buffer, std::size_t *length) {
        const auto result = kavro_broker_escape_text(text.c_str(), buffer, length);
        if (result != KAVRO_BROKER_OK)
            throw kavro_broker::error(result);
    };
    std::size_t length = 0;
    escape(nullptr, &length);
    std::vector<char, kavro::CleansingAllocator<char>> buffer(length);
    escape(buffer.data(), &length);
    return Secret({buffer.data(), length - 1});
}

/// Short enough for a line that is written over again.
std::string place_of(const Options &options) {
    constexpr std::size_t longest_place = 40;
    const KnownBroker broker{options.broker_host, options.broker_port, {}};
    const auto place = visible(options.broker_port.empty() ? broker.host : broker.address());
    return place.empty() || place.size() > longest_place ? "the broker" : place;
}

Variables escape_text(const Variables &variables) {
    Variables texts;
    for (const auto &[name, value] : variables)
        texts.push_back({escape_text(name), escape_text(value)});
    return texts;
}

} // namespace

Session::Session(const Options &options, const Surroundings &surroundings)
    : surroundings_(surroundings),
      place_(place_of(options)),
      pin_(options.pin),
      first_use_(surroundings),
      registration_code_(options.registration_code),
      watch_(surroundings.interruption, [this] { broker_.cancel(); }) {
    set_address(options);
    broker_.set_client_info("kavro-broker", KAVRO_CLI_VERSION, KAVRO_CLI_PLATFORM);
    broker_.set_locale(escape_text(options.locale.value_or(user_locale())));
    if (options.timezone)
        broker_.set_timezone(escape_text(*options.timezone));
    broker_.set_hello_client_variables(escape_text(options.hello_variables));
    broker_.keep_connection(std::chrono::minutes(1));
    for (uint32_t limit = 0; limit < options.time_limits.size(); ++limit)
        if (const auto &milliseconds = options.time_limits[limit])
            broker_.set_time_limit(limit, std::chrono::milliseconds(*milliseconds));
    broker_.fail_if_unverified(!options.insecure);
    // Where there is none, the anchors decide alone.
    kavro_broker_use_platform_verifier(broker_.get(), true);
    if (pin_.is_of_key)
        broker_.add_key_pin(pin_.sha256);
    broker_.enable_oauth(true);
    for (const auto &file : options.trust_anchor_files)
        for (const auto &certificate : load_certificates(file))
            broker_.add_trust_anchor(certificate);
}

void Session::set_address(const Options &options) {
    if (options.registration_code.empty())
        return broker_.set_broker_address(options.broker_host, options.broker_port);
    update_registration_table(options, surroundings_);
    broker_.set_broker_address(options.registration_code);
    broker_.set_broker_variant(KAVRO_BROKER_VARIANT_REGISTRATION_CODE);
}

void Session::use_proxy(const ProxyOptions &proxy, const Secret &password) {
    broker_.set_proxy(proxy.proxy, proxy.user, password.c_str());
}

void Session::show(ClientCertificate &certificate) {
    certificate.use_in(broker_);
    client_certificate_ = &certificate;
}

uint32_t Session::greet() {
    return request("answer the greeting", [&] { return broker_.auth_method(); });
}

uint32_t Session::auth_method() {
    uint32_t method = 0;
    try {
        method = greet();
    } catch (Failure &failure) {
        if (failure.status == ExitStatus::untrusted && is_pinned() && !shows_pinned_certificate())
            failure.before = another_certificate;
        if (failure.code != KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE)
            throw;
        method = greet_stranger(failure);
    }
    check_pin();
    tell_what_the_code_stands_for();
    return method;
}

/// Where the last connection led, with the key that was shown; nothing when a proxy showed its own.
std::optional<KnownBroker> Session::shown_broker() const {
    const auto chain = certificates();
    const auto connection = nlohmann::json::parse(request_report())["connections"].back();
    if (chain.empty() || chain.front().key_pin.empty() || connection["reached"] == "proxy")
        return std::nullopt;
    return KnownBroker{connection["host"], connection["port"], chain.front().key_pin};
}

/// Once more, if a pin or the user vouches for the broker. What did so is also what every later
/// connection must show. A known broker is not held to its key from the start: it may have got
/// another with a certificate that is trusted anyway.
uint32_t Session::greet_stranger(const Failure &failure) {
    if (is_pinned()) {
        if (!shows_pinned_certificate())
            throw failure;
        broker_.add_trust_anchor(broker_.certificates().front().der);
        return greet();
    }
    const auto shown = shown_broker();
    if (!shown)
        throw failure;
    first_use_.judge(*shown, failure);
    broker_.add_key_pin(read_pin(shown->key_pin)->sha256);
    const auto method = greet();
    first_use_.keep(*shown);
    return method;
}

void Session::tell_what_the_code_stands_for() {
    if (const auto code = std::exchange(registration_code_, {}); !code.empty())
        surroundings_.err << visible(fmt::format("The registration code {} stands for {}.", code,
                                                 broker_.resolved_broker_address()))
                          << std::endl;
}

bool Session::shows_pinned_certificate() const {
    const auto chain = certificates();
    return !chain.empty() && is_pinned() && fits(pin_, chain.front());
}

/// Before anything secret is sent: the log-in begins with the question for the method.
void Session::check_pin() const {
    if (!is_pinned() || shows_pinned_certificate())
        return;
    Failure failure(ExitStatus::untrusted, "PIN_MISMATCH", another_certificate);
    failure.certificates = certificates();
    throw failure;
}

void Session::send_password(const std::string &user, const std::string &domain,
                            const Secret &password) {
    request("answer the log-in", [&] {
        broker_.send_password(escape_text(user), escape_text(domain),
                              escape_text(password).c_str());
    });
}

void Session::send_new_password(const std::string &user, const std::string &domain,
                                const Secret &old_password, const Secret &new_password) {
    request("change the password", [&] {
        broker_.send_new_password(escape_text(user), escape_text(domain),
                                  escape_text(old_password).c_str(),
                                  escape_text(new_password).c_str());
    });
}

void Session::send_dialog(const std::string &button_id,
                          const std::vector<std::pair<std::string, Secret>> &fields) {
    std::vector<Secret> values;
    for (const auto &field : fields)
        values.push_back(escape_text(field.second));
    // The names are compared with those that the broker sent, so they stay what they are.
    std::vector<kavro_broker_name_value> pairs;
    for (std::size_t i = 0; i < fields.size(); ++i)
        pairs.push_back({fields[i].first.c_str(), values[i].c_str()});
    request("answer the log-in", [&] {
        const auto result =
            kavro_broker_send_auth_dialog(broker_.get(), escape_text(button_id).c_str(),
                                          pairs.data(), static_cast<uint32_t>(pairs.size()));
        if (result != KAVRO_BROKER_OK)
            throw kavro_broker::error(result, broker_.broker_error_message());
    });
}

void Session::send_disclaimer(bool accept) {
    request("take the answer to its disclaimer", [&] { broker_.send_accept_disclaimer(accept); });
}

void Session::send_oauth_code(const Secret &code) {
    request("answer the log-in", [&] { broker_.send_oauth_code(escape_text(code).c_str()); });
}

const std::vector<Desktop> &Session::desktops() {
    if (!desktops_)
        desktops_ = request("list the desktops", [&] { return broker_.request_desktop_list(); });
    return *desktops_;
}

void Session::operate(const std::string &desktop_id, uint32_t operation) {
    forget_desktops();
    request("operate the desktop",
            [&] { broker_.perform_desktop_operation(escape_text(desktop_id), operation); });
}

Connection Session::connect(const std::string &desktop_id, const Variables &agent_variables,
                            uint16_t timeout_seconds) {
    forget_desktops();
    broker_.set_connect_to_desktop_timeout(timeout_seconds);
    return request("connect the desktop", [&] {
        return broker_.connect_to_desktop(escape_text(desktop_id), escape_text(agent_variables));
    });
}

void Session::log_out() {
    if (!surroundings_.interruption.raised())
        failure_of([&] { request("end the session", [&] { broker_.clear_session(); }); });
}

void Session::record_request() const {
    if (surroundings_.recording == nullptr)
        return;
    std::string report; // there is none of a call that came to no request
    failure_of([&] { report = request_report(); });
    surroundings_.recording->request_ended(report);
}

Failure Session::failure(const kavro_broker::error &error) const {
    Failure failure(error);
    if (error.code() == KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED && client_certificate_ != nullptr)
        failure.detail = client_certificate_->problem();
    if (error.code() == KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED && !registration_code_.empty() &&
        broker_.resolved_broker_address().empty())
        failure.detail = "The registration code is not in the table of codes.";
    if (failure.status != ExitStatus::untrusted)
        return failure;
    uint32_t verdict = 0;
    if (kavro_broker_get_certificate_error(broker_.get(), 0, &verdict) == KAVRO_BROKER_OK)
        failure.detail =
            std::string("The broker's certificate ") + describe_certificate(verdict) + ".";
    failure.certificates = certificates();
    if (error.code() == KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE)
        if (const auto shown = shown_broker())
            failure.detail += fmt::format(" If its administrator confirms the key, give --pin {}, "
                                          "or its issuer's certificate with --trust-anchor.",
                                          shown->key_pin);
    return failure;
}

} // namespace kavro_cli
