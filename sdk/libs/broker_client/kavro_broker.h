/**
 * @file kavro_broker.h
 * @brief The C interface of broker_client: one conversation with a connection broker.
 *
 * A caller sets a log function, creates a handle, tells it the broker's address and who the client
 * is, and then issues requests. Every request blocks its caller until the broker has answered, the
 * deadline has passed or kavro_broker_cancel() was called, and returns one result code. The
 * accessors then read the broker's answer.
 *
 * Conventions that hold for every function:
 *
 * - Texts are UTF-8 and zero terminated. A text that is passed in is copied; the caller's buffer
 *   may be reused as soon as the function returns.
 * - A text that comes out is copied into a buffer of the caller. `length` points to the size of
 *   that buffer in bytes. With a null buffer the needed size, terminating zero included, is stored
 *   and #KAVRO_BROKER_OK is returned. A buffer that is too small is left alone: the needed size is
 * stored and #KAVRO_BROKER_ERR_BUFFER_TOO_SMALL is returned. A null `length` returns
 *   #KAVRO_BROKER_ERR_INVALID_PARAMETER.
 * - A null handle, record, finder or required argument and an index out of range return
 *   #KAVRO_BROKER_ERR_INVALID_PARAMETER. Functions without a result ignore a null handle.
 * - No C++ exception leaves the library, and none that a callback throws passes through it.
 * - A handle serves one thread at a time; different handles may be used on different threads at
 *   once. kavro_broker_cancel() and kavro_broker_cancel_find_type() are the only functions meant
 *   to be called while another thread is inside a request on the same handle.
 * - A handle runs one request at a time. A second one, from another thread or from a callback,
 *   returns #KAVRO_BROKER_ERR_INVALID_STATE at once and leaves the first alone.
 * - A thread inside the library must not be ended from outside (pthread_cancel(),
 *   TerminateThread()); kavro_broker_cancel() makes its request return.
 * - The process-wide hooks (log function, session log id function, cache file location) are set
 *   before other threads use the library.
 * - Texts that a caller passes into a request are placed into the broker's XML exactly as given. A
 *   caller who lets users type them replaces the five XML special characters first
 *   (kavro_broker_escape_text() in kavro_broker_extras.h).
 *
 * The promises of a version and the news of each one stand in changes.md of the documentation.
 */
#ifndef KAVRO_BROKER_H
#define KAVRO_BROKER_H

