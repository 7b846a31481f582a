"""The library itself, and how its functions are called, once for all of them."""

import ctypes
import itertools
import os
import pathlib
import sys
import weakref
from typing import Any, Callable, List, Type, TypeVar

from ._callbacks import raise_what_was_kept
from ._exports import FUNCTIONS, Result

T = TypeVar("T")
Self = TypeVar("Self", bound="Owned")


def _file_name() -> str:
    """What the variable names, else what lies in the package, else what the system's loader finds."""
    default = "broker_client.dll" if sys.platform == "win32" else "libbroker_client.so.1"
    packed = pathlib.Path(__file__).with_name(default)
    return os.environ.get("KAVRO_BROKER_LIBRARY") or (str(packed) if packed.exists() else default)


def _load() -> ctypes.CDLL:
    try:
        library = ctypes.CDLL(_file_name())
    except OSError as problem:
        raise ImportError(f"The broker_client library cannot be loaded: {problem}. "
                          "KAVRO_BROKER_LIBRARY may name its file.") from problem
    for function, (result, parameters) in FUNCTIONS.items():
        export = getattr(library, function)
        export.restype, export.argtypes, export.errcheck = result, parameters, raise_what_was_kept
    return library


library = _load()


class Error(Exception):
    """A result other than OK: its code, its name, and what the broker said of the request that failed
    (empty where it said nothing)."""

    def __init__(self, code: int, broker_text: str = "") -> None:
        sentence = library.kavro_broker_result_text(code).decode()
        super().__init__(f"{sentence} {broker_text}".rstrip())
        self.code = code
        self.name: str = library.kavro_broker_result_name(code).decode()
        self.broker_text = broker_text


def check(result: int) -> None:
    if result != Result.OK:
        raise Error(result)


def encode(text: str) -> bytes:
    """A text for the library, which would take no more than what comes before a zero."""
    encoded = text.encode()
    if b"\0" in encoded:
        raise ValueError("a text holds a zero character")
    return encoded


def units(seconds: float, in_a_second: int) -> int:
    """A duration as the library counts it. One that has no such number is too long."""
    return min(round(seconds * in_a_second), 0xFFFFFFFF)


def fitting(number: int, highest: int) -> int:
    """A number that C has room for."""
    if not 0 <= number <= highest:
        raise ValueError(number)
    return number


def read_value(kind: Type[Any], accessor: Callable[..., int], *arguments: Any) -> Any:
    """What `accessor(*arguments, &value)` tells."""
    value = kind()
    check(accessor(*arguments, ctypes.byref(value)))
    return value.value


def read_record(kind: Type[T], accessor: Callable[..., int], *arguments: Any) -> T:
    """What `accessor(*arguments, &record, size)` lends."""
    record = kind()
    check(accessor(*arguments, ctypes.byref(record), ctypes.sizeof(record)))  # type: ignore[arg-type]
    return record


def read_texts(count: int, read: Callable[..., int]) -> List[str]:
    """Asks for the sizes of so many texts, makes room and asks for the texts. `read` gets a buffer and
    a length for each and hands them on to an accessor."""
    sizes = [ctypes.c_size_t() for _ in range(count)]

    def call(buffers: List[Any]) -> None:
        check(read(*itertools.chain(*zip(buffers, map(ctypes.byref, sizes)))))

    call([None] * count)
    buffers = [ctypes.create_string_buffer(size.value) for size in sizes]
    call(buffers)
    return [buffer.value.decode(errors="replace") for buffer in buffers]


def read_text(accessor: Callable[..., int], *arguments: Any) -> str:
    return read_texts(1, lambda *out: accessor(*arguments, *out))[0]


def read_each(count: Callable[..., int], owner: Any, read: Callable[[int], T]) -> List[T]:
    """`read(index)` for as many as `count(owner, ...)` tells."""
    return [read(index) for index in range(read_value(ctypes.c_uint32, count, owner))]


class Owned:
    """A handle that is freed when it is closed, left as a context, or collected."""

    handle: Any = None

    def __init__(self, handle: Any, free: Callable[[Any], None]) -> None:
        if not handle:
            raise MemoryError
        self.handle = handle
        self._free = weakref.finalize(self, free, handle)

    def close(self) -> None:
        """Frees the handle. No call may be running."""
        self.handle = None  # which the library refuses
        self._free()

    def __enter__(self: Self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


def make(create: Callable[..., int], *arguments: Any) -> Any:
    """What `create(*arguments, &handle)` makes."""
    return read_value(ctypes.c_void_p, create, *arguments)
