"""Writes what the C# assembly has from the C headers: P/Invoke, constants, records and plain calls."""

from xml.sax.saxutils import escape

from description import (ANSWERS, DURATIONS, ENUM_NAMES, FINDER, FLAGS, FORM, NAMED_NUMBERS, OPTIONAL, PROCESS,
                         RECORDS, RENAMED, REQUESTS, SEARCHES, SETTINGS)
from headers import CALLBACKS, CONSTANTS, FUNCTIONS, HANDLES, STRUCTS, SYNONYMS, VERSION
from shapes import BY_NAME, ITEMS, RELEASE, arguments, fields_by_source, indented, name_of, with_constants

PROJECT = f"""<!-- Written by tools/bindings/generate.py; not to be edited. -->
<Project Sdk="Microsoft.NET.Sdk">
  <PropertyGroup>
    <TargetFramework>netstandard2.0</TargetFramework>
    <LangVersion>7.2</LangVersion>
    <Version>{VERSION}</Version>
    <GenerateDocumentationFile>true</GenerateDocumentationFile>
    <PackageLicenseExpression>Apache-2.0</PackageLicenseExpression>
  </PropertyGroup>
</Project>
"""
HEAD = "// Written by tools/bindings/generate.py; not to be edited.\n"
# Words that .NET spells otherwise than by a capital letter.
WORDS = {"oauth": "OAuth", "securid": "SecurId", "ipv6": "IPv6", "pinchange": "PinChange",
         "timezone": "TimeZone", "os": "OS"}
HANDLE_NAMES = {"kavro_broker_handle": "BrokerHandle"}
# What is read from a handle that a request makes.
READ_FROM = {"DesktopListHandle": "IReadOnlyList<Desktop>", "DesktopConnectionInfoHandle": "DesktopConnection"}


def pascal(name):
    return "".join(WORDS.get(word, word.capitalize()) for word in name.lower().split("_"))


def camel(name):
    first, *rest = name.split("_")
    return first + "".join(map(pascal, rest)) if rest else first


def handle_name(handle):
    return HANDLE_NAMES.get(handle, pascal(handle.removeprefix("kavro_broker_")) + "Handle")


def constant(name):
    return pascal(name.removeprefix("ERR_"))


def reference(enumeration_name, name):
    return f'<see cref="{enumeration_name}.{constant(name)}"/>'


def summary(sentence):
    return f"/// <summary>{with_constants(escape(sentence), reference)}</summary>\n"


def block(head, body):
    return f"{head}\n{{\n{indented(body)}}}\n"


def file_of(usings, parts):
    return (HEAD + "".join(f"using {name};\n" for name in usings) + "\n"
            + block("namespace KavroBroker", "\n".join(parts)))


# Exports

TYPES = {
    "void": "void",
    "void *": "IntPtr",
    "bool": "[MarshalAs(UnmanagedType.U1)] bool",
    "int": "int",
    "int32_t": "int",
    "uint8_t": "byte",
    "uint16_t": "ushort",
    "uint32_t": "uint",
    "size_t": "UIntPtr",
    "va_list": "IntPtr",
    "char *": "[In, Out] byte[]",
    "const char *": "byte[]",
    "const void *": "byte[]",
    "const uint8_t *": "byte[]",
    "uint32_t *": "out uint",
    "uint8_t *": "out byte",
    "size_t *": "ref UIntPtr",
    "const kavro_broker_name_value *": "kavro_broker_name_value[]",
}
TYPES.update({name: TYPES[origin] for name, origin in SYNONYMS.items()})
for handle in HANDLES:
    TYPES.update({handle: handle_name(handle), f"{handle} *": f"out {handle_name(handle)}"})
for struct in STRUCTS:
    TYPES.update({struct: struct, f"{struct} *": f"out {struct}"})
TYPES.update({callback.name: callback.name for callback in CALLBACKS})
# What the library hands to a callback, or keeps, is no array of the runtime's.
POINTERS = {kind: "ref UIntPtr" if kind == "size_t *" else "IntPtr" for kind in TYPES if kind.endswith("*")}


def parameter_list(parameters, types):
    return ", ".join(f"{types[kind]} {camel(name)}" for kind, name in parameters)


def native(function):
    """A buffer of bytes comes with its length, one byte alone does not; what is freed is no SafeHandle any
    more."""
    types = dict(TYPES)
    if any(kind == "size_t *" for kind, _ in function.parameters):
        types["uint8_t *"] = "[In, Out] byte[]" if function.parameters[-1].type == "size_t *" else "out byte"
    if function.name in RELEASE.values():
        types.update(dict.fromkeys(HANDLES, "IntPtr"))
    result = POINTERS.get(function.result) or types[function.result]
    return (f"[DllImport(File, CallingConvention = CallingConvention.Cdecl)]\n"
            f"internal static extern {result} {function.name}({parameter_list(function.parameters, types)});\n")


def structure(name, members):
    types = {**TYPES, **POINTERS}
    return "[StructLayout(LayoutKind.Sequential)]\n" + block(
        f"internal struct {name}", "".join(f"internal {types[kind]} {member};\n" for kind, member in members))


