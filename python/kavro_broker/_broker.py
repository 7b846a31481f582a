"""One conversation with a broker, and the search for what answers at an address."""

from ctypes import byref, c_uint32, c_void_p, create_string_buffer, memmove, string_at
from typing import NamedTuple

from ._exports import (AuthMethod, BrokerType, Operation, Result, kavro_broker_message_function,
                       kavro_broker_name_value, kavro_broker_sign_function,
                       kavro_broker_sign_scheme_function)
from ._library import (Error, Owned, check, encode, library, make, read_each, read_text, read_texts,
                       read_value)
from ._process import LogMessage
from ._records import (BrokerInfo, Dialog, VariableList, read_certificate, read_connection, read_desktops,
                       read_dialog_button, read_dialog_field, read_variables)


def put_signature(made, signature, length):
    """Whether it was made, and there is room for it."""
    if made is None or len(made) > length:
        return None
    memmove(signature, made, len(made))
    return len(made)


def digest_signer(sign):
    def deliver(_, digest, digest_length, signature, length):
        made = put_signature(sign(string_at(digest, digest_length)), signature, length[0])
        length[0] = made or 0
        return made is not None

    return kavro_broker_sign_function(deliver)


def scheme_signer(sign):
    def deliver(_, scheme, digest, digest_length, signature, length):
        room, length[0] = length[0], 0  # what is raised ends as the result 0, and no signature
        length[0] = put_signature(sign(scheme, string_at(digest, digest_length)), signature, room) or 0
        return 0

    return kavro_broker_sign_scheme_function(deliver)


