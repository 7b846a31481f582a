"""What takes its time: the requests of a conversation, and the search for what answers at an address."""

from ctypes import byref, c_uint32, c_void_p, create_string_buffer
from typing import List, NamedTuple, Sequence, Tuple

from ._conversation import Conversation
from ._exports import AuthMethod, BrokerType, Operation, Result, kavro_broker_name_value
from ._library import Error, Owned, check, encode, library, make, read_value
from ._records import (Desktop, DesktopConnection, VariableList, read_connection, read_desktops)
from ._requests import TakesTurns, awaited, request


class Broker(Conversation):
    """One conversation with a broker. Requests block, but neither other threads of Python nor signals:
    Ctrl-C ends a request at once. cancel() may be called meanwhile on any thread."""

    @request
    def auth_method(self) -> AuthMethod:
        """What the broker asks for next; AuthMethod.NONE once the user is logged in."""
        method = c_uint32()
        self._request(library.kavro_broker_get_auth_method(self.handle, byref(method)))
        return AuthMethod(method.value)

    @request
    def send_password(self, user_name: str, domain: str, password: str) -> None:
        """Answers AuthMethod.PASSWORD."""
        self._request(library.kavro_broker_send_password(self.handle, encode(user_name), encode(domain),
                                                         encode(password)))

    @request
    def send_new_password(self, user_name: str, domain: str, old_password: str, new_password: str) -> None:
        """Answers AuthMethod.CHANGE_PASSWORD. The new password goes to the library twice; asking the user
        twice is the caller's."""
        new = encode(new_password)
        self._request(library.kavro_broker_send_new_password(
            self.handle, encode(user_name), encode(domain), encode(old_password), new, new))

    @request
    def send_auth_dialog(self, button_id: str, fields: Sequence[Tuple[str, str]]) -> None:
        """Answers AuthMethod.DIALOG: the button that was pressed, and names and values of the fields."""
        answers = (kavro_broker_name_value * len(fields))(
            *(kavro_broker_name_value(encode(name), encode(value)) for name, value in fields))
        self._request(library.kavro_broker_send_auth_dialog(self.handle, encode(button_id), answers,
                                                            len(fields)))

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
        self._request(library.kavro_broker_send_securid_auth(self.handle, encode(user_name),
                                                             encode(passcode)))

    @request
    def send_securid_token(self, token: str) -> None:
        """Answers AuthMethod.SECURID_NEXT_TOKEN."""
        self._request(library.kavro_broker_send_securid_token(self.handle, encode(token)))

    @request
    def send_securid_pinchange(self, token: str, new_pin: str) -> None:
        """Answers AuthMethod.SECURID_NEW_PIN."""
        new = encode(new_pin)
        self._request(library.kavro_broker_send_securid_pinchange(self.handle, encode(token), new, new))

    @request
    def send_securid_wait(self) -> None:
        """Answers AuthMethod.SECURID_WAIT."""
        self._request(library.kavro_broker_send_securid_wait(self.handle))

    @request
    def send_certificate_confirmation(self, accept: bool, first: bytes, second: bytes) -> None:
        """Is for kinds of broker that ask about certificates."""
        self._request(library.kavro_broker_send_certificate_confirmation(self.handle, bool(accept), first,
                                                                         second))

    @request
    def request_desktop_list(self) -> List[Desktop]:
        """The desktops that the user may have."""
        desktops = c_void_p()
        self._request(library.kavro_broker_request_desktop_list(self.handle, byref(desktops)))
        with Owned(desktops, library.kavro_broker_free_desktop_list):
            return read_desktops(desktops)

    @request
    def connect_to_desktop(self, desktop_id: str,
                           variables: Sequence[Tuple[str, str]] = ()) -> DesktopConnection:
        """Allocates a desktop. One that is still being made ready is ERR_CONNECT_DESKTOP_PENDING."""
        info = c_void_p()
        with VariableList(variables) as copied:
            self._request(library.kavro_broker_connect_to_desktop(self.handle, encode(desktop_id),
                                                                  copied.handle, byref(info)))
        with Owned(info, library.kavro_broker_free_desktop_connection_info):
            return read_connection(info)

    @request
    def perform_desktop_operation(self, desktop_id: str, operation: int) -> None:
        """Powers a desktop up or down. Raises for an operation that there is none of, where the C function
        stops the process."""
        if not 0 <= operation <= max(Operation):
            raise Error(Result.ERR_INVALID_PARAMETER)
        self._request(library.kavro_broker_perform_desktop_operation(self.handle, encode(desktop_id),
                                                                     operation))

    @request
    def clear_session(self) -> None:
        """Logs out."""
        self._request(library.kavro_broker_clear_session(self.handle))


class AsyncBroker(TakesTurns, Conversation):
    """A Broker whose requests are coroutines, one at a time. One that is cancelled, or that
    asyncio.wait_for() gives up, is cancelled at the broker as well, and has ended when that is heard of."""

    cancel = Conversation.cancel
    auth_method = awaited(Broker.auth_method)
    send_password = awaited(Broker.send_password)
    send_new_password = awaited(Broker.send_new_password)
    send_auth_dialog = awaited(Broker.send_auth_dialog)
    send_accept_disclaimer = awaited(Broker.send_accept_disclaimer)
    send_oauth_code = awaited(Broker.send_oauth_code)
    send_securid_auth = awaited(Broker.send_securid_auth)
    send_securid_token = awaited(Broker.send_securid_token)
    send_securid_pinchange = awaited(Broker.send_securid_pinchange)
    send_securid_wait = awaited(Broker.send_securid_wait)
    send_certificate_confirmation = awaited(Broker.send_certificate_confirmation)
    request_desktop_list = awaited(Broker.request_desktop_list)
    connect_to_desktop = awaited(Broker.connect_to_desktop)
    perform_desktop_operation = awaited(Broker.perform_desktop_operation)
    clear_session = awaited(Broker.clear_session)


class FoundType(NamedTuple):
    """What answers at an address."""
    type: int
    address: str  # what a registration code stands for; else empty
    port: str  # the one that answered


class TypeFinder(Owned):
    """Finds out what answers at an address. cancel() may be called meanwhile on any thread."""

    def __init__(self) -> None:
        super().__init__(make(library.kavro_broker_create_type_finder),
                         library.kavro_broker_free_type_finder)

    @request
    def find_type(self, address: str, port: str = "") -> int:
        """The BrokerType of what answers."""
        return int(read_value(c_uint32, library.kavro_broker_find_type, self.handle, encode(address),
                              encode(port)))

    @request
    def find_type_extended(self, address: str, port: str = "") -> FoundType:
        """The same, with where it was found."""
        found, found_address, found_port = c_uint32(), create_string_buffer(2049), create_string_buffer(8)
        check(library.kavro_broker_find_type_extended(
            self.handle, encode(address), encode(port), byref(found), found_address, len(found_address),
            found_port, len(found_port)))
        return FoundType(BrokerType(found.value), found_address.value.decode(errors="replace"),
                         found_port.value.decode())

    def cancel(self) -> None:
        """Ends the search that is under way. On any thread."""
        library.kavro_broker_cancel_find_type(self.handle)

    def finished(self) -> bool:
        """Whether a search has run to its end."""
        return bool(read_value(c_uint32, library.kavro_broker_get_type, self.handle))
