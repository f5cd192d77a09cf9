#!/usr/bin/env python3
"""Puts examples/first_program.c into README.md; with --check only tells whether it stands there as it is."""
import re
import sys
from pathlib import Path

root = Path(__file__).resolve().parent.parent
readme, program = root / "README.md", (root / "examples/first_program.c").read_text()
text = readme.read_text()
updated = re.sub(r"```c\n.*?```", lambda _: f"```c\n{program}```", text, count=1, flags=re.S)
if "--check" in sys.argv:
    if updated != text:
        sys.exit("README.md does not show examples/first_program.c as it is: run tools/check_readme.py")
else:
    readme.write_text(updated)
