"""What the Launcher hands to the suite's other programs: crash logs and the look for updates."""

import os
import pathlib
import plistlib
import signal
import unittest

from launcher_driver import PROGRAM, Atspi, DesktopTest, application_of, below
from tool_root import ToolRoot
from windows import stays, wait_until

LAUNCHER_BUNDLE = str(pathlib.Path(PROGRAM).parents[2])

# Note what they were started with.
REPORTER = """#!/bin/sh
echo "$1" >>"$NOTES/logs"
exec "$0.window" "$1"
"""
UPDATER = """#!/bin/sh
echo "$# $*" >>"$NOTES/starts"
"""

CRASHED = "Application crashed on last launch"
DISABLED = "Crash reporter disabled"


def text_shown_by(process, name):
    """What the text of that name in a window of the process says; None while it is not there."""
    application = application_of(process)
    for accessible in below(application) if application else ():
        if accessible.get_role() == Atspi.Role.TEXT and accessible.get_name() == name:
            return Atspi.Text.get_text(accessible, 0, -1)
    return None


class SuiteProgramsTest(DesktopTest):
    def setUp(self):
        self.root = ToolRoot(self)
        self.reporter = self.root.add("Bug Reporter", REPORTER, "com.vantorel.BugReporter", folder="Vantorel")
        self.updater = self.root.add("Vantorel Software Update", UPDATER, "com.vantorel.SoftwareUpdate",
                                     folder="Vantorel")
        self.home = self.root.home()

    def open_panel(self):
        launcher = self.launch(root=str(self.root.folder), home=self.home)
        launcher.wait_for_catalogue()
        return launcher

    def set_suite_preferences(self, **values):
        file = pathlib.Path(self.home, "Library/Preferences/com.vantorel.global.plist")
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_bytes(plistlib.dumps(values))

    def crash(self, launcher, by=signal.SIGSEGV):
        os.kill(launcher.process.pid, by)
        self.assertEqual(launcher.wait_for_exit(), -by)

    def quit(self, launcher):
        launcher.press("ctrl+q")
        self.assertEqual(launcher.wait_for_exit(), 0)

    def crash_logs(self):
        return sorted(pathlib.Path(self.home, "Library/Logs/DiagnosticReports").glob("Launcher_*.crash"))

    def reported(self):
        """The logs that the reporter was started with, in order."""
        return self.reporter.noted("logs").splitlines()

    def logged(self, text, generations="*"):
        """Whether the Launcher's logs hold it."""
        return any(text in log.read_text(encoding="utf-8")
                   for folder in (self.home, self.root.folder)
                   for log in pathlib.Path(folder, "Library/Logs/Vantorel").glob(f"Launcher.{generations}.log"))

    def wait_until_logged(self, text):
        """For what is logged before a start begins its own log: it may stand in the generation before, and of
        root's log, which has only one, be gone with that."""
        if os.getuid() != 0:
            wait_until(lambda: self.logged(text), f"{text!r} in the log")

    # --- crashes ---

    def test_a_crash_is_reported_by_the_next_start_alone(self):
        self.crash(self.open_panel())
        self.assertEqual(self.reported(), [])
        [log] = self.crash_logs()
        self.assertRegex(log.name, r"\ALauncher_\d{4}-\d\d-\d\d-\d{6}_.+\.crash\Z")
        text = log.read_text(encoding="utf-8")
        self.assertIn("Signal: 11 (SIGSEGV)\n", text)
        self.assertRegex(text, r"\nStack:\n(.+\n)*.*Launcher\(.*openPanel.*\+0x")

        launcher = self.open_panel()
        wait_until(self.reported, "the crash log in the bug reporter")
        self.assertEqual(self.reported(), [str(log)])
        self.wait_until_logged(CRASHED)
        process = self.reporter.wait_for_process()
        self.assertEqual(wait_until(lambda: text_shown_by(process, str(log)), "the log in its window"), text)
        self.reporter.end()
        self.quit(launcher)

        # An orderly end lies between now, and no new log has come.
        self.quit(self.open_panel())
        self.assertEqual(self.reported(), [str(log)])
        self.assertFalse(self.logged(CRASHED, generations="1"))
        self.assertEqual(self.crash_logs(), [log])

    def test_a_log_is_reported_once_though_the_next_run_is_killed_too(self):
        self.crash(self.open_panel(), by=signal.SIGABRT)
        launcher = self.open_panel()
        wait_until(self.reported, "the crash log in the bug reporter")
        self.reporter.end()
        self.crash(launcher, by=signal.SIGKILL)  # which leaves no log
        self.quit(self.open_panel())
        self.assertEqual(len(self.reported()), 1)
        self.assertFalse(self.logged(CRASHED, generations="1"))

    def test_an_orderly_end_is_no_crash(self):
        for _ in range(2):
            self.quit(self.open_panel())
        launcher = self.open_panel()
        launcher.process.terminate()  # as orderly
        self.assertEqual(launcher.wait_for_exit(), 0)
        self.quit(self.open_panel())
        self.assertEqual(self.crash_logs(), [])
        self.assertEqual(self.reported(), [])
        self.assertFalse(self.logged(CRASHED))

    def test_the_reporter_can_be_disabled(self):
        self.crash(self.open_panel())
        reported = 0
        for value, is_disabled in [("1", True), (True, True), (1, True), (1.0, True),
                                   ("YES", False), (2, False), (False, False)]:
            with self.subTest(repr(value)):
                self.set_suite_preferences(**{"disable-crash-reporter": value})
                launcher = self.open_panel()
                reported += not is_disabled
                self.wait_until_logged(CRASHED)
                if is_disabled:
                    wait_until(lambda: DISABLED in launcher.standard_error(), "word of the preference")
                    self.wait_until_logged(DISABLED)
                wait_until(lambda: len(self.reported()) == reported, "the crash log where it is due")
                self.assertEqual(launcher.standard_error().count(DISABLED), int(is_disabled))
                self.reporter.end()
                self.crash(launcher)

    # --- updates ---

    def test_a_start_lets_the_updater_look_for_updates(self):
        launcher = self.open_panel()
        wait_until(self.updater.starts, "a start of the updater")
        self.assertEqual(self.updater.noted("starts"), f"2 -checkpath {LAUNCHER_BUNDLE}\n")
        wait_until(lambda: launcher.zombies() == [], "the updater's end taken notice of")

    def test_the_user_opens_the_updater(self):
        self.set_suite_preferences(SUCheckAtStartup=False)
        launcher = self.open_panel()
        stays(lambda: self.updater.starts() == 0, "no start of the updater")
        launcher.choose("Launcher", "Check for Updates…")
        wait_until(self.updater.starts, "a start of the updater")
        self.assertEqual(self.updater.noted("starts"), "0 \n")

    def test_no_updater_is_said_in_the_log(self):
        self.updater.path.rename(self.updater.path.with_suffix(".gone"))
        self.open_panel()
        wait_until(lambda: self.logged("Unable to launch Software Update - updater bundle not found."),
                   "word of the updater in the log")


if __name__ == "__main__":
    unittest.main()
