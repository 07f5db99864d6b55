#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Fails when a room of the project includes one that it must not know (tools/layers.txt says which it may)."""

import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')
SOURCES = {".h", ".cpp"}


def read_rules(path):
    """Returns {room: set of rooms it may include}; a name ending in "*" stands for every room that begins with it."""
    rules = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        if line.strip() and not line.startswith("#"):
            room, _, allowed = line.partition(":")
            rules[room.strip()] = set(allowed.split())
    for room, allowed in rules.items():
        for name in [name for name in allowed if name.endswith("*")]:
            allowed.remove(name)
            allowed.update(other for other in rules if (other + "/").startswith(name[:-1] + "/"))
        unknown = allowed - set(rules)
        if unknown:
            sys.exit(f"{path}: {room} may include {sorted(unknown)}, which are no rooms")
    return rules


def room_of(path, rules):
    """The longest room name that begins the path; None for a path outside every room."""
    rooms = [room for room in rules if path == room or path.startswith(room + "/")]
    return max(rooms, key=len) if rooms else None


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    rules = read_rules(root / "tools/layers.txt")
    faults, checked = [], 0
    for top in sorted({room.split("/")[0] for room in rules}):
        for file in sorted((root / top).rglob("*")):
            if file.suffix not in SOURCES:
                continue
            checked += 1
            relative = file.relative_to(root).as_posix()
            room = room_of(relative, rules)
            for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
                match = INCLUDE.match(line)
                if not match:
                    continue
                target = room_of(match.group(1), rules)
                if target is None:
                    faults.append(f'{relative}:{number}: "{match.group(1)}" is not named from the root of the project')
                elif target != room and target not in rules[room]:
                    faults.append(f"{relative}:{number}: {room} must not include {target}")
    for fault in faults:
        print(fault)
    print(f"{checked} files read, {len(faults)} arrows run back")
    sys.exit(1 if faults or checked == 0 else 0)


main()
