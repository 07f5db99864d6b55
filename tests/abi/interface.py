#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares what rule modules rely on with the lists in this folder, or writes the lists anew.

    interface.py names MODULE LIST       what the module offers: nothing is missing, nothing is there besides
    interface.py layouts LIBRARY LIST    what changed in the types that rule modules are compiled with
    interface.py write MODULE LIBRARY FOLDER

The library is interface.cpp with its debug information.
"""
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
from pathlib import Path

# What libstdc++ writes out in full: the default arguments of its templates, and std::string.
STRING = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >"
DEFAULT_ARGUMENTS = ("std::less<", "std::allocator<")


def output_of(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def arguments(text):
    """Takes the text behind a "<" apart: its arguments, and what stands behind the ">" that belongs to it."""
    found, begin, depth = [], 0, 0
    for index, character in enumerate(text):
        if depth == 0 and character in ",>":
            found.append(text[begin:index].strip())
            begin = index + 1
            if character == ">":
                return found, text[begin:]
        depth += (character in "<(") - (character in ">)")
    raise ValueError(text)


def readable(name):
    """A name without what the reader knows: default arguments of templates and blanks between brackets."""
    before, bracket, behind = name.replace(STRING, "std::string").partition("<")
    if not bracket:
        return before
    found, rest = arguments(behind)
    kept = [readable(argument) for argument in found if not argument.startswith(DEFAULT_ARGUMENTS)]
    return f"{before}<{', '.join(kept)}>{readable(rest)}"


def offered(module):
    """The names that the module offers, one line for all symbols of one name, with what they are."""
    kinds = {"T": "function", "W": "function", "B": "data", "D": "data", "R": "data", "V": "data", "u": "data"}
    lines = set()
    for line in output_of("nm", "-DC", "--defined-only", module).splitlines():
        _, kind, name = line.split(" ", 2)
        lines.add(f"{kinds.get(kind, kind)} {readable(name)}")
    return sorted(lines, key=lambda line: line.split(" ", 1)[::-1])


def listed(path):
    return [line for line in path.read_text().splitlines() if line and not line.startswith("#")]


def check_names(module, path):
    wanted, found = listed(path), offered(module)
    missing = [line for line in wanted if line not in found]
    besides = [line for line in found if line not in wanted]
    for line in missing:
        print(f"The module no longer offers: {line}")
    for line in besides:
        print(f"The module offers besides: {line}")
    return 1 if missing or besides or not wanted else 0


def is_foreign(name):
    return name in ("std", "boost", "__gnu_cxx", "__cxxabiv1")


def close_foreign(element, foreign=False):
    """Leaves of the classes of libraries their sizes alone: what is in them is not the interface's."""
    for child in element:
        if child.tag == "namespace-decl":
            close_foreign(child, foreign or is_foreign(child.get("name")))
        elif foreign and child.tag in ("class-decl", "union-decl"):
            child[:] = []


def references(element):
    return {part.get(name) for part in element.iter() for name in ("type-id", "naming-typedef-id", "def-of-decl-id")}


def drop_unused(root):
    """Takes out the types that no function of the library leads to any more."""
    declared = {}
    for place in root.iter():
        if place.tag in ("abi-instr", "namespace-decl"):
            declared.update({part.get("id"): child for child in place if child.tag != "namespace-decl"
                             for part in child.iter() if part.get("id")})
    wanted, left = set(), [child for place in root.iter("abi-instr") for child in place.iter("function-decl")]
    while left:
        for name in references(left.pop()) - wanted:
            wanted.add(name)
            left += [declared[name]] if name in declared else []
    kept = {id(declared[name]) for name in wanted if name in declared}

    def clear(place):
        for child in list(place):
            if child.tag in ("abi-instr", "namespace-decl"):
                clear(child)
            unused = child.get("id") is not None and id(child) not in kept
            if unused or (child.tag == "namespace-decl" and len(child) == 0):
                place.remove(child)

    clear(root)


def write_layouts(library, path):
    subprocess.run(["abidw", "--no-show-locs", "--no-corpus-path", "--no-comp-dir-path", "--no-architecture",
                    "--no-elf-needed", "--drop-undefined-syms", "--type-id-style", "hash", "--out-file", path, library],
                   check=True)
    tree = ElementTree.parse(path)
    for unit in tree.getroot().iter("abi-instr"):
        # Where the project lies is nobody's business.
        unit.set("path", Path(unit.get("path")).name)
        close_foreign(unit)
    drop_unused(tree.getroot())
    tree.write(path)


def check_layouts(library, path):
    if shutil.which("abidiff") is None:
        print("SKIPPED abidiff is not installed; tools/install_packages.sh test does it")
        return 0
    with tempfile.TemporaryDirectory() as folder:
        found = Path(folder) / "found.abi"
        write_layouts(library, found)
        return subprocess.run(["abidiff", "--harmless", "--no-architecture", path, found], check=False).returncode


def write(module, library, folder):
    head = "# Every name that NorvexData.arx offers, see docs/interface.md. Written by tests/abi/interface.py.\n"
    (folder / "names.txt").write_text(head + "".join(line + "\n" for line in offered(module)))
    write_layouts(library, folder / "layouts.abi")
    return 0


def main():
    command, rest = sys.argv[1], [Path(argument) for argument in sys.argv[2:]]
    return {"names": check_names, "layouts": check_layouts, "write": write}[command](*rest)


if __name__ == "__main__":
    sys.exit(main())
