"""Functions and constants of the C interface. Written by tools/bindings/generate.py; not to be edited."""

from ctypes import (CFUNCTYPE, POINTER, Structure, c_bool, c_char_p, c_int, c_int32, c_size_t, c_uint8,
                    c_uint16, c_uint32, c_void_p)
from enum import IntEnum

VERSION = "1.1.0"


class Result(IntEnum):
    OK = 0
    ERR_INVALID_PARAMETER = 2
    ERR_BUFFER_TOO_SMALL = 3
    ERR_TIMEOUT = 4
    ERR_CANCELLED = 5
    ERR_NOT_AUTHENTICATED = 6
    ERR_INVALID_STATE = 7
    ERR_NOT_AVAILABLE = 8
    ERR_NO_BROKER_FOUND = 9
    ERR_NOT_IMPLEMENTED = 10
    ERR_CREATE_FAILED = 100
    ERR_NO_LOG_FUNCTION = 101
    ERR_CONNECT_RESOLVE_FAILED = 200
    ERR_CONNECT_FAILED = 201
    ERR_CONNECT_REFUSED = 202
    ERR_TLS_HANDSHAKE_FAILED = 203
    ERR_TLS_PROTOCOL_ERROR = 204
    ERR_SOCKET_OR_SYS_FAILURE = 205
    ERR_MANGLED_RESPONSE = 206
    ERR_HTTP_NOT_OK = 207
    ERR_PROXY_FAILED = 208
    ERR_PROXY_AUTH_REQUIRED = 209
    ERR_CERTIFICATE_FAILED = 300
    ERR_CERTIFICATE_FAILED_BUT_WARNABLE = 301
    ERR_UNSUPPORTED_VERSION = 400
    ERR_UNSUPPORTED_REQUEST = 401
    ERR_BROKER_SYS_FAILED = 403
    ERR_BROKER_RESP_FAILED = 404
    ERR_AGENT_FAILED = 405
    ERR_GATEWAY_FAILED = 406
    ERR_CM_FAILED = 407
    ERR_PROTOCOL_GENERIC = 408
    ERR_AUTH_BLOCKED = 500
    ERR_AUTH_UNKNOWN_USERNAME_PASSWORD = 501
    ERR_AUTH_USER_HAS_NO_RESOURCE = 502
    ERR_AUTH_ACCESS_DENIED = 503
    ERR_AUTH_DISCLAIMER_REJECTED = 504
    ERR_AUTH_WEAK_PASSWORD = 505
    ERR_AUTH_MAX_RETRIES_EXCEEDED = 506
    ERR_AUTH_NOT_SUPPORTED = 507
    ERR_AUTH_DOMAIN_CONTROLLER_ERROR = 508
    ERR_AUTH_OAUTH_CODE_INVALID = 509
    ERR_AUTH_OAUTH_TOKEN_INVALID = 510
    ERR_AUTH_OAUTH_TOKEN_SCOPE = 511
    ERR_AUTH_CERTIFICATE_REJECTED = 512
    ERR_AUTH_DIALOG_INVALID_USER_ENTRY = 513
    ERR_AUTH_INVALID_FIELD_BUTTON_ID = 514
    ERR_VM_LIST_NO_ENTITLEMENT = 600
    ERR_CONNECT_DESKTOP_NO_LICENSE = 700
    ERR_CONNECT_DESKTOP_FAILED = 701
    ERR_CONNECT_DESKTOP_PENDING = 703
    ERR_SESSION_PROVISION_TIMEOUT = 708
    ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED = 709
    ERR_CONNECT_DESKTOP_710 = 710
    ERR_DESKTOP_OPERATION_NOT_SUPPORTED = 711
    ERR_DESKTOP_OPERATION_FAILED = 712


class BrokerType(IntEnum):
    KAVRO = 1262573138
    VIEW = 1447642455
    AWS = 1096241995
    DIRECT_HOST = 1212240452


class BrokerVariant(IntEnum):
    ADDRESS = 0
    REGISTRATION_CODE = 1


class AuthMethod(IntEnum):
    NONE = 0
    PASSWORD = 1
    PASSWORD_EXPIRED = 2
    DISCLAIMER = 3
    RESERVED_4 = 4
    OAUTH = 5
    DIALOG = 6
    SECURID = 7
    SECURID_NEXT_TOKEN = 8
    SECURID_NEW_PIN = 9
    SECURID_WAIT = 10
    RESERVED_11 = 11
    UNKNOWN = -1


class DialogFieldKind(IntEnum):
    EDITABLE = 0
    READ_ONLY = 1


