"""What the generators of constant tables share: the CSV files, lines of values, and writing or checking."""
import csv
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent


def rows(name):
    """The lines of tools/tables/`name`, each a dictionary by column."""
    with open(ROOT / "tools" / "tables" / name, newline="") as file:
        return list(csv.DictReader(file))


def wrapped(values, indent="    ", width=110):
    """The values as comma-separated lines of at most `width` columns."""
    lines, line = [], indent
    for value in values:
        word = f"{value},"
        if len(line) + len(word) > width:
            lines.append(line.rstrip())
            line = indent
        line += word + " "
    return lines + [line.rstrip()]


def difference_tree(codes):
    """A code of differences as the nodes of its binary tree, the way readDifference() of the program walks it."""
    nodes = [[None, None]]
    for row in codes:
        node, length, code = 0, int(row["length"]), int(row["code"], 16)
        for shift in range(length - 1, -1, -1):
            bit = code >> shift & 1
            if shift == 0:
                assert nodes[node][bit] is None
                nodes[node][bit] = int(row["delta"]) - 256
            else:
                if nodes[node][bit] is None:
                    nodes.append([None, None])
                    nodes[node][bit] = len(nodes) - 1
                node = nodes[node][bit]
                assert node > 0
    assert all(value is not None for node in nodes for value in node)
    return [f"{{{zero}, {one}}}" for zero, one in nodes]


def deliver(files):
    """Writes the files, a function of each one's text by name; with --check compares instead, and the exit status
    tells whether the committed ones are what would be written."""
    stale = []
    for name, make in files.items():
        path, text = ROOT / name, make()
        if "--check" not in sys.argv:
            path.write_text(text)
        elif not path.exists() or path.read_text() != text:
            stale.append(name)
    for name in stale:
        print(f"{name} differs from what tools/{Path(sys.argv[0]).name} makes")
    sys.exit(bool(stale))
