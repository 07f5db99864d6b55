#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Closes topics as another program would and gives the archive back to norvex trust import-bcf.

Usage: import_back.py NORVEX MODEL [unittest arguments]
"""
import json
import os
import pty
import subprocess
import sys
import tempfile
import unittest
import uuid
import xml.etree.ElementTree as ElementTree
import zipfile
from pathlib import Path

NAMESPACE = uuid.UUID("7c2e4c1b-9f0d-4b7e-8d53-2a61b5f0c9e4")


def guid_of(finding):
    return str(uuid.uuid5(NAMESPACE, finding["featureCode"]))


class ImportBack(unittest.TestCase):
    def setUp(self):
        self.holder = tempfile.TemporaryDirectory(prefix="norvex bcf ")
        self.addCleanup(self.holder.cleanup)
        self.folder = Path(self.holder.name)
        self.archive = self.folder / "findings.bcfzip"
        self.findings = self.check()

    def norvex(self, *arguments):
        return subprocess.run([NORVEX, *arguments, "--project", self.folder / "project"], capture_output=True,
                              text=True, stdin=subprocess.DEVNULL)

    def check(self, *options):
        report = self.folder / "report.json"
        run = self.norvex("check", MODEL, "--json", report, "--bcf", self.archive, "-q", *options)
        self.assertIn(run.returncode, (0, 1), run.stderr)
        return json.loads(report.read_text())["findings"]

    def trusted(self):
        run = self.norvex("trust", "list", "--json", "-")
        return json.loads(run.stdout)["entries"] if run.stdout else []

    def change(self, changes, name="changed.bcfzip"):
        """The archive with each document of a topic put through changes[guid], as another program saves it."""
        changed = self.folder / name
        with zipfile.ZipFile(self.archive) as source, zipfile.ZipFile(changed, "w", zipfile.ZIP_DEFLATED) as target:
            for member in source.namelist():
                content = source.read(member)
                guid, _, file = member.partition("/")
                if file == "markup.bcf" and guid in changes:
                    markup = ElementTree.fromstring(content)
                    changes[guid](markup)
                    content = ElementTree.tostring(markup, encoding="utf-8", xml_declaration=True)
                target.writestr(member, content)
        return changed

    @staticmethod
    def close(*comments, status="Closed"):
        def change(markup):
            topic = markup.find("Topic")
            topic.set("TopicStatus", status)
            topic.find("ModifiedAuthor").text = "wang@example.com"
            topic.find("ModifiedDate").text = "2026-03-04T10:00:00+08:00"
            if comments:
                listed = ElementTree.Element("Comments")
                for date, author, text in comments:
                    comment = ElementTree.SubElement(listed, "Comment", Guid=str(uuid.uuid4()))
                    ElementTree.SubElement(comment, "Date").text = date
                    ElementTree.SubElement(comment, "Author").text = author
                    ElementTree.SubElement(comment, "Comment").text = text
                topic.insert(list(topic).index(topic.find("Viewpoints")), listed)
        return change

    def closed(self, index=0, status="Closed"):
        return self.change({guid_of(self.findings[index]): self.close(
            ("2026-03-02T09:00:00Z", "zhao@example.com", "is that so?"),
            ("2026-03-03T09:00:00Z", "li@example.com", "agreed with\nthe owner"), status=status)})

    def test_takes_author_and_comment_as_person_and_reason(self):
        run = self.norvex("trust", "import-bcf", self.closed(), "--all")
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn("1 entry proposed, 1 added", run.stdout)
        self.assertIn("8 topics are not accepted.", run.stdout)
        entry, = self.trusted()
        self.assertEqual(entry["featureCode"], self.findings[0]["featureCode"])
        self.assertEqual(entry["reason"], "agreed with the owner")
        self.assertEqual(entry["person"], "li@example.com")
        self.assertEqual(entry["added"], "2026-03-03")
        after = self.check()
        self.assertEqual([f["featureCode"] for f in after if f["trusted"]], [self.findings[0]["featureCode"]])

    def test_topics_that_come_back_trusted_are_closed_and_propose_nothing(self):
        self.norvex("trust", "import-bcf", self.closed(), "--all")
        self.check()
        with zipfile.ZipFile(self.archive) as archive:
            topic = ElementTree.fromstring(archive.read(f"{guid_of(self.findings[0])}/markup.bcf")).find("Topic")
        self.assertEqual(topic.get("TopicStatus"), "Closed")
        self.assertEqual(topic.findtext("Comments/Comment/Comment"), "agreed with the owner")
        self.assertEqual(topic.findtext("Comments/Comment/Author"), "li@example.com")
        run = self.norvex("trust", "import-bcf", self.archive, "--all")
        self.assertIn("1 finding is trusted already.", run.stdout)
        self.assertIn("0 entries proposed, 0 added", run.stdout)
        # Taken back by hand: the archive that says so is ours, nobody's wish.
        self.norvex("trust", "remove", "1", "--reason", "no")
        run = self.norvex("trust", "import-bcf", self.archive, "--all", "--reason", "because")
        self.assertIn("nobody has changed it since norvex wrote it", run.stdout)
        self.assertEqual(self.trusted(), [])

    def test_a_dry_run_shows_and_adds_nothing(self):
        run = self.norvex("trust", "import-bcf", self.closed(), "--dry-run")
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn(self.findings[0]["sentence"], run.stdout)
        self.assertIn("1 entry would be proposed; nothing was added.", run.stdout)
        self.assertEqual(self.trusted(), [])

    def test_without_a_terminal_it_wants_to_be_told(self):
        run = self.norvex("trust", "import-bcf", self.closed())
        self.assertEqual(run.returncode, 2)
        self.assertEqual(run.stderr, "norvex: There is no terminal to ask on: --all takes every proposal, --dry-run "
                                     "only shows them.\n")
        self.assertEqual(self.trusted(), [])

    def test_asks_for_each_on_a_terminal(self):
        changes = {guid_of(f): self.close(("2026-03-03T09:00:00Z", "li@example.com", "fine")) for f in self.findings}
        archive = self.change(changes)
        child, terminal = pty.fork()
        if child == 0:
            os.execv(NORVEX, [NORVEX, "trust", "import-bcf", str(archive), "--project", str(self.folder / "project")])
        os.write(terminal, b"y\nperhaps\nn\ny\nq\n")
        output = b""
        while True:
            try:
                piece = os.read(terminal, 65536)
            except OSError:  # what a terminal says when the other side is gone
                break
            if not piece:
                break
            output += piece
        _, status = os.waitpid(child, 0)
        self.assertEqual(os.waitstatus_to_exitcode(status), 0, output)
        self.assertIn(b"9 entries proposed, 2 added", output)
        self.assertEqual(len(self.trusted()), 2)

    def test_never_makes_up_a_reason(self):
        archive = self.change({guid_of(self.findings[0]): self.close(),
                               guid_of(self.findings[1]): self.close(("2026-03-03", "li@example.com", " \n"))})
        run = self.norvex("trust", "import-bcf", archive, "--all")
        self.assertEqual(run.stdout.count("no comment says why it was accepted; --reason gives a reason"), 2)
        self.assertEqual(self.trusted(), [])
        run = self.norvex("trust", "import-bcf", archive, "--all", "--reason", "agreed on site", "--person", "Chen")
        self.assertIn("2 added", run.stdout)
        self.assertEqual({(e["reason"], e["person"], e["added"]) for e in self.trusted()},
                         {("agreed on site", "Chen", "2026-03-04")})

    def test_what_is_said_to_be_repaired_is_not_accepted(self):
        archive = self.closed(status="Resolved")
        self.assertIn("0 entries proposed", self.norvex("trust", "import-bcf", archive, "--all").stdout)
        run = self.norvex("trust", "import-bcf", archive, "--all", "--status", "resolved")
        self.assertIn("1 entry proposed, 1 added", run.stdout)

    def test_knows_a_topic_of_another_guid_by_its_feature_code(self):
        archive = self.folder / "other.bcfzip"
        # As programs of the version before write it: prefixes, labels and comments in their old places, no dates.
        markup = f"""<?xml version="1.0"?><b:Markup xmlns:b="urn:b"><b:Topic Guid="{{{str(uuid.uuid4()).upper()}}}"
            TopicStatus="CLOSED"><b:Title>Ring</b:Title><b:Labels>{self.findings[2]['featureCode']}</b:Labels></b:Topic>
            <b:Comment Guid="x"><b:Author>sun</b:Author><b:Comment>a ring main</b:Comment></b:Comment></b:Markup>"""
        with zipfile.ZipFile(archive, "w") as target:
            target.writestr("export\\Topic 1\\Markup.BCF", markup)
        run = self.norvex("trust", "import-bcf", archive, "--all")
        self.assertEqual(run.returncode, 0, run.stderr + run.stdout)
        entry, = self.trusted()
        self.assertEqual((entry["featureCode"], entry["reason"], entry["person"]),
                         (self.findings[2]["featureCode"], "a ring main", "sun"))

    def test_a_group_proposes_each_of_its_findings(self):
        self.check("--bcf-group", "floor")
        group = str(uuid.uuid5(NAMESPACE, "group\nfloor\n2层"))
        archive = self.change({group: self.close(("2026-03-03T09:00:00Z", "li", "all fine"))})
        run = self.norvex("trust", "import-bcf", archive, "--all")
        self.assertIn("5 entries proposed, 5 added", run.stdout)
        self.assertEqual({entry["featureCode"] for entry in self.trusted()},
                         {f["featureCode"] for f in self.findings if f["floor"] == "2层"})

    def test_topics_of_others_are_left_alone(self):
        archive = self.folder / "other.bcfzip"
        with zipfile.ZipFile(archive, "w") as target:
            for guid, text in ((uuid.uuid4(), "a stair"), (uuid.uuid4(), "_" + "0" * 32)):
                target.writestr(f"{guid}/markup.bcf", f"""<Markup><Topic Guid="{guid}" TopicStatus="Closed">
                    <Title>{text}</Title><Comments><Comment Guid="{guid}"><Author>a</Author><Comment>b</Comment></Comment>
                    </Comments></Topic></Markup>""")
        run = self.norvex("trust", "import-bcf", archive, "--all")
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn('Left out: "a stair": it is about no finding of this project\'s last run.', run.stdout)
        self.assertIn("was not found by this project's last run.", run.stdout)
        self.assertEqual(self.trusted(), [])

    def refused(self, content, sentence):
        broken = self.folder / "broken.bcfzip"
        broken.write_bytes(content)
        run = self.norvex("trust", "import-bcf", broken, "--all")
        self.assertEqual(run.returncode, 2, run.stdout)
        self.assertEqual(run.stderr, f"norvex: The BCF archive {broken} cannot be read: {sentence}\n")

    def test_refuses_what_is_no_archive(self):
        whole = self.closed().read_bytes()
        self.refused(b"", "it is no ZIP archive, or one that is cut off.")
        self.refused(b"<Markup/>", "it is no ZIP archive, or one that is cut off.")
        self.refused(whole[:len(whole) // 2], "it is no ZIP archive, or one that is cut off.")
        other = self.folder / "other.zip"
        with zipfile.ZipFile(other, "w") as target:
            target.writestr("readme.txt", "hello")
        self.refused(other.read_bytes(), "it is a ZIP archive without topics in it.")
        run = self.norvex("trust", "import-bcf", self.folder, "--all")
        self.assertEqual(run.stderr, f"norvex: The BCF archive {self.folder} cannot be read: it is no file but a "
                                     "folder, a pipe or a device.\n")
        run = self.norvex("trust", "import-bcf", self.folder / "none", "--all")
        self.assertEqual(run.stderr, f"norvex: The BCF archive {self.folder / 'none'} cannot be read: there is no such "
                                     "file.\n")

    def test_says_which_topics_are_broken_and_reads_the_rest(self):
        archive = self.closed()
        with zipfile.ZipFile(archive, "a", zipfile.ZIP_DEFLATED) as target:
            target.writestr("1/markup.bcf", "<Markup><Topic>")
            target.writestr("2/markup.bcf", b"\0" * (17 << 20))
            target.writestr("3/markup.bcf", '<!DOCTYPE m [<!ENTITY a "aaaa"><!ENTITY b "&a;&a;&a;">]><Markup>&b;</Markup>')
            target.writestr("4/markup.bcf", "<Other/>")
            target.writestr("../../../evil/markup.bcf", "<Markup><Topic Guid='5' TopicStatus='Open'/></Markup>")
        run = self.norvex("trust", "import-bcf", archive, "--all")
        self.assertEqual(run.returncode, 3, run.stdout)
        self.assertIn("1 entry proposed, 1 added", run.stdout)
        lines = run.stderr.splitlines()
        self.assertEqual(len(lines), 4, run.stderr)
        for number, line in enumerate(lines, 1):
            self.assertTrue(line.startswith(f"norvex: {archive}, {number}/markup.bcf"), line)
        self.assertIn("It unpacks to more than the 16777216 bytes that are read of a topic.", lines[1])
        self.assertFalse((self.folder.parent.parent / "evil").exists())

    def test_stops_at_an_archive_made_to_fill_the_memory(self):
        bomb = self.folder / "bomb.bcfzip"
        with zipfile.ZipFile(bomb, "w", zipfile.ZIP_DEFLATED) as target:
            for number in range(60):
                target.writestr(f"{number}/markup.bcf", b" " * (15 << 20))
        self.refused(bomb.read_bytes(), "its topics unpack to more than the 536870912 bytes that are read.")

    def test_survives_every_damage_of_single_bytes(self):
        whole = bytearray(self.closed().read_bytes())
        broken = self.folder / "broken.bcfzip"
        step = max(1, len(whole) // 60)
        for place in range(0, len(whole), step):
            damaged = bytearray(whole)
            damaged[place] ^= 0xFF
            broken.write_bytes(damaged)
            run = self.norvex("trust", "import-bcf", broken, "--dry-run")
            self.assertIn(run.returncode, (0, 2, 3), place)
            self.assertEqual(run.returncode == 0, run.stderr == "", place)


if __name__ == "__main__":
    NORVEX, MODEL = sys.argv[1:3]
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
