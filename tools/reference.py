#!/usr/bin/env python3
"""The reference of all functions, made from the comments of the public headers as they are.

usage: reference.py check                  every function has a text in which each of its parameters is named
       reference.py functions [--check]    writes docs/functions.md, a line for each function (--check: only compares)
       reference.py doxygen HEADER         the header in Doxygen's form, on standard output
       reference.py man DIRECTORY VERSION  manual pages, section 3: a page for each comment, and a link for each function

A comment speaks of every declaration behind it, up to the next comment. One whose first line begins with dashes opens a
section; it, the comments of the section's types, and the head of the file speak of all functions of the section.
"""
import re
import sys
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
HEADERS = [ROOT / "include/moxac" / f"{name}.h" for name in ("types", "transform", "vlc", "mp3", "aac", "sbr", "util")]
TOKEN = re.compile(r"^/\*.*?\*/[ \t]*$|^MOXA?C_API[^;]*;|^(?:typedef|enum)\b[^;{]*\{.*?^\}[^;\n]*;|^typedef[^;{]*;|^#define [^\n]*$"
                   r"|^static inline [^;{]*(?={)|^(?:template|struct) [^;]*?{", re.S | re.M)
SECTION = re.compile(r"-{4}-* *(\S[^\n]*?)[ -]*$", re.M)
LIFE = {"GetSize": "How many bytes Init needs", "GetBufSize": "How many bytes the work buffer needs",
        "InitAlloc": "Builds the context in memory from moxMalloc", "Init": "Builds the context in the caller's memory",
        "Free": "Releases what InitAlloc made"}


@dataclass
class Section:
    title: str
    notes: list = field(default_factory=list)      # its comment, and those of its types
    comments: dict = field(default_factory=dict)   # text to the functions it speaks of


@dataclass
class Function:
    name: str
    declaration: str
    parameters: list


def unframed(comment):
    first, *rest = comment.strip()[2:-2].rstrip().split("\n")
    return "\n".join([first.strip(), *(re.sub(r"^ \*( |$)", "", line.rstrip()) for line in rest)]).strip("\n")


def function(declaration):
    declaration = re.sub(r"\n {10}", "\n", declaration.removeprefix("MOXAC_API "))
    name, inside = re.search(r"(\w+)\((.*)\);", declaration, re.S).groups()
    parameters = [re.search(r"(\w+)(\[\w*\])*$", part.strip()).group(1) for part in inside.split(",") if part != "void"]
    return Function(name, declaration, parameters)


def sections(header):
    """The head of a file and its sections."""
    found, head, last = [Section("")], None, None
    for match in TOKEN.finditer(header.read_text()):
        token = match.group()
        if token.startswith("/*"):
            text = unframed(token)
            title = SECTION.match(text)
            if head is None:
                head = text
            elif title:
                found.append(Section(title.group(1)[0].upper() + title.group(1)[1:], [text.partition("\n")[2].strip("\n")]))
                last = None
            else:
                last = text
        elif token.startswith("MOXAC_API"):
            if last is None:
                sys.exit(f"{header.name}: no comment before {function(token).name}")
            found[-1].comments.setdefault(last, []).append(function(token))
        elif last is not None and last not in found[-1].comments and not token.startswith("enum"):
            found[-1].notes.append(last)
    return head, [section for section in found if section.comments]


def task(text, group):
    """What the functions of a comment are for: of a context's life the step, else the comment's first sentence."""
    for step, what in LIFE.items():
        if all(re.search(rf"(?<!Reservoir){step}(?![a-z])", each.name) for each in group):
            return what
    first = " ".join(re.split(r"\n *\n", text)[0].split())
    return re.split(r"[.:;](?= |$)", first)[0]


def check():
    faults = functions = parameters = 0
    for header in HEADERS:
        head, found = sections(header)
        for section in found:
            for text, group in section.comments.items():
                named = set(re.findall(r"\w+", " ".join([text, head, *section.notes])))
                for each in group:
                    functions += 1
                    parameters += len(each.parameters)
                    for parameter in each.parameters:
                        if parameter not in named:
                            faults += 1
                            print(f"{header.name}: {each.name} does not say what {parameter} is")
    declared = sum(len(re.findall(r"^MOXAC_API", header.read_text(), re.M)) for header in HEADERS)
    print(f"{functions} of {declared} functions with text, {parameters - faults} of {parameters} parameters named")
    return faults == 0 and functions == declared


