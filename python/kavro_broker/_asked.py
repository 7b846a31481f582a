"""The requests of a conversation. Written by tools/bindings/generate.py; not to be edited."""

from ctypes import byref, c_uint32, c_void_p
from typing import List, Sequence, Tuple

from ._conversation import Conversation
from ._exports import AuthMethod
from ._library import Owned, encode, library
from ._records import (Desktop, DesktopConnection, VariableList, known, lent_fields, read_connection,
                       read_desktops)
from ._requests import TakesTurns, awaited, request


class Requests(Conversation):
    """Those that block."""

    @request
    def auth_method(self) -> AuthMethod:
        """What the broker asks for next; AuthMethod.NONE once the user is logged in."""
        method = c_uint32()
        self._request(library.kavro_broker_get_auth_method(self.handle, byref(method)))
        return AuthMethod(method.value)

    @request
    def send_password(self, user_name: str, domain: str, password: str) -> None:
        """Answers AuthMethod.PASSWORD."""
        self._request(library.kavro_broker_send_password(self.handle, encode(user_name), encode(domain), encode(password)))

    @request
    def send_new_password(self, user_name: str, domain: str, old_password: str, new_password: str) -> None:
        """Answers AuthMethod.PASSWORD_EXPIRED. The new password goes to the library twice; asking the user twice is the caller's."""
        self._request(library.kavro_broker_send_new_password(self.handle, encode(user_name), encode(domain), encode(old_password), encode(new_password), encode(new_password)))

    @request
    def send_auth_dialog(self, button_id: str, fields: Sequence[Tuple[str, str]]) -> None:
        """Answers AuthMethod.DIALOG: the button that was pressed, and names and values of the fields."""
        self._request(library.kavro_broker_send_auth_dialog(self.handle, encode(button_id), lent_fields(fields), len(fields)))

    @request
    def send_accept_disclaimer(self, accept: bool) -> None:
        """Answers AuthMethod.DISCLAIMER."""
        self._request(library.kavro_broker_send_accept_disclaimer(self.handle, bool(accept)))

    @request
    def send_oauth_code(self, code: str) -> None:
        """Answers AuthMethod.OAUTH."""
        self._request(library.kavro_broker_send_oauth_code(self.handle, encode(code)))

    @request
    def send_securid_auth(self, user_name: str, passcode: str) -> None:
        """Answers AuthMethod.SECURID."""
        self._request(library.kavro_broker_send_securid_auth(self.handle, encode(user_name), encode(passcode)))

    @request
    def send_securid_token(self, token: str) -> None:
        """Answers AuthMethod.SECURID_NEXT_TOKEN."""
        self._request(library.kavro_broker_send_securid_token(self.handle, encode(token)))

    @request
    def send_securid_pinchange(self, token: str, new_pin: str) -> None:
        """Answers AuthMethod.SECURID_NEW_PIN."""
        self._request(library.kavro_broker_send_securid_pinchange(self.handle, encode(token), encode(new_pin), encode(new_pin)))

    @request
    def send_securid_wait(self) -> None:
        """Answers AuthMethod.SECURID_WAIT."""
        self._request(library.kavro_broker_send_securid_wait(self.handle))

    @request
    def send_certificate_confirmation(self, accept: bool, first: bytes, second: bytes) -> None:
        """Is for kinds of broker that ask about certificates."""
        self._request(library.kavro_broker_send_certificate_confirmation(self.handle, bool(accept), first, second))

    @request
    def request_desktop_list(self) -> List[Desktop]:
        """The desktops that the user may have."""
        made = c_void_p()
        self._request(library.kavro_broker_request_desktop_list(self.handle, byref(made)))
        with Owned(made, library.kavro_broker_free_desktop_list):
            return read_desktops(made)

    @request
    def connect_to_desktop(self, desktop_id: str, variables: Sequence[Tuple[str, str]] = ()) -> DesktopConnection:
        """Allocates a desktop. One that is still being made ready is Result.ERR_CONNECT_DESKTOP_PENDING."""
        made = c_void_p()
        with VariableList(variables) as copied:
            self._request(library.kavro_broker_connect_to_desktop(self.handle, encode(desktop_id), copied.handle, byref(made)))
        with Owned(made, library.kavro_broker_free_desktop_connection_info):
            return read_connection(made)

    @request
    def perform_desktop_operation(self, desktop_id: str, operation: int) -> None:
        """Powers a desktop up or down. An operation that there is none of is Result.ERR_INVALID_PARAMETER, where the C function stops the process."""
        self._request(library.kavro_broker_perform_desktop_operation(self.handle, encode(desktop_id), known(operation)))

    @request
    def clear_session(self) -> None:
        """Logs out."""
        self._request(library.kavro_broker_clear_session(self.handle))


class AwaitedRequests(Conversation, TakesTurns):
    """The same as coroutines."""

    auth_method = awaited(Requests.auth_method)
    send_password = awaited(Requests.send_password)
    send_new_password = awaited(Requests.send_new_password)
    send_auth_dialog = awaited(Requests.send_auth_dialog)
    send_accept_disclaimer = awaited(Requests.send_accept_disclaimer)
    send_oauth_code = awaited(Requests.send_oauth_code)
    send_securid_auth = awaited(Requests.send_securid_auth)
    send_securid_token = awaited(Requests.send_securid_token)
    send_securid_pinchange = awaited(Requests.send_securid_pinchange)
    send_securid_wait = awaited(Requests.send_securid_wait)
    send_certificate_confirmation = awaited(Requests.send_certificate_confirmation)
    request_desktop_list = awaited(Requests.request_desktop_list)
    connect_to_desktop = awaited(Requests.connect_to_desktop)
    perform_desktop_operation = awaited(Requests.perform_desktop_operation)
    clear_session = awaited(Requests.clear_session)
