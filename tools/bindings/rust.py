"""Writes what the Rust crate has from the C headers: the extern block, constants, records and plain calls."""

from description import (ANSWERS, DURATIONS, ENUM_NAMES, FINDER, FLAGS, FORM, NAMED_NUMBERS, PROCESS, RECORDS,
                         RENAMED, REQUESTS, SEARCHES, SETTINGS)
from headers import CALLBACKS, CONSTANTS, FUNCTIONS, HANDLES, STRUCTS, SYNONYMS, VERSION
from shapes import BY_NAME, ITEMS, RELEASE, arguments, fields_by_source, indented, name_of, with_constants

HEAD = "// Written by tools/bindings/generate.py; not to be edited.\n"
# What is read from a handle that a request makes.
READ_FROM = {"kavro_broker_desktop_list": "Vec<Desktop>",
             "kavro_broker_desktop_connection_info": "DesktopConnection"}

MANIFEST = f"""# Written by tools/bindings/generate.py; not to be edited.
[package]
name = "kavro_broker"
version = "{VERSION}"
edition = "2021"
rust-version = "1.63"
license = "Apache-2.0"
description = "Conversations with connection brokers, through the broker_client library"
links = "broker_client"

[[example]]
name = "conversation"
path = "../examples/conversation.rs"

[[test]]
name = "ways"
path = "../tests/languages/ways.rs"
"""


def block(head, body, foot="}"):
    return f"{head} {{\n{indented(body)}{foot}\n"


def identifier(name):
    return f"r#{name}" if name in ("type", "use") else name


def enum_name(name):
    """Rust has a Result of its own."""
    return "Code" if name == "Result" else name


def reference(enumeration_name, name):
    return f"[`{enum_name(enumeration_name)}::{name.removeprefix('ERR_')}`]"


def doc(sentence):
    return f"/// {with_constants(sentence, reference)}\n"


# Exports

TYPES = {
    "void": "c_void",
    "void *": "*mut c_void",
    "bool": "bool",
    "int": "c_int",
    "int32_t": "i32",
    "uint8_t": "u8",
    "uint16_t": "u16",
    "uint32_t": "u32",
    "size_t": "usize",
    "va_list": "*mut c_void",
    "char": "c_char",
}
TYPES.update({name: TYPES[origin] for name, origin in SYNONYMS.items()})
TYPES.update(dict.fromkeys(HANDLES, "*mut c_void"))
TYPES.update({name: name for name in (*STRUCTS, *(callback.name for callback in CALLBACKS))})


def type_of(kind):
    if kind in TYPES:
        return TYPES[kind]
    pointer = "*const" if kind.startswith("const ") else "*mut"
    return f"{pointer} {TYPES[kind.removeprefix('const ').removesuffix(' *')]}"


def parameters(function):
    return ", ".join(f"{identifier(name)}: {type_of(kind)}" for kind, name in function.parameters)


def result_of(function):
    return "" if function.result == "void" else f" -> {type_of(function.result)}"


def exports():
    structs = [f"#[repr(C)]\n#[derive(Clone, Copy)]\n" + block(f"pub struct {name}", "".join(
        f"pub {identifier(member)}: {type_of(kind)},\n" for kind, member in members)) for name, members in STRUCTS.items()]
    callbacks = [f"pub type {callback.name} =\n    Option<unsafe extern \"C\" fn({parameters(callback)}){result_of(callback)}>;\n"
                 for callback in CALLBACKS]
    functions = "".join(f"pub fn {function.name}({parameters(function)}){result_of(function)};\n"
                        for function in FUNCTIONS)
    return (f"{HEAD}#![allow(dead_code, non_camel_case_types)]\n\nuse std::os::raw::{{c_char, c_int, c_void}};\n\n"
            + "\n".join([*structs, *callbacks, '#[link(name = "broker_client")]\n' + block('extern "C"', functions)]))


# Constants and records

def enumeration(found):
    members = "".join(doc(sentence) + f"{name.removeprefix('ERR_')} = {value & 0xFFFFFFFF:#x},\n"
                      for name, value, sentence in found.values)
    return block("constants!", doc(found.sentence) + block(enum_name(ENUM_NAMES[found.shared]), members))


CONSTANTS_HEAD = """
/// A number of the library's, which may be one that was not known yet when this was written.
macro_rules! constants {
    ($(#[$about:meta])* $name:ident { $($(#[$doc:meta])* $constant:ident = $value:literal,)* }) => {
        $(#[$about])*
        #[derive(Clone, Copy, PartialEq, Eq, Hash)]
        pub struct $name(
            /// As it is in C.
            pub u32
        );

        impl $name {
            $($(#[$doc])* pub const $constant: Self = Self($value);)*
            /// All that have a name.
            pub const ALL: &'static [Self] = &[$(Self::$constant),*];
        }

        impl std::fmt::Debug for $name {
            fn fmt(&self, to: &mut std::fmt::Formatter<'_>) -> std::fmt::Result {
                match *self {
                    $(Self::$constant => to.write_str(stringify!($constant)),)*
                    Self(other) => write!(to, "{other}"),
                }
            }
        }
    };
}
"""


