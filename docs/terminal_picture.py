"""Draws the text on standard input as a terminal, in SVG; demo.svg was made so:
tools/demo.sh build/debug | head -30 | python3 docs/terminal_picture.py > docs/demo.svg"""

import sys
from xml.sax.saxutils import escape

LINE, COLUMN, MARGIN, BAR = 17, 7.83, 16, 30

lines = sys.stdin.read().splitlines()
width = round(max(map(len, lines)) * COLUMN + 2 * MARGIN)
height = len(lines) * LINE + BAR + MARGIN

print(f'''<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}"
     width="{width}" height="{height}">
<rect width="{width}" height="{height}" rx="8" fill="#1d2430" stroke="#5b6678"/>
<g fill="#5b6678">
<circle cx="18" cy="15" r="5"/><circle cx="36" cy="15" r="5"/><circle cx="54" cy="15" r="5"/>
</g>
<g font-family="ui-monospace, 'DejaVu Sans Mono', Consolas, monospace" font-size="13" fill="#d7dde8">''')
for number, line in enumerate(lines):
    colour = ' fill="#7fd18b"' if line.startswith("$ ") else ""
    if line:
        print(f'<text x="{MARGIN}" y="{BAR + (number + 1) * LINE - 4}" xml:space="preserve"'
              f' textLength="{len(line) * COLUMN:.0f}"{colour}>{escape(line)}</text>')
print("</g>\n</svg>")
