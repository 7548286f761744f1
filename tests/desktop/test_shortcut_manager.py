"""The shortcut key manager: missing, crashing, hanging."""

import os
import plistlib
import re
import signal
import sys
import time
import unittest

from gi.repository import GLib

from launcher_driver import Atspi, has_state, wait_until, xdotool
from shortcut_editor import CMD, COMMANDS, ShortcutTest, entry

MISSING = ("Unable to setup shortcut keys - shortcut key manager doesn't exist. "
           "Please reinstall this software.")


class ManagerTest(ShortcutTest):
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

    def test_a_manager_that_crashes_or_spams_changes_nothing(self):
        for script in ("kill -SEGV $$\n", "head -c 5000000 /dev/zero; head -c 5000000 /dev/zero >&2\n"):
            self.replace_manager(script)
            self.open_editor()
            self.begin(0)
            xdotool("key", "super+k")
            wait_until(lambda: not self.edits(), "the edit ended")
            self.assertEqual(self.shown()[0], "Cmd+K")
            self.assertEqual(self.watchlist(), [entry("showLauncher", 45, CMD)])
            self.assertNotIn("\0", self.launcher.standard_error())
            self.launcher.end()

    def test_a_manager_that_hangs_is_ended_after_ten_seconds(self):
        self.replace_manager(f"echo $$ > '{self.home}/manager'\nexec sleep 600\n")
        self.open_editor()
        self.begin(0)
        started = GLib.get_monotonic_time()
        xdotool("key", "super+k")
        note = self.home / "manager"
        process = wait_until(lambda: note.exists() and note.read_text(encoding="ascii").strip(),
                             "the manager at work")
        # The windows still answer, but take no keys and no clicks.
        self.assertEqual(self.table.get_n_rows(), len(COMMANDS))
        self.launcher.click(self.cell(1, 1), times=2)
        xdotool("key", "super+j", "Delete", "ctrl+q")
        self.assertEqual(self.watchlist(), [entry("showLauncher", 45, CMD)])
        wait_until(lambda: "Task timed out. Terminating..." in self.launcher.standard_error(), "the time-out")
        taken = GLib.get_monotonic_time() - started
        self.assertGreaterEqual(taken, 10_000_000)
        self.assertLess(taken, 14_000_000)
        wait_until(lambda: not os.path.exists(f"/proc/{process}"), "the end of the manager")
        wait_until(lambda: not self.edits(), "the edit ended")
        self.assertEqual(self.shown()[:2], ["Cmd+K", ""])
        self.assertEqual(self.watchlist(), [entry("showLauncher", 45, CMD)])  # nothing was kept for later
        self.assertIsNone(self.launcher.process.poll())

    def test_a_manager_that_does_not_heed_its_end_is_left_to_itself(self):
        note = self.home / "manager"
        self.replace_manager(f"trap '' TERM\necho $$ > '{note}'\nwhile :; do sleep 1; done\n")
        self.open_editor()
        self.begin(0)
        xdotool("key", "super+k")
        process = int(wait_until(lambda: note.exists() and note.read_text(encoding="ascii").strip(),
                                 "the manager at work"))
        self.addCleanup(os.kill, process, signal.SIGKILL)
        begin = time.monotonic()
        wait_until(lambda: not self.edits(), "the edit ended")
        self.assertLess(time.monotonic() - begin, 20)  # ten for the manager, five to give up
        self.assertTrue(os.path.exists(f"/proc/{process}"))
        self.assertEqual(self.shown()[0], "Cmd+K")
        self.launcher.press("ctrl+q")
        self.assertEqual(self.launcher.wait_for_exit(), 0)

    def test_quitting_does_not_wait_for_a_manager_that_hangs(self):
        self.replace_manager(f"echo $$ > '{self.home}/manager'\nexec sleep 20\n")
        self.open_editor()
        self.begin(0)
        xdotool("key", "super+k")
        wait_until(lambda: (self.home / "manager").exists(), "the manager at work")
        self.launcher.process.terminate()
        self.assertEqual(self.launcher.wait_for_exit(limit=5), 0)


if __name__ == "__main__":
    unittest.main(argv=sys.argv)