#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/** The version of this header; kavro_broker_get_version() tells the library's.
 * @{ */
#define KAVRO_BROKER_VERSION_MAJOR 1
#define KAVRO_BROKER_VERSION_MINOR 1
#define KAVRO_BROKER_VERSION_PATCH 0
/** @} */

/** For `#if`: whether this header is of that version or a later one. */
#define KAVRO_BROKER_VERSION_AT_LEAST(wanted_major, wanted_minor)                                  \
    (KAVRO_BROKER_VERSION_MAJOR > (wanted_major) ||                                                \
     (KAVRO_BROKER_VERSION_MAJOR == (wanted_major) &&                                              \
      KAVRO_BROKER_VERSION_MINOR >= (wanted_minor)))

/* KAVRO_BROKER_STATIC: the functions come with the caller's own program, not from the library. */
#if defined(_WIN32)
#if defined(KAVRO_BROKER_BUILDING)
#define KAVRO_BROKER_API __declspec(dllexport)
#elif defined(KAVRO_BROKER_STATIC)
#define KAVRO_BROKER_API
#else
#define KAVRO_BROKER_API __declspec(dllimport)
#endif
#else
/** Marks the functions of the library. */
#define KAVRO_BROKER_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---------------------------------------------------------------------------------------------
 * Values
 * ------------------------------------------------------------------------------------------- */

/** The result of every function that can fail; one of the `KAVRO_BROKER_...` codes below. */
typedef uint32_t kavro_broker_result;

/** The result codes. */
enum {
    KAVRO_BROKER_OK = 0,                    /**< success */
    KAVRO_BROKER_ERR_INVALID_PARAMETER = 2, /**< an argument is null, out of range or unusable */
    KAVRO_BROKER_ERR_BUFFER_TOO_SMALL = 3,  /**< the needed size was stored, nothing copied */
    KAVRO_BROKER_ERR_TIMEOUT = 4,           /**< the deadline passed */
    KAVRO_BROKER_ERR_CANCELLED = 5,         /**< kavro_broker_cancel() ended the request */
    KAVRO_BROKER_ERR_NOT_AUTHENTICATED = 6, /**< the broker wants a log-in first */
    KAVRO_BROKER_ERR_INVALID_STATE = 7,     /**< not possible now, e.g. no address or no session */
    KAVRO_BROKER_ERR_NOT_AVAILABLE = 8,     /**< the broker did not send this value */
    KAVRO_BROKER_ERR_NO_BROKER_FOUND = 9,   /**< the type finder recognised no broker */
    KAVRO_BROKER_ERR_NOT_IMPLEMENTED = 10,  /**< this kind of broker does not offer the operation */

    KAVRO_BROKER_ERR_CREATE_FAILED = 100,   /**< unknown broker type, or its client is missing */
    KAVRO_BROKER_ERR_NO_LOG_FUNCTION = 101, /**< set a log function before creating a handle */

    KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED = 200, /**< the host name has no address */
    KAVRO_BROKER_ERR_CONNECT_FAILED = 201,         /**< TCP connection failed */
    KAVRO_BROKER_ERR_CONNECT_REFUSED = 202,        /**< no server listens on that port */
    KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED = 203,   /**< TLS could not be agreed on */
    KAVRO_BROKER_ERR_TLS_PROTOCOL_ERROR = 204,     /**< TLS broke after the handshake */
    KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE = 205,  /**< connection lost, or a system call failed */
    KAVRO_BROKER_ERR_MANGLED_RESPONSE = 206,       /**< the answer cannot be understood */
    KAVRO_BROKER_ERR_HTTP_NOT_OK = 207,            /**< an HTTP status other than 200 */
    KAVRO_BROKER_ERR_PROXY_FAILED = 208,        /**< not found, not reached, refuses the broker */
    KAVRO_BROKER_ERR_PROXY_AUTH_REQUIRED = 209, /**< the proxy wants a log-in, or another one */

    KAVRO_BROKER_ERR_CERTIFICATE_FAILED = 300,              /**< the certificate is rejected */
    KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE = 301, /**< unknown issuer, else sound */

    KAVRO_BROKER_ERR_UNSUPPORTED_VERSION = 400, /**< the protocol version is not understood */
    KAVRO_BROKER_ERR_UNSUPPORTED_REQUEST = 401, /**< the request does not fit the conversation */
    KAVRO_BROKER_ERR_BROKER_SYS_FAILED = 403,   /**< the broker reports a system failure */
    KAVRO_BROKER_ERR_BROKER_RESP_FAILED = 404,  /**< the broker could not make its answer */
    KAVRO_BROKER_ERR_AGENT_FAILED = 405,        /**< the desktop's agent failed */
    KAVRO_BROKER_ERR_GATEWAY_FAILED = 406,      /**< the gateway failed */
    KAVRO_BROKER_ERR_CM_FAILED = 407,           /**< the connection manager failed */
    KAVRO_BROKER_ERR_PROTOCOL_GENERIC = 408,    /**< another protocol error, see its message */

    KAVRO_BROKER_ERR_AUTH_BLOCKED = 500,                   /**< the account is blocked */
    KAVRO_BROKER_ERR_AUTH_UNKNOWN_USERNAME_PASSWORD = 501, /**< unknown user or wrong password */
    KAVRO_BROKER_ERR_AUTH_USER_HAS_NO_RESOURCE = 502,      /**< the user is entitled to nothing */
    KAVRO_BROKER_ERR_AUTH_ACCESS_DENIED = 503,             /**< access denied */
    KAVRO_BROKER_ERR_AUTH_DISCLAIMER_REJECTED = 504,       /**< the disclaimer was rejected */
    KAVRO_BROKER_ERR_AUTH_WEAK_PASSWORD = 505,             /**< the new password is too weak */
    KAVRO_BROKER_ERR_AUTH_MAX_RETRIES_EXCEEDED = 506,      /**< too many attempts */
    KAVRO_BROKER_ERR_AUTH_NOT_SUPPORTED = 507,             /**< no offered method is supported */
    KAVRO_BROKER_ERR_AUTH_DOMAIN_CONTROLLER_ERROR = 508,   /**< the domain controller failed */
    KAVRO_BROKER_ERR_AUTH_OAUTH_CODE_INVALID = 509,        /**< the OAuth code is invalid */
    KAVRO_BROKER_ERR_AUTH_OAUTH_TOKEN_INVALID = 510,       /**< the OAuth token is invalid */
    KAVRO_BROKER_ERR_AUTH_OAUTH_TOKEN_SCOPE = 511,         /**< the OAuth token's scope is wrong */
    KAVRO_BROKER_ERR_AUTH_CERTIFICATE_REJECTED = 512,      /**< the user's certificate is refused */
    KAVRO_BROKER_ERR_AUTH_DIALOG_INVALID_USER_ENTRY = 513, /**< a dialog entry is invalid */
    KAVRO_BROKER_ERR_AUTH_INVALID_FIELD_BUTTON_ID = 514,   /**< a field or button id is unknown */

    KAVRO_BROKER_ERR_VM_LIST_NO_ENTITLEMENT = 600, /**< the user is entitled to no desktop */

    KAVRO_BROKER_ERR_CONNECT_DESKTOP_NO_LICENSE = 700,              /**< no licence is free */
    KAVRO_BROKER_ERR_CONNECT_DESKTOP_FAILED = 701,                  /**< launch failed */
    KAVRO_BROKER_ERR_CONNECT_DESKTOP_PENDING = 703,                 /**< try again later */
    KAVRO_BROKER_ERR_SESSION_PROVISION_TIMEOUT = 708,               /**< provisioning too slow */
    KAVRO_BROKER_ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED = 709, /**< provisioning failed */
    KAVRO_BROKER_ERR_CONNECT_DESKTOP_710 = 710,                     /**< reserved */
    KAVRO_BROKER_ERR_DESKTOP_OPERATION_NOT_SUPPORTED = 711,         /**< not for this desktop */
    KAVRO_BROKER_ERR_DESKTOP_OPERATION_FAILED = 712                 /**< it did not work */
};

/** Broker types for kavro_broker_create(), and the type finder's answers. A type code is four ASCII
 *  characters read as a big-endian number. */
enum {
    KAVRO_BROKER_TYPE_KAVRO = 0x4B415652,      /**< "KAVR", the broker protocol of this library */
    KAVRO_BROKER_TYPE_VIEW = 0x56494557,       /**< "VIEW", served by a plug-in library */
    KAVRO_BROKER_TYPE_AWS = 0x4157534B,        /**< "AWSK", type finder only */
    KAVRO_BROKER_TYPE_DIRECT_HOST = 0x48415244 /**< "HARD", type finder only */
};

/** Connection variants for kavro_broker_set_broker_variant(). */
enum {
    KAVRO_BROKER_VARIANT_ADDRESS = 0,          /**< the broker address is a host */
    KAVRO_BROKER_VARIANT_REGISTRATION_CODE = 1 /**< the broker address is a registration code */
};

/** The broker's next demand, as kavro_broker_get_auth_method() tells it. */
enum {
    KAVRO_BROKER_AUTH_METHOD_NONE = 0,               /**< nothing: the user is logged in */
    KAVRO_BROKER_AUTH_METHOD_PASSWORD = 1,           /**< user name, domain, password */
    KAVRO_BROKER_AUTH_METHOD_PASSWORD_EXPIRED = 2,   /**< kavro_broker_send_new_password() */
    KAVRO_BROKER_AUTH_METHOD_DISCLAIMER = 3,         /**< kavro_broker_send_accept_disclaimer() */
    KAVRO_BROKER_AUTH_METHOD_RESERVED_4 = 4,         /**< not used */
    KAVRO_BROKER_AUTH_METHOD_OAUTH = 5,              /**< an OAuth code */
    KAVRO_BROKER_AUTH_METHOD_DIALOG = 6,             /**< kavro_broker_send_auth_dialog() */
    KAVRO_BROKER_AUTH_METHOD_SECURID = 7,            /**< kavro_broker_send_securid_auth() */
    KAVRO_BROKER_AUTH_METHOD_SECURID_NEXT_TOKEN = 8, /**< kavro_broker_send_securid_token() */
    KAVRO_BROKER_AUTH_METHOD_SECURID_NEW_PIN = 9,    /**< kavro_broker_send_securid_pinchange() */
    KAVRO_BROKER_AUTH_METHOD_SECURID_WAIT = 10,      /**< kavro_broker_send_securid_wait() */
    KAVRO_BROKER_AUTH_METHOD_RESERVED_11 = 11,       /**< not used */
    KAVRO_BROKER_AUTH_METHOD_UNKNOWN = -1            /**< 0xFFFFFFFF: the request failed */
};

/** Kinds of a dialog field. */
enum {
    KAVRO_BROKER_DIALOG_FIELD_EDITABLE = 0, /**< the user may change its value */
    KAVRO_BROKER_DIALOG_FIELD_READ_ONLY = 1 /**< to be shown only */
};

/** The content of a dialog field; a hint for the keyboard to show. */
enum {
    KAVRO_BROKER_TEXT_TYPE_TEXT = 0,
    KAVRO_BROKER_TEXT_TYPE_NUMBER = 1,
    KAVRO_BROKER_TEXT_TYPE_EMAIL = 2,
    KAVRO_BROKER_TEXT_TYPE_URL = 3,
    KAVRO_BROKER_TEXT_TYPE_TEL = 4
};

/** Power operations on a desktop. */
enum {
    KAVRO_BROKER_OPERATION_OS_RESTART = 0,
    KAVRO_BROKER_OPERATION_POWER_DOWN = 1,
    KAVRO_BROKER_OPERATION_POWER_UP = 2,
    KAVRO_BROKER_OPERATION_SLEEP = 3,
    KAVRO_BROKER_OPERATION_RESUME = 4
};

/** Properties of an allocated desktop connection. */
enum {
    KAVRO_BROKER_CONNECTION_TARGET_ADDRESS = 0,          /**< IP address, or a host name */
    KAVRO_BROKER_CONNECTION_HOST_NAME = 1,               /**< the target's name */
    KAVRO_BROKER_CONNECTION_SERVER_NAME = 2,             /**< TLS server name indication, or "" */
    KAVRO_BROKER_CONNECTION_PORT = 3,                    /**< decimal text */
    KAVRO_BROKER_CONNECTION_SESSION_ID = 4,              /**< session identifier */
    KAVRO_BROKER_CONNECTION_CONNECT_TAG = 5,             /**< opaque token; a secret */
    KAVRO_BROKER_CONNECTION_USE_BROKER_ADDRESS = 6,      /**< one byte, 0 or 1, not a text */
    KAVRO_BROKER_CONNECTION_GATEWAY_TICKET = 7,          /**< a secret */
    KAVRO_BROKER_CONNECTION_GATEWAY_TICKET_CREATION = 8, /**< time as the broker wrote it */
    KAVRO_BROKER_CONNECTION_GATEWAY_TICKET_EXPIRY = 9    /**< time as the broker wrote it */
};

/** Verdicts on one certificate of the broker's chain, from kavro_broker_get_certificate_error(). */
enum {
    KAVRO_BROKER_CERTIFICATE_OK = 0,
    KAVRO_BROKER_CERTIFICATE_UNABLE_TO_GET_ISSUER = 1,
    KAVRO_BROKER_CERTIFICATE_UNABLE_TO_GET_CRL = 2,
    KAVRO_BROKER_CERTIFICATE_UNABLE_TO_DECRYPT_SIGNATURE = 3,
    KAVRO_BROKER_CERTIFICATE_UNABLE_TO_DECRYPT_CRL_SIGNATURE = 4,
    KAVRO_BROKER_CERTIFICATE_UNABLE_TO_DECODE_ISSUER_KEY = 5,
    KAVRO_BROKER_CERTIFICATE_SIGNATURE_FAILURE = 6,
    KAVRO_BROKER_CERTIFICATE_CRL_SIGNATURE_FAILURE = 7,
    KAVRO_BROKER_CERTIFICATE_NOT_YET_VALID = 8,
    KAVRO_BROKER_CERTIFICATE_EXPIRED = 9,
    KAVRO_BROKER_CERTIFICATE_CRL_NOT_YET_VALID = 10,
    KAVRO_BROKER_CERTIFICATE_CRL_EXPIRED = 11,
    KAVRO_BROKER_CERTIFICATE_SELF_SIGNED = 12,
    KAVRO_BROKER_CERTIFICATE_SELF_SIGNED_IN_CHAIN = 13,
    KAVRO_BROKER_CERTIFICATE_UNABLE_TO_VERIFY_LEAF = 14,
    KAVRO_BROKER_CERTIFICATE_REVOKED = 15,
    KAVRO_BROKER_CERTIFICATE_INVALID_CA = 16,
    KAVRO_BROKER_CERTIFICATE_INVALID_PURPOSE = 17,
    KAVRO_BROKER_CERTIFICATE_UNTRUSTED = 18,
    KAVRO_BROKER_CERTIFICATE_REJECTED = 19,
    KAVRO_BROKER_CERTIFICATE_RESERVED_20 = 20,
    KAVRO_BROKER_CERTIFICATE_ISSUER_MISMATCH = 21,
    KAVRO_BROKER_CERTIFICATE_KEY_USAGE_NO_CERT_SIGN = 22,
    KAVRO_BROKER_CERTIFICATE_UNABLE_TO_GET_CRL_ISSUER = 23,
    KAVRO_BROKER_CERTIFICATE_RESERVED_24 = 24,
    KAVRO_BROKER_CERTIFICATE_KEY_USAGE_NO_CRL_SIGN = 25,
    KAVRO_BROKER_CERTIFICATE_RESERVED_26 = 26,
    KAVRO_BROKER_CERTIFICATE_KEY_TOO_SHORT = 27,
    KAVRO_BROKER_CERTIFICATE_HOST_NAME_MISMATCH = 28,
    KAVRO_BROKER_CERTIFICATE_OTHER = 29,             /**< e.g. the issuer is not known here */
    KAVRO_BROKER_CERTIFICATE_PIN_MISMATCH = 30,      /**< see kavro_broker_add_key_pin() */
    KAVRO_BROKER_CERTIFICATE_REVOKED_BY_STAPLE = 31, /**< its issuer says so (RFC 6066 section 8) */
    KAVRO_BROKER_CERTIFICATE_NO_STAPLE = 32 /**< see kavro_broker_require_stapled_status() */
};

/** Categories of a log message. */
enum {
    KAVRO_BROKER_LOG_CATEGORY_GENERAL = 0,
    KAVRO_BROKER_LOG_CATEGORY_DISCOVERY = 1 /**< finding the broker */
};

/** Severities of a log message. */
enum {
    KAVRO_BROKER_LOG_BANNER = 0, /**< unconditional */
    KAVRO_BROKER_LOG_ERROR = 1,
    KAVRO_BROKER_LOG_INFO = 2, /**< also the masked XML of every message */
    KAVRO_BROKER_LOG_DEBUG = 3,
    KAVRO_BROKER_LOG_VERBOSE = 4
};

/** One broker conversation; from kavro_broker_create() to kavro_broker_free(). */
typedef struct broker_client_impl *kavro_broker_handle;
/** One search for the kind of broker at an address. */
typedef struct broker_query_impl *kavro_broker_type_finder;
/** The desktops of one answer. Owned by the caller. */
typedef struct kavro_broker_desktop_list_record *kavro_broker_desktop_list;
/** One allocated desktop. Owned by the caller. */
typedef struct kavro_broker_desktop_connection_record *kavro_broker_desktop_connection_info;
/** A list of name and value texts. Owned by the caller. */
typedef struct kavro_broker_variable_list_record *kavro_broker_variable_list;

/** One answered dialog field. */
typedef struct {
    const char *name;  /**< the field's name as kavro_broker_get_auth_dialog_field() gave it */
    const char *value; /**< what the user entered */
} kavro_broker_name_value;

/**
 * Receives every log message of the library. Called on the thread that is inside the library.
 *
 * `error` is -500, or a system error value, on messages that carry an error; else 0. `format` and
 * `arguments` are those of vprintf(). It may call the library's accessors and
 * kavro_broker_cancel(); a request on the same handle returns #KAVRO_BROKER_ERR_INVALID_STATE.
 */
typedef void (*kavro_broker_log_function)(int32_t category, int32_t severity, int32_t error,
                                          const char *format, va_list arguments);

/** Receives the identifier under which the broker logs this client, once it is known. */
typedef void (*kavro_broker_session_log_id_function)(const char *session_id);

/**
 * Signs a digest with a key that the library never sees. `*signature_length` holds the size of
 * `signature` on entry and the length of the signature on return. Returns 1 on success, 0 on
 * failure.
 */
typedef int (*kavro_broker_sign_function)(void *context, const uint8_t *digest,
                                          size_t digest_length, uint8_t *signature,
                                          size_t *signature_length);

/* ---------------------------------------------------------------------------------------------
 * Handle, logging, settings. Only kavro_broker_clear_session() contacts the broker, and only
 * kavro_broker_set_cache_file_location() the registration service.
 * ------------------------------------------------------------------------------------------- */

/**
 * Makes a handle for one kind of broker.
 *
 * @param type_code #KAVRO_BROKER_TYPE_KAVRO or #KAVRO_BROKER_TYPE_VIEW.
 * @param handle receives the handle, to be freed with kavro_broker_free(); null after a failure.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_INVALID_PARAMETER without `handle`;
 *         #KAVRO_BROKER_ERR_CREATE_FAILED when there is no client for that type;
 *         #KAVRO_BROKER_ERR_NO_LOG_FUNCTION when no log function has been set.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_create(uint32_t type_code,
                                                         kavro_broker_handle *handle);

/** Frees a handle and everything it stores. Never waits for the network. Null is ignored. */
KAVRO_BROKER_API void kavro_broker_free(kavro_broker_handle handle);

/**
 * Names the library's release and build. The text is constant and never freed.
 *
 * @return the text, as "broker_client 1.1.0".
 */
KAVRO_BROKER_API const char *kavro_broker_get_version(void);

/** Sets the process-wide log function. Null is refused with a log line; the old one stays. */
KAVRO_BROKER_API void kavro_broker_set_log_function(kavro_broker_log_function function);

/** Sets the process-wide session log id function. Null is ignored; the old one stays. */
KAVRO_BROKER_API void
kavro_broker_set_session_log_id_function(kavro_broker_session_log_id_function function);

/**
 * Says where the broker is.
 *
 * Another host or port than before makes the next request introduce the client again; the session
 * with the broker before is left without a good-bye. The same address again changes nothing.
 *
 * @param address host name, IPv4 or IPv6 address. "https://" may stand before it, a port and a
 * slash behind it; "http://" makes requests return #KAVRO_BROKER_ERR_INVALID_PARAMETER. With
 * #KAVRO_BROKER_VARIANT_REGISTRATION_CODE: the code.
 * @param port decimal text, for an address that names no port. Null or empty: "443", and then
 * "60443" once if no broker answers there.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_set_broker_address(kavro_broker_handle handle,
                                                                     const char *address,
                                                                     const char *port);

/**
 * Tells a registration code (#KAVRO_BROKER_VARIANT_REGISTRATION_CODE) from a host (any other value)
 * as the broker's address.
 *
 * @param variant a `KAVRO_BROKER_VARIANT_...` value.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_set_broker_variant(kavro_broker_handle handle,
                                                                     uint32_t variant);

/**
 * Names the client. Required before the first request, and none of the texts may be empty by then
 * (else requests return #KAVRO_BROKER_ERR_INVALID_STATE). Starts a new session: the next request
 * introduces the client again, and the session before is no longer presented to the broker.
 *
 * @param product_name the client's name.
 * @param product_version its version.
 * @param platform the system that it runs on.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_set_client_info(kavro_broker_handle handle,
                                                                  const char *product_name,
                                                                  const char *product_version,
                                                                  const char *platform);

/**
 * Sets the user's locale, "en_US" at first. The next request introduces the client again.
 *
 * @param locale as "de_DE".
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_set_locale(kavro_broker_handle handle,
                                                             const char *locale);

/**
 * Sets the client's time zone as a Windows key name. Empty (the default): the machine's own.
 *
 * @param timezone as "W. Europe Standard Time".
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_set_timezone(kavro_broker_handle handle,
                                                               const char *timezone);

/** Sets the variables sent to the broker with the introduction. The list is copied; null empties
 * it. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_set_hello_client_variables(
    kavro_broker_handle handle, kavro_broker_variable_list list);

/**
 * Sets the time-out of kavro_broker_connect_to_desktop() in seconds: 0 is 180, 65535 is one day.
 *
 * @param seconds from 1 to 65534, or one of those two.
 */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_set_connect_to_desktop_timeout(kavro_broker_handle handle, uint16_t seconds);

/**
 * Switches the check of the broker's certificate. True, the default: a broker that is not trusted
 * ends the request with #KAVRO_BROKER_ERR_CERTIFICATE_FAILED or
 * #KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE after the TLS handshake, before the request is
 * sent. False: every broker is accepted.
 *
 * @param fail whether to end requests to a broker that is not trusted.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_fail_if_unverified(kavro_broker_handle handle,
                                                                     bool fail);

/** Passes the flag on to the broker client of the handle's type; the one of
 * #KAVRO_BROKER_TYPE_KAVRO ignores it. */
KAVRO_BROKER_API void kavro_broker_enable_ipv6(kavro_broker_handle handle, bool enable);

/**
 * Checks its arguments (all required, length not 0) and stores nothing.
 *
 * @param sign never called.
 * @param context never used.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_set_client_certificate(
    kavro_broker_handle handle, const uint8_t *certificate, size_t certificate_length,
    kavro_broker_sign_function sign, void *context);

/**
 * Sets the folder in which the table of registration codes is kept (the file
 * "conversion_table.dat"), for the whole process, and brings the table up to date: the call blocks
 * while the table is downloaded, for 20 seconds at most. A failure is logged and leaves the table
 * in the folder as it was. Call it before the requests that need the table, from any thread. The
 * folder must exist. Empty text: there is no table. Null is ignored.
 *
 * A library that was built without a registration service (KAVRO_REGISTRATION_HOST) downloads
 * nothing and uses the table that it finds.
 *
 * @param path the folder.
 */
KAVRO_BROKER_API void kavro_broker_set_cache_file_location(const char *path);

/**
 * Ends the request that the handle runs, which then returns #KAVRO_BROKER_ERR_CANCELLED. Without a
 * running request nothing happens. May be called from any thread, from the callbacks and in a
 * signal handler: it allocates nothing, takes no lock, and waits for nobody.
 */
KAVRO_BROKER_API void kavro_broker_cancel(kavro_broker_handle handle);

/**
 * Logs out: tells the broker good-bye if it was ever greeted, and forgets the introduction. The
 * broker's answer does not matter, but failing to reach the broker for a greeting that is due
 * before does.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_clear_session(kavro_broker_handle handle);

/* ---------------------------------------------------------------------------------------------
 * Requests. Each introduces the client first when that is due, opens a connection of its own and
 * closes it again. After a failure kavro_broker_get_broker_error_message() tells the broker's own
 * words, and the outputs are left alone.
 * ------------------------------------------------------------------------------------------- */

/**
 * Asks for the broker's next demand.
 *
 * @param method receives one of the `KAVRO_BROKER_AUTH_METHOD_...` values;
 * #KAVRO_BROKER_AUTH_METHOD_UNKNOWN when the request fails.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_auth_method(kavro_broker_handle handle,
                                                                  uint32_t *method);

/**
 * Logs in with a password. On success ask kavro_broker_get_auth_method() for the next step: an
 * expired password is a success that leads to #KAVRO_BROKER_AUTH_METHOD_PASSWORD_EXPIRED.
 *
 * @param user_name the user's name.
 * @param domain one of kavro_broker_get_auth_domain().
 * @param password the user's password; no copy of it outlives the call.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_send_password(kavro_broker_handle handle,
                                                                const char *user_name,
                                                                const char *domain,
                                                                const char *password);

/**
 * Answers a dialog.
 *
 * @param button_id id of the button that the user pressed.
 * @param fields the answered fields, in the order to be sent; fields whose name the dialog does not
 *        have are left out. May be null when `field_count` is 0.
 * @param field_count number of `fields`.
 */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_send_auth_dialog(kavro_broker_handle handle, const char *button_id,
                              const kavro_broker_name_value *fields, uint32_t field_count);

/**
 * Accepts (1) or rejects (0) the disclaimer; any other value returns
 * #KAVRO_BROKER_ERR_INVALID_PARAMETER.
 *
 * @param accept 1 or 0.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_send_accept_disclaimer(kavro_broker_handle handle,
                                                                         uint8_t accept);

/**
 * Replaces an expired password. New passwords that differ return
 * #KAVRO_BROKER_ERR_INVALID_PARAMETER, and nothing is sent.
 *
 * @param user_name the user's name.
 * @param domain the domain that the old password was sent with.
 * @param old_password the password that has expired.
 * @param new_password the password from now on.
 * @param new_password_again the new password as the user typed it again.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_send_new_password(
    kavro_broker_handle handle, const char *user_name, const char *domain, const char *old_password,
    const char *new_password, const char *new_password_again);

/**
 * SecurID log-in; #KAVRO_BROKER_ERR_NOT_IMPLEMENTED with brokers of type
 * #KAVRO_BROKER_TYPE_KAVRO.
 *
 * @param user_name the user's name.
 * @param passcode PIN and token code.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_send_securid_auth(kavro_broker_handle handle,
                                                                    const char *user_name,
                                                                    const char *passcode);

/**
 * SecurID next token; #KAVRO_BROKER_ERR_NOT_IMPLEMENTED with brokers of type
 * #KAVRO_BROKER_TYPE_KAVRO.
 *
 * @param token the next code that the token shows.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_send_securid_token(kavro_broker_handle handle,
                                                                     const char *token);

/**
 * SecurID new PIN; #KAVRO_BROKER_ERR_NOT_IMPLEMENTED with brokers of type
 * #KAVRO_BROKER_TYPE_KAVRO.
 *
 * @param token the code that the token shows.
 * @param new_pin the PIN from now on.
 * @param new_pin_again the new PIN as the user typed it again.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_send_securid_pinchange(kavro_broker_handle handle,
                                                                         const char *token,
                                                                         const char *new_pin,
                                                                         const char *new_pin_again);

/** SecurID wait; #KAVRO_BROKER_ERR_NOT_IMPLEMENTED with brokers of type
 * #KAVRO_BROKER_TYPE_KAVRO. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_send_securid_wait(kavro_broker_handle handle);

/**
 * Lists the user's desktops in ascending order of their ids. `*list` is freed with
 * kavro_broker_free_desktop_list().
 */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_request_desktop_list(kavro_broker_handle handle, kavro_broker_desktop_list *list);

/**
 * Allocates a desktop. A broker may send the client on to a provisioning server for it. That server
 * has 180 seconds of its own, then the request returns #KAVRO_BROKER_ERR_SESSION_PROVISION_TIMEOUT.
 *
 * @param desktop_id the desktop's id from the desktop list.
 * @param variables variables for the desktop's agent; may be null.
 * @param info receives the target, freed with kavro_broker_free_desktop_connection_info().
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_CONNECT_DESKTOP_PENDING when the desktop is still
 *         being prepared (ask again later); else the failure.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_connect_to_desktop(
    kavro_broker_handle handle, const char *desktop_id, kavro_broker_variable_list variables,
    kavro_broker_desktop_connection_info *info);

/**
 * Carries out a power operation.
 *
 * @param desktop_id the desktop's id from the desktop list.
 * @param operation a `KAVRO_BROKER_OPERATION_...` value; any other value is a programming error and
 * stops the process.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_perform_desktop_operation(
    kavro_broker_handle handle, const char *desktop_id, uint32_t operation);

/**
 * Checks its arguments (flag 0 or 1, both pointers not null) and does nothing.
 *
 * @param flag 0 or 1.
 * @param first not null.
 * @param second not null.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_send_certificate_confirmation(
    kavro_broker_handle handle, uint32_t flag, const void *first, const void *second);

/* ---------------------------------------------------------------------------------------------
 * Answers of the last requests
 * ------------------------------------------------------------------------------------------- */

/** The message of the last request when it failed, in the broker's words where it sent any; empty
 * after a request that went well. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_broker_error_message(kavro_broker_handle handle, char *buffer, size_t *length);

/** The broker's product and platform in its own words. Returns #KAVRO_BROKER_ERR_INVALID_STATE
 * until the broker at the handle's address has been greeted. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_broker_info(
    kavro_broker_handle handle, char *product_name, size_t *product_name_length,
    char *product_version, size_t *product_version_length, char *platform, size_t *platform_length);

/** The address that the last connection used, after any registration code was resolved. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_resolved_broker_address(kavro_broker_handle handle, char *buffer, size_t *length);

/** Number of variables that the broker sent with its greeting. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_num_hello_broker_variables(kavro_broker_handle handle, uint32_t *count);

/** One of those variables. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_hello_broker_variable(kavro_broker_handle handle, uint32_t index, char *name,
                                       size_t *name_length, char *value, size_t *value_length);

/** Number of domains to offer for a password. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_num_auth_domains(kavro_broker_handle handle,
                                                                       uint32_t *count);

/** One of those domains. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_auth_domain(kavro_broker_handle handle,
                                                                  uint32_t index, char *buffer,
                                                                  size_t *length);

/** Number of variables that came with the last authentication answer. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_num_auth_to_client_variables(kavro_broker_handle handle, uint32_t *count);

/** One of those variables. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_auth_to_client_variable(kavro_broker_handle handle, uint32_t index, char *name,
                                         size_t *name_length, char *value, size_t *value_length);

/** The current dialog's question to the user. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_auth_dialog_prompt_text(kavro_broker_handle handle, char *buffer, size_t *length);

/** The fault in the user's previous answer to the dialog; may be empty. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_auth_dialog_error_text(kavro_broker_handle handle, char *buffer, size_t *length);

/** The disclaimer to accept or reject. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_disclaimer_text(kavro_broker_handle handle,
                                                                      char *buffer, size_t *length);

/** Number of fields of the current dialog. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_auth_dialog_get_num_fields(kavro_broker_handle handle, uint32_t *count);

/**
 * One field of the current dialog.
 *
 * @param kind required; a `KAVRO_BROKER_DIALOG_FIELD_...` value.
 * @param name the name that an answer gives for the field. @param label the text to show beside it.
 * @param value the field's content at first.
 * @param hidden required; 1 when typed characters must not be shown.
 * @param loggable required; 0 when the value is a secret.
 * @param text_type a `KAVRO_BROKER_TEXT_TYPE_...` value; may be null.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_auth_dialog_field(
    kavro_broker_handle handle, uint32_t index, uint32_t *kind, char *name, size_t *name_length,
    char *label, size_t *label_length, char *value, size_t *value_length, uint8_t *hidden,
    uint8_t *loggable, uint32_t *text_type);

/** Number of buttons of the current dialog. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_get_auth_dialog_get_num_buttons(kavro_broker_handle handle, uint32_t *count);

/**
 * One button of the current dialog. `is_default` is required.
 *
 * @param is_default receives 1 for the button that the Enter key presses, else 0.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_auth_dialog_button(
    kavro_broker_handle handle, uint32_t index, char *id, size_t *id_length, char *label,
    size_t *label_length, uint8_t *is_default);

/** Number of certificates in the chain that the broker showed at the last connection. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_num_certificates(kavro_broker_handle handle,
                                                                       uint32_t *count);

/**
 * One certificate of that chain in DER form; index 0 is the broker's own. With a null buffer the
 * size is stored. Returns #KAVRO_BROKER_ERR_BUFFER_TOO_SMALL when the buffer is too small or the
 * broker did not show that certificate.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_broker_certificate(kavro_broker_handle handle,
                                                                         uint32_t index,
                                                                         uint8_t *buffer,
                                                                         size_t *length);

/**
 * The verdict on one certificate that was not accepted, a `KAVRO_BROKER_CERTIFICATE_...` value.
 *
 * @param verdict receives the verdict.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_certificate_error(kavro_broker_handle handle,
                                                                        uint32_t index,
                                                                        uint32_t *verdict);

/* ---------------------------------------------------------------------------------------------
 * Desktop list, desktop connection, variable lists
 * ------------------------------------------------------------------------------------------- */

/** Number of desktops in the list. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_num_desktops(kavro_broker_desktop_list list,
                                                                   uint32_t *count);

/** Name to show for a desktop. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop_name(kavro_broker_desktop_list list,
                                                                   uint32_t index, char *buffer,
                                                                   size_t *length);

/** Id of a desktop, for kavro_broker_connect_to_desktop(). */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop_id(kavro_broker_desktop_list list,
                                                                 uint32_t index, char *buffer,
                                                                 size_t *length);

/** Kind of a desktop in the broker's words. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop_type(kavro_broker_desktop_list list,
                                                                   uint32_t index, char *buffer,
                                                                   size_t *length);

/** State of a desktop in the broker's words. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop_state(kavro_broker_desktop_list list,
                                                                    uint32_t index, char *buffer,
                                                                    size_t *length);

/** Health of a desktop in the broker's words; may be empty. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop_health(kavro_broker_desktop_list list,
                                                                     uint32_t index, char *buffer,
                                                                     size_t *length);

/**
 * Whether a desktop offers a `KAVRO_BROKER_OPERATION_...`.
 *
 * @param operation the operation asked about.
 * @param allowed receives 1 or 0.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop_operation_allowed(
    kavro_broker_desktop_list list, uint32_t index, uint32_t operation, uint8_t *allowed);

/** Frees a desktop list. Null is ignored. */
KAVRO_BROKER_API void kavro_broker_free_desktop_list(kavro_broker_desktop_list list);

/**
 * One property of an allocated desktop, a `KAVRO_BROKER_CONNECTION_...` value. The
 * use-broker-address flag is one byte, written whatever `*length` says (a null buffer asks for the
 * length, 1). The gateway ticket and its times return #KAVRO_BROKER_ERR_NOT_AVAILABLE when the
 * broker sent none.
 *
 * @param property the property asked for.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop_connection_property(
    kavro_broker_desktop_connection_info info, uint32_t property, char *buffer, size_t *length);

/** Number of variables for the desktop's agent that came with the allocation. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_num_desktop_connection_agent_variables(
    kavro_broker_desktop_connection_info info, uint32_t *count);

/** One of those variables. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_desktop_connection_agent_variable(
    kavro_broker_desktop_connection_info info, uint32_t index, char *name, size_t *name_length,
    char *value, size_t *value_length);

/** Frees a desktop connection. Null is ignored. */
KAVRO_BROKER_API void
kavro_broker_free_desktop_connection_info(kavro_broker_desktop_connection_info info);

/**
 * Makes a list of `count` empty variables; a count of 0 returns
 * #KAVRO_BROKER_ERR_INVALID_PARAMETER. `*list` is freed with kavro_broker_free_variable_list(); it
 * is null (and the result #KAVRO_BROKER_OK) when memory is short.
 */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_create_variable_list(uint32_t count, kavro_broker_variable_list *list);

/**
 * Sets one variable of a list.
 *
 * @param name may be empty.
 * @param value may be empty.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_set_variable(kavro_broker_variable_list list,
                                                               uint32_t index, const char *name,
                                                               const char *value);

/** Reads one variable of a list. */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_variable(kavro_broker_variable_list list,
                                                               uint32_t index, char *name,
                                                               size_t *name_length, char *value,
                                                               size_t *value_length);

/** Frees a variable list. Null is ignored. */
KAVRO_BROKER_API void kavro_broker_free_variable_list(kavro_broker_variable_list list);

/* ---------------------------------------------------------------------------------------------
 * Type finder: what answers at an address?
 * ------------------------------------------------------------------------------------------- */

/** Makes a type finder, freed with kavro_broker_free_type_finder(). It is null (and the result
 * #KAVRO_BROKER_OK) when memory is short. */
KAVRO_BROKER_API kavro_broker_result
kavro_broker_create_type_finder(kavro_broker_type_finder *finder);

/**
 * As kavro_broker_find_type_extended(), without the address and the port that were found.
 *
 * @param address host, or registration code.
 * @param port decimal text; null or empty tries the usual ports.
 * @param type_code receives a `KAVRO_BROKER_TYPE_...` value.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_find_type(kavro_broker_type_finder finder,
                                                            const char *address, const char *port,
                                                            uint32_t *type_code);

/**
 * Finds out what answers at an address. The protocols are tried in turn, first with half a second
 * for each step of an attempt, then with three; an address where everything is silent takes about
 * 15 seconds.
 *
 * No certificate is verified on the way: the answer is a hint for kavro_broker_create(), never a
 * proof of identity. A peer that answers learns this computer's host name and the MAC address of
 * its network adapter. Nothing else about the user or the machine is sent, and no cookie.
 *
 * @param address host as in kavro_broker_set_broker_address(), or registration code. A registration
 * code is looked up in the cached table (see kavro_broker_set_cache_file_location()); when the
 * table has it, no connection is made.
 * @param port decimal text, for all protocols; null or empty tries the usual ports: 443 and 60443
 * for a broker, 4172 for a direct host.
 * @param type_code receives a `KAVRO_BROKER_TYPE_...` value.
 * @param address_buffer receives the address that a registration code stands for, empty for
 * everything else; may be null.
 * @param address_size size of that buffer; if the text does not fit, the buffer holds an empty
 * text.
 * @param port_buffer receives the port that answered; may be null.
 * @param port_size size of that buffer, as above.
 * @return #KAVRO_BROKER_OK; #KAVRO_BROKER_ERR_INVALID_PARAMETER for an address or a port that
 * cannot be one; #KAVRO_BROKER_ERR_CANCELLED; #KAVRO_BROKER_ERR_NO_BROKER_FOUND when nothing was
 * recognised; #KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE when this computer lacks memory or file
 * descriptors for the search. Only #KAVRO_BROKER_OK changes the outputs.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_find_type_extended(
    kavro_broker_type_finder finder, const char *address, const char *port, uint32_t *type_code,
    char *address_buffer, size_t address_size, char *port_buffer, size_t port_size);

/** Ends the search that another thread runs, which then returns #KAVRO_BROKER_ERR_CANCELLED.
 * Without a running search nothing happens, and the next search is not affected. */
KAVRO_BROKER_API void kavro_broker_cancel_find_type(kavro_broker_type_finder finder);

/**
 * Whether a search has run to its end: 1 after one, 0 before, during, and after a cancelled one.
 * The type itself is the find's output.
 *
 * @param finished receives 1 or 0.
 */
KAVRO_BROKER_API kavro_broker_result kavro_broker_get_type(kavro_broker_type_finder finder,
                                                           uint32_t *finished);

/** Frees a type finder. Null is ignored. */
KAVRO_BROKER_API void kavro_broker_free_type_finder(kavro_broker_type_finder finder);

#ifdef __cplusplus
}
#endif

#endif /* KAVRO_BROKER_H */
