"""Includes point down: a folder may include those on its own floor or below, never one above.

And a name stands for one type: two headers that give it two break the one-definition rule unseen."""

import pathlib
import re
import sys

FLOORS = [
    {"image"},
    {"profiles", "input"},
    {"film", "print", "optics"},
    {"finish", "repro", "plates"},
    {"flow"},
    {"gpu"},
    {"engine"},
]
# The interface that the flow hands down to the stages.
HANDED_DOWN = {"gpu/backend.h"}


def floor_of(folder):
    return next(i for i, names in enumerate(FLOORS) if folder in names)


def main(root):
    source = pathlib.Path(root) / "src"
    failures = []
    for path in sorted(source.rglob("*.[ch]*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        here = path.relative_to(source).parts[0]
        for included in re.findall(r'#include "([^"]+)"', path.read_text()):
            there = included.split("/")[0]
            if included in HANDED_DOWN or included == "morva.h" or there not in set().union(*FLOORS):
                continue
            if floor_of(there) > floor_of(here):
                failures.append(f"{path.relative_to(root)} includes {included}")
    for path in sorted((pathlib.Path(root) / "apps").rglob("*.[ch]*")):
        for included in re.findall(r'#include "([^"]+)"', path.read_text()):
            if included.split("/")[0] in set().union(*FLOORS):
                failures.append(f"{path.relative_to(root)} includes {included}")
    declared = {}
    for path in sorted(source.rglob("*.h")):
        text = path.read_text()
        inner = re.findall(r"^namespace (morva\S*) \{", text, re.MULTILINE)
        for name in re.findall(r"^(?:struct|class|enum class) (?:alignas\(\w+\) )?(\w+)[^;\n]*\{", text, re.MULTILINE):
            declared.setdefault((*inner, name), []).append(str(path.relative_to(root)))
    failures += [f"{key[-1]} is declared in {' and '.join(paths)}"
                 for key, paths in declared.items() if len(paths) > 1]
    print("\n".join(failures) or "every include points down, every type has a name of its own")
    return 1 if failures else 0


sys.exit(main(sys.argv[1]))
