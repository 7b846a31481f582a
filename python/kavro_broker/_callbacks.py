"""What Python's side of a callback must not do: raise through the library, which cannot pass it on."""

import threading
from typing import Any, Callable, Optional, TypeVar

T = TypeVar("T")


class _Kept(threading.local):
    exception: Optional[BaseException] = None


_kept = _Kept()


def keeping(callback: Callable[..., T], otherwise: T) -> Callable[..., T]:
    """A callback whose exception is raised by the call of the library that it came from."""
    def call(*arguments: Any) -> T:
        try:
            return callback(*arguments)
        except BaseException as exception:  # pylint: disable=broad-except
            _kept.exception = _kept.exception or exception
            return otherwise
    return call


def raise_what_was_kept(result: Any, *_: object) -> Any:
    """After each call of the library: ctypes hands over its result."""
    exception, _kept.exception = _kept.exception, None
    if exception is not None:
        raise exception
    return result
