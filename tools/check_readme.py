#!/usr/bin/env python3
"""Puts examples/first_program.c into README.md; with --check only tells whether it stands there as it is, and whether
README.md links every page under docs/."""
import re
import sys
from pathlib import Path

root = Path(__file__).resolve().parent.parent
readme, program = root / "README.md", (root / "examples/first_program.c").read_text()
text = readme.read_text()
updated = re.sub(r"```c\n.*?```", lambda _: f"```c\n{program}```", text, count=1, flags=re.S)
if "--check" not in sys.argv:
    readme.write_text(updated)
elif updated != text:
    sys.exit("README.md does not show examples/first_program.c as it is: run tools/check_readme.py")
linked = set(re.findall(r"\]\((docs/[^)#]+)", text))
pages = {str(page.relative_to(root)) for page in (root / "docs").rglob("*.md")}
if linked != linked & {*pages, "docs/spectrum.png"} or pages - linked:
    sys.exit(f"README.md and docs/ differ: {sorted(linked ^ (pages | {'docs/spectrum.png'}))}")
