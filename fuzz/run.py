#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the fuzz targets in turn, keeps what they learn, and prints one table with a line for each target.

Without --minutes each target makes as many executions as fuzz/CMakeLists.txt gives it as its goal; with it, all targets
share that time. The corpus of a target grows in CORPUS/TARGET and is where the next run begins; inputs that break a
promise are kept in CORPUS/found/TARGET. Ends with 1 when there are any.
"""

import argparse
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
# After so many broken promises in one run a target is left; the same one is found again and again.
MOST_CRASHES = 10
# Far more than any input of these lengths takes, sanitizers included.
SECONDS_FOR_ONE = 10
MEGABYTES = 2048
# Most of the time of an input would go into remembering where memory came from; who runs one input alone sees it all.
SANITIZER_OPTIONS = "malloc_context_size=0:quarantine_size_mb=16"
STATUS = re.compile(r"cov: (\d+) ft: (\d+) corp: (\d+)")
EXECUTIONS = re.compile(r"stat::number_of_executed_units:\s*(\d+)")
# Of runs that a signal ends without their statistics.
PULSE = re.compile(r"^#(\d+)\s", re.MULTILINE)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--minutes", type=float, help="time for all targets together")
    parser.add_argument("--executions", type=int, help="executions of each target, in place of its goal")
    parser.add_argument("--targets", help="names with commas between them; default: all")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/fuzz")
    parser.add_argument("--coverage", type=pathlib.Path, default=ROOT / "build/coverage",
                        help="build with the replays that count lines; passed over when it is not there")
    parser.add_argument("--corpus", type=pathlib.Path, default=ROOT / "build/fuzz-corpus")
    return parser.parse_args()


class Run:
    """One target: what it did, how often, and what it reached."""

    def __init__(self, target, arguments):
        self.target = target
        self.name = target["name"]
        self.arguments = arguments
        self.corpus = arguments.corpus / self.name
        self.found = arguments.corpus / "found" / self.name
        self.executions = 0
        self.seconds = 0.0
        self.edges = 0
        for folder in (self.corpus, self.found):
            folder.mkdir(parents=True, exist_ok=True)

    def seeds(self):
        folders = (ROOT / "fuzz/seeds" / self.name, self.arguments.build / "fuzz/seeds" / self.name,
                   ROOT / "fuzz/crashes" / self.name)
        return [str(folder) for folder in folders if folder.is_dir()]

    def command(self, limit):
        dictionary = ROOT / "fuzz" / f"{self.name}.dict"
        options = [f"-dict={dictionary}"] if dictionary.is_file() else []
        return [str(self.arguments.build / "fuzz" / f"{self.name}_fuzz"), *options, f"-max_len={self.target['bytes']}",
                f"-timeout={SECONDS_FOR_ONE}", f"-rss_limit_mb={MEGABYTES}", "-print_final_stats=1", "-fork=0",
                f"-artifact_prefix={self.found}/", *limit, str(self.corpus), *self.seeds()]

    def fuzz(self, seconds, executions):
        """Goes on until the time or the executions are used up; begins anew behind a broken promise."""
        before = len(self.crashes())
        while True:
            if seconds is not None:
                left = int(seconds - self.seconds)
                limit = [f"-max_total_time={left}"]
            else:
                left = executions - self.executions
                limit = [f"-runs={left}"]
            if left <= 0:
                return
            start = time.monotonic()
            memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
            with open(self.arguments.corpus / f"{self.name}.log", "wb") as log, \
                    tempfile.TemporaryDirectory(dir=memory, prefix="norvex-fuzz-") as files:
                code = subprocess.run(self.command(limit), stdout=log, stderr=log, cwd=self.arguments.corpus,
                                      env={**os.environ, "ASAN_OPTIONS": SANITIZER_OPTIONS, "TMPDIR": files}).returncode
            self.seconds += time.monotonic() - start
            self.read_log()
            if code == 0:
                return
            if len(self.crashes()) == before:
                sys.exit(f"{self.name}_fuzz ended with {code} and kept no input; see {self.arguments.corpus / self.name}.log")
            if len(self.crashes()) - before >= MOST_CRASHES:
                return

    def read_log(self):
        text = (self.arguments.corpus / f"{self.name}.log").read_text(errors="replace")
        counted = EXECUTIONS.findall(text) or PULSE.findall(text)
        self.executions += int(counted[-1]) if counted else 0
        reached = STATUS.findall(text)
        self.edges = max([self.edges] + [int(edges) for edges, _, _ in reached])

    def crashes(self):
        return sorted(path for path in self.found.iterdir() if path.is_file())

    def lines(self):
        """Lines of the door's own files that the corpus reaches, of all of them; None without a coverage build."""
        build = self.arguments.coverage
        replay = build / "fuzz" / f"{self.name}_replay"
        if not replay.is_file():
            return None
        raw = self.arguments.corpus / f"{self.name}.profraw"
        data = self.arguments.corpus / f"{self.name}.profdata"
        subprocess.run([str(replay), str(self.corpus), *self.seeds()], check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, env={**os.environ, "LLVM_PROFILE_FILE": str(raw)})
        subprocess.run(["llvm-profdata", "merge", "-sparse", str(raw), "-o", str(data)], check=True)
        raw.unlink()
        libraries = [build / "app/NorvexData.arx", build / "app/libNorvexPlatform.so"]
        told = subprocess.run(["llvm-cov", "export", "-summary-only", f"-instr-profile={data}", str(replay),
                               *[f"-object={path}" for path in libraries if path.is_file()]],
                              check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        data.unlink()
        door = {str(path) for pattern in self.target["door"] for path in ROOT.glob(pattern)}
        counts = [file["summary"]["lines"] for file in json.loads(told)["data"][0]["files"]
                  if os.path.normpath(file["filename"]) in door]
        return sum(count["covered"] for count in counts), sum(count["count"] for count in counts)


def remember(corpus, run):
    """Adds the executions to those that the corpus has seen before. Returns: all of them."""
    path = corpus / "executions.json"
    known = json.loads(path.read_text()) if path.is_file() else {}
    known[run.name] = known.get(run.name, 0) + run.executions
    path.write_text(json.dumps(known, indent=1, sort_keys=True) + "\n")
    return known[run.name]


def row(cells):
    widths = (17, 12, 8, 13, 7, 16, 7, 7)
    return " ".join(str(cell).ljust(width) if i == 0 else str(cell).rjust(width)
                    for i, (cell, width) in enumerate(zip(cells, widths)))


def main():
    arguments = parse_arguments()
    targets = json.loads((arguments.build / "fuzz/targets.json").read_text())
    if arguments.targets:
        wanted = arguments.targets.split(",")
        unknown = set(wanted) - {target["name"] for target in targets}
        if unknown:
            sys.exit(f"no such target: {', '.join(sorted(unknown))}")
        targets = [target for target in targets if target["name"] in wanted]
    arguments.corpus.mkdir(parents=True, exist_ok=True)
    subprocess.run([str(arguments.build / "fuzz/fuzz_seeds"), str(arguments.build / "fuzz/seeds")], check=True)
    print(row(("target", "executions", "exec/s", "in all runs", "edges", "lines of door", "corpus", "found")), flush=True)
    executed = ever = found = 0
    for target in targets:
        run = Run(target, arguments)
        run.fuzz(arguments.minutes * 60 / len(targets) if arguments.minutes else None,
                 arguments.executions or target["goal"])
        lines = run.lines()
        shown = "-" if lines is None else f"{lines[0]}/{lines[1]} {100 * lines[0] // max(lines[1], 1)} %"
        all_runs = remember(arguments.corpus, run)
        crashes = len(run.crashes())
        print(row((run.name, run.executions, round(run.executions / max(run.seconds, 0.001)), all_runs, run.edges, shown,
                   len(list(run.corpus.iterdir())), crashes)), flush=True)
        executed, ever, found = executed + run.executions, ever + all_runs, found + crashes
    print(row(("all", executed, "", ever, "", "", "", found)))
    if found:
        print(f"Inputs that break a promise are in {arguments.corpus / 'found'}; what is mended goes to fuzz/crashes/TARGET/.")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
