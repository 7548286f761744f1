"""An idle Launcher sleeps."""

import unittest

from launcher_driver import DesktopTest
from tool_root import ToolRoot
from windows import wait_until, xdotool

QUICK = """#!/bin/sh
echo $$ >>"$NOTES/starts"
"""


class IdleTest(DesktopTest):
    def setUp(self):
        self.root = ToolRoot(self)
        self.tool = self.root.add("Quickel", QUICK)
        # Nobody looks at it through the accessibility tree, since that would wake it.
        self.launcher = self.launch(root=str(self.root.folder))
        self.launcher.window()
        wait_until(self.launcher.is_active, "the panel with the keyboard")

    def wakes_up_within(self, seconds):
        """Whether any of its threads has run in that time."""
        before = self.launcher.threads(), self.launcher.wake_ups()
        try:
            wait_until(lambda: (self.launcher.threads(), self.launcher.wake_ups()) != before, "a wake-up",
                       limit=seconds)
            return True
        except AssertionError:
            return False

    def assert_sleeps(self):
        """What has been begun may come to its end first: fades, scans, threads that wait for more to do."""
        wait_until(lambda: not self.wakes_up_within(10), "ten seconds without a wake-up", limit=50)

    def test_sleeps_while_the_panel_is_visible(self):
        self.assert_sleeps()

    def test_sleeps_after_a_tool_has_come_and_gone(self):
        def started():
            if self.launcher.is_active():
                xdotool("key", "Down", "Return")
            return self.tool.starts()

        wait_until(started, "the tool's start")
        self.launcher.wait_until_back()
        self.assert_sleeps()


if __name__ == "__main__":
    unittest.main()
