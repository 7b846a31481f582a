// Written by tools/bindings/generate.py; not to be edited.

/// A number of the library's, which may be one that was not known yet when this was written.
macro_rules! constants {
    ($(#[$about:meta])* $name:ident { $($(#[$doc:meta])* $constant:ident = $value:literal,)* }) => {
        $(#[$about])*
        #[derive(Clone, Copy, PartialEq, Eq, Hash)]
        pub struct $name(
            /// As it is in C.
            pub u32
        );

        impl $name {
            $($(#[$doc])* pub const $constant: Self = Self($value);)*
            /// All that have a name.
            pub const ALL: &'static [Self] = &[$(Self::$constant),*];
        }

        impl std::fmt::Debug for $name {
            fn fmt(&self, to: &mut std::fmt::Formatter<'_>) -> std::fmt::Result {
                match *self {
                    $(Self::$constant => to.write_str(stringify!($constant)),)*
                    Self(other) => write!(to, "{other}"),
                }
            }
        }
    };
}

constants! {
    /// The result codes.
    Code {
        /// success
        OK = 0x0,
        /// an argument is null, out of range or unusable
        INVALID_PARAMETER = 0x2,
        /// the needed size was stored, nothing copied
        BUFFER_TOO_SMALL = 0x3,
        /// the deadline passed
        TIMEOUT = 0x4,
        /// kavro_broker_cancel() ended the request
        CANCELLED = 0x5,
        /// the broker wants a log-in first
        NOT_AUTHENTICATED = 0x6,
        /// not possible now, e.g. no address or no session
        INVALID_STATE = 0x7,
        /// the broker did not send this value
        NOT_AVAILABLE = 0x8,
        /// the type finder recognised no broker
        NO_BROKER_FOUND = 0x9,
        /// this kind of broker does not offer the operation
        NOT_IMPLEMENTED = 0xa,
        /// unknown broker type, or its client is missing
        CREATE_FAILED = 0x64,
        /// set a log function before creating a handle
        NO_LOG_FUNCTION = 0x65,
        /// the host name has no address
        CONNECT_RESOLVE_FAILED = 0xc8,
        /// TCP connection failed
        CONNECT_FAILED = 0xc9,
        /// no server listens on that port
        CONNECT_REFUSED = 0xca,
        /// TLS could not be agreed on
        TLS_HANDSHAKE_FAILED = 0xcb,
        /// TLS broke after the handshake
        TLS_PROTOCOL_ERROR = 0xcc,
        /// connection lost, or a system call failed
        SOCKET_OR_SYS_FAILURE = 0xcd,
        /// the answer cannot be understood
        MANGLED_RESPONSE = 0xce,
        /// an HTTP status other than 200
        HTTP_NOT_OK = 0xcf,
        /// not found, not reached, refuses the broker
        PROXY_FAILED = 0xd0,
        /// the proxy wants a log-in, or another one
        PROXY_AUTH_REQUIRED = 0xd1,
        /// the certificate is rejected
        CERTIFICATE_FAILED = 0x12c,
        /// unknown issuer, else sound
        CERTIFICATE_FAILED_BUT_WARNABLE = 0x12d,
        /// the protocol version is not understood
        UNSUPPORTED_VERSION = 0x190,
        /// the request does not fit the conversation
        UNSUPPORTED_REQUEST = 0x191,
        /// the broker reports a system failure
        BROKER_SYS_FAILED = 0x193,
        /// the broker could not make its answer
        BROKER_RESP_FAILED = 0x194,
        /// the desktop's agent failed
        AGENT_FAILED = 0x195,
        /// the gateway failed
        GATEWAY_FAILED = 0x196,
        /// the connection manager failed
        CM_FAILED = 0x197,
        /// another protocol error, see its message
        PROTOCOL_GENERIC = 0x198,
        /// the account is blocked
        AUTH_BLOCKED = 0x1f4,
        /// unknown user or wrong password
        AUTH_UNKNOWN_USERNAME_PASSWORD = 0x1f5,
        /// the user is entitled to nothing
        AUTH_USER_HAS_NO_RESOURCE = 0x1f6,
        /// access denied
        AUTH_ACCESS_DENIED = 0x1f7,
        /// the disclaimer was rejected
        AUTH_DISCLAIMER_REJECTED = 0x1f8,
        /// the new password is too weak
        AUTH_WEAK_PASSWORD = 0x1f9,
        /// too many attempts
        AUTH_MAX_RETRIES_EXCEEDED = 0x1fa,
        /// no offered method is supported
        AUTH_NOT_SUPPORTED = 0x1fb,
        /// the domain controller failed
        AUTH_DOMAIN_CONTROLLER_ERROR = 0x1fc,
        /// the OAuth code is invalid
        AUTH_OAUTH_CODE_INVALID = 0x1fd,
        /// the OAuth token is invalid
        AUTH_OAUTH_TOKEN_INVALID = 0x1fe,
        /// the OAuth token's scope is wrong
        AUTH_OAUTH_TOKEN_SCOPE = 0x1ff,
        /// the user's certificate is refused
        AUTH_CERTIFICATE_REJECTED = 0x200,
        /// a dialog entry is invalid
        AUTH_DIALOG_INVALID_USER_ENTRY = 0x201,
        /// a field or button id is unknown
        AUTH_INVALID_FIELD_BUTTON_ID = 0x202,
        /// the user is entitled to no desktop
        VM_LIST_NO_ENTITLEMENT = 0x258,
        /// no licence is free
        CONNECT_DESKTOP_NO_LICENSE = 0x2bc,
        /// launch failed
        CONNECT_DESKTOP_FAILED = 0x2bd,
        /// try again later
        CONNECT_DESKTOP_PENDING = 0x2bf,
        /// provisioning too slow
        SESSION_PROVISION_TIMEOUT = 0x2c4,
        /// provisioning failed
        SESSION_PROVISION_SERVER_CONNECT_FAILED = 0x2c5,
        /// reserved
        CONNECT_DESKTOP_710 = 0x2c6,
        /// not for this desktop
        DESKTOP_OPERATION_NOT_SUPPORTED = 0x2c7,
        /// it did not work
        DESKTOP_OPERATION_FAILED = 0x2c8,
    }
}

constants! {
    /// Broker types for kavro_broker_create(), and the type finder's answers. A type code is four ASCII characters read as a big-endian number.
    BrokerType {
        /// "KAVR", the broker protocol of this library
        KAVRO = 0x4b415652,
        /// "VIEW", served by a plug-in library
        VIEW = 0x56494557,
        /// "AWSK", type finder only
        AWS = 0x4157534b,
        /// "HARD", type finder only
        DIRECT_HOST = 0x48415244,
    }
}

constants! {
    /// Connection variants for kavro_broker_set_broker_variant().
    BrokerVariant {
        /// the broker address is a host
        ADDRESS = 0x0,
        /// the broker address is a registration code
        REGISTRATION_CODE = 0x1,
    }
}

constants! {
    /// The broker's next demand, as kavro_broker_get_auth_method() tells it.
    AuthMethod {
        /// nothing: the user is logged in
        NONE = 0x0,
        /// user name, domain, password
        PASSWORD = 0x1,
        /// kavro_broker_send_new_password()
        PASSWORD_EXPIRED = 0x2,
        /// kavro_broker_send_accept_disclaimer()
        DISCLAIMER = 0x3,
        /// not used
        RESERVED_4 = 0x4,
        /// an OAuth code
        OAUTH = 0x5,
        /// kavro_broker_send_auth_dialog()
        DIALOG = 0x6,
        /// kavro_broker_send_securid_auth()
        SECURID = 0x7,
        /// kavro_broker_send_securid_token()
        SECURID_NEXT_TOKEN = 0x8,
        /// kavro_broker_send_securid_pinchange()
        SECURID_NEW_PIN = 0x9,
        /// kavro_broker_send_securid_wait()
        SECURID_WAIT = 0xa,
        /// not used
        RESERVED_11 = 0xb,
        /// 0xFFFFFFFF: the request failed
        UNKNOWN = 0xffffffff,
    }
}

constants! {
    /// Kinds of a dialog field.
    DialogFieldKind {
        /// the user may change its value
        EDITABLE = 0x0,
        /// to be shown only
        READ_ONLY = 0x1,
    }
}

constants! {
    /// The content of a dialog field; a hint for the keyboard to show.
    TextType {
        /// KAVRO_BROKER_TEXT_TYPE_TEXT in C
        TEXT = 0x0,
        /// KAVRO_BROKER_TEXT_TYPE_NUMBER in C
        NUMBER = 0x1,
        /// KAVRO_BROKER_TEXT_TYPE_EMAIL in C
        EMAIL = 0x2,
        /// KAVRO_BROKER_TEXT_TYPE_URL in C
        URL = 0x3,
        /// KAVRO_BROKER_TEXT_TYPE_TEL in C
        TEL = 0x4,
    }
}

constants! {
    /// Power operations on a desktop.
    Operation {
        /// KAVRO_BROKER_OPERATION_OS_RESTART in C
        OS_RESTART = 0x0,
        /// KAVRO_BROKER_OPERATION_POWER_DOWN in C
        POWER_DOWN = 0x1,
        /// KAVRO_BROKER_OPERATION_POWER_UP in C
        POWER_UP = 0x2,
        /// KAVRO_BROKER_OPERATION_SLEEP in C
        SLEEP = 0x3,
        /// KAVRO_BROKER_OPERATION_RESUME in C
        RESUME = 0x4,
    }
}

constants! {
    /// Properties of an allocated desktop connection.
    ConnectionProperty {
        /// IP address, or a host name
        TARGET_ADDRESS = 0x0,
        /// the target's name
        HOST_NAME = 0x1,
        /// TLS server name indication, or ""
        SERVER_NAME = 0x2,
        /// decimal text
        PORT = 0x3,
        /// session identifier
        SESSION_ID = 0x4,
        /// opaque token; a secret
        CONNECT_TAG = 0x5,
        /// one byte, 0 or 1, not a text
        USE_BROKER_ADDRESS = 0x6,
        /// a secret
        GATEWAY_TICKET = 0x7,
        /// time as the broker wrote it
        GATEWAY_TICKET_CREATION = 0x8,
        /// time as the broker wrote it
        GATEWAY_TICKET_EXPIRY = 0x9,
    }
}

constants! {
    /// Verdicts on one certificate of the broker's chain, from kavro_broker_get_certificate_error().
    CertificateVerdict {
        /// KAVRO_BROKER_CERTIFICATE_OK in C
        OK = 0x0,
        /// KAVRO_BROKER_CERTIFICATE_UNABLE_TO_GET_ISSUER in C
        UNABLE_TO_GET_ISSUER = 0x1,
        /// KAVRO_BROKER_CERTIFICATE_UNABLE_TO_GET_CRL in C
        UNABLE_TO_GET_CRL = 0x2,
        /// KAVRO_BROKER_CERTIFICATE_UNABLE_TO_DECRYPT_SIGNATURE in C
        UNABLE_TO_DECRYPT_SIGNATURE = 0x3,
        /// KAVRO_BROKER_CERTIFICATE_UNABLE_TO_DECRYPT_CRL_SIGNATURE in C
        UNABLE_TO_DECRYPT_CRL_SIGNATURE = 0x4,
        /// KAVRO_BROKER_CERTIFICATE_UNABLE_TO_DECODE_ISSUER_KEY in C
        UNABLE_TO_DECODE_ISSUER_KEY = 0x5,
        /// KAVRO_BROKER_CERTIFICATE_SIGNATURE_FAILURE in C
        SIGNATURE_FAILURE = 0x6,
        /// KAVRO_BROKER_CERTIFICATE_CRL_SIGNATURE_FAILURE in C
        CRL_SIGNATURE_FAILURE = 0x7,
        /// KAVRO_BROKER_CERTIFICATE_NOT_YET_VALID in C
        NOT_YET_VALID = 0x8,
        /// KAVRO_BROKER_CERTIFICATE_EXPIRED in C
        EXPIRED = 0x9,
        /// KAVRO_BROKER_CERTIFICATE_CRL_NOT_YET_VALID in C
        CRL_NOT_YET_VALID = 0xa,
        /// KAVRO_BROKER_CERTIFICATE_CRL_EXPIRED in C
        CRL_EXPIRED = 0xb,
        /// KAVRO_BROKER_CERTIFICATE_SELF_SIGNED in C
        SELF_SIGNED = 0xc,
        /// KAVRO_BROKER_CERTIFICATE_SELF_SIGNED_IN_CHAIN in C
        SELF_SIGNED_IN_CHAIN = 0xd,
        /// KAVRO_BROKER_CERTIFICATE_UNABLE_TO_VERIFY_LEAF in C
        UNABLE_TO_VERIFY_LEAF = 0xe,
        /// KAVRO_BROKER_CERTIFICATE_REVOKED in C
        REVOKED = 0xf,
        /// KAVRO_BROKER_CERTIFICATE_INVALID_CA in C
        INVALID_CA = 0x10,
        /// KAVRO_BROKER_CERTIFICATE_INVALID_PURPOSE in C
        INVALID_PURPOSE = 0x11,
        /// KAVRO_BROKER_CERTIFICATE_UNTRUSTED in C
        UNTRUSTED = 0x12,
        /// KAVRO_BROKER_CERTIFICATE_REJECTED in C
        REJECTED = 0x13,
        /// KAVRO_BROKER_CERTIFICATE_RESERVED_20 in C
        RESERVED_20 = 0x14,
        /// KAVRO_BROKER_CERTIFICATE_ISSUER_MISMATCH in C
        ISSUER_MISMATCH = 0x15,
        /// KAVRO_BROKER_CERTIFICATE_KEY_USAGE_NO_CERT_SIGN in C
        KEY_USAGE_NO_CERT_SIGN = 0x16,
        /// KAVRO_BROKER_CERTIFICATE_UNABLE_TO_GET_CRL_ISSUER in C
        UNABLE_TO_GET_CRL_ISSUER = 0x17,
        /// KAVRO_BROKER_CERTIFICATE_RESERVED_24 in C
        RESERVED_24 = 0x18,
        /// KAVRO_BROKER_CERTIFICATE_KEY_USAGE_NO_CRL_SIGN in C
        KEY_USAGE_NO_CRL_SIGN = 0x19,
        /// KAVRO_BROKER_CERTIFICATE_RESERVED_26 in C
        RESERVED_26 = 0x1a,
        /// KAVRO_BROKER_CERTIFICATE_KEY_TOO_SHORT in C
        KEY_TOO_SHORT = 0x1b,
        /// KAVRO_BROKER_CERTIFICATE_HOST_NAME_MISMATCH in C
        HOST_NAME_MISMATCH = 0x1c,
        /// e.g. the issuer is not known here
        OTHER = 0x1d,
        /// see kavro_broker_add_key_pin()
        PIN_MISMATCH = 0x1e,
        /// its issuer says so (RFC 6066 section 8)
        REVOKED_BY_STAPLE = 0x1f,
        /// see kavro_broker_require_stapled_status()
        NO_STAPLE = 0x20,
    }
}

constants! {
    /// Categories of a log message.
    LogCategory {
        /// KAVRO_BROKER_LOG_CATEGORY_GENERAL in C
        GENERAL = 0x0,
        /// finding the broker
        DISCOVERY = 0x1,
    }
}

constants! {
    /// Severities of a log message.
    LogSeverity {
        /// unconditional
        BANNER = 0x0,
        /// KAVRO_BROKER_LOG_ERROR in C
        ERROR = 0x1,
        /// also the masked XML of every message
        INFO = 0x2,
        /// KAVRO_BROKER_LOG_DEBUG in C
        DEBUG = 0x3,
        /// KAVRO_BROKER_LOG_VERBOSE in C
        VERBOSE = 0x4,
    }
}

constants! {
    /// What a time limit bounds.
    TimeLimit {
        /// look-up, all addresses and TLS, together; 30 s at first
        CONNECT = 0x0,
        /// the answer to a hello, a list, a power operation or a good-bye; 30 s at first
        REQUEST = 0x1,
        /// the answer to a log-in, a new password included; 40 s at first
        AUTHENTICATION = 0x2,
        /// all that is said to a provisioning server; 180 s at first
        PROVISIONING = 0x3,
    }
}
