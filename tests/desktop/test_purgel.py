"""The Purgel run, worked with the keyboard alone and read through the accessibility tree."""

import os
import pathlib
import subprocess
import unittest

from launcher_driver import SAMPLE_SUITE, DesktopTest
from tool_root import ToolRoot
from windows import wait_until, xdotool

CONFIRMATION = (
    "This function will trash preferences, clear caches and repair Compressor, Avid Media Composer and Adobe "
    "Creative Suite. This may cause some user settings to be reset to their defaults.\n\nA backup is "
    "automatically created before this occurs, so if you need to restore your preferences afterwards, launch "
    "Tallowby and restore the newest auto backup.")


class PurgelTest(DesktopTest):
    def open_panel(self, **options):
        self.launcher = self.launch(**options)
        self.launcher.wait_for_catalogue()
        wait_until(self.launcher.is_active, "the panel with the keyboard")

    def wait_for_sheet(self, title, text):
        dialog = self.launcher.find("dialog", title)
        self.launcher.find("label", title, under=dialog)
        self.launcher.find("label", text, under=dialog)
        return dialog

    def answer(self, key):
        count = len(self.launcher.find_all("dialog"))
        xdotool("key", key)
        wait_until(lambda: len(self.launcher.find_all("dialog")) < count, "the sheet gone")

    def log(self):
        base = self.launcher.root if os.geteuid() == 0 else self.launcher.home  # root logs for the machine
        files = pathlib.Path(base, "Library/Logs/Vantorel").rglob("Launcher.1.log")
        return "".join(file.read_text(encoding="utf-8") for file in files)

    def wait_for_log(self, *lines):
        """Waits for the last of the lines; all have to be there, in order."""
        wait_until(lambda: lines[-1] in self.log(), lines[-1])
        written = [line.partition(" - ")[2] for line in self.log().splitlines()]
        wanted = [line for line in written if line in lines]
        self.assertEqual(wanted, list(lines))

    def start_editor(self, name):
        """One of the sample suite's, without the Launcher."""
        bundle = pathlib.Path(SAMPLE_SUITE, "Applications/Editors", f"{name}.app")
        process = subprocess.Popen([bundle / "Contents/MacOS" / name], stdin=subprocess.DEVNULL)

        def end():
            process.terminate()
            process.wait()

        self.addCleanup(end)
        wait_until(lambda: subprocess.run(["xdotool", "search", "--onlyvisible", "--pid", str(process.pid)],
                                          stdout=subprocess.DEVNULL, check=False).returncode == 0,
                   f"the window of {name}")
        return end

    def test_editing_applications_are_in_the_way(self):
        self.open_panel()
        ends = [self.start_editor(name) for name in ["Squeezel", "Splicel", "Soundel"]]
        self.launcher.press("alt+p")
        self.wait_for_sheet("Unable to begin Purgel",
                            "Please close the following applications before continuing: \n\n"
                            "Splicel\nSoundel\nSqueezel")
        self.answer("Return")
        for end in ends:
            end()
        self.launcher.press("alt+p")
        self.wait_for_sheet("Warning", CONFIRMATION)
        self.answer("Escape")
        self.wait_for_log("User started Purgel", "Asking user what to do...", "User cancelled Purgel")

    def test_the_button_is_reached_with_the_tab_key(self):
        self.open_panel()
        button = self.launcher.find("push button", "Purgel…")
        for _ in range(10):
            if self.launcher.find_all("dialog"):
                break
            xdotool("key", "Tab", "space")
        self.wait_for_sheet("Warning", CONFIRMATION)
        self.assertIsNotNone(button)
        self.answer("Escape")

    def test_without_the_tool_there_is_an_alert(self):
        self.open_panel(root=str(ToolRoot(self).folder))
        self.launcher.press("alt+p")
        self.wait_for_sheet("Unable to launch Purgel", "Purgel application cannot be found.")
        self.answer("Return")
        self.wait_for_log("User started Purgel", "Purgel application not found")


if __name__ == "__main__":
    unittest.main()
