/**
 * @file kavro_broker_extras.h
 * @brief More of broker_client: kept connections, time limits, trust, signing with keys that live
 * elsewhere, OAuth, alternate targets, texts that users typed, results in words, the report on a
 * request.
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
 * Keeps the connection of a request open for the next one, from the next request on: a whole log-in
 * then costs the time of one TLS handshake. At first no connection is kept.
 *
 * The next request of this handle uses it when it is for the same host and port, finds it open, and
 * when nothing has changed meanwhile that decides about trust or identity. Otherwise it is closed
 * without a word and a new one made. Its certificate was judged when it was made. A failure, a
 * cancel, a time-out, an answer with "Connection: close", kavro_broker_clear_session() and
 * kavro_broker_free() close it. Nothing watches it between requests: one that has been idle for too
 * long is closed when the next request begins.
 *
 * A kept connection may turn out to be dead when a request has been sent and before the first byte
 * of its answer. A hello, a list and a good-bye are then sent once more, on a new connection. With
 * anything else the broker may have acted: #KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE.
 *
 * @param idle_seconds for how long it may be idle, from 1 to 300; 0 keeps none, and closes one that
 * is kept.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_INVALID_PARAMETER for more than 300.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_keep_connection(kavro_broker_handle handle,
                                                                  uint32_t idle_seconds);

/** What a time limit bounds. */
enum {
    KAVRO_BROKER_LIMIT_CONNECT = 0, /**< look-up, all addresses and TLS, together; 30 s at first */
    KAVRO_BROKER_LIMIT_REQUEST = 1, /**< the answer to a hello, a list, a power operation or a
                                         good-bye; 30 s at first */
    KAVRO_BROKER_LIMIT_AUTHENTICATION = 2, /**< the answer to a log-in, a new password included;
                                                40 s at first */
    KAVRO_BROKER_LIMIT_PROVISIONING = 3    /**< all that is said to a provisioning server; 180 s at
                                                first */
};

/**
 * Sets how long a step of a request may take, from the next request on. A log-in that waits for a
 * person, who must find a telephone to agree on, needs more time than usual for its answer.
 *
 * An allocation has its own setting, kavro_broker_set_connect_to_desktop_timeout().
 *
 * @param limit a `KAVRO_BROKER_LIMIT_...` value.
 * @param milliseconds from 100 to 3,600,000, an hour.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_INVALID_PARAMETER for an unknown limit and a time out
 * of range, and the setting before then stays.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_set_time_limit(kavro_broker_handle handle,
                                                                 uint32_t limit,
                                                                 uint32_t milliseconds);

/**
 * Sets the way to the broker: directly, as at first, or through a proxy. A provisioning server that
 * the broker names is reached on the same way.
 *
 * - null, "" or "none": directly.
 * - "http://HOST:PORT" and "https://HOST:PORT": by CONNECT (RFC 9110 section 9.3.6), the latter
 * over TLS with the proxy, which must then prove who it is as a broker must.
 * - "socks5://HOST:PORT": by SOCKS 5 (RFC 1928), the broker's name being looked up here;
 *   "socks5h://HOST:PORT": looked up by the proxy. With HTTP it is the proxy, too, who looks it up.
 * - "system": what the machine is set to, asked anew for each connection: on Linux the variables
 *   `https_proxy` and `no_proxy`, else libproxy where it is installed; on Windows the user's and
 * the machine's settings, automatic configuration included.
 *
 * An IPv6 address stands in brackets. The user and the password are sent when the proxy asks for
 * them only: by SOCKS (RFC 1929), or by the strongest of Negotiate (RFC 4559), NTLM, Digest
 * (RFC 7616) and Basic that it offers. For Negotiate and NTLM the system makes the tokens: with the
 * tickets of whoever runs the program, unless the environment has KAVRO_BROKER_NO_TICKETS, or with
 * the user and the password (by NTLM; on Windows by both). The broker's certificate is judged
 * against the broker's name, whatever the way.
 *
 * @param handle null sets the way of every type finder and of the registration codes' download, and
 * of no handle.
 * @param proxy as above. @param user null for none. @param password null for none; copied, and
 * wiped when it is no longer needed.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_INVALID_PARAMETER for any other text, also one with a
 * user or password in it; the setting before then stays.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_set_proxy(kavro_broker_handle handle,
                                                            const char *proxy, const char *user,
                                                            const char *password);

/**
 * Lets the client show a certificate to brokers that ask for one, and sign with a key outside the
 * library.
 *
 * Such connections speak TLS 1.2 at most and sign with PKCS #1 v1.5 (RFC 8017 section 8.2): the
 * signing function gets the bare digest, and tells the hash function by its length (32 bytes
 * SHA-256, 48 SHA-384, 64 SHA-512). A broker that insists on TLS 1.3 or on PSS signatures ends the
 * handshake (#KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED), and so does a signing function that fails or
 * gives a signature of another length than the key's. The function is called on the thread that is
 * inside the request. The request waits for it, and no deadline interrupts it.
 *
 * @param certificate the client's certificate in DER form, copied. Its key must be an RSA key.
 * @param length its length in bytes.
 * @param sign makes every signature, until the handle is freed or another function is set.
 * @param context handed to `sign` as it is; may be null.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_INVALID_PARAMETER for a missing argument or bytes
 * that are no certificate with an RSA key; the setting before then stays.
 */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_use_signing_certificate(kavro_broker_handle handle, const uint8_t *certificate,
                                     size_t length, kavro_broker_sign_function sign, void *context);

