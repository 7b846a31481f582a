"""Writes what the Python package has from the C headers: prototypes, constants and plain calls."""

from description import (ANSWERS, DURATIONS, ENUM_NAMES, NAMED_NUMBERS, OPTIONAL, PROCESS, RENAMED, REQUESTS,
                         SETTINGS)
from headers import CALLBACKS, CONSTANTS, FUNCTIONS, HANDLES, STRUCTS, SYNONYMS, VERSION
from shapes import BY_NAME, RELEASE, arguments, indented, name_of, with_constants

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


def exports():
    enums = "\n".join(enum_class(found) for found in CONSTANTS)
    defined = "".join([*(structure(*found) for found in STRUCTS.items()), *map(callback_type, CALLBACKS)])
    rows = "".join(map(row, FUNCTIONS))
    return (f'{HEAD}VERSION = "{VERSION}"\n\n{enums}\n{defined}\n'
            f"# Result and parameters by name.\nFUNCTIONS = {{\n{rows}}}\n")


# Calls

PLAIN_HEAD = '''"""Calls that are no more than their prototype says. Written by tools/bindings/generate.py; not to be edited."""

from typing import List, Sequence, Tuple

from ._library import (Owned, check, encode, fitting, library, read_each, read_text, read_texts, units)
from ._records import BrokerInfo, Variable, VariableList

'''
ASKED_HEAD = '''"""The requests of a conversation. Written by tools/bindings/generate.py; not to be edited."""

from ctypes import byref, c_uint32, c_void_p
from typing import List, Sequence, Tuple

from ._conversation import Conversation
from ._exports import AuthMethod
from ._library import Owned, encode, library
from ._records import (Desktop, DesktopConnection, VariableList, known, lent_fields, read_connection,
                       read_desktops)
from ._requests import TakesTurns, awaited, request

'''
# What is read from a handle that a request makes, and how.
READ_FROM = {"kavro_broker_desktop_list": ("List[Desktop]", "read_desktops"),
             "kavro_broker_desktop_connection_info": ("DesktopConnection", "read_connection")}
PAIRS = "Sequence[Tuple[str, str]]"
INPUT_TYPES = {"text": "str", "bytes": "bytes", "blob": "bytes", "variables": PAIRS, "fields": PAIRS,
               "flag": "bool", "enum": "int", "number": "int"}
DEFAULTS = {"text": '""', "variables": "()"}


def input_name(argument):
    """A duration is called after its unit, which is always the second."""
    if argument.kind == "duration":
        return argument.name.removeprefix("milli")
    return RENAMED.get((argument.kind, argument.name), argument.name)


def input_type(argument):
    if argument.kind == "duration":
        return "int" if DURATIONS[argument.name] == 1 else "float"
    return INPUT_TYPES[argument.kind]


def passed(argument):
    name = input_name(argument)
    return {
        "owner": "self.handle",
        "index": "index",
        "text": f"encode({name})",
        "again": f"encode({name.removesuffix('_again')})",
        "bytes": f"{name}, len({name})",
        "variables": "copied.handle",
        "fields": f"lent_fields({name}), len({name})",
        "flag": f"bool({name})",
        "duration": f"units({name}, {DURATIONS.get(argument.name)})",
        "enum": f"known({name})" if name == "operation" else name,
        "out_number": f"byref({name})",
        "out_handle": "byref(made)",
        "number": f"fitting({name}, 0xFFFF)" if argument.type == "uint16_t" else name,
    }.get(argument.kind, name)


def told_texts(function, record_name, told):
    """Texts that come out, as one or as a record."""
    called = ", ".join(passed(argument) for argument in arguments(function) if argument.kind != "out_text")
    if record_name:
        return f"{record_name}(*read_texts({len(told)}, lambda *out: library.{function.name}({called}, *out)))"
    return f"read_text(library.{function.name}, {called})"


def asked(call, check):
    """The result of a function, and the statements that come by it."""
    function = BY_NAME[call.function]
    told = [argument for argument in arguments(function) if argument.kind.startswith("out_")]
    called = f"library.{function.name}({', '.join(map(passed, arguments(function)))})"
    if call.count:
        return (f"List[{call.item or 'str'}]",
                f"return read_each(library.{BY_NAME[call.count].name}, self.handle,\n"
                f"                 lambda index: {told_texts(function, call.item, told)})\n")
    if told and told[0].kind == "out_text":
        return call.item or "str", f"return {told_texts(function, call.item, told)}\n"
    if told and told[0].kind == "out_handle":
        handle = told[0].type.removesuffix(" *")
        kind, read = READ_FROM[handle]
        return kind, (f"made = c_void_p()\n{with_variables(function, f'{check}({called})')}"
                      f"with Owned(made, library.{RELEASE[handle]}):\n    return {read}(made)\n")
    if told:
        name, kind = told[0].name, NAMED_NUMBERS[told[0].name]
        return kind, f"{name} = c_uint32()\n{check}({called})\nreturn {kind}({name}.value)\n"
    if function.result == "const char *":
        return "str", f"return str({called}.decode())\n"
    return "None", f"{called}\n" if function.result == "void" else with_variables(function, f"{check}({called})")


def with_variables(function, statement):
    for argument in arguments(function):
        if argument.kind == "variables":
            return f"with VariableList({input_name(argument)}) as copied:\n    {statement}\n"
    return f"{statement}\n"


def plain(call, check="check", who="self", decoration=""):
    function = BY_NAME[call.function]
    taken = ", ".join([*([who] if who else []), *(
        f"{input_name(a)}: {input_type(a)}"
        + (f" = {DEFAULTS[a.kind]}" if (call.function, a.name) in OPTIONAL else "")
        for a in arguments(function) if a.is_input)])
    result, body = asked(call, check)
    sentence = with_constants(call.sentence, "{}.{}".format)
    return (f"{decoration}def {method_name(call)}({taken}) -> {result}:\n"
            + indented(f'"""{sentence}"""\n{body}'))


def method_name(call):
    return name_of(call).removeprefix("get_")


def class_of(head, sentence, members):
    return f'\nclass {head}:\n    """{sentence}"""\n\n' + indented("\n".join(members))


def plain_calls():
    return PLAIN_HEAD + "\n".join([
        class_of("Plain(Owned)", "Settings, and what the last requests brought.",
                 [plain(call) for call in (*SETTINGS, *ANSWERS)]),
        *("\n" + plain(call, who="") for call in PROCESS)])


def asked_calls():
    names = [method_name(call) for call in REQUESTS]
    return ASKED_HEAD + "\n".join([
        class_of("Requests(Conversation)", "Those that block.", [
            plain(call, "self._request", decoration="@request\n") for call in REQUESTS]),
        class_of("AwaitedRequests(Conversation, TakesTurns)", "The same as coroutines.", [
            "".join(f"{name} = awaited(Requests.{name})\n" for name in names)])])


def files():
    yield "python/kavro_broker/_exports.py", exports()
    yield "python/kavro_broker/_plain.py", plain_calls()
    yield "python/kavro_broker/_asked.py", asked_calls()
