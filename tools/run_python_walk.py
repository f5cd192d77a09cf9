#!/usr/bin/env python3
"""Runs the code of docs/python.md, block after block, and draws its pictures into docs/python.

usage: run_python_walk.py [DIRECTORY]    into another folder than docs/python
"""
import os
import re
import sys
from pathlib import Path

import matplotlib

matplotlib.use("Agg")

root = Path(__file__).resolve().parent.parent
os.environ.setdefault("MOXAC_LIBRARY_DIR", str(root / "build"))
sys.path.insert(0, str(root / "python"))
pictures = Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else root / "docs/python"
os.chdir(root)

page = (root / "docs/python.md").read_text()
names = {}
for block in re.finditer(r"^```python\n(.*?)^```", page, re.M | re.S):
    line = page.count("\n", 0, block.start(1))
    code = block[1].replace('"docs/python/', f'"{pictures}/')
    exec(compile("\n" * line + code, "docs/python.md", "exec"), names)
