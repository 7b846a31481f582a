"""Builds and runs what the pages show, and compares what comes out; docs/README.md tells the rules:
check_blocks.py SIMULATOR CLIENT LIBRARY CC CXX"""

import contextlib
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
from itertools import groupby, zip_longest

from pages import PAGES, ROOT, blocks

SIMULATOR, CLIENT, LIBRARY, CC, CXX = sys.argv[1:]
PORT_OF_THE_PAGES = "60443"

FOLDERS = [f"-I{ROOT / 'sdk/libs/broker_client'}", f"-I{ROOT / 'tools/broker-sim'}"]
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror", "-Wno-unused"]
COMPILERS = {"c": [CC, "-x", "c", "-std=c99", *WARNINGS, *FOLDERS],
             "cpp": [CXX, "-x", "c++", "-std=c++20", *WARNINGS, *FOLDERS]}
INCLUDES = {"c": ("kavro_broker_extras.h", "stdio.h", "stdlib.h", "string.h"),
            "cpp": ("kavro_broker.hpp", "broker_sim.h", "status_server.h", "iostream", "thread")}

# What a console knows: a simulator is started in the background, and known by its port from then on.
CONSOLE = rf"""
. "{ROOT}/tools/simulator.sh"
mkdir console && cd console && cp ../ca.pem ../password.txt . && export SSL_CERT_FILE=ca.pem
trap 'kill $(jobs -p) 2>/dev/null' EXIT
exec 2>&1 </dev/null
"""


@contextlib.contextmanager
def simulator(folder, scenario=None):
    options = ["--scenario", scenario, "--address", "127.0.0.1", "--port", "0"] if scenario else []
    with subprocess.Popen([SIMULATOR, "--ca-file", folder / "ca.pem", *options],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True) as process:
        try:
            yield process.stdout.readline()
        finally:
            process.terminate()


def run(command, folder, port, **options):
    """The output of a command that knows the page's broker, and what is wrong if it failed."""
    path = os.pathsep.join([str(folder / "bin"), os.environ["PATH"]])
    done = subprocess.run(command, cwd=folder, text=True, capture_output=True, timeout=120, **options, env={
                              **os.environ, "PATH": path, "SSL_CERT_FILE": str(folder / "ca.pem"),
                              "SSL_CERT_DIR": str(folder / "none"), "port": port,
                              "LD_LIBRARY_PATH": str(pathlib.Path(LIBRARY).parent),
                              "KAVRO_BROKER_LIBRARY": LIBRARY, "PYTHONPATH": str(ROOT / "python"),
                              "PYTHONDONTWRITEBYTECODE": "1"})
    problem = f"status {done.returncode}\n{done.stdout}{done.stderr}" if done.returncode else None
    return done.stdout, problem


def same(expected, output):
    """Whether a page shows this output: "..." in it is anything, and the broker may be called by any name
    and port that the page has for it."""
    def general(text):
        text = re.sub(r"(127\.0\.0\.1|broker\.example)(:|, port )\d+", "BROKER", text)
        text = re.sub(r'("(?:port|broker)"): ?\d+', r"\1:0", text)
        return text.replace("broker.example", "127.0.0.1").strip()
    pattern = re.escape(general(expected)).replace(r"\.\.\.", "[\\s\\S]*?")
    return re.fullmatch(pattern, general(output)) is not None


def difference(expected, output):
    return f"the page shows\n{expected}\nbut it is\n{output}"


def is_snippet(block):
    """Whether it is the inside of a function, which is only compiled."""
    return block.language in COMPILERS and not block.text.startswith("#include")


def snippet_problems(snippets, language):
    """Compiles the snippets of all pages together; a message names the page and its line."""
    source = "".join(f'#include "{name}"\n' for name in INCLUDES[language])
    for number, block in enumerate(snippets):
        source += (f'#line {block.line} "{block.page.name}"\n'
                   f"void shown_{number}({block.given or 'void'}) {{\n{block.text}\n}}\n")
    done = subprocess.run([*COMPILERS[language], "-fsyntax-only", "-"], input=source, text=True, capture_output=True)
    if done.returncode:
        yield done.stderr


def compiled(block, folder, port):
    """Compiles a block; one that is a whole program runs as well. Gives its output."""
    source = block.text.replace(f'"{PORT_OF_THE_PAGES}"', f'"{port}"')
    is_program = re.search(r"^int main\(", source, re.M)
    build = ["-", "-x", "none", LIBRARY, "-o", "program"] if is_program else ["-fsyntax-only", "-"]
    output, problem = run([*COMPILERS[block.language], *build], folder, port, input=source)
    return run([folder / "program"], folder, port) if is_program and not problem else (output, problem)


def scripted(block, folder, port):
    source = block.text.replace(f'"{PORT_OF_THE_PAGES}"', f'"{port}"')
    return run([sys.executable, "-"], folder, port, input=source)


def played(block, folder, port):
    (folder / "scenario.json").write_text(block.text)
    with simulator(folder, folder / "scenario.json") as line:
        return line, None if line.startswith("{") else line


CHECKS = {"c": compiled, "cpp": compiled, "python": scripted, "json": played}


def console_problems(shown, folder, port):
    """Runs the commands of all consoles of a page in one shell."""
    script, expectations = [CONSOLE], []
    for block in shown:
        for entry in re.split(r"^\$ ", block.text, flags=re.M)[1:]:
            command, *lines = re.fullmatch(r"((?:.*\\\n)*.*)\n?([\s\S]*)", entry).groups()
            expectations.append((block, command, "".join(lines)))
            if command.startswith("kavro-broker-sim"):
                command = command.replace(f"--port {PORT_OF_THE_PAGES}", "--port 0").removesuffix(" &")
            command = command.replace("broker.example", "127.0.0.1:$port").replace(PORT_OF_THE_PAGES, "$port")
            script += [command, r'status=$?; [ $status = 0 ] || echo "(exit status $status)"; printf "\036"']
    output, _ = run(["bash", "-c", "\n".join(script)], folder, port)
    outputs = output.split("\036")[:-1]
    for (block, command, expected), told in zip_longest(expectations, outputs, fillvalue=""):
        if not same(expected, told):
            yield f"{block.place}: {command}\n{difference(expected, told)}"


def page_problems(found, folder):
    with simulator(folder) as line:
        port = str(json.loads(line)["port"])
        yield from console_problems([block for block in found if block.language == "console"], folder, port)
        output = ""
        for block in found:
            if block.language == "output":
                if not same(block.text, output):
                    yield f"{block.place}: {difference(block.text, output)}"
            elif block.language in CHECKS:
                output, problem = CHECKS[block.language](block, folder, port)
                if problem:
                    yield f"{block.place}: {problem}"
            elif block.language not in ("console", "text", "csharp", "rust"):  # the last two: see shown.py
                yield f'{block.place}: what is "{block.language}"?'


def problems():
    shown = [block for page in PAGES for block in blocks(page)]
    for language in COMPILERS:
        yield from snippet_problems([b for b in shown if is_snippet(b) and b.language == language], language)
    for _, found in groupby((b for b in shown if not is_snippet(b)), key=lambda block: block.page):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            (folder / "bin").mkdir()
            for program in (SIMULATOR, CLIENT):
                (folder / "bin" / pathlib.Path(program).name).symlink_to(program)
            (folder / "password.txt").write_text("wonderland\n")
            yield from page_problems(list(found), folder)


if __name__ == "__main__":
    sys.exit("\n".join(problems()) or None)