def field_type(kind):
    if isinstance(kind, list):
        return f"Vec<{field_type(kind[0])}>"
    if isinstance(kind, tuple):
        return f"Option<{field_type(kind[1])}>"
    return {"text": "String", "flag": "bool", "bytes": "Vec<u8>", "number": "i32", "type": "kind"}.get(
        kind, enum_name(kind))


def record(name, described):
    members = "".join(f"{doc(field.sentence)}pub {identifier(field.name)}: {field_type(field.type)},\n"
                      for field in described.fields)
    is_secret = any(field.secret for field in described.fields)
    derived = "Clone, PartialEq, Eq" if is_secret else "Clone, Debug, PartialEq, Eq"
    return (f"{doc(described.sentence)}#[derive({derived})]\n#[non_exhaustive]\n"
            + block(f"pub struct {name}", members) + ("\n" + printed(name, described) if is_secret else ""))


def printed(name, described):
    """Without what may be secret."""
    shown = "".join(f'.field("{field.name}", &self.{identifier(field.name)})' for field in described.fields
                    if not field.secret)
    return block(f"impl fmt::Debug for {name}", block(
        "fn fmt(&self, to: &mut fmt::Formatter<'_>) -> fmt::Result",
        f'to.debug_struct("{name}"){shown}.finish_non_exhaustive()'))


# Calls

INPUT_TYPES = {"text": "&str", "bytes": "&[u8]", "blob": "&[u8]", "variables": "&[(&str, &str)]",
               "fields": "&[(&str, &str)]", "flag": "bool", "duration": "Duration"}


def input_name(argument):
    return identifier(RENAMED.get((argument.kind, argument.name), argument.name))


def input_type(argument):
    if argument.kind == "enum":
        return enum_name(NAMED_NUMBERS[argument.name])
    return INPUT_TYPES.get(argument.kind) or type_of(argument.type)


def passed(argument, owner):
    name = input_name(argument)
    return {
        "owner": owner,
        "index": "index",
        "text": f"{name}.as_ptr()",
        "again": f"{name.removesuffix('_again')}.as_ptr()",
        "bytes": f"{name}.as_ptr(), {name}.len()",
        "blob": f"{name}.as_ptr().cast()",
        "variables": f"{name}.handle()",
        "fields": f"{name}.as_ptr(), {name}.len()",
        "flag": f"{name}.into()" if argument.type != "bool" else name,
        "duration": f"units({name}, {DURATIONS.get(argument.name)})",
        "enum": f"known({name})?" if name == "operation" else f"{name}.0" + (
            " as i32" if argument.type == "int32_t" else ""),
        "number": name,
        "out_text": f"{name}.buffer(), {name}.size()",
        "out_number": f"&mut {name}",
        "out_handle": f"&mut {name}",
        "out_record": f"&mut {name}, size_of::<exports::{argument.type.removesuffix(' *')}>()",
    }[argument.kind]


LENT = {"text": "Text", "variables": "VariableList", "fields": "Fields"}


def lent(function):
    """What arguments are made of for the time of the call."""
    return "".join(f"let {input_name(argument)} = {LENT[argument.kind]}::new({input_name(argument)})?;\n"
                   for argument in arguments(function) if argument.kind in LENT)


def invoked(function, owner):
    return f"unsafe {{ exports::{function.name}({', '.join(passed(a, owner) for a in arguments(function))}) }}"


def converted(name, kind):
    """A number that came out, as the field or result that it is."""
    return f"{name} != 0" if kind == "flag" else f"{enum_name(kind)}({name})"


def made(record_name, values):
    fields = ((identifier(field.name), values[source]) for source, field in fields_by_source(record_name).items())
    return block(f"Ok({record_name}", "".join(
        f"{name},\n" if name == value else f"{name}: {value},\n" for name, value in fields), "})")


def read_record(function, told, record_name, owner):
    """A record that is lent whole."""
    name, struct = told[0].name, told[0].type.removesuffix(" *")
    values = {member: f"{'copy' if kind == 'kavro_broker_text' else 'bits'}(&{name}.{identifier(member)})"
              for kind, member in STRUCTS[struct]}
    return (f"let mut {name}: exports::{struct} = unsafe {{ zeroed() }};\ncheck({invoked(function, owner)})?;\n"
            + made(record_name, values))