/**
 * Signs a digest with a key that the library never sees.
 *
 * Called on the thread that is inside the request, which waits for it: no deadline interrupts it.
 * Requests on the same handle from inside return #KAVRO_BROKER_ERR_INVALID_STATE; another key may
 * be set, for later connections. What the function throws ends in the library, as a failure.
 *
 * @param context as it was given to kavro_broker_use_signing_key().
 * @param scheme a TLS SignatureScheme (RFC 8446 section 4.2.3): 0x0401, 0x0501 and 0x0601 for
 *        PKCS #1 v1.5 with SHA-256, -384 and -512 (TLS 1.2 only), 0x0804, 0x0805 and 0x0806 for
 *        PSS with a salt of the digest's length, 0x0403, 0x0503 and 0x0603 for ECDSA.
 * @param digest of what is to be signed, by the scheme's hash function.
 * @param digest_length its length in bytes.
 * @param signature takes the signature, that of ECDSA in DER form (RFC 3279 section 2.2.3).
 * @param signature_length the room in `signature` on entry, the signature's length on return.
 * @return 0; anything else ends the handshake, and so does a signature that is empty, longer than
 *         the room or, by RSA, shorter than the key.
 */
typedef int (*kavro_broker_sign_scheme_function)(void *context, uint16_t scheme,
                                                 const uint8_t *digest, size_t digest_length,
                                                 uint8_t *signature, size_t *signature_length);

/**
 * Lets the client show a certificate to brokers that ask for one, and sign with a key outside the
 * library: RSA, or EC over P-256, P-384 or P-521; by TLS 1.2 or 1.3, with PSS where the broker
 * wants it. Of this and kavro_broker_use_signing_certificate(), the one called last counts.
 *
 * A signing function that fails ends the request with #KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED. With
 * TLS 1.3 a broker that refuses the certificate or the signature says so after the handshake, in
 * place of its first answer.
 *
 * @param certificates the client's certificate in DER form, or several in PEM form, the client's
 * own first, which are then sent as they are; copied.
 * @param length their length in bytes.
 * @param sign makes every signature, until the handle is freed or another function is set.
 * @param context handed to `sign` as it is, and the caller's, who keeps it for as long; may be
 * null.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_INVALID_PARAMETER for a missing argument, bytes that
 *         are cut short or no certificates, and another kind of key, such as Ed25519 or one for PSS
 *         alone; the setting before then stays.
 */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_use_signing_key(kavro_broker_handle handle, const uint8_t *certificates, size_t length,
                             kavro_broker_sign_scheme_function sign, void *context);