def delegate(callback):
    parameters = parameter_list(callback.parameters, {**TYPES, **POINTERS})
    return ("[UnmanagedFunctionPointer(CallingConvention.Cdecl)]\n"
            f"internal delegate {TYPES[callback.result]} {callback.name}({parameters});\n")


def safe_handle(handle):
    return block(f"internal sealed class {handle_name(handle)} : Handle",
                 f"protected override void Free() {{ Exports.{RELEASE[handle]}(handle); }}")


def exports():
    functions = 'private const string File = "broker_client";\n\n' + "\n".join(map(native, FUNCTIONS))
    return file_of(("System", "System.Runtime.InteropServices"), [
        *(structure(*found) for found in STRUCTS.items()), *map(delegate, CALLBACKS),
        *map(safe_handle, HANDLES), block("internal static class Exports", functions)])


# Constants and records

def enumeration(found):
    return summary(found.sentence) + block(f"public enum {ENUM_NAMES[found.shared]}", "".join(
        summary(sentence) + f"{constant(name)} = {value},\n"
        for name, value, sentence in found.values))


def type_of(kind):
    if isinstance(kind, list):
        return f"IReadOnlyList<{type_of(kind[0])}>"
    if isinstance(kind, tuple):
        return type_of(kind[1])
    return {"text": "string", "flag": "bool", "bytes": "byte[]", "number": "int"}.get(kind, kind)


def record(name, described):
    properties = "".join(
        summary(field.sentence) + f"public {type_of(field.type)} {pascal(field.name)} {{ get; internal set; }}\n"
        for field in described.fields)
    shown = ", ".join(f'Printed.Of("{pascal(field.name)}", {pascal(field.name)})'
                      for field in described.fields if not field.secret)
    return summary(described.sentence) + block(
        f"public sealed partial class {name}", f"{properties}\n{summary('Without what may be secret.')}"
        f'public override string ToString() {{ return Printed.Record("{name}", {shown}); }}\n')


# Calls

INPUT_TYPES = {"text": "string", "bytes": "byte[]", "blob": "byte[]", "variables": "IEnumerable<Variable>",
               "fields": "IEnumerable<Variable>", "flag": "bool", "duration": "TimeSpan"}
DEFAULTS = {"text": '""', "variables": "null"}


def input_name(argument):
    return camel(RENAMED.get((argument.kind, argument.name), argument.name))


def input_type(argument):
    if argument.kind == "enum":
        return NAMED_NUMBERS[argument.name]
    return INPUT_TYPES.get(argument.kind) or TYPES[argument.type]


def passed(argument, owner):
    name = input_name(argument)
    return {
        "owner": owner,
        "index": "index",
        "text": f"lent.Text({name})",
        "again": f"lent.Text({name.removesuffix('Again')})",
        "bytes": f"{name}, (UIntPtr){name}.Length",
        "blob": name,
        "variables": f"lent.Variables({name})",
        "fields": f"lent.Fields({name}), lent.Count",
        "flag": name if argument.type == "bool" else f"({TYPES[argument.type]})({name} ? 1 : 0)",
        "duration": f"Call.Units({name}, {DURATIONS.get(argument.name)})",
        "enum": f"Call.Known({name})" if name == "operation" else f"({TYPES.get(argument.type)}){name}",
        "number": name,
        "out_text": f"{name}.Buffer, ref {name}.Size",
        "out_number": f"out {name}",
        "out_handle": f"out {name}",
        "out_record": f"out {name}, Call.SizeOf<{argument.type.removesuffix(' *')}>()",
    }[argument.kind]


def invoked(function, owner):
    return f"Exports.{function.name}({', '.join(passed(a, owner) for a in arguments(function))})"


def converted(argument, kind):
    """A number that came out, as the field or result that it is."""
    name = input_name(argument)
    return f"{name} != 0" if kind == "flag" else f"({kind}){name}"


def made(record_name, values):
    """A record from what its fields are called in C."""
    return f"return {block(f'new {record_name}', assigned(record_name, values)).rstrip()};\n"


def assigned(record_name, values):
    return "".join(f"{pascal(field.name)} = {values[source]},\n"
                   for source, field in fields_by_source(record_name).items())


def read_record(function, told, record_name, owner):
    """A record that is lent whole."""
    struct = told[0].type.removesuffix(" *")
    values = {member.name: f"Call.{'Copy' if member.type == 'kavro_broker_text' else 'Bits'}"
                           f"({told[0].name}.{member.name})" for member in STRUCTS[struct]}
    return f"{struct} {told[0].name};\nCall.Check({invoked(function, owner)});\n" + made(record_name, values)


