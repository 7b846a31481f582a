/**
 * @file kavro_broker.hpp
 * @brief The C interface of broker_client in C++17: handles that free themselves, strings, vectors
 * of plain records, and exceptions in place of result codes.
 *
 * A function is called as in C, without "kavro_broker_" and "get_", and does what is documented
 * there. What comes out is returned. Every function may throw kavro_broker::error; constants are
 * those of the C headers. As in C, a text that a user typed goes through escape_text() on its way
 * into a request, and a log function is set before the first broker is made.
 */
#pragma once

#include "kavro_broker_records.hpp"

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <string_view>

namespace kavro_broker {

/// A zero-terminated text that is only lent for a call, so that a secret need not become a string.
/// A std::string_view, which ends anywhere, is copied for the call, and the copy wiped.
class zstring_view {
public:
    zstring_view(const char *text) : text_(text) {}
    zstring_view(const std::string &text) : text_(text.c_str()) {}
    zstring_view(std::string_view text) : copy_(text), text_(copy_.c_str()) {}
    zstring_view(const zstring_view &) = delete;
    zstring_view &operator=(const zstring_view &) = delete;
    ~zstring_view() {
        for (volatile char &letter : copy_)
            letter = '\0';
    }

    const char *c_str() const { return text_; }

private:
    std::string copy_;
    const char *text_;
};

struct log_message {
    std::int32_t category, severity, error;
    std::string text;
};

using log_function = std::function<void(const log_message &)>;
using session_log_id_function = std::function<void(const std::string &session_id)>;
/// Gives the signature of a digest, or nothing when it cannot be made.
using sign_function = std::function<std::optional<bytes>(const bytes &digest)>;
using sign_scheme_function =
    std::function<std::optional<bytes>(std::uint16_t scheme, const bytes &digest)>;

namespace detail {

/// The hook of one kind for the whole process. It is never freed: the library may still log while
/// the process ends.
template <class Hook>
Hook &process_hook() {
    static Hook &hook = *new Hook;
    return hook;
}

/// An empty function is passed on as null: the library keeps the old one, and says so.
template <class Set, class Deliver, class Hook>
void install(Set set, Deliver deliver, Hook hook) {
    if (!hook)
        return set(nullptr);
    process_hook<Hook>() = std::move(hook);
    set(deliver);
}

#if defined(__GNUC__)
__attribute__((format(printf, 4, 0)))
#endif
inline void
deliver_log(std::int32_t category, std::int32_t severity, std::int32_t error, const char *format,
            va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    process_hook<log_function>()({category, severity, error, std::move(text)});
}

inline void deliver_message(void *context, std::int32_t category, std::int32_t severity,
                            std::int32_t error, const char *text) {
    (*static_cast<log_function *>(context))({category, severity, error, text});
}

inline void deliver_session_log_id(const char *session_id) {
    process_hook<session_log_id_function>()(session_id);
}

inline int deliver_scheme(void *context, std::uint16_t scheme, const std::uint8_t *digest,
                          std::size_t digest_length, std::uint8_t *signature,
                          std::size_t *signature_length) {
    const auto &sign = *static_cast<sign_scheme_function *>(context);
    const auto made = sign(scheme, {digest, digest + digest_length});
    if (!made || made->size() > *signature_length)
        return 1;
    std::copy(made->begin(), made->end(), signature);
    *signature_length = made->size();
    return 0;
}

inline int deliver_digest(void *context, const std::uint8_t *digest, std::size_t digest_length,
                          std::uint8_t *signature, std::size_t *signature_length) {
    return deliver_scheme(context, 0, digest, digest_length, signature, signature_length) == 0;
}

} // namespace detail

/* ---------------------------------------------------------------------------------------------
 * For the whole process
 * ------------------------------------------------------------------------------------------- */

inline std::string version() {
    return kavro_broker_get_version();
}
inline std::string result_name(kavro_broker_result code) {
    return kavro_broker_result_name(code);
}
inline std::string result_text(kavro_broker_result code) {
    return kavro_broker_result_text(code);
}
inline std::string escape_text(zstring_view text) {
    return detail::read_text(kavro_broker_escape_text, text.c_str());
}
inline void set_log_level(std::int32_t highest_severity) {
    kavro_broker_set_log_level(highest_severity);
}
inline void set_cache_file_location(zstring_view path) {
    kavro_broker_set_cache_file_location(path.c_str());
}
/// To be set before other threads use the library, as the next one.
inline void set_log_function(log_function function) {
    detail::install(kavro_broker_set_log_function, detail::deliver_log, std::move(function));
}
inline void set_session_log_id_function(session_log_id_function function) {
    detail::install(kavro_broker_set_session_log_id_function, detail::deliver_session_log_id,
                    std::move(function));
}

/// Name and value texts as the library holds them. An empty one has a null handle, which is how the
/// library takes "no variables".
class variable_list {
public:
    explicit variable_list(const std::vector<variable> &variables)
        : size_(static_cast<std::uint32_t>(variables.size())) {
        if (size_ != 0)
            list_ =
                detail::make<kavro_broker_variable_list>(kavro_broker_create_variable_list, size_);
        for (std::uint32_t i = 0; i < size_; ++i)
            detail::check(kavro_broker_set_variable(get(), i, variables[i].name.c_str(),
                                                    variables[i].value.c_str()));
    }

