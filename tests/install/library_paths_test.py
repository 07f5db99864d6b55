#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""library_paths.py sees what it is there to see. Usage: library_paths_test.py COMPILER"""
import os
import subprocess
import sys
import tempfile
import unittest

import library_paths

COMPILER = sys.argv.pop(1)


class LibraryPaths(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = holder.name

    def link(self, *options, name="libmade.so"):
        path = os.path.join(self.folder, name)
        subprocess.run([COMPILER, "-shared", "-nostdlib", "-x", "c++", "/dev/null", "-x", "none", *options, "-o", path],
                       check=True, cwd=self.folder)
        return path

    def test_takes_a_path_that_begins_where_the_file_lies(self):
        for path in ("$ORIGIN", "$ORIGIN/..", "${ORIGIN}/lib:$ORIGIN"):
            self.assertEqual(library_paths.complaints_about(self.link("-Wl,-rpath," + path)), [], path)
        self.assertEqual(library_paths.complaints_about(self.link()), [])

    def test_refuses_every_other_element(self):
        for path in ("$ORIGIN:", "$ORIGIN::::$ORIGIN/..", ":$ORIGIN", ".", "lib", "$ORIGINAL", "/tmp/build"):
            for tag in ("--enable-new-dtags", "--disable-new-dtags"):
                made = self.link(f"-Wl,{tag},-rpath,{path}")
                self.assertNotEqual(library_paths.complaints_about(made), [], f"{path} {tag}")

    def test_refuses_a_library_that_is_named_by_a_path(self):
        self.link("-Wl,-soname,./libother.so", name="libother.so")
        self.assertNotEqual(library_paths.complaints_about(self.link("-Wl,--no-as-needed", "libother.so")), [])

    def test_refuses_a_loader_of_the_current_folder(self):
        path = os.path.join(self.folder, "program")
        subprocess.run([COMPILER, "-nostdlib", "-x", "c++", "-", "-o", path, "-Wl,--dynamic-linker,ld.so", "-pie", "-fPIE"],
                       input=b'extern "C" void _start() {}', check=True)
        self.assertEqual(library_paths.complaints_about(path), ['its loader is "ld.so"'])

    def test_refuses_a_folder_in_which_there_is_nothing(self):
        self.assertEqual(library_paths.main([self.folder]), 1)


if __name__ == "__main__":
    unittest.main()
