"""Launches in a row leave nothing behind."""

import unittest

from launcher_driver import DesktopTest
from tool_root import ToolRoot
from windows import WindowWatch, wait_until, xdotool

LAUNCHES = 200

QUICK = """#!/bin/sh
echo $$ >>"$NOTES/starts"
"""


class ManyLaunchesTest(DesktopTest):
    def test_each_brings_the_panel_back_and_leaves_nothing_behind(self):
        root = ToolRoot(self)
        tool = root.add("Quickel", QUICK)
        launcher = self.launch(root=str(root.folder))
        launcher.wait_for_catalogue()
        launcher.select(tool.name)
        watch = WindowWatch(launcher.window())
        self.addCleanup(watch.end)

        def launch(times):
            wait_until(launcher.is_active, "the panel with the keyboard")
            xdotool("key", "Return")
            wait_until(lambda: watch.times_back() == times, f"the panel back after {times} launches")

        warm_up = 3
        for times in range(1, warm_up + 1):
            launch(times)
        descriptors, threads = len(launcher.descriptors()), len(launcher.threads())
        for times in range(warm_up + 1, warm_up + LAUNCHES + 1):
            launch(times)

        launcher.wait_until_back()
        self.assertEqual(tool.starts(), warm_up + LAUNCHES)
        self.assertEqual(watch.times_gone(), warm_up + LAUNCHES)
        wait_until(lambda: len(launcher.threads()) <= threads, "no more threads than before")
        wait_until(lambda: len(launcher.descriptors()) <= descriptors, "no more descriptors than before")
        self.assertEqual(launcher.zombies(), [])
        self.assertEqual(tool.processes(), [])
        self.assertEqual(launcher.standard_error(), "")


if __name__ == "__main__":
    unittest.main()
