"""What holds for the whole process."""

import ctypes
import os
from dataclasses import dataclass
from typing import Any, Callable, Dict

from ._callbacks import keeping
from ._exports import kavro_broker_log_function, kavro_broker_session_log_id_function
from ._library import library


@dataclass(frozen=True)
class LogMessage:
    """A line of the log: a LogCategory, a LogSeverity, a number of the system's where there is one."""
    category: int
    severity: int
    error: int
    text: str


_hooks: Dict[type, Any] = {}  # what the library calls, kept for as long as it may


if os.name == "nt":
    _runtime = ctypes.CDLL("msvcrt")

    def _formatted(pattern: bytes, arguments: Any) -> bytes:
        arguments = ctypes.c_void_p(arguments)
        size = _runtime._vscprintf(pattern, arguments) + 1
        text = ctypes.create_string_buffer(size)
        _runtime._vsnprintf(text, ctypes.c_size_t(size), pattern, arguments)
        return text.value
else:
    _runtime = ctypes.CDLL(None)
    _runtime.free.restype = None

    def _formatted(pattern: bytes, arguments: Any) -> bytes:
        text = ctypes.c_char_p()
        if _runtime.vasprintf(ctypes.byref(text), pattern, ctypes.c_void_p(arguments)) < 0:
            raise MemoryError
        try:
            return text.value or b""
        finally:
            _runtime.free(text)


def set_log_function(function: Callable[[LogMessage], object]) -> None:
    """`function` gets every LogMessage, on the thread that is inside the library. To be set before other
    threads use the library, as the next one."""
    def deliver(category: int, severity: int, error: int, pattern: bytes, arguments: Any) -> None:
        text = _formatted(pattern, arguments).decode(errors="replace")
        function(LogMessage(category, severity, error, text))

    _install(library.kavro_broker_set_log_function, kavro_broker_log_function(keeping(deliver, None)))


def set_session_log_id_function(function: Callable[[str], object]) -> None:
    """`function` gets the identifier under which the broker logs this client, once it is known."""
    def deliver(session_id: bytes) -> None:
        function(session_id.decode(errors="replace"))

    _install(library.kavro_broker_set_session_log_id_function,
             kavro_broker_session_log_id_function(keeping(deliver, None)))


def _install(set_function: Callable[[Any], None], hook: Any) -> None:
    set_function(hook)
    _hooks[type(hook)] = hook  # the one before is let go only now