/**
 * Trusts a certificate as an issuer of brokers' certificates, besides the system's own anchors, for
 * this handle. May be called repeatedly, for several.
 *
 * @param certificate the certificate in DER form, copied.
 * @param length its length in bytes.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_INVALID_PARAMETER for bytes that are no certificate.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_add_trust_anchor(kavro_broker_handle handle,
                                                                   const uint8_t *certificate,
                                                                   size_t length);

/**
 * Pins a key: from the next request on, the key of the broker's own certificate must be one of
 * those that were pinned, whatever else is wrong and with verification switched off as well; else
 * the request fails with #KAVRO_BROKER_ERR_CERTIFICATE_FAILED and the verdict
 * #KAVRO_BROKER_CERTIFICATE_PIN_MISMATCH for certificate 0.
 *
 * A pinned key makes up for an issuer that is not known here and for a certificate that signed
 * itself, and for nothing else: host name, dates and the lengths of the keys count. It outlives the
 * certificate, as long as the next one is for the same key.
 *
 * @param sha256 the SHA-256 over the certificate's SubjectPublicKeyInfo in DER form (RFC 7469
 *        section 2.4), copied.
 * @param length its length in bytes, 32.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_INVALID_PARAMETER for another length;
 *         #KAVRO_BROKER_ERR_NOT_IMPLEMENTED for a kind of broker whose client knows no pins.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_add_key_pin(kavro_broker_handle handle,
                                                              const uint8_t *sha256, size_t length);

/** Forgets all keys that were pinned. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_clear_key_pins(kavro_broker_handle handle);

/**
 * Says whether the platform's own judgement counts beside the library's. Off at first.
 *
 * It is asked about each certificate that the library's own check does not trust: on Windows by
 * CertGetCertificateChain(), which knows the company's policies, issuers that a server does not
 * send and roots that Windows has not fetched yet. A certificate that it trusts for a server counts
 * as trusted; host name, lengths of keys, pins and stapled statuses count as before. Windows may
 * fetch issuers and roots meanwhile, for at most five seconds a certificate, in which a cancel has
 * to wait. A stapled status is verified with the trust anchors alone.
 *
 * @param use whether it counts.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_NOT_IMPLEMENTED where the platform has none, which is
 *         everywhere but on Windows; `false` is understood everywhere.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_use_platform_verifier(kavro_broker_handle handle,
                                                                        bool use);

/**
 * Says whether a broker that is verified must show what its certificate's issuer says of it: a
 * stapled status (RFC 6066 section 8). Off at first.
 *
 * The status is always asked for. One that says "revoked", signed by the issuer or its delegate,
 * ends the request with #KAVRO_BROKER_ERR_CERTIFICATE_FAILED and the verdict
 * #KAVRO_BROKER_CERTIFICATE_REVOKED_BY_STAPLE. One that cannot be verified, is out of date or about
 * another certificate counts as none. Without one the certificate is accepted, unless it is
 * required here or the certificate itself says that there is always one (RFC 7633): the verdict is
 * #KAVRO_BROKER_CERTIFICATE_NO_STAPLE then. Nothing is ever fetched.
 *
 * @param require whether a broker without one is refused.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_NOT_IMPLEMENTED for a kind of broker whose client
 *         asks for no status.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_require_stapled_status(kavro_broker_handle handle,
                                                                         bool require);

/** The reason why the broker's certificate was not accepted; empty when it was. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_certificate_error_text(kavro_broker_handle handle, char *buffer, size_t *length);

/**
 * Offers the broker to authenticate the user by OAuth. Off at first; the next request tells the
 * broker, in a new hello.
 *
 * Without the offer a broker that asks for nothing but OAuth is refused with
 * #KAVRO_BROKER_ERR_AUTH_NOT_SUPPORTED.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_enable_oauth(kavro_broker_handle handle,
                                                               bool enable);

/**
 * Answers #KAVRO_BROKER_AUTH_METHOD_OAUTH with the code that the user was given.
 *
 * @param code the code, unchanged.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_send_oauth_code(kavro_broker_handle handle,
                                                                  const char *code);

/** A text that is part of a record: UTF-8, never null, valid until the record is freed. */
typedef struct kavro_broker_text {
    const char *data; /**< followed by a zero */
    size_t size;      /**< in bytes, without the zero */
} kavro_broker_text;

