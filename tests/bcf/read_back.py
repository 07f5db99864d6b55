#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Reads the archives that the program writes as another program would: with the standard library alone.

Usage: read_back.py NORVEX MODEL [unittest arguments]
"""
import json
import math
import re
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import uuid
import xml.etree.ElementTree as ElementTree
import zipfile
import zlib
from pathlib import Path

NAMESPACE = uuid.UUID("7c2e4c1b-9f0d-4b7e-8d53-2a61b5f0c9e4")
MARK = (0xFF, 0x3D, 0x8B)


class Topic:
    def __init__(self, archive, folder):
        markup = ElementTree.fromstring(archive.read(f"{folder}/markup.bcf"))
        topic = markup.find("Topic")
        self.folder = folder
        self.guid = topic.get("Guid")
        self.status = topic.get("TopicStatus")
        self.type = topic.get("TopicType")
        self.title = topic.findtext("Title")
        self.description = topic.findtext("Description")
        self.labels = [label.text for label in topic.findall("Labels/Label")]
        self.created = topic.findtext("CreationDate")
        self.modified = topic.findtext("ModifiedDate")
        self.project = markup.find("Header/Files/File").get("IfcProject")
        self.views = []
        for entry in topic.findall("Viewpoints/ViewPoint"):
            view = ElementTree.fromstring(archive.read(f"{folder}/{entry.findtext('Viewpoint')}"))
            snapshot = entry.findtext("Snapshot")
            picture = archive.read(f"{folder}/{snapshot}") if snapshot else None
            self.views.append((entry.get("Guid"), view, picture))

    def selection(self):
        return {component.get("IfcGuid") for _, view, _ in self.views
                for component in view.findall("Components/Selection/Component")}


def vector(element, name):
    point = element.find(name)
    return tuple(float(point.findtext(axis)) for axis in "XYZ")


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def sees(camera, metres):
    """Whether a perspective camera has the point in view."""
    direction, up = vector(camera, "CameraDirection"), vector(camera, "CameraUpVector")
    offset = tuple(p - e for p, e in zip(metres, vector(camera, "CameraViewPoint")))
    half = math.tan(math.radians(float(camera.findtext("FieldOfView"))) / 2)
    depth = dot(offset, direction)
    return (depth > 0 and abs(dot(offset, up)) <= depth * half
            and abs(dot(offset, cross(direction, up))) <= depth * half * float(camera.findtext("AspectRatio")))


def pixels(png):
    """The rows of a PNG with eight bits a sample and palette or RGB, as tuples."""
    assert png[:8] == b"\x89PNG\r\n\x1a\n"
    at, data, palette = 8, b"", []
    while at < len(png):
        size, kind = struct.unpack(">I4s", png[at:at + 8])
        content = png[at + 8:at + 8 + size]
        assert zlib.crc32(kind + content) == struct.unpack(">I", png[at + 8 + size:at + 12 + size])[0]
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlaced = struct.unpack(">IIBBBBB", content)
            assert depth == 8 and colour in (2, 3) and interlaced == 0
        elif kind == b"PLTE":
            palette = [tuple(content[i:i + 3]) for i in range(0, size, 3)]
        elif kind == b"IDAT":
            data += content
        at += 12 + size
    samples = 3 if colour == 2 else 1
    raw = zlib.decompress(data)
    assert len(raw) == height * (1 + width * samples)
    rows, before = [], bytes(width * samples)
    for y in range(height):
        kind = raw[y * (1 + width * samples)]
        line = raw[y * (1 + width * samples) + 1:(y + 1) * (1 + width * samples)]
        assert kind in (0, 2), "a filter that this reader does not know"
        if kind == 2:
            line = bytes((a + b) & 255 for a, b in zip(line, before))
        before = line
        rows.append([palette[i] for i in line] if palette else
                    [tuple(line[i:i + 3]) for i in range(0, len(line), 3)])
    return rows


class ReadBack(unittest.TestCase):
    def check(self, *options):
        """Runs a check; returns the findings of its JSON report, and the topics of its archive by GUID."""
        archive_path = self.folder / "findings.bcfzip"
        run = subprocess.run([NORVEX, "check", MODEL, "--project", self.folder / "project", "--json",
                              self.folder / "report.json", "--bcf", archive_path, "-q", *options],
                             capture_output=True, text=True)
        self.assertIn(run.returncode, (0, 1), run.stderr)
        findings = json.loads((self.folder / "report.json").read_text())["findings"]
        with zipfile.ZipFile(archive_path) as archive:
            self.assertIsNone(archive.testzip())
            self.assertEqual(ElementTree.fromstring(archive.read("bcf.version")).get("VersionId"), "3.0")
            self.extensions = ElementTree.fromstring(archive.read("extensions.xml"))
            folders = [name.split("/")[0] for name in archive.namelist() if name.endswith("/markup.bcf")]
            topics = {folder: Topic(archive, folder) for folder in folders}
        self.assertEqual(len(topics), len(folders))
        return findings, topics

    def setUp(self):
        self.holder = tempfile.TemporaryDirectory(prefix="norvex bcf ")
        self.folder = Path(self.holder.name)
        self.addCleanup(self.holder.cleanup)

    def topic_of(self, topics, finding):
        return topics[str(uuid.uuid5(NAMESPACE, finding["featureCode"]))]

    def test_holds_a_topic_for_each_finding_under_its_identity(self):
        findings, topics = self.check()
        self.assertEqual(len(findings), 9)
        self.assertEqual(set(topics), {str(uuid.uuid5(NAMESPACE, f["featureCode"])) for f in findings})
        for finding in findings:
            topic = self.topic_of(topics, finding)
            self.assertEqual(topic.guid, topic.folder)
            self.assertIn(finding["sentence"], topic.description)
            self.assertIn(finding["featureCode"], topic.description)
            self.assertIn(finding["severity"], topic.labels)
            self.assertTrue(any(label.startswith(finding["specialty"]) for label in topic.labels))
            self.assertEqual(topic.status, "Open")
            self.assertEqual(topic.project, project_of_model())
        known = {label.text for label in self.extensions.iter("TopicLabel")}
        types = {kind.text for kind in self.extensions.iter("TopicType")}
        for topic in topics.values():
            self.assertLessEqual(set(topic.labels), known)
            self.assertIn(topic.type, types)

    def test_selects_the_objects_of_the_finding(self):
        findings, topics = self.check()
        for finding in findings:
            self.assertEqual(self.topic_of(topics, finding).selection(),
                             {thing["globalId"] for thing in finding["objects"]})

    def test_places_cameras_that_see_the_objects(self):
        findings, topics = self.check()
        for finding in findings:
            views = self.topic_of(topics, finding).views
            self.assertEqual(len(views), 1)
            camera = views[0][1].find("PerspectiveCamera")
            metres = tuple(finding["place"][axis] / 1000 for axis in "xyz")
            self.assertTrue(sees(camera, metres), finding["sentence"])
            far = vector(camera, "CameraViewPoint")
            self.assertLess(math.dist(far, metres), 100, "it stands in the building")
            behind = tuple(2 * e - p for p, e in zip(metres, far))
            self.assertFalse(sees(camera, behind), "this test can fail")

    def test_pictures_show_marked_objects(self):
        _, topics = self.check()
        for topic in topics.values():
            rows = pixels(topic.views[0][2])
            self.assertEqual((len(rows), len(rows[0])), (600, 800))
            marked = [(x, y) for y, row in enumerate(rows) for x, colour in enumerate(row)
                      if all(abs(a - b) <= 8 for a, b in zip(colour, MARK))]
            self.assertGreater(len(marked), 50, topic.title)
            # The middle of what is marked is the middle of the picture.
            for axis, size in ((0, 800), (1, 600)):
                places = [place[axis] for place in marked]
                self.assertLess(abs((min(places) + max(places)) / 2 - size / 2), 12, topic.title)

    def test_updates_topics_of_an_earlier_run(self):
        _, before = self.check("--floor", "2层")
        time.sleep(1.1)  # dates have whole seconds
        _, after = self.check()
        self.assertEqual(len(before), 5)
        self.assertLessEqual(set(before), set(after))
        for guid, topic in before.items():
            self.assertEqual([view[0] for view in topic.views], [view[0] for view in after[guid].views])
        for guid, topic in after.items():
            self.assertEqual(topic.created, before[guid].modified if guid in before else topic.modified)
            self.assertEqual(topic.created < topic.modified, guid in before)

    def test_groups_hold_all_findings(self):
        for kind, count in (("rule", 4), ("floor", 3), ("system", None)):
            findings, topics = self.check("--bcf-group", kind)
            held = [int(re.search(r"(\d+) findings?$", topic.title)[1]) for topic in topics.values()]
            self.assertEqual(sum(held), len(findings), kind)
            self.assertEqual(len(topics), count or len(topics), kind)
            self.assertLess(len(topics), len(findings), kind)
            selected = set().union(*(topic.selection() for topic in topics.values()))
            self.assertEqual(selected, {thing["globalId"] for f in findings for thing in f["objects"]}, kind)
            codes = "".join(topic.description for topic in topics.values())
            for finding in findings:
                self.assertIn(finding["featureCode"], codes)


def project_of_model():
    """The GlobalId of the model's project, read from its text."""
    return re.search(r"IFCPROJECT\('([^']{22})'", Path(MODEL).read_text(errors="replace"))[1]


if __name__ == "__main__":
    NORVEX, MODEL = sys.argv[1:3]
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