    std::uint32_t size() const { return size_; }
    variable operator[](std::uint32_t index) const {
        return detail::read_variable(kavro_broker_get_variable, get(), index);
    }
    kavro_broker_variable_list get() const { return list_.get(); }

private:
    std::uint32_t size_;
    detail::owned<kavro_broker_variable_list> list_;
};

/* ---------------------------------------------------------------------------------------------
 * One conversation
 * ------------------------------------------------------------------------------------------- */

/// One conversation with a broker. Requests block; cancel() may be called meanwhile on any thread.
class broker {
public:
    explicit broker(std::uint32_t type_code = KAVRO_BROKER_TYPE_KAVRO)
        : handle_(detail::make<kavro_broker_handle>(kavro_broker_create, type_code)) {}

    /// For calls of the C interface.
    kavro_broker_handle get() const { return handle_.get(); }

    void set_broker_address(zstring_view address, zstring_view port = "") {
        detail::check(kavro_broker_set_broker_address(get(), address.c_str(), port.c_str()));
    }
    void set_broker_variant(std::uint32_t variant) {
        detail::check(kavro_broker_set_broker_variant(get(), variant));
    }
    void set_client_info(zstring_view product_name, zstring_view product_version,
                         zstring_view platform) {
        detail::check(kavro_broker_set_client_info(get(), product_name.c_str(),
                                                   product_version.c_str(), platform.c_str()));
    }
    void set_locale(zstring_view locale) {
        detail::check(kavro_broker_set_locale(get(), locale.c_str()));
    }
    void set_timezone(zstring_view timezone) {
        detail::check(kavro_broker_set_timezone(get(), timezone.c_str()));
    }
    void set_hello_client_variables(const std::vector<variable> &variables) {
        detail::check(
            kavro_broker_set_hello_client_variables(get(), variable_list(variables).get()));
    }
    void set_connect_to_desktop_timeout(std::uint16_t seconds) {
        detail::check(kavro_broker_set_connect_to_desktop_timeout(get(), seconds));
    }
    /// Gets the lines of this conversation; an empty function leaves them to the process's again.
    void set_message_function(log_function function) {
        const bool given = static_cast<bool>(function);
        listeners_.push_back(std::make_unique<log_function>(std::move(function)));
        detail::check(kavro_broker_set_message_function(
            get(), given ? detail::deliver_message : nullptr, listeners_.back().get()));
    }
    void keep_connection(std::chrono::seconds idle) {
        const auto count = std::min<std::chrono::seconds::rep>(idle.count(), UINT32_MAX);
        detail::check(kavro_broker_keep_connection(get(), static_cast<std::uint32_t>(count)));
    }
    void set_time_limit(std::uint32_t limit, std::chrono::milliseconds time) {
        const auto count = std::min<std::chrono::milliseconds::rep>(time.count(), UINT32_MAX);
        detail::check(kavro_broker_set_time_limit(get(), limit, static_cast<std::uint32_t>(count)));
    }
    /// An empty user: no log-in is known.
    void set_proxy(zstring_view proxy, zstring_view user = "", zstring_view password = "") {
        detail::check(kavro_broker_set_proxy(get(), proxy.c_str(), user.c_str(), password.c_str()));
    }
    void fail_if_unverified(bool fail) {
        detail::check(kavro_broker_fail_if_unverified(get(), fail));
    }
    void enable_ipv6(bool enable) { kavro_broker_enable_ipv6(get(), enable); }
    void enable_oauth(bool enable) { detail::check(kavro_broker_enable_oauth(get(), enable)); }
    void add_trust_anchor(const bytes &der) {
        detail::check(kavro_broker_add_trust_anchor(get(), der.data(), der.size()));
    }
    void add_key_pin(const bytes &sha256) {
        detail::check(kavro_broker_add_key_pin(get(), sha256.data(), sha256.size()));
    }
    void clear_key_pins() { detail::check(kavro_broker_clear_key_pins(get())); }
    void use_platform_verifier(bool use) {
        detail::check(kavro_broker_use_platform_verifier(get(), use));
    }
    void require_stapled_status(bool require) {
        detail::check(kavro_broker_require_stapled_status(get(), require));
    }
    void use_signing_certificate(const bytes &der, sign_function sign) {
        sign_with(kavro_broker_use_signing_certificate, der, detail::deliver_digest,
                  any_scheme(std::move(sign)));
    }
    /// One certificate in DER form, or several in PEM form, the client's own first.
    void use_signing_key(const bytes &certificates, sign_scheme_function sign) {
        sign_with(kavro_broker_use_signing_key, certificates, detail::deliver_scheme,
                  std::move(sign));
    }
    void set_client_certificate(const bytes &der, sign_function sign) {
        sign_with(kavro_broker_set_client_certificate, der, detail::deliver_digest,
                  any_scheme(std::move(sign)));
    }

