#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Tells where the loader would look for code of the ELF files in some folders, and complains unless that is fixed by where
the file lies: a search path other than $ORIGIN depends on the current folder or on a folder that anybody may make, and so
does a library that is named by a path.

Usage: library_paths.py FOLDER..."""
import os
import re
import subprocess
import sys

ORIGIN = re.compile(r"\$(ORIGIN|\{ORIGIN\})(/|$)")
# Lines of readelf: "0x... (RUNPATH)  Library runpath: [$ORIGIN]", "[Requesting program interpreter: /lib64/...]".
ENTRY = re.compile(r"\((\w+)\).*\[(.*)\]$")
INTERPRETER = re.compile(r"\[Requesting program interpreter: (.*)\]")
SEARCH_PATHS = {"RPATH", "RUNPATH"}
# Other libraries that the loader brings in.
LIBRARIES = {"NEEDED", "AUXILIARY", "FILTER", "AUDIT", "DEPAUDIT"}


def is_elf(path):
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


def complaints_about(path):
    shown = subprocess.run(
        ["readelf", "--wide", "--dynamic", "--program-headers", path],
        env={**os.environ, "LC_ALL": "C"}, check=True, capture_output=True, text=True).stdout
    complaints = []
    for line in shown.splitlines():
        if interpreter := INTERPRETER.search(line):
            if not interpreter[1].startswith("/"):
                complaints.append(f'its loader is "{interpreter[1]}"')
        elif entry := ENTRY.search(line):
            kind, value = entry[1], entry[2]
            if kind in SEARCH_PATHS:
                complaints += [f'{kind} "{value}" has the element "{element}"'
                               for element in value.split(":") if not ORIGIN.match(element)]
            elif kind in LIBRARIES and "/" in value:
                complaints.append(f'{kind} names the path "{value}"')
    return complaints


def elf_files(folder):
    for root, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(root, name)
            if os.path.isfile(path) and not os.path.islink(path) and is_elf(path):
                yield path


def main(folders):
    complained = False
    for folder in folders:
        files = list(elf_files(folder))
        if not files:
            print(f"{folder}: there is no ELF file in it")
            complained = True
        for path in files:
            for complaint in complaints_about(path):
                print(f"{path}: {complaint}")
                complained = True
    return 1 if complained else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