def listing():
    out = ["# Functions by task", "",
           "Made by `tools/reference.py functions` from the headers, which say the rest: formula, shapes, statuses."]
    for header in HEADERS:
        head, found = sections(header)
        out += ["", f"## [{header.name}](../include/moxac/{header.name})", "", " ".join(head.split("\n\n")[0].split())]
        for section in found:
            out += ["", f"### {section.title}"] if section.title else []
            out += ["", "| task | function |", "| --- | --- |"]
            out += [f"| {task(text, [each])} | `{each.name}` |" for text, group in section.comments.items() for each in group]
    return "\n".join(out) + "\n"


def doxygen(header):
    """Each declaration gets its comment in front, sections become groups, comments behind fields belong to these."""
    def documented(comment, command=""):
        return f"/** {command}\n@verbatim\n{comment}\n@endverbatim */"

    text, out, at, last, head, groups = header.read_text(), [], 0, None, None, 0
    for match in TOKEN.finditer(text):
        token = match.group()
        out.append(text[at:match.start()])
        at = match.end()
        if token.startswith("/*"):
            comment = unframed(token)
            title = SECTION.match(comment)
            if head is None:
                head = comment
                out.append(documented(comment, "@file"))
            elif title:
                groups += 1
                body = comment.partition("\n")[2]
                out.append("/** @} */\n" * (groups > 1))
                out.append(documented(body, f"@defgroup {header.stem}{groups} {title.group(1)}\n@{{"))
                last = None
            else:
                last = comment
        else:
            out.append(documented(last) + "\n" if last else "")
            out.append(token if "_API" in token else re.sub(r"/\*(.*?)\*/", r"/**<\1*/", token, flags=re.S))
    before, end, after = text[at:].rpartition("MOXAC_EXTERN_C_END" if "MOXAC_EXTERN_C_END" in text[at:] else "#endif")
    out += [before, "/** @} */\n" * (groups > 0), end, after]
    return "".join(out)


def manual(directory, version):
    def plain(text):
        return re.sub(r"(?m)^([.'])", r"\\&\1", text.replace("\\", "\\e").replace("-", "\\-"))

    directory.mkdir(parents=True, exist_ok=True)
    for header in HEADERS:
        head, found = sections(header)
        for section in found:
            for text, group in section.comments.items():
                names = [each.name for each in group]
                note = "\n\n".join(part for part in section.notes if part)
                page = [f'.TH {names[0]} 3 "" "moxac {version}" "moxac/{header.name}"', ".SH NAME",
                        f"{', '.join(names)} \\- {plain(task(text, group))}", ".SH SYNOPSIS", ".nf", "#include <moxac.h>", "",
                        *(plain(each.declaration) for each in group), ".fi", ".SH DESCRIPTION", ".nf", plain(text), ".fi"]
                page += [f".SH {section.title.upper()}" if section.title else ".SH NOTES", ".nf", plain(note), ".fi"] if note else []
                page += [".SH THE FAMILY", ".nf", plain(head), ".fi"]
                (directory / f"{names[0]}.3").write_text("\n".join(page) + "\n")
                for name in names[1:]:
                    (directory / f"{name}.3").write_text(f".so man3/{names[0]}.3\n")


def main():
    match sys.argv[1:]:
        case ["check"]:
            return check()
        case ["functions", *options]:
            page = ROOT / "docs/functions.md"
            if "--check" not in options:
                page.write_text(listing())
            elif page.read_text() != listing():
                print("docs/functions.md is not what the headers say: run tools/reference.py functions")
                return False
        case ["doxygen", header]:
            print(doxygen(Path(header)))
        case ["man", directory, version]:
            manual(Path(directory), version)
        case _:
            sys.exit(__doc__)
    return True


sys.exit(not main())
