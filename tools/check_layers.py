#!/usr/bin/env python3
"""Fails when a source file includes a header of a folder that its own folder must not know, or a Qt umbrella header."""
import pathlib
import re
import sys

EVERYTHING_BELOW_APP = (
    "platform settings servers files remote transfers sync backup compare editor monitor terminal endpoints"
)

# Everyone may include base and itself.
MAY_INCLUDE = {
    "base": "",
    "platform": "",
    "settings": "platform",
    "servers": "platform",
    "files": "servers settings platform",
    "remote": "files servers platform",
    "transfers": "files platform",
    "compare": "files",
    "sync": "transfers files servers platform",
    "backup": "transfers files servers platform",
    "monitor": "remote files servers platform",
    "terminal": "remote servers settings platform",
    "endpoints": "servers settings platform",
    "editor": "files",
    "app": EVERYTHING_BELOW_APP,
    "ui": EVERYTHING_BELOW_APP + " app",
}
UMBRELLAS = {"QtCore", "QtGui", "QtWidgets", "QtNetwork", "QtTest", "QtConcurrent"}


def problems(root):
    for file in sorted(root.rglob("*.[ch]*")):
        parts = file.relative_to(root).parts
        if len(parts) < 2:
            continue
        home = parts[0]
        allowed = {home, "base", *MAY_INCLUDE.get(home, "").split()}
        for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
            where = f"{file}:{number}"
            own = re.match(r'\s*#include "(\w+)/', line)
            if own and own[1] not in allowed:
                yield f"{where}: {home}/ may not include {own[1]}/"
            qt = re.match(r"\s*#include <(\w+)>", line)
            if qt and qt[1] in UMBRELLAS:
                yield f"{where}: include the class, not the umbrella header <{qt[1]}>"
            if qt and home != "ui" and re.match(r"Q(Widget|Application|MainWindow|Dialog)$", qt[1]):
                yield f"{where}: only ui/ may know widgets"
        if home not in MAY_INCLUDE:
            yield f"{file}: the folder {home}/ has no place in the table of {pathlib.Path(__file__).name}"


def main():
    found = list(problems(pathlib.Path(sys.argv[1])))
    print("\n".join(found))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
