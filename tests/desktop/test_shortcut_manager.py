"""The shortcut key manager: missing, crashing, hanging."""

import os
import plistlib
import re
import signal
import sys
import unittest

from gi.repository import GLib

from launcher_driver import Atspi, has_state, wait_until, xdotool
from shortcut_editor import CMD, COMMANDS, ShortcutTest, entry

MISSING = ("Unable to setup shortcut keys - shortcut key manager doesn't exist. "
           "Please reinstall this software.")
TIMED_OUT = "Task timed out. Terminating..."
LONG = 100  # seconds, for what takes ten by itself; the session ends then, too


class ManagerTest(ShortcutTest):
    def setUp(self):
        super().setUp()
        self.note = self.home / "manager"  # what a manager leaves when it runs

    def test_without_a_manager_it_says_so(self):
        self.manager.unlink()
        self.file.parent.mkdir(parents=True)
        self.file.write_bytes(plistlib.dumps({"watchlist": [entry("quit", 24, CMD)]}))
        self.open_editor()
        self.launcher.find("label", re.compile("The shortcut key manager is missing.*"))
        self.assertFalse(has_state(self.table, Atspi.StateType.ENABLED))
        self.assertEqual(self.shown()[7], "Cmd+Q")
        self.launcher.click(self.cell(7, 1), times=2)
        self.launcher.click(self.launcher.find("push button", "Clear"))
        wait_until(lambda: MISSING in self.launcher.standard_error(), "the console line")
        self.assertFalse(self.edits())
        self.assertEqual(self.watchlist(), [entry("quit", 24, CMD)])

    def replace_manager(self, script):
        self.manager.write_text("#!/bin/sh\n" + script, encoding="utf-8")

    def wait_for_manager(self):
        """The process of a manager that has noted it, once it is at work."""
        return int(wait_until(lambda: self.note.exists() and self.note.read_text(encoding="ascii").strip(),
                              "the manager at work"))

    def test_a_manager_that_crashes_or_spams_changes_nothing(self):
        crashes = f"echo crashes >> '{self.note}'\nkill -SEGV $$\n"
        spams = f"head -c 5000000 /dev/zero\nhead -c 5000000 /dev/zero >&2\necho spams >> '{self.note}'\n"
        stored = []
        for row, (script, key, keycode) in enumerate(((crashes, "k", 45), (spams, "j", 44))):
            self.replace_manager(script)
            self.open_editor()
            self.begin(row)
            xdotool("key", f"super+{key}")
            wait_until(lambda: not self.edits(), "the edit ended")
            self.assertEqual(self.note.read_text(encoding="ascii").split(), ["crashes", "spams"][:row + 1])
            self.assertEqual(self.shown()[row], f"Cmd+{key.upper()}")
            stored.append(entry(COMMANDS[row][0], keycode, CMD))
            self.assertEqual(self.watchlist(), stored)
            self.assertNotIn("\0", self.launcher.standard_error())
            self.launcher.end()

    def test_a_manager_that_hangs_is_ended_after_ten_seconds(self):
        self.replace_manager(f"echo $$ > '{self.note}'\nexec sleep 600\n")
        self.open_editor()
        self.begin(0)
        place = self.cell(1, 1).get_extents(Atspi.CoordType.SCREEN)
        started = GLib.get_monotonic_time()
        # The windows still answer, but take no keys and no clicks. These follow at once, so that they come
        # within the ten seconds also where everything else is slow.
        xdotool("key", "super+k", "mousemove", place.x + place.width // 2, place.y + place.height // 2,
                "click", "--repeat", 2, "--delay", 20, 1, "key", "super+j", "Delete", "ctrl+q")
        process = self.wait_for_manager()
        self.assertEqual(self.table.get_n_rows(), len(COMMANDS))
        self.assertEqual(self.watchlist(), [entry("showLauncher", 45, CMD)])
        wait_until(lambda: TIMED_OUT in self.launcher.standard_error(), "the time-out", LONG)
        self.assertGreaterEqual(GLib.get_monotonic_time() - started, 10_000_000)
        wait_until(lambda: not os.path.exists(f"/proc/{process}"), "the end of the manager")
        wait_until(lambda: not self.edits(), "the edit ended")
        self.assertTrue(self.table.is_row_selected(0))
        self.assertEqual(self.shown()[:2], ["Cmd+K", ""])
        self.assertEqual(self.watchlist(), [entry("showLauncher", 45, CMD)])  # nothing was kept for later
        self.assertIsNone(self.launcher.process.poll())

    def test_a_manager_that_does_not_heed_its_end_is_left_to_itself(self):
        self.replace_manager(f"trap '' TERM\necho $$ > '{self.note}'\nwhile :; do sleep 1; done\n")
        self.open_editor()
        self.begin(0)
        xdotool("key", "super+k")
        process = self.wait_for_manager()
        self.addCleanup(os.kill, process, signal.SIGKILL)
        wait_until(lambda: not self.edits(), "the edit ended", LONG)
        self.assertIn(TIMED_OUT, self.launcher.standard_error())
        self.assertTrue(os.path.exists(f"/proc/{process}"))
        self.assertEqual(self.shown()[0], "Cmd+K")
        self.launcher.press("ctrl+q")
        self.assertEqual(self.launcher.wait_for_exit(), 0)

    def test_quitting_does_not_wait_for_a_manager_that_hangs(self):
        self.replace_manager(f"echo $$ > '{self.note}'\nexec sleep 600\n")
        self.open_editor()
        self.begin(0)
        xdotool("key", "super+k")
        self.addCleanup(os.kill, self.wait_for_manager(), signal.SIGTERM)
        self.launcher.process.terminate()
        self.assertEqual(self.launcher.wait_for_exit(), 0)
        self.assertNotIn(TIMED_OUT, self.launcher.standard_error())


if __name__ == "__main__":
    unittest.main(argv=sys.argv)