class Broker(Owned):
    """One conversation with a broker. Requests block without holding up other threads of Python;
    cancel() may be called meanwhile on any thread."""

    def __init__(self, type_code=BrokerType.KAVRO):
        super().__init__(make(library.kavro_broker_create, type_code), library.kavro_broker_free)
        self._callbacks = []  # until the end: which one the library still holds is its own affair

    # Settings

    def set_broker_address(self, address, port=""):
        check(library.kavro_broker_set_broker_address(self.handle, encode(address), encode(port)))

    def set_broker_variant(self, variant):
        check(library.kavro_broker_set_broker_variant(self.handle, variant))

    def set_client_info(self, product_name, product_version, platform):
        check(library.kavro_broker_set_client_info(self.handle, encode(product_name),
                                                   encode(product_version), encode(platform)))

    def set_locale(self, locale):
        check(library.kavro_broker_set_locale(self.handle, encode(locale)))

    def set_timezone(self, timezone):
        check(library.kavro_broker_set_timezone(self.handle, encode(timezone)))

    def set_hello_client_variables(self, variables):
        with VariableList(variables) as copied:
            check(library.kavro_broker_set_hello_client_variables(self.handle, copied.handle))

    def set_connect_to_desktop_timeout(self, seconds):
        if not 0 <= seconds <= 0xFFFF:
            raise ValueError(seconds)
        check(library.kavro_broker_set_connect_to_desktop_timeout(self.handle, seconds))

    def set_message_function(self, function):
        """`function` gets every LogMessage of this conversation; with None the process's gets them."""
        def deliver(_, category, severity, error, text):
            function(LogMessage(category, severity, error, text.decode()))

        self._callbacks.append(kavro_broker_message_function(deliver) if function
                               else kavro_broker_message_function())
        check(library.kavro_broker_set_message_function(self.handle, self._callbacks[-1], None))

    def keep_connection(self, idle_seconds):
        check(library.kavro_broker_keep_connection(self.handle, min(idle_seconds, 0xFFFFFFFF)))

    def set_time_limit(self, limit, seconds):
        milliseconds = round(seconds * 1000)
        check(library.kavro_broker_set_time_limit(self.handle, limit,
                                                  min(milliseconds, 0xFFFFFFFF)))

    def set_proxy(self, proxy, user="", password=""):
        check(library.kavro_broker_set_proxy(self.handle, encode(proxy), encode(user), encode(password)))

    def fail_if_unverified(self, fail):
        check(library.kavro_broker_fail_if_unverified(self.handle, fail))

    def enable_ipv6(self, enable):
        library.kavro_broker_enable_ipv6(self.handle, enable)

    def enable_oauth(self, enable):
        check(library.kavro_broker_enable_oauth(self.handle, enable))

    def add_trust_anchor(self, der):
        check(library.kavro_broker_add_trust_anchor(self.handle, der, len(der)))

    def add_key_pin(self, sha256):
        check(library.kavro_broker_add_key_pin(self.handle, sha256, len(sha256)))

    def clear_key_pins(self):
        check(library.kavro_broker_clear_key_pins(self.handle))

    def use_platform_verifier(self, use):
        check(library.kavro_broker_use_platform_verifier(self.handle, use))

    def require_stapled_status(self, require):
        check(library.kavro_broker_require_stapled_status(self.handle, require))

    def use_signing_certificate(self, der, sign):
        """`sign` gives the signature of a digest, both as bytes, or None when it cannot be made."""
        self._sign_with(library.kavro_broker_use_signing_certificate, der, digest_signer(sign))

    def use_signing_key(self, certificates, sign):
        """`certificates`: one in DER form, or several in PEM form. `sign` gives the signature, by a
        TLS SignatureScheme, of a digest, as bytes, or None when it cannot be made."""
        self._sign_with(library.kavro_broker_use_signing_key, certificates, scheme_signer(sign))

    def set_client_certificate(self, der, sign):
        self._sign_with(library.kavro_broker_set_client_certificate, der, digest_signer(sign))

    # Requests

    def auth_method(self):
        method = c_uint32()
        self._request(library.kavro_broker_get_auth_method(self.handle, byref(method)))
        return AuthMethod(method.value)

    def send_password(self, user_name, domain, password):
        self._request(library.kavro_broker_send_password(self.handle, encode(user_name), encode(domain),
                                                         encode(password)))

    def send_new_password(self, user_name, domain, old_password, new_password):
        """The new password goes to the library twice; asking the user twice is the caller's."""
        new_password = encode(new_password)
        self._request(library.kavro_broker_send_new_password(
            self.handle, encode(user_name), encode(domain), encode(old_password), new_password,
            new_password))

    def send_auth_dialog(self, button_id, fields):
        answers = (kavro_broker_name_value * len(fields))(
            *((encode(name), encode(value)) for name, value in fields))
        self._request(library.kavro_broker_send_auth_dialog(self.handle, encode(button_id), answers,
                                                            len(fields)))

    def send_accept_disclaimer(self, accept):
        self._request(library.kavro_broker_send_accept_disclaimer(self.handle, bool(accept)))

    def send_oauth_code(self, code):
        self._request(library.kavro_broker_send_oauth_code(self.handle, encode(code)))

    def send_securid_auth(self, user_name, passcode):
        self._request(library.kavro_broker_send_securid_auth(self.handle, encode(user_name),
                                                             encode(passcode)))

    def send_securid_token(self, token):
        self._request(library.kavro_broker_send_securid_token(self.handle, encode(token)))

    def send_securid_pinchange(self, token, new_pin):
        new_pin = encode(new_pin)
        self._request(library.kavro_broker_send_securid_pinchange(self.handle, encode(token), new_pin,
                                                                  new_pin))

    def send_securid_wait(self):
        self._request(library.kavro_broker_send_securid_wait(self.handle))

    def send_certificate_confirmation(self, accept, first, second):
        self._request(library.kavro_broker_send_certificate_confirmation(self.handle, bool(accept), first,
                                                                         second))

    def request_desktop_list(self):
        desktops = c_void_p()
        self._request(library.kavro_broker_request_desktop_list(self.handle, byref(desktops)))
        with Owned(desktops, library.kavro_broker_free_desktop_list):
            return read_desktops(desktops)

    def connect_to_desktop(self, desktop_id, variables=()):
        info = c_void_p()
        with VariableList(variables) as copied:
            self._request(library.kavro_broker_connect_to_desktop(self.handle, encode(desktop_id),
                                                                  copied.handle, byref(info)))
        with Owned(info, library.kavro_broker_free_desktop_connection_info):
            return read_connection(info)

    def perform_desktop_operation(self, desktop_id, operation):
        """Raises for an operation that there is none of, where the C function stops the process."""
        if not 0 <= operation <= max(Operation):
            raise Error(Result.ERR_INVALID_PARAMETER)
        self._request(library.kavro_broker_perform_desktop_operation(self.handle, encode(desktop_id),
                                                                     operation))

    def clear_session(self):
        self._request(library.kavro_broker_clear_session(self.handle))

    def cancel(self):
        library.kavro_broker_cancel(self.handle)

    # What the last requests brought

    def broker_error_message(self):
        return read_text(library.kavro_broker_get_broker_error_message, self.handle)

    def request_report(self):
        """What became of the last request, as a JSON text."""
        return read_text(library.kavro_broker_get_request_report, self.handle)

    def broker_info(self):
        return BrokerInfo(*read_texts(
            3, lambda *out: library.kavro_broker_get_broker_info(self.handle, *out)))

    def resolved_broker_address(self):
        return read_text(library.kavro_broker_get_resolved_broker_address, self.handle)

    def hello_broker_variables(self):
        return read_variables(library.kavro_broker_get_num_hello_broker_variables,
                              library.kavro_broker_get_hello_broker_variable, self.handle)

    def auth_domains(self):
        return read_each(library.kavro_broker_get_num_auth_domains, self.handle, lambda index: read_text(
            library.kavro_broker_get_auth_domain, self.handle, index))

    def auth_to_client_variables(self):
        return read_variables(library.kavro_broker_get_num_auth_to_client_variables,
                              library.kavro_broker_get_auth_to_client_variable, self.handle)

    def auth_dialog(self):
        return Dialog(
            read_text(library.kavro_broker_get_auth_dialog_prompt_text, self.handle),
            read_text(library.kavro_broker_get_auth_dialog_error_text, self.handle),
            read_each(library.kavro_broker_get_auth_dialog_get_num_fields, self.handle,
                      lambda index: read_dialog_field(self.handle, index)),
            read_each(library.kavro_broker_get_auth_dialog_get_num_buttons, self.handle,
                      lambda index: read_dialog_button(self.handle, index)))

    def disclaimer_text(self):
        return read_text(library.kavro_broker_get_disclaimer_text, self.handle)

    def certificates(self):
        return read_each(library.kavro_broker_get_num_certificates, self.handle,
                         lambda index: read_certificate(self.handle, index))

    def certificate_error_text(self):
        return read_text(library.kavro_broker_get_certificate_error_text, self.handle)

    def _request(self, result):
        if result != Result.OK:
            raise Error(result, self.broker_error_message())

    def _sign_with(self, use, certificates, callback):
        self._callbacks.append(callback)
        check(use(self.handle, certificates, len(certificates), callback, None))


class FoundType(NamedTuple):
    type: int
    address: str  # what a registration code stands for; else empty
    port: str  # the one that answered


class TypeFinder(Owned):
    """Finds out what answers at an address. cancel() may be called meanwhile on any thread."""

    def __init__(self):
        super().__init__(make(library.kavro_broker_create_type_finder),
                         library.kavro_broker_free_type_finder)

    def find_type(self, address, port=""):
        return read_value(c_uint32, library.kavro_broker_find_type, self.handle, encode(address),
                          encode(port))

    def find_type_extended(self, address, port=""):
        found, found_address, found_port = c_uint32(), create_string_buffer(2049), create_string_buffer(8)
        check(library.kavro_broker_find_type_extended(
            self.handle, encode(address), encode(port), byref(found), found_address, len(found_address),
            found_port, len(found_port)))
        return FoundType(BrokerType(found.value), found_address.value.decode(errors="replace"),
                         found_port.value.decode())

    def cancel(self):
        library.kavro_broker_cancel_find_type(self.handle)

    def finished(self):
        """Whether a search has run to its end."""
        return bool(read_value(c_uint32, library.kavro_broker_get_type, self.handle))
