"""What a tool is started with, and that it is nobody's afterwards."""

import os
import re
import signal
import unittest

from launcher_driver import DesktopTest
from tool_root import ToolRoot
from windows import stays, wait_until

# Writes down how it finds itself, and then waits to be ended.
REPORTS = """#!/bin/sh
cat /proc/$$/environ >"$NOTES/environment"
readlink /proc/$$/cwd >"$NOTES/folder"
cat /proc/$$/status >"$NOTES/status"
cat /proc/$$/stat >"$NOTES/stat"
echo $# >"$NOTES/arguments"
echo $$ >"$NOTES/process"
while sleep 0.1; do :; done
"""


class LaunchedProcessTest(DesktopTest):
    def launched(self, **options):
        """A tool that has written its report, and the Launcher that started it."""
        root = ToolRoot(self)
        tool = root.add("Reportel", REPORTS)
        launcher = self.launch(root=str(root.folder), **options)
        launcher.wait_for_catalogue()
        launcher.double_click(tool.name)
        wait_until(lambda: tool.noted("process"), "the tool's report")
        return tool, launcher

    def status(self, tool, field):
        return re.search(rf"^{field}:\s+(\S+)", tool.noted("status"), re.MULTILINE).group(1)

    def test_has_the_environment_that_the_launcher_was_given(self):
        given = {"DESKTOP_STARTUP_ID": "launcher-1_TIME1", "XDG_ACTIVATION_TOKEN": "token",
                 "LD_LIBRARY_PATH": "/nonexistent/libraries", "A_VARIABLE": "of the user\n", "EMPTY": ""}
        tool, launcher = self.launched(environment=given)
        entries = dict(entry.split("=", 1) for entry in tool.noted("environment").split("\0") if entry)
        expected = {**os.environ, **given, "HOME": launcher.home, "VANTOREL_ROOT": launcher.root}
        del expected["DESKTOP_STARTUP_ID"], expected["XDG_ACTIVATION_TOKEN"]
        self.assertEqual(entries, expected)

    def test_stands_in_the_home_and_has_nothing_open(self):
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        self.addCleanup(os.close, writing)
        tool, launcher = self.launched(pass_fds=[writing])
        self.assertIn(str(writing), launcher.descriptors())  # the Launcher has inherited it
        self.assertEqual(tool.noted("folder"), launcher.home + "\n")
        self.assertEqual(tool.noted("arguments"), "0\n")
        folder = f"/proc/{tool.noted('process').strip()}/fd"
        found = {number: os.readlink(f"{folder}/{number}") for number in os.listdir(folder)}
        streams = {number: found.pop(number) for number in "012"}
        self.assertEqual(streams, dict.fromkeys("012", "/dev/null"))
        self.assertEqual(set(found.values()), {str(tool.executable)})  # the shell reads its script

    def test_has_a_session_of_its_own_and_no_signal_held_back(self):
        tool, _ = self.launched()
        process = int(tool.noted("process"))
        self.assertEqual(os.getsid(process), process)
        self.assertEqual(os.getpgid(process), process)
        terminal = tool.noted("stat").rpartition(")")[2].split()[4]
        self.assertEqual(terminal, "0")
        own = 1 << 31 | 1 << 32  # the C library's
        for field in ["SigBlk", "SigIgn"]:
            self.assertEqual(int(self.status(tool, field), 16) & ~own, 0, field)

    def test_outlives_the_launcher(self):
        for end in [signal.SIGKILL, signal.SIGTERM]:
            with self.subTest(end=end):
                tool, launcher = self.launched()
                process = int(tool.noted("process"))
                launcher.process.send_signal(end)
                launcher.wait_for_exit()
                stays(lambda: process in tool.processes(), "the tool alive")


if __name__ == "__main__":
    unittest.main()
