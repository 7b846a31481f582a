"""What the headers say once for all functions, said of each: a header with the parameters and results that
its comments leave to the conventions. Doxygen reads the headers through this: reference_filter.py HEADER"""

import pathlib
import re
import sys

# By the name of the parameter. What is not here must stand in the comment, else Doxygen complains.
CONVENTIONS = {
    "handle": "the conversation",
    "finder": "the type finder",
    "list": "the list",
    "info": "the allocated desktop",
    "index": "which one, from 0",
    "count": "receives the number",
    "buffer": "receives the text; with null only its size is asked for",
    "length": "the size of `buffer` in bytes; receives the size that the text needs",
    "enable": "whether to",
    "function": "the function to call from now on",
}
TEXT_AND_LENGTH = {
    "": "receives the {0}; with null only its size is asked for",
    "_length": "the size of `{1}` in bytes; receives the size that the text needs",
}
RESULT = "0, or why it failed."  # of those that return a code

FUNCTION = re.compile(r"/\*\*(?P<comment>(?:[^*]|\*(?!/))*)\*/\s*KAVRO_BROKER_API (?P<type>[^;(]*?)\s*"
                      r"\bkavro_broker_\w+\((?P<parameters>[^;]*)\);")


def conventional(name, names):
    if name in CONVENTIONS:
        return CONVENTIONS[name]
    text = name.removesuffix("_length")
    if text in names and f"{text}_length" in names:
        return TEXT_AND_LENGTH["_length" if name != text else ""].format(text.replace("_", " "), text)
    return None


def completed(found):
    names = re.findall(r"(\w+)(?:,|$)", found["parameters"])
    comment = found["comment"]
    added = []
    for name in names:
        told = conventional(name, names)
        if name != "void" and told and not re.search(rf"@param {name}\b", comment):
            added.append(f"@param {name} {told}")
    if found["type"] == "kavro_broker_result" and "@return" not in comment:
        added.append(f"@return {RESULT}")
    lines = "".join(f"\n * {line}" for line in added)
    return found[0].replace(comment, f"{comment.rstrip()}{lines}\n ", 1)


print(FUNCTION.sub(completed, pathlib.Path(sys.argv[1]).read_text()), end="")
