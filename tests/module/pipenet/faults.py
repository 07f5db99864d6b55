#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Puts known faults into the pipe network code, one at a time, and expects pipenet_test to catch each.

A fault is a piece of the source and what stands there instead. The changed file is compiled and linked beside the
build, by the build's own commands; nothing in the source tree or the build changes. Needs a build by Ninja.

Usage: faults.py SOURCE_DIR BUILD_DIR WORK_DIR [NUMBER...]
Exit codes: 0 every fault was caught, 1 one was not or no longer fits the source, 2 the build cannot be used.
"""
import os
import pathlib
import shlex
import shutil
import subprocess
import sys

DETAIL = "norvexdata/pipenet/detail/"
LOOPS = DETAIL + "LoopFinder.cpp"
SEARCH = DETAIL + "PipeSearch.cpp"
BLOCKS = DETAIL + "Blocks.cpp"
OBJECTS = DETAIL + "NetworkObjects.cpp"
PLACES = DETAIL + "Places.cpp"
PLACES_HEADER = DETAIL + "Places.h"
CELLS = DETAIL + "Cells.h"
LIST = DETAIL + "EdgeList.h"
OBJECTS_HEADER = DETAIL + "NetworkObjects.h"
EDGE = "norvexdata/pipenet/CheckPipeLineEdge.cpp"
NODE = "norvexdata/pipenet/CheckPipeLineNode.cpp"
GRAPH = "norvexdata/pipenet/CheckPipeLineGraph.cpp"

# What is wrong, where, the text as it is, the text with the fault.
FAULTS = [
    ("trees are stripped past sites where blocks meet", LOOPS,
     "            if (m_joins[other]) {\n                break;", "            if (false) {\n                break;"),
    ("edges at dead ends are not pruned", LOOPS, "m_network.ListSize(node) != 1", "m_network.ListSize(node) != 77"),
    ("edges at any end of a run are pruned", LOOPS, "m_network.ListSize(node) != 1", "m_network.ListSize(node) > 2"),
    ("blocks that meet at several nodes stay apart", BLOCKS,
     "if (joins[graph.vertices[vertex]]) {\n            for", "if (false) {\n            for"),
    ("a walk turns back on the edge it came by", LOOPS, "step.edge != frame.cameBy && LeadsOn", "LeadsOn"),
    ("a walk turns back at a long list", LOOPS, "step.edge != frame.cameBy && inBlock", "inBlock"),
    ("the hub stops walks that end there", LOOPS, "part.hub != kNone && SiteOf(EndOf(edge)) != part.hub",
     "part.hub != kNone"),
    ("the hub closes one node early", LOOPS, "walk.hubNodesLeft = NodesToEnter(batch, walk);",
     "walk.hubNodesLeft = NodesToEnter(batch, walk) - 1;"),
    ("a look back that did not run out is believed", LOOPS,
     "SeeNamed(batch, number, see))) {\n                return false;",
     "SeeNamed(batch, number, see))) {\n                return true;"),
    ("a walk arrives at one node of a place only", LOOPS, "if (IsNear(batch.stops[number].node, EndOf(edge))) {",
     "if (batch.stops[number].node == EndOf(edge)) {"),
    ("pipes of hardly different length are one", LOOPS, "kSameLength = 0.001", "kSameLength = 0.0011"),
    ("a pipe drawn twice loses both", LOOPS, "        loop.push_back(m_network.pipes[edge]);\n    }\n",
     "        loop.push_back(m_network.pipes[edge]);\n    } else {\n        RemoveEdge(m_path.front());\n    }\n"),
    ("a loop begins with its closing pipe", LOOPS, "        loop.push_back(m_network.pipes[edge]);\n",
     "        loop.insert(loop.begin(), m_network.pipes[edge]);\n"),
    ("a loop's last pipe stays for others", LOOPS, "    }\n    RemoveEdge(edge);\n}\n", "    }\n}\n"),
    ("the end of a pipe is tried before its start", LOOPS,
     "if (IsNear(StartOf(edge), node)) {\n        return EndOf(edge);\n    }\n"
     "    return IsNear(EndOf(edge), node) ? StartOf(edge) : kNone;",
     "if (IsNear(EndOf(edge), node)) {\n        return StartOf(edge);\n    }\n"
     "    return IsNear(StartOf(edge), node) ? EndOf(edge) : kNone;"),
    ("taking an edge out takes its neighbour along", LOOPS, "        if (step.edge != edge) {",
     "        if (step.edge != edge && position + 1 != stop.end) {"),
    ("steps past what is gone skip one that is not", LOOPS, "batch.onward[position] = position + 1;",
     "batch.onward[position] = std::min(position + 2, stop.end);"),
    ("dead ends are followed past sites where blocks meet", LOOPS,
     "if (m_joins[SiteOf(batch.stops[other].node)]) {", "if (false) {"),
    ("parts hold blocks of more than themselves", BLOCKS, "m_low[done.vertex] < m_order[above]",
     "m_low[done.vertex] <= m_order[above]"),
    ("a searched list is read one entry short", LOOPS, "entry < m_network.listBegin[stop.node + 1]",
     "entry + 1 < m_network.listBegin[stop.node + 1]"),
    ("neighbouring cells are not looked at", PLACES, "crowded = !m_selfEqual || (!spot.inside && IsCrossing(spot.point));",
     "crowded = !m_selfEqual;"),
    ("points near a border count as well inside", CELLS, "const double margin = m_reach * m_scale + kRounding;",
     "const double margin = 0.0;"),
    ("an end joins the newest node in reach", SEARCH, "other.node < oldest &&",
     "(oldest == kNone || other.node > oldest) &&"),
    ("pipes at a point come in any order", SEARCH, "return left.run > right.run; }", "return left.run < right.run; }"),
    ("a repeated entry is a second pipe", PLACES, "const bool before = flag;", "const bool before = false;"),
    ("pipes meet within a tenth", SEARCH, "place.point.isEqualTo(point, AcGeContext::gTol)",
     "CEntFindMethod::Is2PtNear(place.point, point, kPlaceTolerance)"),
    ("pipes of earlier graphs are found again", SEARCH, "if (run.edge == kNone || run.edge >= m_firstEdge) {",
     "if (true) {"),
    ("nodes in crowded cells are forgotten", PLACES_HEADER,
     "            m_dense.Nodes().Add(m_places[place].point, place);\n", ""),
    ("places in crowded cells are made twice", PLACES,
     "        m_places.push_back({spot.point, kNoEnd, 1, kNone});\n"
     "        m_dense.All().Add(spot.point, place);\n",
     "        m_places.push_back({spot.point, kNoEnd, 1, kNone});\n"),
    ("a list that is handed out repeats its first pipe", NODE, "m_firstListed + entry", "m_firstListed"),
    ("a node that a caller holds loses its list with the graph", OBJECTS, "if (node.use_count() > 1)",
     "if (node.use_count() > 1000)"),
    ("an edge that a caller holds loses its nodes with the graph", OBJECTS, "    edge.OwnLinks();\n", ""),
    ("a graph does not hold the nodes that callers set", EDGE, "named->nodes[side] = node;", "named->nodes[side].reset();"),
    ("a search does not hold the nodes that callers set", OBJECTS_HEADER, "m_named[edge].nodes[side] = node;",
     "m_named[edge].nodes[side].reset();"),
    ("the newest edge of a pipe is found", GRAPH, "index.edges.emplace(", "index.edges.insert_or_assign("),
    ("pipes at a place come newest first", SEARCH, "    std::reverse(m_found.begin() + first, m_found.end());\n", ""),
    ("pipes taken in another order stay in it", SEARCH, "    if (!m_places.AreInListOrder()) {\n        std::sort",
     "    if (false) {\n        std::sort"),
    ("a closed pipe is twice at its place", PLACES, "if (end % 2 == 0 || run.place[0] != place) {", "if (true) {"),
    ("points above each other are one", PLACES, " | (leftBits[2] ^ rightBits[2])", ""),
    ("an end is taken for the one before it", PLACES, "same[found] = same[found - back];", "same[found] = same[found - 1];"),
    ("edges of other graphs do not count in a list", OBJECTS,
     "                m_network.lists.push_back(NumberOf(listed.get()));",
     "                if (NumberOf(listed.get()) != kNone) {\n"
     "                    m_network.lists.push_back(NumberOf(listed.get()));\n                }"),
    ("objects know their lists one entry short", OBJECTS, "node.m_listedCount = network.ListSize(number);",
     "node.m_listedCount = network.ListSize(number) - (number > 2 ? 1 : 0);"),
    ("a long list that was handed out is not looked through", LIST, "m_handedOut = true;", "m_handedOut = false;"),
    ("a long list forgets what is appended", LIST, "            m_known.insert(edge.get());\n", ""),
    ("a closed pipe's walk may go on from where it began", LOOPS,
     "        m_frames.back().next = batch.stops[m_seats[edge].startStop].end;\n", ""),
    ("a closed pipe tries the first pipe of its list only", LOOPS, "entry < end && m_path.empty(); ++entry",
     "entry < end && entry == m_firstLeft[node]; ++entry"),
    ("pipes closed at one place do not pair", LOOPS, "if (m_remains[first] == kClosed) {", "if (false) {"),
    ("a look back over loose joints misses a pipe", LOOPS, "next < batch.namedEnd[stop];", "next + 1 < batch.namedEnd[stop];"),
    ("pipes closed at one of several nodes are apart", LOOPS, "if (m_siteNodes.count(start) == 0) {", "if (true) {"),
]

# Results only, not the work they take. Large drawings and other tolerances add nothing but time.
FILTER = "-LargeNets.*:LoopWork.*:PipeShapes.*HundredThousandPipes:RandomNets.*OtherHostTolerances"
LONGEST_RUN = 300  # seconds; a fault may also make a walk endless


def give_up(sentence):
    print(sentence, file=sys.stderr)
    sys.exit(2)


def commands_of(build, target):
    """The shell commands that build the target, as lists of words."""
    listed = subprocess.run(["ninja", "-C", build, "-t", "commands", target], capture_output=True, text=True)
    if listed.returncode != 0:
        give_up(f"This needs a build by Ninja: {listed.stderr.strip()}")
    return [shlex.split(line) for line in listed.stdout.splitlines()]


class Build:
    def __init__(self, source, build, work):
        self.source, self.build, self.work = source, build, work
        commands = commands_of(build, "app/NorvexData.arx")
        self.compiles = {}
        for words in commands:
            if "-c" in words:
                path = pathlib.Path(words[words.index("-c") + 1])
                if path.is_relative_to(source):
                    self.compiles[str(path.relative_to(source))] = words
        self.link = next(words for words in reversed(commands) if "-shared" in words and "app/NorvexData.arx" in words)
        self.link = self.link[: self.link.index("&&", 2)] if "&&" in self.link[2:] else self.link
        self.link = [word for word in self.link if word not in (":", "&&")]

    def compile(self, file, overlay):
        words = list(self.compiles[file])
        at = words.index("-o")
        old = words[at + 1]
        new = str(self.work / (pathlib.Path(file).name + ".o"))
        words[at + 1] = new
        for option in ("-MF", "-MT"):
            if option in words:
                where = words.index(option)
                del words[where : where + 2]
        # A fault may leave something unused.
        words = [word for word in words if word not in ("-MD", "-Werror")]
        if (overlay / file).exists():
            words[words.index("-c") + 1] = str(overlay / file)
        # Before the source tree, so that a header with a fault is found first.
        words.insert(next(at for at, word in enumerate(words) if word.startswith("-I")), f"-I{overlay}")
        # A compiler cache does not notice that another header is found first now.
        environment = dict(os.environ, CCACHE_DISABLE="1")
        done = subprocess.run(words, cwd=self.build, capture_output=True, text=True, env=environment)
        return (old, new) if done.returncode == 0 else done.stderr

    def make(self, fault):
        """Returns: nothing, or why the library could not be made."""
        _, file, text, wrong = fault
        overlay = self.work / "overlay"
        shutil.rmtree(overlay, ignore_errors=True)
        content = (self.source / file).read_text()
        if content.count(text) == 0:
            return "the source no longer has this text"
        (overlay / file).parent.mkdir(parents=True)
        (overlay / file).write_text(content.replace(text, wrong, 1))
        files = [file] if file.endswith(".cpp") else [one for one in self.compiles if "/pipenet/" in one]
        link = list(self.link)
        for one in files:
            result = self.compile(one, overlay)
            if isinstance(result, str):
                return "it does not compile: " + result[:400]
            link = [result[1] if word == result[0] else word for word in link]
        link[link.index("-o") + 1] = str(self.work / "NorvexData.arx")
        done = subprocess.run(link, cwd=self.build, capture_output=True, text=True)
        return done.stderr[:400] if done.returncode else None

    def test(self, library_folder):
        """Returns: how the tests end: "passes", the first test that fails, or "hangs"."""
        environment = dict(os.environ, LD_LIBRARY_PATH=str(library_folder))
        try:
            done = subprocess.run(
                [self.build / "tests/module/pipenet/pipenet_test", f"--gtest_filter={FILTER}", "--gtest_fail_fast"],
                env=environment, capture_output=True, text=True, timeout=LONGEST_RUN)
        except subprocess.TimeoutExpired:
            return "hangs"
        if done.returncode == 0:
            return "passes"
        failed = [line.split()[3] for line in done.stdout.splitlines() if line.startswith("[  FAILED  ] ")]
        return failed[0].rstrip(",") if failed else f"ends with {done.returncode}"


def main():
    source, build, work = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    numbers = [int(argument) for argument in sys.argv[4:]] or range(1, len(FAULTS) + 1)
    work.mkdir(parents=True, exist_ok=True)
    made = Build(source, build, work)
    if made.test(build / "app") != "passes":
        give_up("Without a fault the tests do not pass either.")
    missed = 0
    for number in numbers:
        fault = FAULTS[number - 1]
        reason = made.make(fault)
        outcome = made.test(work) if reason is None else reason
        caught = reason is None and outcome != "passes"
        missed += 0 if caught else 1
        print(f"{number:2} {'caught' if caught else 'MISSED'}  {fault[0]}: {outcome}", flush=True)
    print(f"{len(list(numbers)) - missed} of {len(list(numbers))} faults caught")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
