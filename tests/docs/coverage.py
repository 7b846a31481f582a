"""Whatever a user can name stands in the documentation, and what stands there exists:
coverage.py SIMULATOR CLIENT"""

import re
import subprocess
import sys

from pages import PAGES, ROOT, prose

SIMULATOR, CLIENT = sys.argv[1:]
LIBRARY = ROOT / "sdk/libs/broker_client"
HEADER = (LIBRARY / "kavro_broker.h").read_text()


def page(name):
    return (ROOT / "docs" / name).read_text()


def missing(kind, wanted, where, pattern=r"\b{}\b"):
    text = page(where)
    return [f"{where}: nothing about {kind} {name}" for name in sorted(wanted)
            if not re.search(pattern.format(re.escape(name)), text)]


def exports():
    return missing("function", (LIBRARY / "exports.list").read_text().split(), "concepts.md")


def table(where, kind, rows):
    """Rows of a table that must stand on a page as they are, up to where its own words begin."""
    text = page(where)
    return [f"{where}: no row for {kind} {row}" for row in rows if f"\n| {row} | " not in text]


def results():
    sentences = dict(re.findall(r'\{NAMED\((\w+)\),\s*"([^"]+)"\}',
                                (LIBRARY / "exports_result_texts.cpp").read_text()))
    codes = re.findall(r"KAVRO_BROKER_(OK|ERR_\w+) = (\d+)", HEADER)
    return table("errors.md", "result", [f"{code} | `{name}` | {sentences[name]}" for name, code in codes])


def verdicts():
    codes = re.findall(r"KAVRO_BROKER_CERTIFICATE_(\w+) = (\d+)", HEADER)
    return table("trust.md", "verdict", [f"{code} | `{name}`" for name, code in codes])


def help_of(*command):
    return subprocess.run([*command, "--help"], check=True, capture_output=True, text=True).stdout


def option_names(text):
    return set(re.findall(r"^ +(?:-\w,)?(--[\w-]+)", text, re.M)) - {"--help"}


def options():
    general = help_of(CLIENT)
    commands = re.findall(r"^  (\w+) ", general.split("Commands:")[1].split("\n\n")[0], re.M)
    client = option_names(general).union(*(option_names(help_of(CLIENT, command)) for command in commands))
    whole = r"`[^`\n]*(?<![\w-]){}\b(?!-)"
    return (missing("command", commands, "command-line.md", "`{}`")
            + missing("option", client, "command-line.md", whole)
            + missing("option", option_names(help_of(SIMULATOR)), "simulator.md", whole))


def scenario_keys():
    code = "".join((ROOT / "tools/broker-sim" / name).read_text()
                   for name in ("scenario_reading.cpp", "fault_reading.cpp"))
    keys = re.findall(r'\{"([a-z]\w*)", ', code) + re.findall(r"\{server_name::(\w+), ", code)
    return missing("key", set(keys), "simulator.md", '[`"]{}[`"]')


def dev_commands():
    known = set(re.findall(r"^(\w+)\)", (ROOT / "dev").read_text(), re.M)) | {"help"}
    return [f"{name.name}: ./dev knows no {command}" for name in PAGES
            for command in re.findall(r"\./dev ([a-z]\w*)", name.read_text()) if command not in known]


def anchors(target):
    headings = re.findall(r"^#+ (.*)$", target.read_text(), re.M)
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}


def links():
    for name in PAGES:
        for path, anchor in re.findall(r"\]\((?!https?:)([^)#]*)(?:#([^)]*))?\)", prose(name)):
            target = (name.parent / path).resolve() if path else name
            if not target.exists() or anchor and anchor not in anchors(target):
                yield f"{name.name}: a link to {path}#{anchor} leads nowhere"


def long_lines():
    """Rows of tables cannot be broken; performance.md has measured lines."""
    return [f"{name.name}:{number}: longer than 110 characters" for name in PAGES
            for number, line in enumerate(name.read_text().splitlines(), 1)
            if len(line) > 110 and not line.startswith(("|", "CPU time for each"))]


def index():
    listed = page("README.md")
    return [f"docs/README.md: nothing about {name.name}" for name in PAGES
            if name.name != "README.md" and f"]({name.name})" not in listed]


CHECKS = (exports, results, verdicts, options, scenario_keys, dev_commands, links, long_lines, index)
problems = [problem for check in CHECKS for problem in check()]
sys.exit("\n".join(problems) or None)
