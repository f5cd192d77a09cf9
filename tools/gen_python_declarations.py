#!/usr/bin/env python3
"""Makes python/moxac/_generated.py and python/moxac/raw.pyi from the public headers; with --check only tells whether
they are what the headers say.

The declarations are the headers as the C preprocessor leaves them, without <stdint.h>, whose types cffi knows; macros
that stand for one number are kept as constants. tables.h becomes tuples; extras.h is for C and C++ only.
"""
import ast
import re
import subprocess
import sys
import tempfile
import textwrap
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PACKAGE = ROOT / "python/moxac"
TYPES = {"int32_t": "int", "int16_t": "int", "int8_t": "int", "uint8_t": "int", "uint32_t": "int", "uint16_t": "int",
         "int64_t": "int", "moxStatus": "int", "float": "float", "double": "float", "void": "None"}


def preprocessed(header, include):
    """The header's declarations and the numeric macros of its own files, as C source."""
    with tempfile.TemporaryDirectory() as empty:
        for name in ("stdint.h", "stddef.h"):
            (Path(empty) / name).write_text("")
        command = ["cc", "-E", "-P", "-nostdinc", "-isystem", empty, "-I", str(include), "-U__GNUC__", "-x", "c"]
        text = subprocess.run([*command, "-"], input=f'#include "{header}"\n', check=True, capture_output=True,
                              text=True).stdout
        macros = subprocess.run([*command, "-dM", "-"], input=f'#include "{header}"\n', check=True, capture_output=True,
                                text=True).stdout
    numbers = re.findall(r"^#define ((?:MOX|mox)\w+) (-?\d+)$", macros, re.M)
    text = re.sub(r"^ *\w[^;{}]*\([^;{}]*;", lambda m: re.sub(r"\s+", " ", m[0]).strip(), text, flags=re.M)
    lines = [line for line in text.splitlines() if line.strip()]
    return "\n".join([f"#define {name} {value}" for name, value in sorted(numbers)] + lines) + "\n"


def statuses(header, prefix):
    """{value: (name, sentence)} from the comments of the status enumeration."""
    found = {0: (f"{prefix}Ok", "success")}
    for name, value, sentence in re.findall(rf"^\s*({prefix}\w+)\s*=\s*(-?\d+),?\s*/\* (.*?) \*/", header.read_text(),
                                            re.M | re.S):
        found[int(value)] = (name, re.sub(r"\s+\*?\s*", " ", sentence))
    return found


def encoder_parameters(include):
    """{name: values} of the initialisers of MoxMp3EncoderParameters."""
    text = (include / "moxac/mp3.h").read_text().replace("\\\n", " ")
    found = re.findall(r"#define MOX_MP3_ENCODER_(\w+)\s+(\{.*\})", text)
    tuples = {name: re.sub(r"(?<=\d)f", "", values).replace("{", "(").replace("}", ",)") for name, values in found}
    return {name: eval(values) for name, values in tuples.items()}


def tables(include):
    """{name: nested tuples} of the constant tables."""
    text = re.sub(r"/\*.*?\*/", "", (include / "moxac/tables.h").read_text(), flags=re.S)
    found = {}
    for name, value in re.findall(r"^MOXAC_TABLE \w+ (\w+)(?:\[[^=]*\])? = (.*?);", text, re.M | re.S):
        found[name] = ast.literal_eval(re.sub(r"\s+", " ", value).translate(str.maketrans("{}", "()")).strip())
    return found


def wrapped(line):
    """A long line as several."""
    return "\n".join(textwrap.wrap(line, 118, initial_indent="    ", subsequent_indent="        ")) + "\n"


def stub(cdef):
    """raw.pyi: every function with its parameters, every constant."""
    lines = ['"""The operations and constants of libmoxac as cffi gives them; made by tools/gen_python_declarations.py."""',
             "from typing import Any", "", "ffi: Any", ""]
    for result, name, parameters in re.findall(r"^((?:const )?\w+\*?) ((?:moxs|moxac)\w+)\((.*)\);$", cdef, re.M):
        arguments = []
        for parameter in parameters.split(","):
            kind, _, argument = re.sub(r"\s+", " ", parameter.strip()).rpartition(" ")
            if argument and argument != "void":
                arguments.append(f"{argument.lstrip('*')}: {TYPES.get(kind, 'Any')}")
        lines.append(f"def {name}({', '.join(arguments)}) -> {TYPES.get(result, 'Any')}: ...")
    lines.append("")
    for name in sorted(set(re.findall(r"\b((?:MOX|mox)\w+) =", cdef) + re.findall(r"#define (\w+) ", cdef))):
        lines.append(f"{name}: int")
    return "\n".join(lines) + "\n"


def generated():
    include = ROOT / "include"
    cdef = preprocessed("moxac.h", include)
    parts = ['"""Declarations and statuses of the C headers. Made by tools/gen_python_declarations.py; do not edit."""',
             f'MOXAC = r"""\n{cdef}"""']
    codec = include / "moxcodec.h"
    if codec.exists():
        text = preprocessed("moxcodec.h", include)
        known = set(cdef.splitlines())
        parts.append('MOXCODEC = r"""\n' + "\n".join(l for l in text.splitlines() if l not in known or l in ("enum {", "};")) + '\n"""')
    parts.append("MP3_ENCODER_PARAMETERS = {\n" + "".join(
        f"    {name!r}: {values!r},\n" for name, values in encoder_parameters(include).items()) + "}")
    parts.append("TABLES = {\n" + "".join(wrapped(f"{name!r}: {value!r},") for name, value in tables(include).items()) + "}")
    parts.append(f'MOXCODEC = r"""\n{preprocessed("moxcodec.h", include)}"""')
    for name, header, prefix in (("STATUSES", "moxac/types.h", "moxStatus"), ("CODEC_STATUSES", "moxcodec.h", "moxcStatus")):
        entries = statuses(include / header, prefix).items()
        parts.append(f"{name} = {{\n" + "".join(f"    {value}: {entry!r},\n" for value, entry in entries) + "}")
    return {PACKAGE / "_generated.py": "\n\n".join(parts) + "\n", PACKAGE / "raw.pyi": stub(cdef)}


if __name__ == "__main__":
    stale = [path for path, text in generated().items() if not path.exists() or path.read_text() != text]
    if "--check" in sys.argv:
        if stale:
            sys.exit(f"not what the headers say: {', '.join(p.name for p in stale)}; run tools/gen_python_declarations.py")
    else:
        for path, text in generated().items():
            path.write_text(text)