    std::uint32_t auth_method() {
        std::uint32_t method = 0;
        request(kavro_broker_get_auth_method(get(), &method));
        return method;
    }
    void send_password(zstring_view user_name, zstring_view domain, zstring_view password) {
        request(
            kavro_broker_send_password(get(), user_name.c_str(), domain.c_str(), password.c_str()));
    }
    /// The new password goes to the library twice; asking the user twice is the caller's.
    void send_new_password(zstring_view user_name, zstring_view domain, zstring_view old_password,
                           zstring_view new_password) {
        request(kavro_broker_send_new_password(get(), user_name.c_str(), domain.c_str(),
                                               old_password.c_str(), new_password.c_str(),
                                               new_password.c_str()));
    }
    void send_auth_dialog(zstring_view button_id, const std::vector<variable> &fields) {
        std::vector<kavro_broker_name_value> answers;
        answers.reserve(fields.size());
        for (const auto &field : fields)
            answers.push_back({field.name.c_str(), field.value.c_str()});
        request(kavro_broker_send_auth_dialog(get(), button_id.c_str(), answers.data(),
                                              static_cast<std::uint32_t>(answers.size())));
    }
    void send_accept_disclaimer(bool accept) {
        request(kavro_broker_send_accept_disclaimer(get(), accept ? 1 : 0));
    }
    void send_oauth_code(zstring_view code) {
        request(kavro_broker_send_oauth_code(get(), code.c_str()));
    }
    void send_securid_auth(zstring_view user_name, zstring_view passcode) {
        request(kavro_broker_send_securid_auth(get(), user_name.c_str(), passcode.c_str()));
    }
    void send_securid_token(zstring_view token) {
        request(kavro_broker_send_securid_token(get(), token.c_str()));
    }
    void send_securid_pinchange(zstring_view token, zstring_view new_pin) {
        request(kavro_broker_send_securid_pinchange(get(), token.c_str(), new_pin.c_str(),
                                                    new_pin.c_str()));
    }
    void send_securid_wait() { request(kavro_broker_send_securid_wait(get())); }
    void send_certificate_confirmation(bool accept, const void *first, const void *second) {
        request(kavro_broker_send_certificate_confirmation(get(), accept ? 1 : 0, first, second));
    }
    std::vector<desktop> request_desktop_list() {
        kavro_broker_desktop_list list = nullptr;
        request(kavro_broker_request_desktop_list(get(), &list));
        const detail::owned<kavro_broker_desktop_list> owner(list);
        return detail::read_each(kavro_broker_get_num_desktops, list, [list](std::uint32_t index) {
            return detail::read_desktop(list, index);
        });
    }
    desktop_connection connect_to_desktop(zstring_view desktop_id,
                                          const std::vector<variable> &variables = {}) {
        kavro_broker_desktop_connection_info info = nullptr;
        request(kavro_broker_connect_to_desktop(get(), desktop_id.c_str(),
                                                variable_list(variables).get(), &info));
        const detail::owned<kavro_broker_desktop_connection_info> owner(info);
        return detail::read_connection(info);
    }
    /// Throws for an operation that there is none of, where the C function stops the process.
    void perform_desktop_operation(zstring_view desktop_id, std::uint32_t operation) {
        if (operation > KAVRO_BROKER_OPERATION_RESUME)
            throw error(KAVRO_BROKER_ERR_INVALID_PARAMETER);
        request(kavro_broker_perform_desktop_operation(get(), desktop_id.c_str(), operation));
    }
    void clear_session() { request(kavro_broker_clear_session(get())); }
    void cancel() { kavro_broker_cancel(get()); }

