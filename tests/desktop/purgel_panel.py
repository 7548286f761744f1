"""The panel and its sheets, as the Purgel button brings them up, worked with the keyboard."""

import os
import pathlib

from launcher_driver import DesktopTest
from windows import wait_until, xdotool

CONFIRMATION = (
    "This function will trash preferences, clear caches and repair Compressor, Avid Media Composer and Adobe "
    "Creative Suite. This may cause some user settings to be reset to their defaults.\n\nA backup is "
    "automatically created before this occurs, so if you need to restore your preferences afterwards, launch "
    "Tallowby and restore the newest auto backup.")


class PurgelPanelTest(DesktopTest):
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
