"""The sample tools on a display: every one opens its own window and quits the ways it should.

Runs inside tests/desktop/session. The tools' windows are told apart by their class, which is the bundle
identifier.
"""

import json
import os
import pathlib
import plistlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

SUITE = pathlib.Path(sys.argv.pop(1))
LIMIT = 30  # seconds that anything may take on a busy machine
NOBODY = 65534


def xdotool(*arguments):
    return subprocess.run(["xdotool", *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                          timeout=LIMIT, check=False).stdout.split()


def wait_until(predicate, what):
    deadline = time.monotonic() + LIMIT
    while True:
        value = predicate()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {LIMIT} seconds: {what}")
        time.sleep(0.05)


def active_window():
    return xdotool("getactivewindow")


class Running:
    """A tool with its window in front."""

    def __init__(self, path, *arguments, **environment):
        contents = SUITE / path / "Contents"
        self.info = plistlib.loads((contents / "Info.plist").read_bytes())
        self.process = subprocess.Popen(
            [contents / "MacOS" / self.info["CFBundleExecutable"], *arguments],
            env={**os.environ, **environment})
        pattern = "^" + self.info["CFBundleIdentifier"].replace(".", r"\.") + "$"
        self.window = wait_until(lambda: self.alive() and xdotool("search", "--onlyvisible", "--class", pattern),
                                 f"a window of {pattern}")
        wait_until(lambda: active_window() == self.window, f"{pattern} in front")

    def alive(self):
        status = self.process.poll()
        if status is not None:
            raise AssertionError(f"ended with {status}")
        return True

    def title(self):
        return " ".join(xdotool("getwindowname", *self.window))

    def status(self):
        return self.process.wait(LIMIT)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()


class ToolTest(unittest.TestCase):
    def test_every_tool_opens_and_quits_with_escape(self):
        samples = pathlib.Path(__file__).resolve().parents[3] / "samples"
        for tool in json.loads((samples / "expected.json").read_text(encoding="utf-8")):
            with self.subTest(tool["appPath"]), Running(tool["appPath"]) as running:
                self.assertEqual(running.title(), tool["title"])
                xdotool("key", "Escape")
                self.assertEqual(running.status(), 0)

    def test_control_q_quits(self):
        with Running("Applications/Kelvandor/Purgel.app") as running:
            xdotool("key", "ctrl+q")
            self.assertEqual(running.status(), 0)

    def test_the_button_has_the_focus_and_quits(self):
        with Running("Applications/Hasplet.app") as running:
            xdotool("key", "space")
            self.assertEqual(running.status(), 0)

    def test_closing_the_window_quits(self):
        with Running("Applications/Lintelby.app") as running:
            xdotool("key", "alt+F4")  # the window manager asks the window to close
            self.assertEqual(running.status(), 0)

    def test_a_file_is_taken(self):
        with Running("Applications/Vantorel/Bug Reporter.app", "/var/log/Launcher.crash") as running:
            self.assertEqual(running.title(), "Bug Reporter")
            xdotool("key", "Escape")
            self.assertEqual(running.status(), 0)

    def test_the_silent_look_for_updates_ends_at_once(self):
        program = SUITE / "Applications/Vantorel/Vantorel Software Update.app/Contents/MacOS/SoftwareUpdate"
        with tempfile.TemporaryDirectory() as home:
            result = subprocess.run([program, "-checkpath", "/somewhere/Launcher.app"], timeout=LIMIT,
                                    check=False, env={**os.environ, "HOME": home})
            self.assertEqual(result.returncode, 0)
            log = pathlib.Path(home, "Library/Logs/Vantorel Software Update.log").read_text(encoding="utf-8")
            self.assertRegex(log, r"\A\S+ -checkpath /somewhere/Launcher\.app\n\Z")

    def test_a_look_for_updates_by_hand_is_recorded(self):
        with tempfile.TemporaryDirectory() as home:
            with Running("Applications/Vantorel/Vantorel Software Update.app", HOME=home) as running:
                xdotool("key", "Escape")
                self.assertEqual(running.status(), 0)
            log = pathlib.Path(home, "Library/Logs/Vantorel Software Update.log").read_text(encoding="utf-8")
            self.assertRegex(log, r"\A\S+\n\Z")
            with Running("Applications/Hasplet.app", HOME=home) as running:
                xdotool("key", "Escape")
                self.assertEqual(running.status(), 0)
            self.assertEqual(len(list(pathlib.Path(home, "Library/Logs").iterdir())), 1)

    def repair(self, root, poster=None):
        """Runs Purgel in a suite of its own, as an ordinary user; returns the finished process."""
        bundle = root / "Applications/Kelvandor/Purgel.app"
        shutil.copytree(SUITE / "Applications/Kelvandor/Purgel.app", bundle)
        if poster:
            vtpost = root.parent / "Launcher.app/Contents/Resources/vtpost"
            vtpost.parent.mkdir(parents=True)
            vtpost.write_text(f"#!/bin/sh\n{poster}\n", encoding="utf-8")
            vtpost.chmod(0o755)
        environment = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
        as_user = {}
        if os.getuid() == 0:
            as_user = {"user": NOBODY, "group": NOBODY, "extra_groups": []}
            for path in (root.parent, *root.parent.rglob("*")):
                os.lchown(path, NOBODY, NOBODY)
        return subprocess.run([bundle / "Contents/MacOS/Purgel", "-fix"], env=environment, timeout=LIMIT, cwd="/",
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False, **as_user)

    def test_a_repair_clears_its_cache_and_posts_that_it_is_complete(self):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder, "Suite")
            result = self.repair(root, f"echo $# $@ >>'{folder}/posted'")
            self.assertEqual(result.returncode, 0, result.stderr)
            self.assertEqual(pathlib.Path(folder, "posted").read_text(encoding="utf-8"), "1 VTKVDPurgelComplete\n")
            self.assertEqual(result.stdout.count("cleared"), 6)
            self.assertEqual(list((root / "Library/Caches").iterdir()), [])

    def test_a_repair_follows_no_link(self):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder, "Suite")
            outside = pathlib.Path(folder, "outside")
            outside.mkdir()
            (root / "Library/Caches").mkdir(parents=True)
            (root / "Library/Caches/com.vantorel.Purgel").symlink_to(outside)
            result = self.repair(root, f"echo $@ >>'{folder}/posted'")
            self.assertEqual(result.returncode, 1)
            self.assertIn("could not be cleared", result.stderr)
            self.assertTrue(pathlib.Path(folder, "posted").exists())  # the run is over all the same

    def test_a_repair_that_can_tell_nobody_fails(self):
        with tempfile.TemporaryDirectory() as folder:
            result = self.repair(pathlib.Path(folder, "Suite"))
            self.assertEqual(result.returncode, 1)
            self.assertIn("nobody could be told", result.stderr)


if __name__ == "__main__":
    unittest.main()
