"""Every function that the library exports, but those that tell a part of a record, is called in every language."""

import pathlib
import re
import sys

# What a whole record tells too.
OF_RECORDS = {f"kavro_broker_get_desktop_{member}"
              for member in ("name", "id", "type", "state", "health", "operation_allowed")}

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIBRARY = ROOT / "sdk/libs/broker_client"


# By language: the files, and how a function is called in them.
LANGUAGES = {
    "C++": ("sdk/libs/broker_client/kavro_broker*.hpp", r"\b(kavro_broker_\w+)"),
    "Python": ("python/kavro_broker/*.py", r"\blibrary\.(kavro_broker_\w+)"),
    "C#": ("csharp/**/*.cs", r"\bExports\.(kavro_broker_\w+)"),
    "Rust": ("rust/src/**/*.rs", r"\bexports::(kavro_broker_\w+)"),
}


def used(files, call):
    text = "".join(file.read_text() for file in ROOT.glob(files))
    return set(re.findall(call, re.sub(r"/\*.*?\*/|//.*?$", "", text, flags=re.S | re.M)))


exports = set((LIBRARY / "exports.list").read_text().split()) - OF_RECORDS
missing = [f"{name}: not in {language}" for language, place in LANGUAGES.items()
           for name in sorted(exports - used(*place))]
sys.exit("\n".join(missing) or None)
