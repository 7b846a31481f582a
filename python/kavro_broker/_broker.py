"""What takes its time: the requests of a conversation, and the search for what answers at an address."""

from ctypes import byref, c_uint32, create_string_buffer
from typing import NamedTuple

from ._asked import AwaitedRequests, Requests
from ._exports import BrokerType
from ._library import Owned, check, encode, library, make, read_value
from ._requests import request


class Broker(Requests):
    """One conversation with a broker. Requests block, but neither other threads of Python nor signals:
    Ctrl-C ends a request at once. cancel() may be called meanwhile on any thread."""


class AsyncBroker(AwaitedRequests):
    """A Broker whose requests are coroutines, one at a time. One that is cancelled, or that
    asyncio.wait_for() gives up, is cancelled at the broker as well, and has ended when that is heard of."""


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