def read_texts(function, told, record_name, owner):
    """Texts, and numbers beside them."""
    texts = [input_name(a) for a in told if a.kind == "out_text"]
    rooms = "".join(f"var {name} = new Room();\n" for name in texts)
    numbers = "".join(f"{TYPES[a.type].removeprefix('out ')} {input_name(a)} = 0;\n" for a in told
                      if a.kind == "out_number")
    body = f"{rooms}{numbers}Room.Fill(() => {invoked(function, owner)}, {', '.join(texts)});\n"
    if not record_name:
        return f"{body}return {texts[0]}.Text;\n"
    fields = fields_by_source(record_name)
    return body + made(record_name, {a.name: f"{input_name(a)}.Text" if a.kind == "out_text"
                                     else converted(a, fields[a.name].type) for a in told})


def asked(function, record_name=None, owner="handle", check="Call.Check"):
    """The result of a function, and the statements that come by it."""
    told = [argument for argument in arguments(function) if argument.kind.startswith("out_")]
    kind, called = told[0].kind if told else function.result, invoked(function, owner)
    if any(argument.kind == "out_text" for argument in told):
        return record_name or "string", read_texts(function, told, record_name, owner)
    if kind == "out_record":
        return record_name, read_record(function, told, record_name, owner)
    if kind == "out_handle":
        made_handle, name = handle_name(told[0].type.removesuffix(" *")), told[0].name
        return READ_FROM[made_handle], (f"{made_handle} {name};\n{check}({called});\n"
                                        f"using ({name})\n    return Readers.Read({name});\n")
    if kind == "out_number":
        result = "flag" if told[0].name in FLAGS else NAMED_NUMBERS[told[0].name]
        return type_of(result), (f"uint {input_name(told[0])};\n{check}({called});\n"
                                 f"return {converted(told[0], result)};\n")
    if kind == "const char *":
        return "string", f"return Call.Constant({called});\n"
    return "void", f"{called};\nCall.Done();\n" if kind == "void" else f"{check}({called});\n"


def method(head, body):
    return block(head, block("using (var lent = new Lent())", body) if "lent." in body else body)


def reader_name(function_name):
    return pascal(function_name.replace("get_", "read_", 1))


def reader(function_name, record_name):
    """Reads one item of a list."""
    function = BY_NAME[function_name]
    result, body = asked(function, record_name, "owner")
    owner = TYPES[function.parameters[0].type]
    return method(f"internal static {result} {reader_name(function_name)}({owner} owner, uint index)", body)


def read_list(call):
    return f"IReadOnlyList<{call.item or 'string'}>", (
        f"return Call.Each(handle, Exports.{BY_NAME[call.count].name}, Readers.{reader_name(call.function)});\n")


class Plain:
    """A call as a method."""

    def __init__(self, call, check="Call.Check"):
        function = BY_NAME[call.function]
        inputs = [argument for argument in arguments(function) if argument.is_input]
        self.sentence = call.sentence
        self.name = pascal(name_of(call))
        if call.count and not self.name.startswith("Get"):
            self.name = f"Get{self.name}"
        self.taken = [f"{input_type(argument)} {input_name(argument)}"
                      + (f" = {DEFAULTS[argument.kind]}" if (call.function, argument.name) in OPTIONAL else "")
                      for argument in inputs]
        self.passed_on = ", ".join(map(input_name, inputs))
        self.result, self.body = read_list(call) if call.count else asked(function, call.item, check=check)

    def text(self, kind="public"):
        return summary(self.sentence) + method(
            f"{kind} {self.result} {self.name}({', '.join(self.taken)})", self.body)

    def awaited(self):
        """The same, and once more as a task."""
        task = "Task" if self.result == "void" else f"Task<{self.result}>"
        taken = ", ".join([*self.taken, "CancellationToken cancellationToken = default"])
        return self.text() + "\n" + summary(f"{self.sentence} Cancelling cancels the request.") + method(
            f"public {task} {self.name}Async({taken})",
            f"return Ask(() => {self.name}({self.passed_on}), cancellationToken);\n")


def class_of(head, members):
    return block(head, "\n".join(members))


def calls():
    return file_of(("System", "System.Collections.Generic", "System.Threading", "System.Threading.Tasks"), [
        class_of("public sealed partial class Broker", [
            *(Plain(call).text() for call in SETTINGS), *(Plain(call, "Answered").awaited() for call in REQUESTS),
            *(Plain(call).text() for call in ANSWERS), *(Plain(call).text("private") for call in FORM)]),
        class_of("public sealed partial class TypeFinder", [
            *(Plain(call).awaited() for call in SEARCHES), *(Plain(call).text() for call in FINDER)]),
        class_of("public static partial class BrokerLibrary", [
            Plain(call).text("public static") for call in PROCESS]),
        class_of("internal static partial class Readers", [reader(*found) for found in ITEMS])])


def files():
    yield "csharp/KavroBroker.csproj", PROJECT
    yield "csharp/generated/Exports.cs", exports()
    yield "csharp/generated/Constants.cs", file_of((), map(enumeration, CONSTANTS))
    yield "csharp/generated/Records.cs", file_of(
        ("System.Collections.Generic",), [record(*found) for found in RECORDS.items()])
    yield "csharp/generated/Calls.cs", calls()
