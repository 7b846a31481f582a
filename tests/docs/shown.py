"""Writes what the pages show in C# or Rust into files that its compiler takes: shown.py LANGUAGE FOLDER PORT

Programs are files of their own and meant to be run; the rest is the inside of functions, all in one file."""

import pathlib
import sys
from typing import NamedTuple

from pages import PAGES, blocks


class Language(NamedTuple):
    program: str  # how one begins
    ending: str
    head: str
    function: str
    foot: str


LANGUAGES = {
    "csharp": Language(
        "using System;", "cs",
        "using System;\nusing System.Linq;\nusing System.Threading;\nusing System.Threading.Tasks;\nusing KavroBroker;\n"
        "public static class Shown\n{\n", "public static {mode} Shown{number}({given})\n{{\n{text}}}\n", "}\n"),
    "rust": Language(
        "use kavro_broker", "rs", "#![crate_type = \"lib\"]\n#![allow(unused_variables)]\nuse kavro_broker::*;\n",
        "pub fn shown{number}({given}) -> Result<()> {{\n{text}Ok(())\n}}\n", ""),
}


def main(name, folder, port):
    language, folder, snippets = LANGUAGES[name], pathlib.Path(folder), ""
    for number, block in enumerate(block for page in PAGES for block in blocks(page) if block.language == name):
        text = block.text.replace('"60443"', f'"{port}"')
        if text.startswith(language.program):
            (folder / f"program{number}.{language.ending}").write_text(text)
        else:
            mode = "async Task" if "await " in text else "void"
            snippets += language.function.format(mode=mode, number=number, given=block.given, text=text)
    (folder / f"snippets.{language.ending}").write_text(language.head + snippets + language.foot)


main(*sys.argv[1:])
