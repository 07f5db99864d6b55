#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What lies beside a delivered model is data: nothing of it is run. Usage: current_folder_test.py COMPILER PROGRAM MODEL
CHECK_SH"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

COMPILER, PROGRAM, MODEL, CHECK_SH = sys.argv[1:5]

# Leaves a mark as soon as it is loaded, and ends the process that does so.
HOSTILE = b"""
#include <fcntl.h>
#include <unistd.h>
static void Run(void) __attribute__((constructor));
static void Run(void) { open("EXECUTED", O_CREAT | O_WRONLY, 0600); _exit(77); }
"""
SCRIPT = "#!/bin/sh\ntouch EXECUTED\n"
# Programs that something might start by their names.
PROGRAMS = ["sh", "ls", "uname", "python3", "norvex", "addr2line", "fc-list"]
# What the loader and the libraries look for while they run, beside the libraries that the program is linked with.
LATER = ["NorvexData.arx", "libNorvexPlatform.so", "libgcc_s.so.1", "libnss_files.so.2", "gconv-modules.so", "UTF-16.so"]


def linked_libraries():
    environment = {**os.environ, "LC_ALL": "C"}
    environment.pop("LD_LIBRARY_PATH", None)
    shown = subprocess.run(["ldd", PROGRAM], env=environment, check=True, capture_output=True, text=True).stdout
    return re.findall(r"^\s+([^/\s]\S*) => ", shown, re.MULTILINE)


class CurrentFolder(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = holder.name
        library = os.path.join(self.folder, "evil.so")
        subprocess.run([COMPILER, "-shared", "-fPIC", "-x", "c", "-", "-o", library], input=HOSTILE, check=True)
        os.makedirs(os.path.join(self.folder, "Norvex"))
        for name in [*linked_libraries(), *LATER, "Norvex/Evil.Arx", "Evil.Arx"]:
            # The processor's variant of a folder is looked at first.
            for folder in ("", "glibc-hwcaps/x86-64-v2", "tls"):
                os.makedirs(os.path.join(self.folder, folder), exist_ok=True)
                path = os.path.join(self.folder, folder, name)
                if os.path.isdir(os.path.dirname(path)):
                    shutil.copy(library, path)
        for name in PROGRAMS:
            path = os.path.join(self.folder, name)
            with open(path, "w", encoding="ascii") as file:
                file.write(SCRIPT)
            os.chmod(path, 0o755)
        shutil.copy(MODEL, os.path.join(self.folder, "house.ifc"))

    def run_there(self, *arguments):
        environment = {"PATH": os.environ["PATH"], "HOME": self.folder}
        return subprocess.run([PROGRAM, *arguments], cwd=self.folder, env=environment, capture_output=True, text=True)

    def assert_untouched(self, result, exit_code):
        self.assertFalse(os.path.exists(os.path.join(self.folder, "EXECUTED")), result.stderr)
        self.assertEqual(result.returncode, exit_code, result.stderr)

    def test_the_mark_works(self):
        subprocess.run(["/bin/true"], cwd=self.folder, env={"LD_PRELOAD": "./evil.so"}, check=False)
        self.assertTrue(os.path.exists(os.path.join(self.folder, "EXECUTED")))

    def test_a_check_runs_nothing_of_it(self):
        result = self.run_there("check", "house.ifc", "--project", ".", "--json", "a.json", "--html", "a.html",
                                "--sarif", "a.sarif", "--bcf", "a.bcf")
        self.assert_untouched(result, 1)
        self.assertGreater(os.path.getsize(os.path.join(self.folder, "a.bcf")), 0)

    def test_the_first_script_goes_to_its_own_folder(self):
        # What it starts there says where "there" is; a folder of the same name lies where cd looks first.
        for place in ("mine", "elsewhere"):
            for name, says in (("tools/install_packages.sh", ":"), ("build/release/CMakeCache.txt", ":"),
                               ("build/release/app/norvex", f"echo {place}"), ("cmake", ":")):
                path = os.path.join(self.folder, place, "project", name)
                os.makedirs(os.path.dirname(path), exist_ok=True)
                with open(path, "w", encoding="ascii") as file:
                    file.write(f"#!/bin/sh\n{says}\n")
                os.chmod(path, 0o755)
        shutil.copy(CHECK_SH, os.path.join(self.folder, "mine/project"))
        environment = {"PATH": os.path.join(self.folder, "mine/project") + ":/usr/bin:/bin",
                       "CDPATH": os.path.join(self.folder, "elsewhere")}
        result = subprocess.run(["bash", "project/check.sh"], cwd=os.path.join(self.folder, "mine"), env=environment,
                                capture_output=True, text=True)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stdout.splitlines()[-1], "mine")

    def test_no_other_command_does(self):
        self.assert_untouched(self.run_there("rules"), 0)
        self.assert_untouched(self.run_there("inspect", "house.ifc"), 0)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
