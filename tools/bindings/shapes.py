"""What the parameters of a function are for, which languages with strings, lists and records need to know."""

import re
from typing import NamedTuple

from description import ANSWERS, DURATIONS, FORM, FLAGS, NAMED_NUMBERS, RECORDS
from headers import FUNCTIONS, HANDLES, STRUCTS

BY_NAME = {function.name.removeprefix("kavro_broker_"): function for function in FUNCTIONS}


class Argument(NamedTuple):
    """One or two parameters. Kinds that come in: "text", "again", "bytes", "blob", "variables", "fields",
    "flag", "duration", "enum", "number", beside the "owner" and an "index"; that go out: "out_text",
    "out_number", "out_handle", "out_record"."""
    kind: str
    name: str
    type: str

    @property
    def is_input(self):
        return not self.kind.startswith("out_") and self.kind not in ("owner", "index", "again")


# By the type in C; the second ones are followed by a length.
SIMPLE = {"const char *": "text", "const void *": "blob", "kavro_broker_variable_list": "variables",
          "bool": "flag", "uint8_t": "flag", "uint32_t *": "out_number", "uint8_t *": "out_number",
          **{f"{handle} *": "out_handle" for handle in HANDLES}}
WITH_LENGTH = {"const uint8_t *": "bytes", "const kavro_broker_name_value *": "fields", "char *": "out_text",
               **{f"{struct} *": "out_record" for struct in STRUCTS}}


def kind_of(parameter, first):
    kind, name = parameter
    if first and kind in HANDLES:
        return "owner"
    if name == "index" or name.endswith("_again"):
        return "index" if name == "index" else "again"
    if kind in SIMPLE:
        return SIMPLE[kind]
    return ("flag" if name in FLAGS else "duration" if name in DURATIONS else
            "enum" if name in NAMED_NUMBERS else "number")


def arguments(function):
    parameters = iter(function.parameters)
    for parameter in parameters:
        kind = WITH_LENGTH.get(parameter.type)
        if kind:
            next(parameters)
        yield Argument(kind or kind_of(parameter, parameter is function.parameters[0]), parameter.name,
                       parameter.type)


def name_of(call):
    """Of the method: a list is called after its count."""
    return {"get_type": "finished"}.get(call.function, (call.count or call.function).replace("get_num_", ""))


def indented(text):
    return "".join(f"    {line}\n" if line else "\n" for line in text.rstrip("\n").split("\n"))


def with_constants(sentence, written):
    """A sentence, with the constants in it as the language writes them."""
    return re.sub(r"\{(\w+)\.(\w+)\}", lambda found: written(*found.groups()), sentence)


def fields_by_source(record):
    return {field.source or field.name: field for field in RECORDS[record].fields}


# The items of all lists: the function, and the record that it tells, or None for a text.
ITEMS = [(call.function, call.item) for call in (*ANSWERS, *FORM) if call.count] + [
    ("get_desktop", "Desktop"), ("get_desktop_connection_agent_variable", "Variable"),
    ("get_desktop_connection_alternate_target", "Target"), ("get_variable", "Variable")]

# Of each handle, what frees it.
RELEASE = {function.parameters[0].type: function.name for function in FUNCTIONS
           if function.name.startswith("kavro_broker_free")}
