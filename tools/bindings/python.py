"""Writes the prototypes and constants for Python's ctypes."""

from description import ENUM_NAMES
from headers import CALLBACKS, CONSTANTS, FUNCTIONS, HANDLES, STRUCTS, SYNONYMS, VERSION

# By the type in C without "const".
TYPES = {
    "void": "None",
    "void *": "c_void_p",
    "bool": "c_bool",
    "char *": "c_char_p",
    "int": "c_int",
    "int32_t": "c_int32",
    "uint8_t": "c_uint8",
    "uint16_t": "c_uint16",
    "uint32_t": "c_uint32",
    "size_t": "c_size_t",
    "uint8_t *": "POINTER(c_uint8)",
    "uint32_t *": "POINTER(c_uint32)",
    "size_t *": "POINTER(c_size_t)",
    "va_list": "c_void_p",
}
TYPES.update({name: TYPES[origin] for name, origin in SYNONYMS.items()})
for name in HANDLES:
    TYPES.update({name: "c_void_p", f"{name} *": "POINTER(c_void_p)"})
for name in STRUCTS:
    TYPES.update({name: name, f"{name} *": f"POINTER({name})"})
TYPES.update({callback.name: callback.name for callback in CALLBACKS})

HEAD = '''"""Functions and constants of the C interface. Written by tools/bindings/generate.py; not to be edited."""

from ctypes import (CFUNCTYPE, POINTER, Structure, c_bool, c_char_p, c_int, c_int32, c_size_t, c_uint8,
                    c_uint16, c_uint32, c_void_p)
from enum import IntEnum

'''


def type_of(kind):
    return TYPES[kind.replace("const ", "")]


def lent(kind):
    """Python's own bytes go in as they are; what a callback is given may hold zeros."""
    return "c_char_p" if kind == "const uint8_t *" else type_of(kind)


def enum_class(enumeration):
    members = "".join(f"    {constant.name} = {constant.value}\n" for constant in enumeration.values)
    return f"\nclass {ENUM_NAMES[enumeration.shared]}(IntEnum):\n{members}"


def structure(name, members):
    fields = ", ".join(f'("{member.name}", {type_of(member.type)})' for member in members)
    return f"\nclass {name}(Structure):\n    _fields_ = [{fields}]\n\n"


def callback_type(callback):
    arguments = ", ".join(type_of(kind) for kind in (callback.result, *(p.type for p in callback.parameters)))
    return f"{callback.name} = CFUNCTYPE({arguments})\n"


def row(function):
    parameters = ", ".join(lent(parameter.type) for parameter in function.parameters)
    return f'    "{function.name}": ({type_of(function.result)}, [{parameters}]),\n'


def files():
    enums = "\n".join(map(enum_class, CONSTANTS))
    defined = "".join([*(structure(*found) for found in STRUCTS.items()), *map(callback_type, CALLBACKS)])
    rows = "".join(map(row, FUNCTIONS))
    yield "python/kavro_broker/_exports.py", (
        f'{HEAD}VERSION = "{VERSION}"\n\n{enums}\n{defined}\n'
        f"# Result and parameters by name.\nFUNCTIONS = {{\n{rows}}}\n")
