"""What requests and accessors return, and how it is read through the C interface."""

from ctypes import byref, c_size_t, c_uint8, c_uint32
from dataclasses import dataclass, field
from typing import Any, Callable, List, NamedTuple, Optional, Sequence, Tuple

from ._exports import (CertificateVerdict, ConnectionProperty, DialogFieldKind, Operation, Result,
                       TextType, kavro_broker_desktop, kavro_broker_desktop_connection,
                       kavro_broker_name_value)
from ._library import Error, Owned, check, encode, library, make, read_each, read_record, read_texts


# What may be secret is left out wherever a record is printed.


class Variable(NamedTuple):
    """A name and a value, which only the two programs that exchange them understand."""
    name: str
    value: str

    def __repr__(self) -> str:
        return f"Variable(name={self.name!r})"


class BrokerInfo(NamedTuple):
    """What the broker said of itself in its hello."""
    product_name: str
    product_version: str
    platform: str


class Target(NamedTuple):
    """Where a desktop is."""
    address: str
    host_name: str
    server_name: str
    port: str


class GatewayTicket(NamedTuple):
    """What opens the gateway, and when it was made and ends."""
    ticket: str
    creation: str
    expiry: str

    def __repr__(self) -> str:
        return f"GatewayTicket(creation={self.creation!r}, expiry={self.expiry!r})"


@dataclass(frozen=True)
class Desktop:
    """A desktop that the user may have."""
    name: str
    id: str
    type: str
    state: str
    health: str
    operations: List[Operation]  # those that it offers


@dataclass(frozen=True)
class DesktopConnection:
    """A desktop that was allocated, and what opens it."""
    target: Target
    session_id: str
    connect_tag: str = field(repr=False)
    use_broker_address: bool
    gateway_ticket: Optional[GatewayTicket]
    agent_variables: List[Variable]
    alternate_targets: List[Target]


@dataclass(frozen=True)
class DialogField:
    """A field of a log-in form."""
    name: str
    label: str
    value: str = field(repr=False)
    read_only: bool
    hidden: bool
    loggable: bool
    text_type: TextType


@dataclass(frozen=True)
class DialogButton:
    """A button of a log-in form."""
    id: str
    label: str
    is_default: bool


@dataclass(frozen=True)
class Dialog:
    """A log-in form."""
    prompt_text: str
    error_text: str
    fields: List[DialogField]
    buttons: List[DialogButton]


@dataclass(frozen=True)
class Certificate:
    """A certificate of the broker's chain, and what was wrong with it."""
    der: bytes  # empty when the broker did not show it
    verdict: CertificateVerdict


class VariableList(Owned):
    """Name and value texts as the library holds them. An empty one has a null handle, which is how the
    library takes "no variables"."""

    def __init__(self, variables: Sequence[Tuple[str, str]]) -> None:
        self._size = len(variables)
        if not variables:
            return
        super().__init__(make(library.kavro_broker_create_variable_list, self._size),
                         library.kavro_broker_free_variable_list)
        for index, (name, value) in enumerate(variables):
            check(library.kavro_broker_set_variable(self.handle, index, encode(name), encode(value)))

    def __len__(self) -> int:
        return self._size

    def __getitem__(self, index: int) -> Variable:
        if not 0 <= index < self._size:
            raise IndexError(index)
        return read_variable(library.kavro_broker_get_variable, self.handle, index)

    def close(self) -> None:
        if self.handle is not None:
            super().close()


def lent_fields(fields: Sequence[Tuple[str, str]]) -> Any:
    """Names and values on their way into one call."""
    return (kavro_broker_name_value * len(fields))(
        *(kavro_broker_name_value(encode(name), encode(value)) for name, value in fields))


def known(operation: int) -> int:
    """The library stops the process at an operation that there is none of."""
    if not 0 <= operation <= max(Operation):
        raise Error(Result.ERR_INVALID_PARAMETER)
    return operation


