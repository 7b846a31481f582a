"""What the C headers declare: constants, types and functions, each with its types as C has them."""

import pathlib
import re
from typing import List, NamedTuple

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIBRARY = ROOT / "sdk/libs/broker_client"

TEXT = "\n".join((LIBRARY / name).read_text() for name in ("kavro_broker.h", "kavro_broker_extras.h"))
# What is left without comments and preprocessor lines.
CODE = re.sub(r"^#(?:.*\\\n)*.*$", "", re.sub(r"/\*.*?\*/", "", TEXT, flags=re.DOTALL), flags=re.MULTILINE)

VERSION = ".".join(re.search(rf"#define KAVRO_BROKER_VERSION_{part} (\d+)", TEXT)[1]
                   for part in ("MAJOR", "MINOR", "PATCH"))


class Parameter(NamedTuple):
    type: str
    name: str


class Constant(NamedTuple):
    name: str
    value: int
    sentence: str


class Enumeration(NamedTuple):
    shared: str  # the words that all of its constants begin with
    sentence: str
    values: List[Constant]


class Function(NamedTuple):
    name: str
    result: str
    parameters: List[Parameter]


def _parameters(text, separator=","):
    parts = [" ".join(part.split()) for part in text.split(separator)]
    return [Parameter(*re.fullmatch(r"(.*[\s*])(\w+)", part).groups()) for part in parts
            if part not in ("", "void")]


def _stripped(parameters):
    return [Parameter(kind.strip(), name) for kind, name in parameters]


def _sentence(comment):
    return " ".join(re.sub(r"^\s*\*", "", comment, flags=re.MULTILINE).split())


def _constants():
    """Every enumeration, by the words that its constants share."""
    for comment, body in re.findall(r"/\*\*((?:(?!\*/).)*)\*/\s*enum \{(.*?)\n\};", TEXT, re.DOTALL):
        found = re.findall(r"KAVRO_BROKER_(\w+) = (-?\w+),?(?:\s*/\*\*<(.*?)\*/)?", body, re.DOTALL)
        words = [name.split("_") for name, _, _ in found]
        shared = 0
        while all(len(name) > shared + 1 and name[shared] == words[0][shared] for name in words):
            shared += 1
        yield Enumeration("_".join(words[0][:shared]), _sentence(comment), [
            Constant("_".join(name[shared:]), int(value, 0),
                     _sentence(told) or f"KAVRO_BROKER_{'_'.join(name)} in C")
            for name, (_, value, told) in zip(words, found)])


CONSTANTS = list(_constants())
HANDLES = re.findall(r"typedef struct \w+ \*(\w+);", CODE)
SYNONYMS = {name: origin for origin, name in re.findall(r"typedef (\w+) (\w+);", CODE)}
STRUCTS = {name: _stripped(_parameters(body, ";")) for body, name in
           re.findall(r"typedef struct (?:\w+ )?\{(.*?)\} (\w+);", CODE, re.DOTALL)}
CALLBACKS = [Function(name, result, _stripped(_parameters(parameters))) for result, name, parameters in
             re.findall(r"typedef (\w+) \(\*(\w+)\)\((.*?)\);", CODE, re.DOTALL)]
FUNCTIONS = sorted(
    Function(name, result.strip(), _stripped(_parameters(parameters))) for result, name, parameters in
    re.findall(r"KAVRO_BROKER_API\s+([\w\s]+?[\s*]+)(kavro_broker_\w+)\((.*?)\);", CODE, re.DOTALL))

EXPORTS = (LIBRARY / "exports.list").read_text().split()
if EXPORTS != [function.name for function in FUNCTIONS]:
    raise SystemExit(f"headers and exports.list disagree: {set(EXPORTS) ^ {f.name for f in FUNCTIONS}}")
