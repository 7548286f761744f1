"""The sample suite is what its description promises, and assembling it is repeatable.

expected.json says what a scan of the suite lists. It is kept by hand: here it is held against the
bundles on disk and against the listing order, without the program that it is later compared with.
"""

import argparse
import json
import os
import pathlib
import plistlib
import subprocess
import sys
import tempfile
import unittest

SAMPLES = pathlib.Path(__file__).resolve().parents[3] / "samples"
OPTIONS = argparse.Namespace()
TOOL = b"#!/bin/sh\n"  # stands in for the tools' program, which does not matter here


def assemble(root):
    tool = root.parent / "tool"
    tool.write_bytes(TOOL)
    subprocess.run([sys.executable, SAMPLES / "assemble.py", "--tool", tool, "--draw-icon", OPTIONS.draw_icon,
                    root], check=True)


def read_plist(path):
    return plistlib.loads(path.read_bytes()) if path.is_file() else {}


def snapshot(root):
    return {path: (path.stat().st_mtime_ns, path.stat().st_ino) for path in root.rglob("*")
            if path.is_file() and path.name != ".assembled"}


def scan_order(path):
    return [(name.casefold(), name.encode()) for name in pathlib.PurePath(path).parts]


class SuiteTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.root = pathlib.Path(cls.folder.name, "SampleSuite")
        assemble(cls.root)
        cls.expected = json.loads((SAMPLES / "expected.json").read_text(encoding="utf-8"))

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def bundle(self, path):
        return self.root / "Applications" / path / "Contents"

    def test_expected_tools_are_in_listing_order(self):
        paths = [tool["appPath"] for tool in self.expected]
        self.assertEqual(paths, sorted(paths, key=scan_order))
        self.assertGreaterEqual(len(paths), 14)

    def test_expected_tools_are_what_their_bundles_say(self):
        for tool in self.expected:
            contents = self.root / tool["appPath"] / "Contents"
            info = read_plist(contents / "Info.plist")
            descriptor = read_plist(contents / "Resources/VTApp.plist") or read_plist(contents / "VTApp.plist")
            group = descriptor.get("VTGroupName") or read_plist(contents / "VTUpdates.plist").get("VTGroupName")
            with self.subTest(tool["appPath"]):
                self.assertEqual(tool["title"], info["CFBundleName"])
                self.assertEqual(tool["bundleID"], info["CFBundleIdentifier"])
                self.assertTrue(tool["bundleID"].startswith("com.vantorel"))
                self.assertEqual(tool["description"], descriptor.get("VTAppDescription"))
                self.assertEqual(tool["groupName"], group)
                self.assertEqual(set(tool), {"title", "description", "groupName", "bundleID", "appPath"})

    def test_all_other_bundles_have_a_reason_not_to_be_listed(self):
        bundles = [path.relative_to(self.root).as_posix() for path in self.root.rglob("*")
                   if path.suffix.lower() == ".app"]
        unlisted = set(bundles) - {tool["appPath"] for tool in self.expected}
        self.assertEqual(unlisted, {
            "Applications/Burrel.app",
            "Applications/Docs/Ledgerel.app",
            "Applications/Editors/Soundel.app",
            "Applications/Editors/Splicel.app",
            "Applications/Editors/Squeezel.app",
            "Applications/Nib Sorter.app",
            "Applications/Tools.localized/Spigotel.app",
            "Applications/Vantorel/Bug Reporter.app",
            "Applications/Vantorel/Vantorel Software Update.app",
        })
        with self.assertRaises(plistlib.InvalidFileException):
            read_plist(self.bundle("Burrel.app") / "Info.plist")
        self.assertEqual(read_plist(self.bundle("Nib Sorter.app") / "Info.plist")["CFBundleIdentifier"],
                         "com.example.NibSorter")
        for name in ("Bug Reporter", "Vantorel Software Update"):
            contents = self.bundle(f"Vantorel/{name}.app")
            self.assertFalse((contents / "Resources/VTApp.plist").exists())
            self.assertFalse((contents / "VTApp.plist").exists())

    def test_the_oddities_are_there(self):
        both = self.bundle("Kelvandor/Gimbrel.app")
        self.assertNotEqual(read_plist(both / "VTApp.plist"), read_plist(both / "Resources/VTApp.plist"))
        self.assertFalse((self.bundle("Ostendel/Pintlet.app") / "Resources/VTApp.plist").exists())
        self.assertNotIn("VTGroupName", read_plist(self.bundle("Ostendel/snathel.app") / "Resources/VTApp.plist"))
        self.assertTrue((self.bundle("Kelvandor/Quoinet.app") / "Info.plist").read_bytes().startswith(b"bplist00"))
        self.assertTrue((self.bundle("Kelvandor/Purgel.app") / "Info.plist").read_bytes().startswith(b"<?xml"))
        titles = [tool["title"] for tool in self.expected]
        self.assertEqual(titles.count("Tallowby"), 2)
        self.assertTrue(any(len(tool["description"] or "") > 300 for tool in self.expected))
        self.assertIn(None, [tool["groupName"] for tool in self.expected])
        self.assertIn(None, [tool["description"] for tool in self.expected])
        self.assertEqual(len({tool["groupName"] for tool in self.expected} - {None}), 4)

    def test_every_bundle_can_be_started_and_has_the_icon_it_names(self):
        without_icon = []
        for tool in self.expected:
            contents = self.root / tool["appPath"] / "Contents"
            info = read_plist(contents / "Info.plist")
            executable = contents / "MacOS" / info["CFBundleExecutable"]
            self.assertEqual(executable.read_bytes(), TOOL)
            self.assertEqual(executable.stat().st_mode & 0o777, 0o755)
            if "CFBundleIconFile" not in info:
                without_icon.append(tool["title"])
                continue
            icon = (contents / "Resources" / info["CFBundleIconFile"]).read_bytes()
            kind = pathlib.PurePath(info["CFBundleIconFile"]).suffix
            self.assertTrue(icon.startswith({".icns": b"icns", ".png": b"\x89PNG"}[kind]), tool["title"])
        self.assertEqual(without_icon, ["Mortisel"])

    def test_library_is_complete(self):
        library = self.root / "Library"
        for folder in ("Logs/Vantorel", "Preferences", "Caches", "Application Support", "Documentation/Vantorel"):
            self.assertTrue((library / folder).is_dir(), folder)
        for manual in library.rglob("*.[pP][dD][fF]"):
            self.assertTrue(manual.read_bytes().startswith(b"%PDF-"))
        manager = library / "Application Support/Vantorel/Shared Resources/VTShortcutKeyManager"
        with tempfile.TemporaryDirectory() as home:
            environment = {**os.environ, "HOME": home}
            self.assertEqual(subprocess.run([manager, "-setup"], check=False, env=environment).returncode, 0)
            noted = pathlib.Path(home, "Library/Logs/VTShortcutKeyManager.log").read_text(encoding="utf-8")
            self.assertEqual(json.loads(noted), {"arguments": ["-setup"], "watchlist": None})
            self.assertEqual(subprocess.run([manager], check=False, env=environment,
                                            stderr=subprocess.DEVNULL).returncode, 2)

    def test_assembling_again_changes_nothing(self):
        before = snapshot(self.root)
        assemble(self.root)
        self.assertEqual(snapshot(self.root), before)

    def test_what_an_earlier_build_left_goes_and_what_programs_wrote_stays(self):
        stale = self.bundle("Kelvandor/Formerly.app") / "Info.plist"
        stale.parent.mkdir(parents=True)
        stale.write_text("old")
        extra = self.bundle("Kelvandor/Purgel.app") / "Resources/Old.icns"
        extra.write_text("old")
        outside = pathlib.Path(self.folder.name, "outside")
        outside.mkdir()
        (outside / "keep").write_text("keep")
        (self.root / "Applications/link").symlink_to(outside)
        damaged = self.bundle("Hasplet.app") / "Info.plist"
        original = damaged.read_bytes()
        damaged.write_text("someone was here")
        log = self.root / "Library/Logs/Vantorel/Launcher/Launcher.1.log"
        log.parent.mkdir()
        log.write_text("a line")

        assemble(self.root)

        self.assertFalse((self.root / "Applications/Kelvandor/Formerly.app").exists())
        self.assertFalse(extra.exists())
        self.assertFalse((self.root / "Applications/link").is_symlink())
        self.assertEqual((outside / "keep").read_text(), "keep")
        self.assertEqual(damaged.read_bytes(), original)
        self.assertEqual(log.read_text(), "a line")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--draw-icon", type=pathlib.Path, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *rest])
