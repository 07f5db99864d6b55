#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Makes a small library, lists its interface, changes it in one way after the other and expects the lists to notice each.

    changes.py COMPILER FOLDER
"""
import shutil
import subprocess
import sys
from pathlib import Path

import interface

HEADER = """
#define OFFERED __attribute__((visibility("default")))
enum Kind { eFirst = 0, eSecond = 1 };
struct Inner { int count; };
class OFFERED Record {
  public:
    virtual ~Record();
    virtual Record* Clone() const;
    virtual int Count() const;
    int first;
    double second;
    Inner inner;
  private:
    int m_hidden;
};
OFFERED int Use(Record& record, Kind kind);
OFFERED extern int g_data;
"""
SOURCE = """
#include "record.h"
Record::~Record() {}
Record* Record::Clone() const { return nullptr; }
int Record::Count() const { return m_hidden; }
int Use(Record& record, Kind kind) { return kind + record.first; }
int g_data = 1;
"""
# What is changed; in the header or the source; the text and what takes its place; which list has to notice.
CHANGES = [
    ("nothing", "", "", set()),
    ("a body", "return m_hidden;", "return 7;", set()),
    ("a name less", "int g_data = 1;", "", {"names", "layouts"}),
    ("a name more", "int g_data = 1;", "int g_data = 1; OFFERED int g_more = 2;", {"names", "layouts"}),
    ("another parameter", "Use(Record& record, Kind kind)", "Use(Record& record, int kind)", {"names", "layouts"}),
    ("fields in another order", "int first;\n    double second;", "double second;\n    int first;", {"layouts"}),
    ("a field more", "Inner inner;", "Inner inner; Inner another;", {"layouts"}),
    ("a private field more", "int m_hidden;", "int m_hidden; double m_more;", {"layouts"}),
    ("a field of a field", "int count;", "long count;", {"layouts"}),
    ("operations in another order", "virtual Record* Clone() const;\n    virtual int Count() const;",
     "virtual int Count() const;\n    virtual Record* Clone() const;", {"layouts"}),
    ("another number of a word", "eSecond = 1", "eSecond = 2", {"layouts"}),
]


def build(compiler, folder, old="", new=""):
    folder.mkdir(parents=True, exist_ok=True)
    for name, text in (("record.h", HEADER), ("record.cpp", SOURCE)):
        (folder / name).write_text(text.replace(old, new) if old else text)
    library = folder / "record.so"
    subprocess.run([compiler, "-g", "-fPIC", "-shared", "-fvisibility=hidden", "-o", library, folder / "record.cpp"],
                   check=True)
    return library


def main():
    compiler, folder = sys.argv[1], Path(sys.argv[2])
    if shutil.which("abidiff") is None:
        print("SKIPPED abidiff is not installed; tools/install_packages.sh test does it")
        return 0
    shutil.rmtree(folder, ignore_errors=True)
    lists = folder / "lists"
    library = build(compiler, lists)
    interface.write(library, library, lists)
    failures = 0
    for number, (what, old, new, expected) in enumerate(CHANGES):
        if old not in HEADER + SOURCE:
            print(f"{what}: the change changes nothing")
            failures += 1
        library = build(compiler, folder / str(number), old, new)
        checks = {"names": (interface.check_names, "names.txt"), "layouts": (interface.check_layouts, "layouts.abi")}
        noticed = {name for name, (check, path) in checks.items() if check(library, lists / path) != 0}
        if noticed != expected:
            print(f"{what}: noticed by {noticed or 'none'}, not by {expected or 'none'}")
            failures += 1
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
