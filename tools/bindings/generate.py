#!/usr/bin/env python3
"""Writes what the layers for other languages need from the C headers and description.py, so that no
prototype, no constant and no plain call is typed a second time.

  generate.py           writes the files
  generate.py --check   fails when a file is not what would be written
"""

import sys

import csharp
import python
import rust
from headers import ROOT

FILES = [file for language in (python, csharp, rust) for file in language.files()]


def main():
    if sys.argv[1:] == ["--check"]:
        stale = [name for name, text in FILES if (ROOT / name).read_text() != text]
        sys.exit(f"out of date, run tools/bindings/generate.py: {stale}" if stale else None)
    for name, text in FILES:
        (ROOT / name).parent.mkdir(parents=True, exist_ok=True)
        (ROOT / name).write_text(text)


if __name__ == "__main__":
    main()
