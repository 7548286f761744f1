"""The end of the session, as the session manager tells it."""

import os
import pathlib
import plistlib
import subprocess
import unittest

from launcher_driver import DesktopTest
from tool_root import ToolRoot
from windows import wait_until


class SessionManager:
    """One of the test's own; programs find it by `address`."""

    def __init__(self, test):
        self._process = subprocess.Popen([os.environ["SESSION_MANAGER_PEER"]], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, text=True)
        test.addCleanup(self._process.communicate)  # its input ends, and so does it
        self.address = self.heard()

    def heard(self):
        return self._process.stdout.readline().strip()

    def end_session(self):
        self._process.stdin.write("end\n")
        self._process.stdin.flush()


class SessionEndTest(DesktopTest):
    def setUp(self):
        self.root = ToolRoot(self)
        self.tool = self.root.add("Plainel")
        self.manager = SessionManager(self)
        self.launcher = self.launch(root=str(self.root.folder),
                                    environment={"SESSION_MANAGER": self.manager.address})
        self.launcher.wait_for_catalogue()
        wait_until(self.launcher.is_active, "the panel with the keyboard")
        self.assertEqual(self.manager.heard(), "joined")

    def assert_ends_in_order(self):
        self.assertEqual(self.launcher.wait_for_exit(), 0, self.launcher.standard_error())
        self.assertEqual(self.launcher.standard_error(), "")
        preferences = pathlib.Path(self.launcher.home, "Library/Preferences/com.vantorel.Launcher.plist")
        stamps = plistlib.loads(preferences.read_bytes())
        self.assertGreater(stamps["exit"], stamps["launch"])
        self.assert_log_is_whole(self.launcher)

    def test_ends_the_program(self):
        self.manager.end_session()
        self.assert_ends_in_order()
        self.assertEqual(self.manager.heard(), "left")

    def test_ends_it_while_it_is_hidden(self):
        self.launcher.double_click(self.tool.name)
        self.launcher.wait_until_hidden()
        self.manager.end_session()
        self.assert_ends_in_order()


if __name__ == "__main__":
    unittest.main()
