"""Every function that the library exports, but those that tell a part of a record, is called by the C++ headers and by the Python package."""

import ast
import pathlib
import re
import sys

# What a whole record tells too.
OF_RECORDS = {f"kavro_broker_get_desktop_{member}"
              for member in ("name", "id", "type", "state", "health", "operation_allowed")}

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIBRARY = ROOT / "sdk/libs/broker_client"


def used_in_cpp():
    text = "".join(header.read_text() for header in LIBRARY.glob("kavro_broker*.hpp"))
    return set(re.findall(r"\bkavro_broker_\w+", re.sub(r"/\*.*?\*/|//.*?$", "", text, flags=re.S | re.M)))


def used_in_python():
    modules = (ROOT / "python/kavro_broker").glob("*.py")
    return {node.attr for module in modules for node in ast.walk(ast.parse(module.read_text()))
            if isinstance(node, ast.Attribute)}


exports = set((LIBRARY / "exports.list").read_text().split()) - OF_RECORDS
missing = [f"{name}: not in {language}" for language, used in
           (("C++", used_in_cpp()), ("Python", used_in_python())) for name in sorted(exports - used)]
sys.exit("\n".join(missing) or None)