def read_variable(accessor: Callable[..., int], owner: Any, index: int) -> Variable:
    return Variable(*read_texts(2, lambda *out: accessor(owner, index, *out)))


def read_variables(count: Callable[..., int], accessor: Callable[..., int],
                   owner: Any) -> List[Variable]:
    return read_each(count, owner, lambda index: read_variable(accessor, owner, index))


def _copy(text: Any) -> str:
    return str(text.data.decode(errors="replace"))


def read_desktop(desktops: Any, index: int) -> Desktop:
    lent = read_record(kavro_broker_desktop, library.kavro_broker_get_desktop, desktops, index)
    return Desktop(_copy(lent.name), _copy(lent.id), _copy(lent.type), _copy(lent.state),
                   _copy(lent.health),
                   [operation for operation in Operation if lent.operations >> operation & 1])


def read_desktops(desktops: Any) -> List[Desktop]:
    return read_each(library.kavro_broker_get_num_desktops, desktops,
                     lambda index: read_desktop(desktops, index))


def _has_gateway_ticket(info: Any) -> bool:
    """An empty ticket is one."""
    return bool(library.kavro_broker_get_desktop_connection_property(
        info, ConnectionProperty.GATEWAY_TICKET, None, byref(c_size_t())) != Result.ERR_NOT_AVAILABLE)


def _read_alternate_target(info: Any, index: int) -> Target:
    return Target(*read_texts(4, lambda *out: library.kavro_broker_get_desktop_connection_alternate_target(
        info, index, *out)))


def read_connection(info: Any) -> DesktopConnection:
    lent = read_record(kavro_broker_desktop_connection, library.kavro_broker_get_desktop_connection, info)
    ticket = GatewayTicket(_copy(lent.gateway_ticket), _copy(lent.gateway_ticket_created),
                           _copy(lent.gateway_ticket_expires))
    return DesktopConnection(
        Target(_copy(lent.address), _copy(lent.host_name), _copy(lent.server_name), _copy(lent.port)),
        _copy(lent.session_id), _copy(lent.connect_tag), bool(lent.use_broker_address),
        ticket if _has_gateway_ticket(info) else None,
        read_variables(library.kavro_broker_get_num_desktop_connection_agent_variables,
                       library.kavro_broker_get_desktop_connection_agent_variable, info),
        read_each(library.kavro_broker_get_num_desktop_connection_alternate_targets, info,
                  lambda index: _read_alternate_target(info, index)))


def read_dialog_field(handle: Any, index: int) -> DialogField:
    kind, text_type, hidden, loggable = c_uint32(), c_uint32(), c_uint8(), c_uint8()
    name, label, value = read_texts(3, lambda *out: library.kavro_broker_get_auth_dialog_field(
        handle, index, byref(kind), *out, byref(hidden), byref(loggable), byref(text_type)))
    return DialogField(name, label, value, kind.value == DialogFieldKind.READ_ONLY, bool(hidden),
                       bool(loggable), TextType(text_type.value))


def read_dialog_button(handle: Any, index: int) -> DialogButton:
    is_default = c_uint8()
    button_id, label = read_texts(2, lambda *out: library.kavro_broker_get_auth_dialog_button(
        handle, index, *out, byref(is_default)))
    return DialogButton(button_id, label, bool(is_default))


def read_certificate(handle: Any, index: int) -> Certificate:
    size, verdict = c_size_t(), c_uint32()
    der = b""
    if library.kavro_broker_get_broker_certificate(handle, index, None, byref(size)) == Result.OK:
        buffer = (c_uint8 * size.value)()
        check(library.kavro_broker_get_broker_certificate(handle, index, buffer, byref(size)))
        der = bytes(buffer)
    library.kavro_broker_get_certificate_error(handle, index, byref(verdict))  # none after a success
    return Certificate(der, CertificateVerdict(verdict.value))