    std::string broker_error_message() const {
        return detail::read_text(kavro_broker_get_broker_error_message, get());
    }
    /// The report on the last request, as a JSON text.
    std::string request_report() const {
        return detail::read_text(kavro_broker_get_request_report, get());
    }
    kavro_broker::broker_info broker_info() const {
        auto [name, version, platform] = detail::read_texts<3>(
            [this](auto... out) { return kavro_broker_get_broker_info(get(), out...); });
        return {std::move(name), std::move(version), std::move(platform)};
    }
    std::string resolved_broker_address() const {
        return detail::read_text(kavro_broker_get_resolved_broker_address, get());
    }
    std::vector<variable> hello_broker_variables() const {
        return detail::read_variables(kavro_broker_get_num_hello_broker_variables,
                                      kavro_broker_get_hello_broker_variable, get());
    }
    std::vector<std::string> auth_domains() const {
        return detail::read_each(
            kavro_broker_get_num_auth_domains, get(), [this](std::uint32_t index) {
                return detail::read_text(kavro_broker_get_auth_domain, get(), index);
            });
    }
    std::vector<variable> auth_to_client_variables() const {
        return detail::read_variables(kavro_broker_get_num_auth_to_client_variables,
                                      kavro_broker_get_auth_to_client_variable, get());
    }
    dialog auth_dialog() const {
        const auto field = [this](std::uint32_t i) { return detail::read_dialog_field(get(), i); };
        const auto button = [this](std::uint32_t i) {
            return detail::read_dialog_button(get(), i);
        };
        return {detail::read_text(kavro_broker_get_auth_dialog_prompt_text, get()),
                detail::read_text(kavro_broker_get_auth_dialog_error_text, get()),
                detail::read_each(kavro_broker_get_auth_dialog_get_num_fields, get(), field),
                detail::read_each(kavro_broker_get_auth_dialog_get_num_buttons, get(), button)};
    }
    std::string disclaimer_text() const {
        return detail::read_text(kavro_broker_get_disclaimer_text, get());
    }
    std::vector<certificate> certificates() const {
        return detail::read_each(
            kavro_broker_get_num_certificates, get(),
            [this](std::uint32_t index) { return detail::read_certificate(get(), index); });
    }
    std::string certificate_error_text() const {
        return detail::read_text(kavro_broker_get_certificate_error_text, get());
    }

private:
    void request(kavro_broker_result result) const {
        if (result != KAVRO_BROKER_OK)
            throw error(result, broker_error_message());
    }

    static sign_scheme_function any_scheme(sign_function sign) {
        return
            [sign = std::move(sign)](std::uint16_t, const bytes &digest) { return sign(digest); };
    }

    /// Keeps every signing function until the broker is freed: which one the library still holds is
    /// its own affair.
    template <class Use, class Deliver>
    void sign_with(Use use, const bytes &certificates, Deliver deliver, sign_scheme_function sign) {
        signers_.push_back(std::make_unique<sign_scheme_function>(std::move(sign)));
        detail::check(
            use(get(), certificates.data(), certificates.size(), deliver, signers_.back().get()));
    }

    // These outlive the handle.
    std::vector<std::unique_ptr<sign_scheme_function>> signers_;
    std::vector<std::unique_ptr<log_function>> listeners_;
    detail::owned<kavro_broker_handle> handle_;
};

/// Finds out what answers at an address. cancel() may be called meanwhile on any thread.
class type_finder {
public:
    type_finder()
        : finder_(detail::make<kavro_broker_type_finder>(kavro_broker_create_type_finder)) {}

    std::uint32_t find_type(zstring_view address, zstring_view port = "") {
        return detail::read_value<std::uint32_t>(kavro_broker_find_type, get(), address.c_str(),
                                                 port.c_str());
    }
    found_type find_type_extended(zstring_view address, zstring_view port = "") {
        found_type found;
        std::array<char, 2049> found_address{};
        std::array<char, 8> found_port{};
        detail::check(kavro_broker_find_type_extended(
            get(), address.c_str(), port.c_str(), &found.type, found_address.data(),
            found_address.size(), found_port.data(), found_port.size()));
        found.address = found_address.data();
        found.port = found_port.data();
        return found;
    }
    void cancel() { kavro_broker_cancel_find_type(get()); }
    /// Whether a search has run to its end.
    bool finished() const {
        return detail::read_value<std::uint32_t>(kavro_broker_get_type, get()) != 0;
    }
    kavro_broker_type_finder get() const { return finder_.get(); }

private:
    detail::owned<kavro_broker_type_finder> finder_;
};

} // namespace kavro_broker