class TextType(IntEnum):
    TEXT = 0
    NUMBER = 1
    EMAIL = 2
    URL = 3
    TEL = 4


class Operation(IntEnum):
    OS_RESTART = 0
    POWER_DOWN = 1
    POWER_UP = 2
    SLEEP = 3
    RESUME = 4


class ConnectionProperty(IntEnum):
    TARGET_ADDRESS = 0
    HOST_NAME = 1
    SERVER_NAME = 2
    PORT = 3
    SESSION_ID = 4
    CONNECT_TAG = 5
    USE_BROKER_ADDRESS = 6
    GATEWAY_TICKET = 7
    GATEWAY_TICKET_CREATION = 8
    GATEWAY_TICKET_EXPIRY = 9


class CertificateVerdict(IntEnum):
    OK = 0
    UNABLE_TO_GET_ISSUER = 1
    UNABLE_TO_GET_CRL = 2
    UNABLE_TO_DECRYPT_SIGNATURE = 3
    UNABLE_TO_DECRYPT_CRL_SIGNATURE = 4
    UNABLE_TO_DECODE_ISSUER_KEY = 5
    SIGNATURE_FAILURE = 6
    CRL_SIGNATURE_FAILURE = 7
    NOT_YET_VALID = 8
    EXPIRED = 9
    CRL_NOT_YET_VALID = 10
    CRL_EXPIRED = 11
    SELF_SIGNED = 12
    SELF_SIGNED_IN_CHAIN = 13
    UNABLE_TO_VERIFY_LEAF = 14
    REVOKED = 15
    INVALID_CA = 16
    INVALID_PURPOSE = 17
    UNTRUSTED = 18
    REJECTED = 19
    RESERVED_20 = 20
    ISSUER_MISMATCH = 21
    KEY_USAGE_NO_CERT_SIGN = 22
    UNABLE_TO_GET_CRL_ISSUER = 23
    RESERVED_24 = 24
    KEY_USAGE_NO_CRL_SIGN = 25
    RESERVED_26 = 26
    KEY_TOO_SHORT = 27
    HOST_NAME_MISMATCH = 28
    OTHER = 29
    PIN_MISMATCH = 30
    REVOKED_BY_STAPLE = 31
    NO_STAPLE = 32


class LogCategory(IntEnum):
    GENERAL = 0
    DISCOVERY = 1


class LogSeverity(IntEnum):
    BANNER = 0
    ERROR = 1
    INFO = 2
    DEBUG = 3
    VERBOSE = 4


class TimeLimit(IntEnum):
    CONNECT = 0
    REQUEST = 1
    AUTHENTICATION = 2
    PROVISIONING = 3


class kavro_broker_name_value(Structure):
    _fields_ = [("name", c_char_p), ("value", c_char_p)]


class kavro_broker_text(Structure):
    _fields_ = [("data", c_char_p), ("size", c_size_t)]


class kavro_broker_desktop(Structure):
    _fields_ = [("name", kavro_broker_text), ("id", kavro_broker_text), ("type", kavro_broker_text), ("state", kavro_broker_text), ("health", kavro_broker_text), ("operations", c_uint32)]


class kavro_broker_desktop_connection(Structure):
    _fields_ = [("address", kavro_broker_text), ("host_name", kavro_broker_text), ("server_name", kavro_broker_text), ("port", kavro_broker_text), ("session_id", kavro_broker_text), ("connect_tag", kavro_broker_text), ("use_broker_address", c_uint32), ("gateway_ticket", kavro_broker_text), ("gateway_ticket_created", kavro_broker_text), ("gateway_ticket_expires", kavro_broker_text)]

kavro_broker_log_function = CFUNCTYPE(None, c_int32, c_int32, c_int32, c_char_p, c_void_p)
kavro_broker_session_log_id_function = CFUNCTYPE(None, c_char_p)
kavro_broker_sign_function = CFUNCTYPE(c_int, c_void_p, POINTER(c_uint8), c_size_t, POINTER(c_uint8), POINTER(c_size_t))
kavro_broker_sign_scheme_function = CFUNCTYPE(c_int, c_void_p, c_uint16, POINTER(c_uint8), c_size_t, POINTER(c_uint8), POINTER(c_size_t))
kavro_broker_message_function = CFUNCTYPE(None, c_void_p, c_int32, c_int32, c_int32, c_char_p)