/** One desktop of a list. A text that the broker did not send is empty. */
typedef struct kavro_broker_desktop {
    kavro_broker_text name;   /**< to be shown */
    kavro_broker_text id;     /**< to be asked for */
    kavro_broker_text type;   /**< in the broker's words */
    kavro_broker_text state;  /**< in the broker's words */
    kavro_broker_text health; /**< in the broker's words */
    uint32_t operations;      /**< bit n is set when it offers the `KAVRO_BROKER_OPERATION_...` n */
} kavro_broker_desktop;

/** What to connect to. A text that the broker did not send is empty. */
typedef struct kavro_broker_desktop_connection {
    kavro_broker_text address;        /**< of the target */
    kavro_broker_text host_name;      /**< of the target */
    kavro_broker_text server_name;    /**< of the target, for its certificate */
    kavro_broker_text port;           /**< of the target */
    kavro_broker_text session_id;     /**< of the session that the desktop belongs to */
    kavro_broker_text connect_tag;    /**< secret: what the target lets the client in for */
    uint32_t use_broker_address;      /**< 1 when the broker's address is to be used, else 0 */
    kavro_broker_text gateway_ticket; /**< secret; empty, as the next two, where there is none */
    kavro_broker_text gateway_ticket_created; /**< when it was made, in the broker's words */
    kavro_broker_text gateway_ticket_expires; /**< when it ends, in the broker's words */
} kavro_broker_desktop_connection;

/**
 * Tells all of one desktop in one call, without a copy.
 *
 * @param index from 0, in the order of the list.
 * @param desktop receives it, unless the call fails. Its texts are the list's.
 * @param size_of_desktop `sizeof(kavro_broker_desktop)` as the caller was built with: no more than
 * that is written. Members are only ever added at the end.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_INVALID_PARAMETER for an index out of range and a
 * size without room for the first member.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop(kavro_broker_desktop_list list,
                                                              uint32_t index,
                                                              kavro_broker_desktop *desktop,
                                                              size_t size_of_desktop);

/**
 * Tells what to connect to in one call, without a copy. What there may be several of has its own
 * functions.
 *
 * @param connection receives it, unless the call fails. Its texts are the record's.
 * @param size_of_connection `sizeof(kavro_broker_desktop_connection)`, as with
 * kavro_broker_get_desktop().
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop_connection(
    kavro_broker_desktop_connection_info info, kavro_broker_desktop_connection *connection,
    size_t size_of_connection);

/** The number of other targets that the broker names for the desktop. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_num_desktop_connection_alternate_targets(
    kavro_broker_desktop_connection_info info, uint32_t *count);

/** One of the other targets, in the broker's order. A text that the broker did not send is empty.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop_connection_alternate_target(
    kavro_broker_desktop_connection_info info, uint32_t index, char *address,
    size_t *address_length, char *host_name, size_t *host_name_length, char *server_name,
    size_t *server_name_length, char *port, size_t *port_length);

/**
 * Replaces the five XML special characters of a text that a user typed, so that it can be passed
 * into a request.
 *
 * @param text the text as typed, secret or not: the library keeps nothing of it.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_escape_text(const char *text, char *buffer,
                                                              size_t *length);

/**
 * Drops log messages of a higher severity from now on, for all handles. At first everything is
 * logged. The messages exchanged with a broker are logged at #KAVRO_BROKER_LOG_INFO: below that
 * their texts are not even made, which halves the cost of a long desktop list.
 *
 * @param highest_severity the highest severity that is wanted. Banners cannot be dropped.
 */
