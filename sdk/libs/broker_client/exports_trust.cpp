#include "export_guard.h"
#include "kavro_broker_extras.h"

#include <utility>

// The authorities that the client trusts, and the certificate that it shows.

using namespace kavro;

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

kavro_broker_result kavro_broker_add_trust_anchor(kavro_broker_handle handle,
                                                  const uint8_t *certificate, size_t length) {
    return with_handle(handle, {certificate}, [&](broker_client_impl &client) {
        if (!Security::decode_certificate({certificate, length}))
            return KAVRO_BROKER_ERR_INVALID_PARAMETER;
        client.add_trust_anchor({certificate, certificate + length});
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_get_certificate_error_text(kavro_broker_handle handle,
                                                            char *buffer, size_t *length) {
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        return put_text({client.certificates.error_text, buffer, length});
    });
}
