#include "export_guard.h"
#include "kavro_broker_extras.h"

#include <algorithm>
#include <utility>

// The authorities and keys that the client trusts, and the certificate that it shows.

using namespace kavro;

namespace {

/// What a client of this kind of broker says to a setting.
kavro_broker_result known(bool to_client) {
    return to_client ? KAVRO_BROKER_OK : KAVRO_BROKER_ERR_NOT_IMPLEMENTED;
}

} // namespace

kavro_broker_result kavro_broker_use_signing_certificate(kavro_broker_handle handle,
                                                         const uint8_t *certificate, size_t length,
                                                         kavro_broker_sign_function sign,
                                                         void *context) {
    if (sign == nullptr)
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    return with_handle(handle, {certificate}, [&](broker_client_impl &client) {
        auto decoded = Security::decode_certificate({certificate, length});
        if (!decoded || !client.protocol->set_client_certificate(std::move(decoded)))
            return KAVRO_BROKER_ERR_INVALID_PARAMETER;
        client.protocol->set_signing_function(
            [sign, context](const uint8_t *digest, size_t digest_length, uint8_t *signature,
                            size_t *signature_length) {
                return sign(context, digest, digest_length, signature, signature_length);
            });
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_use_signing_key(kavro_broker_handle handle,
                                                 const uint8_t *certificates, size_t length,
                                                 kavro_broker_sign_scheme_function sign,
                                                 void *context) {
    if (sign == nullptr)
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    return with_handle(handle, {certificates}, [&](broker_client_impl &client) {
        auto decoded = Security::decode_certificates({certificates, length});
        const auto in_context = [sign, context](auto... arguments) {
            return sign(context, arguments...);
        };
        return !decoded.empty() && client.protocol->set_signing_key(std::move(decoded), in_context)
                   ? KAVRO_BROKER_OK
                   : KAVRO_BROKER_ERR_INVALID_PARAMETER;
    });
}

kavro_broker_result kavro_broker_add_trust_anchor(kavro_broker_handle handle,
                                                  const uint8_t *certificate, size_t length) {
    return with_handle(handle, {certificate}, [&](broker_client_impl &client) {
        if (!Security::decode_certificate({certificate, length}))
            return KAVRO_BROKER_ERR_INVALID_PARAMETER;
        client.add_trust_anchor({certificate, certificate + length});
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_add_key_pin(kavro_broker_handle handle, const uint8_t *sha256,
                                             size_t length) {
    return with_handle(handle, {sha256}, [&](broker_client_impl &client) -> kavro_broker_result {
        KeyPin pin;
        if (length != pin.size())
            return KAVRO_BROKER_ERR_INVALID_PARAMETER;
        std::copy_n(sha256, length, pin.begin());
        KeyPins pins = client.key_pins;
        pins.push_back(pin);
        const bool taken = client.protocol->set_key_pins(pins);
        if (taken)
            client.key_pins = std::move(pins);
        return known(taken);
    });
}

kavro_broker_result kavro_broker_clear_key_pins(kavro_broker_handle handle) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        client.key_pins.clear();
        return known(client.protocol->set_key_pins({}));
    });
}

kavro_broker_result kavro_broker_use_platform_verifier(kavro_broker_handle handle, bool use) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        return known(client.protocol->use_platform_verifier(use));
    });
}

kavro_broker_result kavro_broker_require_stapled_status(kavro_broker_handle handle, bool require) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        return known(client.protocol->require_stapled_status(require));
    });
}

kavro_broker_result kavro_broker_get_certificate_error_text(kavro_broker_handle handle,
                                                            char *buffer, size_t *length) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        return put_text({client.certificates.error_text, buffer, length});
    });
}