def read_texts(function, told, record_name, owner):
    """Texts, and numbers beside them."""
    texts = ", ".join(a.name for a in told if a.kind == "out_text")
    numbers = "".join(f"let mut {a.name} = 0;\n" for a in told if a.kind == "out_number")
    body = (f"{numbers}let [{texts}] = read_texts::<{texts.count(',') + 1}>"
            f"(|[{texts}]| {invoked(function, owner)})?;\n")
    if not record_name:
        return f"{body}Ok({texts})\n"
    fields = fields_by_source(record_name)
    return body + made(record_name, {a.name: a.name if a.kind == "out_text"
                                     else converted(a.name, fields[a.name].type) for a in told})


def asked(function, record_name=None, owner="self.handle()", check="check"):
    """The result of a function, and the statements that come by it."""
    told = [argument for argument in arguments(function) if argument.kind.startswith("out_")]
    kind, called = told[0].kind if told else function.result, invoked(function, owner)
    if any(argument.kind == "out_text" for argument in told):
        return f"Result<{record_name or 'String'}>", read_texts(function, told, record_name, owner)
    if kind == "out_record":
        return f"Result<{record_name}>", read_record(function, told, record_name, owner)
    if kind == "out_handle":
        handle, name = told[0].type.removesuffix(" *"), told[0].name
        return f"Result<{READ_FROM[handle]}>", (
            f"let mut {name} = null_mut();\nlet result = {called};\n"
            f"let {name} = Owned::new({name}, exports::{RELEASE[handle]});\n{check}(result)?;\n"
            f"read_{handle.removeprefix('kavro_broker_')}(&{name})\n")
    if kind == "out_number":
        result, name = "flag" if told[0].name in FLAGS else NAMED_NUMBERS[told[0].name], told[0].name
        return f"Result<{field_type(result)}>", (
            f"let mut {name} = 0;\n{check}({called})?;\nOk({converted(name, result)})\n")
    if kind == "const char *":
        return "String", f"constant({called})\n"
    if kind == "void":
        may_fail = bool(lent(function))
        return "Result<()>" if may_fail else "", f"{called};\nresume();\n" + ("Ok(())\n" if may_fail else "")
    return "Result<()>", f"{check}({called})\n"


def method(head, result, body):
    return block(head + (f" -> {result}" if result else ""), body)


def reader_name(function_name):
    return function_name.replace("get_", "read_", 1)


def reader(function_name, record_name):
    """Reads one item of a list."""
    result, body = asked(BY_NAME[function_name], record_name, "owner")
    return method(f"pub(crate) fn {reader_name(function_name)}(owner: *mut c_void, index: u32)", result, body)


def plain(call, who="&self", check="check", visible="pub"):
    function = BY_NAME[call.function]
    taken = ", ".join([*([who] if who else []), *(f"{input_name(a)}: {input_type(a)}" for a in arguments(function)
                                                 if a.is_input)])
    if call.count:
        result = f"Result<Vec<{call.item or 'String'}>>"
        body = f"read_each(self.handle(), exports::{BY_NAME[call.count].name}, {reader_name(call.function)})\n"
    else:
        result, body = asked(function, call.item, check=check)
    name = name_of(call).removeprefix("get_")
    return doc(call.sentence) + method(f"{visible} fn {name}({taken})", result, lent(function) + body)


def calls():
    used = ("use super::constants::*;\nuse super::exports;\nuse super::records::*;\n"
            "use crate::call::{bits, check, constant, copy, known, read_each, read_texts, units, Owned, Text};\n"
            "use crate::callbacks::resume;\n"
            "use crate::records::{read_desktop_connection_info, read_desktop_list};\n"
            "use crate::variables::{Fields, VariableList};\nuse crate::{Broker, Result, TypeFinder};\n"
            "use std::mem::{size_of, zeroed};\nuse std::os::raw::c_void;\nuse std::ptr::null_mut;\n"
            "use std::time::Duration;\n")
    change, look = "&mut self", "&self"
    return "\n".join([
        HEAD + used,
        block("impl Broker", "\n".join([
            *(plain(call, change) for call in SETTINGS), *(plain(call, change, "self.answered") for call in REQUESTS),
            *(plain(call, look) for call in ANSWERS), *(plain(call, look, visible="pub(crate)") for call in FORM)])),
        block("impl TypeFinder", "\n".join([
            *(plain(call, change) for call in SEARCHES), *(plain(call, look) for call in FINDER)])),
        *(plain(call, "") for call in PROCESS), *(reader(*found) for found in ITEMS)])


def files():
    yield "rust/Cargo.toml", MANIFEST
    yield "rust/src/generated/mod.rs", HEAD + "".join(
        f"pub(crate) mod {name};\n" for name in ("calls", "constants", "exports", "records"))
    yield "rust/src/generated/exports.rs", exports()
    yield "rust/src/generated/constants.rs", HEAD + CONSTANTS_HEAD + "\n" + "\n".join(map(enumeration, CONSTANTS))
    yield "rust/src/generated/records.rs", (HEAD + "use super::constants::*;\nuse std::fmt;\n\n"
                                            + "\n".join(record(*found) for found in RECORDS.items()))
    yield "rust/src/generated/calls.rs", calls()