KAVRO_BROKER_API void kavro_broker_set_log_level(int32_t highest_severity);

/**
 * Gets one line of the log of the handle that it was set for.
 *
 * Requests on that handle from inside, kavro_broker_clear_session() among them, return
 * #KAVRO_BROKER_ERR_INVALID_STATE. The handle must not be freed from inside. What the function
 * throws ends in the library.
 *
 * @param context as it was given to kavro_broker_set_message_function().
 * @param category one of the `KAVRO_BROKER_LOG_CATEGORY_...` values.
 * @param severity one of the `KAVRO_BROKER_LOG_...` values.
 * @param error as for #kavro_broker_log_function.
 * @param text the line in UTF-8, valid during the call.
 */
typedef void (*kavro_broker_message_function)(void *context, int32_t category, int32_t severity,
                                              int32_t error, const char *text);

/**
 * Tells the log of a handle to a function of its own, so that two conversations can be told apart.
 *
 * What is logged on behalf of this handle goes there, from now on, and no longer to the log
 * function of the process; lines of work that is done once a process may go to either. The log
 * level holds for both.
 *
 * @param function called on the thread that is inside the library; null for the log function of
 * the process again.
 * @param context handed to `function` as it is; may be null.
 * @return #KAVRO_BROKER_OK.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_set_message_function(
    kavro_broker_handle handle, kavro_broker_message_function function, void *context);

/**
 * The report on the last request of this handle, as one JSON object that is fit for a bug report:
 * it holds no text of the user, no header, no body, and of the broker's words only those that the
 * protocol itself has. A null value was not needed, or not reached.
 *
 * - `library` the version; `result` its `code` and `name`; `failed_in` the phase in which a failed
 *   request ended; `took_us` its duration. All times are in microseconds.
 * - `hellos` the number of times that the client introduced itself; `second_port` whether the
 *   request gave up the default port for the second one.
 * - `connections` to the broker, in order, each with
 *   - `host` and `port`; `reused` whether it was kept by a request before, which then has looked
 *     nothing up; `proxy` the one in between with its `kind`, `host`, `port` and `status`, the
 * number of its last answer; `tried` the addresses, the proxy's if there is one, in order;
 * `address` the one that accepted;
 *   - `reached` its last phase: "prepare" (no usable address), "resolve", "connect", "proxy" (up to
 *     its consent), "handshake",
 *     "ready" (nothing sent yet), "send", "wait" (from the request's last byte to the answer's
 *     first), "receive" (up to its last), "parse", or "answered", after which only the broker's
 *     words count;
 *   - `times_us` the time of each phase but "prepare", "ready" and "answered";
 *   - `peer_speaks` by the first bytes that came back: "tls", "http" or "other";
 *   - `tls` the `version`, the `cipher` and the `verification` ("PASSED", "FAILED",
 *     "FAILED_BUT_WARNABLE" or "NOT_CHECKED") of a completed handshake; `certificates` the verdict
 *     on each, with `depth`, `code` and `name`;
 *   - `error` the system's or the TLS library's words for a failure, or those of the certificate
 *     check;
 *   - `http_status`; `answer` the look of its body: "xml", "html" or "other"; `result_id` if it is
 *     one of the protocol's;
 *   - `bytes_sent` and `bytes_received` over the socket, TLS included.
 *
 * For a plug-in's connection, only the request for it is recorded ("prepare").
 *
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_INVALID_STATE before the first request.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_request_report(kavro_broker_handle handle,
                                                                     char *buffer, size_t *length);

/**
 * The name of a result code, as "KAVRO_BROKER_ERR_TIMEOUT"; "UNKNOWN" for any other number.
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
