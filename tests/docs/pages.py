"""The pages of the documentation and what is in them."""

import pathlib
import re
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]


FENCED = re.compile(r"(?:<!-- given: (?P<given>(?:(?!-->)[\s\S])*?) -->\n+)?"
                    r"^```(?P<language>.*)\n(?P<text>[\s\S]*?)^```$", re.M)


class Block(NamedTuple):
    page: pathlib.Path
    line: int
    language: str
    given: str  # the comment before it that says what it takes for granted
    text: str

    @property
    def place(self):
        return f"{self.page.relative_to(ROOT)}:{self.line}"


def blocks(page):
    text = page.read_text()
    return [Block(page, text.count("\n", 0, found.start("text")), found["language"], found["given"] or "",
                  found["text"]) for found in FENCED.finditer(text)]


def prose(page):
    """The page without its fenced blocks."""
    return FENCED.sub("", page.read_text())
