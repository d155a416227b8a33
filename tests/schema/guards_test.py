"""Each case spoils a copy of the schema in one way; the tools that guard the schema must refuse it."""

import contextlib
import io
import os
import pathlib
import runpy
import shutil
import sys
import tempfile
import unittest
from unittest import mock

REPOSITORY = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(REPOSITORY / "tools"))
import datatypes_schema  # noqa: E402

PROTOC = os.environ.get("PROTOC", "protoc")

HEALTH, DISK, REPORT = "nvme_health.proto", "physical_disk.proto", "../../../../insight/proto/orbis/insight/health.proto"
UNSAFE_SHUTDOWNS = "optional bytes unsafe_shutdowns = 12;"

# What is replaced in which file, and what the lock's refusal must say.
BREAKING_CHANGES = [
    (HEALTH, UNSAFE_SHUTDOWNS, "optional bytes dirty_shutdowns = 12;", "is now called dirty_shutdowns"),
    (HEALTH, UNSAFE_SHUTDOWNS, "optional bytes unsafe_shutdowns = 41;", "now has the number 41"),
    (HEALTH, UNSAFE_SHUTDOWNS, "optional string unsafe_shutdowns = 12;", "was optional bytes and is optional string"),
    (HEALTH, UNSAFE_SHUTDOWNS, "bytes unsafe_shutdowns = 12;", "was optional bytes and is implicit bytes"),
    (HEALTH, UNSAFE_SHUTDOWNS, "repeated bytes unsafe_shutdowns = 12;", "add a field under the number 41"),
    (HEALTH, UNSAFE_SHUTDOWNS, "", 'is gone. Put it back, or retire it in NvmeHealthInfo: reserved 12; reserved "unsafe_shutdowns";'),
    (HEALTH, UNSAFE_SHUTDOWNS, "reserved 12;", "NvmeHealthInfo.unsafe_shutdowns = 12 is gone"),
    (DISK, "DISK_TYPE_SCM = 5;", "DISK_TYPE_SCM = 6;", "DiskType.DISK_TYPE_SCM = 5 now has the number 6"),
    (DISK, 'csharp_namespace = "Veyra.', 'csharp_namespace = "Other.', "make them equal"),
    (REPORT, "string serial_number = 4;", "string serial = 4;", "DiskHealth.serial_number = 4 is now called serial"),
]
COMPILED = {}


def load_once(protoc, root, part=datatypes_schema.DATATYPES, load=datatypes_schema.load):
    """Compiles a part of the schema only if it differs from those before: protoc takes longer than what a tool does with its answer."""
    key = part, *(path.read_bytes() for path in sorted((root / part[0]).rglob("*.proto")))
    if key not in COMPILED:
        COMPILED[key] = load(protoc, root, part)
    return COMPILED[key]


datatypes_schema.load = load_once
RETIRED = 'reserved 12; reserved "unsafe_shutdowns";'


class GuardsTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        shutil.copytree(REPOSITORY / "host-sdk" / "proto", self.root / "host-sdk" / "proto")
        shutil.copytree(REPOSITORY / "host" / "proto", self.root / "host" / "proto")
        (self.root / "docs").mkdir()
        shutil.copy(REPOSITORY / "docs" / "DATATYPES.md", self.root / "docs")
        shutil.copytree(REPOSITORY / "insight", self.root / "insight", ignore=shutil.ignore_patterns("src", "include"))

    def schema_file(self, name):
        return self.root / "host-sdk" / "proto" / "orbis" / "datatypes" / name

    def replace(self, name, old, new):
        text = self.schema_file(name).read_text(encoding="utf-8")
        self.assertEqual(text.count(old), 1, f"{name} must hold once: {old}")
        self.schema_file(name).write_text(text.replace(old, new), encoding="utf-8")

    def run_tool(self, script, *arguments):
        """In this process: to start Python and load protobuf takes longer than what a tool does."""
        output = io.StringIO()
        arguments = [str(argument) for argument in (script, "--protoc", PROTOC, *arguments)]
        with (mock.patch.object(sys, "argv", arguments), mock.patch.object(sys, "path", [str(script.parent), *sys.path]),
              contextlib.redirect_stdout(output), contextlib.redirect_stderr(output)):
            try:
                runpy.run_path(str(script), run_name="__main__")
                status = 0
            except SystemExit as end:
                status = end.code or 0
        if isinstance(status, str):
            return 1, output.getvalue() + status
        return status, output.getvalue()

    def lock(self, *arguments):
        return self.run_tool(REPOSITORY / "tools" / "datatypes-lock.py", "--root", self.root, *arguments)

    def doc(self):
        return self.run_tool(REPOSITORY / "tools" / "datatypes-doc.py", "--root", self.root, "--check")

    def assert_refused(self, outcome, text):
        self.assertEqual(outcome[0], 1, outcome[1])
        self.assertIn(text, outcome[1])

    def assert_accepted(self, outcome):
        self.assertEqual(outcome[0], 0, outcome[1])

    def test_lock_refuses_what_breaks_hosts_even_as_an_update(self):
        for name, old, new, text in BREAKING_CHANGES:
            with self.subTest(new=new, name=name):
                untouched = self.schema_file(name).read_text(encoding="utf-8")
                self.replace(name, old, new)
                self.assert_refused(self.lock(), text)
                self.assert_refused(self.lock("--update"), text)
                self.schema_file(name).write_text(untouched, encoding="utf-8")

    def test_lock_refuses_another_package(self):
        for path in self.schema_file(HEALTH).parent.glob("*.proto"):
            self.replace(path.name, "package veyra.orbis.datatypes;", "package veyra.orbis.other;")
        self.assert_refused(self.lock(), "package was veyra.orbis.datatypes and is veyra.orbis.other")

    def test_lock_takes_up_a_new_field_when_told(self):
        self.replace(HEALTH, UNSAFE_SHUTDOWNS, UNSAFE_SHUTDOWNS + " optional string note = 41;")
        self.assert_refused(self.lock(), "NvmeHealthInfo.note = 41 is new")
        self.assert_accepted(self.lock("--update"))
        self.assert_accepted(self.lock())

    def test_a_retired_field_stays_retired(self):
        self.replace(HEALTH, UNSAFE_SHUTDOWNS, RETIRED)
        self.assert_refused(self.lock(), "NvmeHealthInfo.unsafe_shutdowns = 12 is retired")
        self.assert_accepted(self.lock("--update"))
        self.assert_accepted(self.lock())
        self.replace(HEALTH, RETIRED, "optional bytes note = 12;")
        self.assert_refused(self.lock(), "uses the number of unsafe_shutdowns, which was retired: old messages would be misread. Take 41")
        self.replace(HEALTH, "optional bytes note = 12;", "reserved 12; optional bytes unsafe_shutdowns = 41;")
        self.assert_refused(self.lock(), "uses the name of a field that was retired")

    def test_document_follows_the_comments_and_the_sources(self):
        self.assert_accepted(self.doc())
        table = self.root / "insight" / "sources" / "sources.txtpb"
        rows = table.read_text(encoding="utf-8")
        row = 'field { name: "NvmeHealthInfo.available_spare" from { request: NVME_HEALTH_LOG first: 3 last: 3 } unit: "%" }'
        self.assertIn(row, rows)
        for changed, text in ((row.replace("3", "4"), "tools/datatypes-doc.py"),
                              ("", "no row for NvmeHealthInfo.available_spare"),
                              (row + row.replace("spare", "spares"), "rows of no field: NvmeHealthInfo.available_spares"),
                              (row.replace("first", "fist"), "sources.txtpb:")):
            with self.subTest(changed=changed):
                table.write_text(rows.replace(row, changed), encoding="utf-8")
                self.assert_refused(self.doc(), text)
        table.write_text(rows, encoding="utf-8")
        self.replace(HEALTH, "// Times powered on. 16 bytes or empty.", "// Times switched on. 16 bytes or empty.")
        self.assert_refused(self.doc(), "tools/datatypes-doc.py")
        self.replace(HEALTH, "    // Times switched on. 16 bytes or empty.\n", "")
        self.assert_refused(self.doc(), "NvmeHealthInfo.power_cycles has no comment")


if __name__ == "__main__":
    unittest.main()