# Result and parameters by name.
FUNCTIONS = {
    "kavro_broker_add_key_pin": (c_uint32, [c_void_p, c_char_p, c_size_t]),
    "kavro_broker_add_trust_anchor": (c_uint32, [c_void_p, c_char_p, c_size_t]),
    "kavro_broker_cancel": (None, [c_void_p]),
    "kavro_broker_cancel_find_type": (None, [c_void_p]),
    "kavro_broker_clear_key_pins": (c_uint32, [c_void_p]),
    "kavro_broker_clear_session": (c_uint32, [c_void_p]),
    "kavro_broker_connect_to_desktop": (c_uint32, [c_void_p, c_char_p, c_void_p, POINTER(c_void_p)]),
    "kavro_broker_create": (c_uint32, [c_uint32, POINTER(c_void_p)]),
    "kavro_broker_create_type_finder": (c_uint32, [POINTER(c_void_p)]),
    "kavro_broker_create_variable_list": (c_uint32, [c_uint32, POINTER(c_void_p)]),
    "kavro_broker_enable_ipv6": (None, [c_void_p, c_bool]),
    "kavro_broker_enable_oauth": (c_uint32, [c_void_p, c_bool]),
    "kavro_broker_escape_text": (c_uint32, [c_char_p, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_fail_if_unverified": (c_uint32, [c_void_p, c_bool]),
    "kavro_broker_find_type": (c_uint32, [c_void_p, c_char_p, c_char_p, POINTER(c_uint32)]),
    "kavro_broker_find_type_extended": (c_uint32, [c_void_p, c_char_p, c_char_p, POINTER(c_uint32), c_char_p, c_size_t, c_char_p, c_size_t]),
    "kavro_broker_free": (None, [c_void_p]),
    "kavro_broker_free_desktop_connection_info": (None, [c_void_p]),
    "kavro_broker_free_desktop_list": (None, [c_void_p]),
    "kavro_broker_free_type_finder": (None, [c_void_p]),
    "kavro_broker_free_variable_list": (None, [c_void_p]),
    "kavro_broker_get_auth_dialog_button": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t), POINTER(c_uint8)]),
    "kavro_broker_get_auth_dialog_error_text": (c_uint32, [c_void_p, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_auth_dialog_field": (c_uint32, [c_void_p, c_uint32, POINTER(c_uint32), c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t), POINTER(c_uint8), POINTER(c_uint8), POINTER(c_uint32)]),
    "kavro_broker_get_auth_dialog_get_num_buttons": (c_uint32, [c_void_p, POINTER(c_uint32)]),
    "kavro_broker_get_auth_dialog_get_num_fields": (c_uint32, [c_void_p, POINTER(c_uint32)]),
    "kavro_broker_get_auth_dialog_prompt_text": (c_uint32, [c_void_p, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_auth_domain": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_auth_method": (c_uint32, [c_void_p, POINTER(c_uint32)]),
    "kavro_broker_get_auth_to_client_variable": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_broker_certificate": (c_uint32, [c_void_p, c_uint32, POINTER(c_uint8), POINTER(c_size_t)]),
    "kavro_broker_get_broker_error_message": (c_uint32, [c_void_p, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_broker_info": (c_uint32, [c_void_p, c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_certificate_error": (c_uint32, [c_void_p, c_uint32, POINTER(c_uint32)]),
    "kavro_broker_get_certificate_error_text": (c_uint32, [c_void_p, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_desktop": (c_uint32, [c_void_p, c_uint32, POINTER(kavro_broker_desktop), c_size_t]),
    "kavro_broker_get_desktop_connection": (c_uint32, [c_void_p, POINTER(kavro_broker_desktop_connection), c_size_t]),
    "kavro_broker_get_desktop_connection_agent_variable": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_desktop_connection_alternate_target": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_desktop_connection_property": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_desktop_health": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_desktop_id": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_desktop_name": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_desktop_operation_allowed": (c_uint32, [c_void_p, c_uint32, c_uint32, POINTER(c_uint8)]),
    "kavro_broker_get_desktop_state": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_desktop_type": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_disclaimer_text": (c_uint32, [c_void_p, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_hello_broker_variable": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_num_auth_domains": (c_uint32, [c_void_p, POINTER(c_uint32)]),
    "kavro_broker_get_num_auth_to_client_variables": (c_uint32, [c_void_p, POINTER(c_uint32)]),
    "kavro_broker_get_num_certificates": (c_uint32, [c_void_p, POINTER(c_uint32)]),
    "kavro_broker_get_num_desktop_connection_agent_variables": (c_uint32, [c_void_p, POINTER(c_uint32)]),
    "kavro_broker_get_num_desktop_connection_alternate_targets": (c_uint32, [c_void_p, POINTER(c_uint32)]),
    "kavro_broker_get_num_desktops": (c_uint32, [c_void_p, POINTER(c_uint32)]),
    "kavro_broker_get_num_hello_broker_variables": (c_uint32, [c_void_p, POINTER(c_uint32)]),
    "kavro_broker_get_request_report": (c_uint32, [c_void_p, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_resolved_broker_address": (c_uint32, [c_void_p, c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_type": (c_uint32, [c_void_p, POINTER(c_uint32)]),
    "kavro_broker_get_variable": (c_uint32, [c_void_p, c_uint32, c_char_p, POINTER(c_size_t), c_char_p, POINTER(c_size_t)]),
    "kavro_broker_get_version": (c_char_p, []),
    "kavro_broker_keep_connection": (c_uint32, [c_void_p, c_uint32]),
    "kavro_broker_perform_desktop_operation": (c_uint32, [c_void_p, c_char_p, c_uint32]),
    "kavro_broker_request_desktop_list": (c_uint32, [c_void_p, POINTER(c_void_p)]),
    "kavro_broker_require_stapled_status": (c_uint32, [c_void_p, c_bool]),
    "kavro_broker_result_name": (c_char_p, [c_uint32]),
    "kavro_broker_result_text": (c_char_p, [c_uint32]),
    "kavro_broker_send_accept_disclaimer": (c_uint32, [c_void_p, c_uint8]),
    "kavro_broker_send_auth_dialog": (c_uint32, [c_void_p, c_char_p, POINTER(kavro_broker_name_value), c_uint32]),
    "kavro_broker_send_certificate_confirmation": (c_uint32, [c_void_p, c_uint32, c_void_p, c_void_p]),
    "kavro_broker_send_new_password": (c_uint32, [c_void_p, c_char_p, c_char_p, c_char_p, c_char_p, c_char_p]),
    "kavro_broker_send_oauth_code": (c_uint32, [c_void_p, c_char_p]),
    "kavro_broker_send_password": (c_uint32, [c_void_p, c_char_p, c_char_p, c_char_p]),
    "kavro_broker_send_securid_auth": (c_uint32, [c_void_p, c_char_p, c_char_p]),
    "kavro_broker_send_securid_pinchange": (c_uint32, [c_void_p, c_char_p, c_char_p, c_char_p]),
    "kavro_broker_send_securid_token": (c_uint32, [c_void_p, c_char_p]),
    "kavro_broker_send_securid_wait": (c_uint32, [c_void_p]),
    "kavro_broker_set_broker_address": (c_uint32, [c_void_p, c_char_p, c_char_p]),
    "kavro_broker_set_broker_variant": (c_uint32, [c_void_p, c_uint32]),
    "kavro_broker_set_cache_file_location": (None, [c_char_p]),
    "kavro_broker_set_client_certificate": (c_uint32, [c_void_p, c_char_p, c_size_t, kavro_broker_sign_function, c_void_p]),
    "kavro_broker_set_client_info": (c_uint32, [c_void_p, c_char_p, c_char_p, c_char_p]),
    "kavro_broker_set_connect_to_desktop_timeout": (c_uint32, [c_void_p, c_uint16]),
    "kavro_broker_set_hello_client_variables": (c_uint32, [c_void_p, c_void_p]),
    "kavro_broker_set_locale": (c_uint32, [c_void_p, c_char_p]),
    "kavro_broker_set_log_function": (None, [kavro_broker_log_function]),
    "kavro_broker_set_log_level": (None, [c_int32]),
    "kavro_broker_set_message_function": (c_uint32, [c_void_p, kavro_broker_message_function, c_void_p]),
    "kavro_broker_set_proxy": (c_uint32, [c_void_p, c_char_p, c_char_p, c_char_p]),
    "kavro_broker_set_session_log_id_function": (None, [kavro_broker_session_log_id_function]),
    "kavro_broker_set_time_limit": (c_uint32, [c_void_p, c_uint32, c_uint32]),
    "kavro_broker_set_timezone": (c_uint32, [c_void_p, c_char_p]),
    "kavro_broker_set_variable": (c_uint32, [c_void_p, c_uint32, c_char_p, c_char_p]),
    "kavro_broker_use_platform_verifier": (c_uint32, [c_void_p, c_bool]),
    "kavro_broker_use_signing_certificate": (c_uint32, [c_void_p, c_char_p, c_size_t, kavro_broker_sign_function, c_void_p]),
    "kavro_broker_use_signing_key": (c_uint32, [c_void_p, c_char_p, c_size_t, kavro_broker_sign_scheme_function, c_void_p]),
}
