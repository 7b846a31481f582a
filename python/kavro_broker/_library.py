"""The library itself, and how its functions are called, once for all of them."""

import ctypes
import itertools
import os
import sys
import weakref

from ._exports import FUNCTIONS, Result


def _load():
    default = "broker_client.dll" if sys.platform == "win32" else "libbroker_client.so.1"
    name = os.environ.get("KAVRO_BROKER_LIBRARY") or default
    try:
        library = ctypes.CDLL(name)
    except OSError as problem:
        raise ImportError(f"The broker_client library cannot be loaded: {problem}. "
                          "KAVRO_BROKER_LIBRARY may name its file.") from problem
    for function, (result, parameters) in FUNCTIONS.items():
        export = getattr(library, function)
        export.restype, export.argtypes = result, parameters
    return library


library = _load()


class Error(Exception):
    """A result other than OK: its code, its name, and what the broker said of the request that failed
    (empty where it said nothing)."""

    def __init__(self, code, broker_text=""):
        sentence = library.kavro_broker_result_text(code).decode()
        super().__init__(f"{sentence} {broker_text}".rstrip())
        self.code = code
        self.name = library.kavro_broker_result_name(code).decode()
        self.broker_text = broker_text


def check(result):
    if result != Result.OK:
        raise Error(result)


def encode(text):
    """A text for the library, which would take no more than what comes before a zero."""
    encoded = text.encode()
    if b"\0" in encoded:
        raise ValueError("a text holds a zero character")
    return encoded


def read_value(kind, accessor, *arguments):
    """What `accessor(*arguments, &value)` tells."""
    value = kind()
    check(accessor(*arguments, ctypes.byref(value)))
    return value.value


def read_texts(count, read):
    """Asks for the sizes of so many texts, makes room and asks for the texts. `read` gets a buffer and
    a length for each and hands them on to an accessor."""
    sizes = [ctypes.c_size_t() for _ in range(count)]

    def call(buffers):
        check(read(*itertools.chain(*zip(buffers, map(ctypes.byref, sizes)))))

    call([None] * count)
    buffers = [ctypes.create_string_buffer(size.value) for size in sizes]
    call(buffers)
    return [buffer.value.decode(errors="replace") for buffer in buffers]


def read_text(accessor, *arguments):
    return read_texts(1, lambda *out: accessor(*arguments, *out))[0]


def read_record(kind, accessor, *arguments):
    """What `accessor` lends of a whole record."""
    record = kind()
    check(accessor(*arguments, ctypes.byref(record), ctypes.sizeof(record)))
    return record


def read_each(count, owner, read):
    """`read(index)` for as many as `count(owner, ...)` tells."""
    return [read(index) for index in range(read_value(ctypes.c_uint32, count, owner))]


class Owned:
    """A handle that is freed when it is closed, left as a context, or collected."""

    def __init__(self, handle, free):
        if not handle:
            raise MemoryError
        self.handle = handle
        self._free = weakref.finalize(self, free, handle)

    def close(self):
        self.handle = None  # which the library refuses
        self._free()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


def make(create, *arguments):
    """What `create(*arguments, &handle)` makes."""
    return read_value(ctypes.c_void_p, create, *arguments)
