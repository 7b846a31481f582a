#!/usr/bin/env python3
"""Writes python/kavro_broker/_exports.py from the C headers, so that no prototype and no constant is typed
a second time.

  generate.py           writes the file
  generate.py --check   fails when the file is not what would be written
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIBRARY = ROOT / "sdk/libs/broker_client"
HEADERS = [LIBRARY / "kavro_broker.h", LIBRARY / "kavro_broker_extras.h"]
OUTPUT = ROOT / "python/kavro_broker/_exports.py"

# By the type in C without "const".
CTYPES = {
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
# Enumerations whose constants begin in a way that says too little.
ENUM_NAMES = {
    "": "Result",
    "TYPE": "BrokerType",
    "VARIANT": "BrokerVariant",
    "DIALOG_FIELD": "DialogFieldKind",
    "CERTIFICATE": "CertificateVerdict",
    "CONNECTION": "ConnectionProperty",
    "LOG": "LogSeverity",
    "LIMIT": "TimeLimit",
}

HEAD = '''"""Functions and constants of the C interface. Written by tools/bindings/generate.py; not to be edited."""

from ctypes import (CFUNCTYPE, POINTER, Structure, c_bool, c_char_p, c_int, c_int32, c_size_t, c_uint8,
                    c_uint16, c_uint32, c_void_p)
from enum import IntEnum

'''


def exported_names():
    return (LIBRARY / "exports.list").read_text().split()


def headers():
    return "\n".join(header.read_text() for header in HEADERS)


def declarations(text):
    """What is left without comments and preprocessor lines."""
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.DOTALL)
    return re.sub(r"^#(?:.*\\\n)*.*$", "", text, flags=re.MULTILINE)


def version(text):
    return ".".join(re.search(rf"#define KAVRO_BROKER_VERSION_{part} (\d+)", text)[1]
                    for part in ("MAJOR", "MINOR", "PATCH"))


def constants(code):
    """Every enumeration as the words that its constants share, and their names and values."""
    for body in re.findall(r"\benum\s*\{(.*?)\}", code, re.DOTALL):
        values = [(name, int(value, 0))
                  for name, value in re.findall(r"KAVRO_BROKER_(\w+)\s*=\s*(-?\w+)", body)]
        shared = values[0][0].split("_")
        while not all(name.split("_")[:len(shared)] == shared and name != "_".join(shared)
                      for name, _ in values):
            shared.pop()
        yield "_".join(shared), values


def enum_class(shared, values):
    name = ENUM_NAMES.get(shared) or shared.title().replace("_", "")
    skipped = len(shared) + 1 if shared else 0
    members = "".join(f"    {member[skipped:]} = {value}\n" for member, value in values)
    return f"\nclass {name}(IntEnum):\n{members}"


class Types:
    """Translates the types of the headers, those that they define themselves included."""

    def __init__(self, code):
        self.known = dict(CTYPES)
        for name in re.findall(r"typedef struct \w+ \*(\w+);", code):
            self.known.update({name: "c_void_p", f"{name} *": "POINTER(c_void_p)"})
        for origin, name in re.findall(r"typedef (\w+) (\w+);", code):
            self.known[name] = self.known[origin]

    def parameter(self, text, in_callback):
        kind = re.sub(r"(?<=[\s*])\w+$", "", text.strip()).strip()
        if kind == "const uint8_t *" and not in_callback:
            return "c_char_p"  # Python's own bytes; what a callback is given may hold zeros
        return self.known[kind.replace("const ", "")]

    def parameters(self, text, in_callback=False):
        parts = [part for part in text.split(",") if part.strip() != "void"]
        return [self.parameter(part, in_callback) for part in parts]

    def result(self, text):
        return self.known[text.replace("const ", "").strip()]


def definitions(code, types):
    """The structs and the callbacks, which functions name in turn."""
    for body, name in re.findall(r"typedef struct (?:\w+ )?\{(.*?)\} (\w+);", code, re.DOTALL):
        members = [part.strip() for part in body.split(";") if part.strip()]
        fields = ", ".join(f'("{part.split("*")[-1].split()[-1]}", {types.parameters(part)[0]})'
                           for part in members)
        types.known.update({name: name, f"{name} *": f"POINTER({name})"})
        yield f"\nclass {name}(Structure):\n    _fields_ = [{fields}]\n\n"
    for result, name, parameters in re.findall(r"typedef (\w+) \(\*(\w+)\)\((.*?)\);", code, re.DOTALL):
        types.known[name] = name
        arguments = ", ".join([types.result(result), *types.parameters(parameters, in_callback=True)])
        yield f"{name} = CFUNCTYPE({arguments})\n"


def functions(code, types):
    """Name, result and parameters of every exported function."""
    pattern = r"KAVRO_BROKER_API\s+([\w\s]+?[\s*]+)(kavro_broker_\w+)\((.*?)\);"
    for result, name, parameters in re.findall(pattern, code, re.DOTALL):
        yield name, types.result(result), types.parameters(parameters)


def generate():
    text = headers()
    code = declarations(text)
    types = Types(code)
    enums = "\n".join(enum_class(*found) for found in constants(code))
    defined = "".join(definitions(code, types))
    table = sorted(functions(code, types))
    names = [name for name, _, _ in table]
    if names != exported_names():
        raise SystemExit(f"headers and exports.list disagree: {set(names) ^ set(exported_names())}")
    rows = "".join(f'    "{name}": ({result}, [{", ".join(parameters)}]),\n'
                   for name, result, parameters in table)
    return (f'{HEAD}VERSION = "{version(text)}"\n\n{enums}\n{defined}\n'
            f"# Result and parameters by name.\nFUNCTIONS = {{\n{rows}}}\n")


def main():
    if sys.argv[1:] == ["--check"]:
        if OUTPUT.read_text() != generate():
            raise SystemExit(f"{OUTPUT.name} is out of date: run {pathlib.Path(sys.argv[0]).name}")
    else:
        OUTPUT.write_text(generate())


if __name__ == "__main__":
    main()
