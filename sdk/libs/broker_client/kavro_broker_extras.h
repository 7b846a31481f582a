/**
 * @file kavro_broker_extras.h
 * @brief More of broker_client: trust, signing with keys that live elsewhere, OAuth, alternate
 * targets, texts that users typed, results in words, what became of a request.
 *
 * The conventions are those of kavro_broker.h.
 */
#ifndef KAVRO_BROKER_EXTRAS_H
#define KAVRO_BROKER_EXTRAS_H

#include "kavro_broker.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Lets the client show a certificate to brokers that ask for one, and sign with a key that the
 * library never sees.
 *
 * Such connections speak TLS 1.2 at most and sign with PKCS #1 v1.5 (RFC 8017 section 8.2): the
 * signing function gets the bare digest, and tells the hash function by its length (32 bytes
 * SHA-256, 48 SHA-384, 64 SHA-512). A broker that insists on TLS 1.3 or on PSS signatures ends the
 * handshake (203), and so does a signing function that fails or gives a signature of another length
 * than the key's. It is called on the thread that is inside the request, which waits for it: no
 * deadline reaches into it.
 *
 * @param certificate the client's certificate in DER form, copied. Its key must be an RSA key.
 * @param length its length in bytes.
 * @param sign asked for every signature, until the handle is freed or another is set.
 * @param context handed to `sign` as it is; may be null.
 * @return 0; 2 for a missing argument or bytes that are no certificate with an RSA key, with
 * whatever was set before left in place.
 */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_use_signing_certificate(kavro_broker_handle handle, const uint8_t *certificate,
                                     size_t length, kavro_broker_sign_function sign, void *context);

/**
 * Trusts a certificate as an issuer of brokers' certificates, besides the system's own anchors, for
 * this handle. May be called repeatedly, for several.
 *
 * @param certificate the certificate in DER form, copied.
 * @param length its length in bytes.
 * @return 0; 2 for bytes that are no certificate.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_add_trust_anchor(kavro_broker_handle handle,
                                                                   const uint8_t *certificate,
                                                                   size_t length);

/** Why the broker's certificate was not accepted, after 300 or 301; else empty. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_certificate_error_text(kavro_broker_handle handle, char *buffer, size_t *length);

/**
 * Offers the broker to authenticate the user by OAuth. Off until it is switched on; the broker is
 * told with the next request, in a new hello.
 *
 * Without it a broker that asks for nothing but OAuth is refused with
 * #KAVRO_BROKER_ERR_AUTH_NOT_SUPPORTED.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_enable_oauth(kavro_broker_handle handle,
                                                               bool enable);

/**
 * Answers #KAVRO_BROKER_AUTH_METHOD_OAUTH with the code that the user was given.
 *
 * @param code as the user was given it.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_send_oauth_code(kavro_broker_handle handle,
                                                                  const char *code);

/** How many other targets the broker names for the desktop, in its order. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_num_desktop_connection_alternate_targets(
    kavro_broker_desktop_connection_info info, uint32_t *count);

/** One of the other targets. What the broker did not say of it is empty. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop_connection_alternate_target(
    kavro_broker_desktop_connection_info info, uint32_t index, char *address,
    size_t *address_length, char *host_name, size_t *host_name_length, char *server_name,
    size_t *server_name_length, char *port, size_t *port_length);

/**
 * Replaces the five XML special characters of a text that a user typed, so that it can be passed
 * into a request.
 *
 * @param text may be a secret: the library keeps nothing of it.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_escape_text(const char *text, char *buffer,
                                                              size_t *length);

/**
 * Drops log messages of a higher severity from now on, for all handles. Everything is logged until
 * then. The messages exchanged with a broker are written for the log at #KAVRO_BROKER_LOG_INFO:
 * below that their texts are not even made, which halves the cost of a long desktop list.
 *
 * @param highest_severity the highest that is wanted. Banners cannot be dropped.
 */
KAVRO_BROKER_API void kavro_broker_set_log_level(int32_t highest_severity);

/**
 * What became of the last request of this handle, as one JSON object that is fit for a bug report:
 * it holds no texts of the user, no header, no body, and of the broker's words only those that the
 * protocol itself has. What is null was not needed, or not reached.
 *
 * - `library` the version; `result` its `code` and `name`; `failed_in` the phase in which a request
 *   failed that did not end with 0; `took_us` how long it took. All times are in microseconds.
 * - `hellos` how often the client introduced itself; `second_port` whether the request gave up the
 *   default port for the second one.
 * - `connections` those to the broker, in order, each with
 *   - `host` and `port`; `tried` the addresses in order; `address` the one that took it;
 *   - `reached` its last phase: "prepare" (no usable address), "resolve", "connect", "handshake",
 *     "ready" (nothing sent yet), "send", "wait" (from the request's last byte to the answer's
 *     first), "receive" (up to its last), "parse", or "answered", after which only what the broker
 *     said counts;
 *   - `times_us` the time of each phase but "prepare", "ready" and "answered";
 *   - `peer_speaks` by the first bytes that came back: "tls", "http" or "other";
 *   - `tls` the `version`, the `cipher` and the `verification` ("PASSED", "FAILED",
 *     "FAILED_BUT_WARNABLE" or "NOT_CHECKED") of a completed handshake; `certificates` the verdict
 *     on each, with `depth`, `code` and `name`;
 *   - `error` the system's or the TLS library's words for a failure, or those of the certificate
 *     check;
 *   - `http_status`; `answer` what its body looks like: "xml", "html" or "other"; `result_id` if it
 *     is one of the protocol's;
 *   - `bytes_sent` and `bytes_received` over the socket, TLS included.
 *
 * Of a connection that a plug-in made nothing is known but that it was wanted ("prepare").
 *
 * @return 0; #KAVRO_BROKER_ERR_INVALID_STATE before the first request.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_request_report(kavro_broker_handle handle,
                                                                     char *buffer, size_t *length);

/**
 * The name of a result code, as "KAVRO_BROKER_ERR_TIMEOUT"; "UNKNOWN" for a number that is none.
 * The text is constant and never freed.
 *
 * @param code any number.
 * @return the name.
 */
KAVRO_BROKER_API const char *kavro_broker_result_name(kavro_broker_result code);

/**
 * A result code in an English sentence. The text is constant and never freed.
 *
 * @param code any number.
 * @return the sentence.
 */
KAVRO_BROKER_API const char *kavro_broker_result_text(kavro_broker_result code);

#ifdef __cplusplus
}
#endif

#endif /* KAVRO_BROKER_EXTRAS_H */
