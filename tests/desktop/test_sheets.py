"""Alert sheets on the panel, as the Purgel button brings them up."""

import os
import re
import signal
import subprocess
import unittest

from launcher_driver import Atspi, DesktopTest, has_state
from windows import stays, visible_windows, wait_until, xdotool


def frame(window):
    """x, y and width of a window's contents on the screen."""
    words = subprocess.run(["xwininfo", "-id", window], stdout=subprocess.PIPE, text=True, timeout=30,
                           check=True).stdout
    return tuple(int(re.search(rf"{name}: +(-?\d+)", words).group(1))
                 for name in ["Absolute upper-left X", "Absolute upper-left Y", "Width"])


class SheetTest(DesktopTest):
    def setUp(self):
        self.launcher = self.launch()
        self.launcher.wait_for_catalogue()
        wait_until(self.launcher.is_active, "the panel with the keyboard")
        self.panel = self.launcher.window()

    def open_sheet(self):
        """Asks for Purgel, with the keyboard; returns the sheet's window."""
        xdotool("key", "alt+p")
        self.launcher.find("push button", "Continue")
        [sheet] = wait_until(lambda: set(visible_windows(self.launcher.process.pid)) - {self.panel},
                             "the sheet's window")
        wait_until(lambda: xdotool("getactivewindow") == sheet, "the sheet with the keyboard")
        return sheet

    def wait_until_gone(self):
        wait_until(lambda: visible_windows(self.launcher.process.pid) == [self.panel], "the panel alone")
        wait_until(lambda: xdotool("getactivewindow") == self.panel, "the panel with the keyboard")

    def is_in_place(self, sheet):
        """Centred, its upper edge at that of the panel's contents."""
        x, y, width = frame(self.panel)
        sheet_x, sheet_y, sheet_width = frame(sheet)
        return abs((2 * x + width) - (2 * sheet_x + sheet_width)) <= 2 and abs(sheet_y - y) <= 1

    def test_it_says_what_it_says_and_has_the_focus_on_its_default_button(self):
        self.open_sheet()
        dialog = self.launcher.find("dialog", "Warning")
        texts = [label.get_name() for label in self.launcher.find_all("label", under=dialog)]
        self.assertIn("Warning", texts)
        self.assertTrue(any(text.startswith("This function will trash preferences") for text in texts), texts)
        self.assertEqual([button.get_name() for button in self.launcher.find_all("push button", under=dialog)],
                         ["Cancel", "Continue"])
        wait_until(lambda: has_state(self.launcher.find("push button", "Continue"), Atspi.StateType.FOCUSED),
                   "the focus on the default button")

    def test_escape_cancels(self):
        for _ in range(3):
            self.open_sheet()
            xdotool("key", "Escape")
            self.wait_until_gone()

    def test_another_button_by_keyboard(self):
        self.open_sheet()
        xdotool("key", "Tab")
        wait_until(lambda: has_state(self.launcher.find("push button", "Cancel"), Atspi.StateType.FOCUSED),
                   "the focus on the other button")
        xdotool("key", "Return")
        self.wait_until_gone()

    def test_it_moves_with_its_window(self):
        sheet = self.open_sheet()
        wait_until(lambda: self.is_in_place(sheet), "the sheet in its place")
        for x, y in [(20, 40), (400, 300)]:
            xdotool("windowmove", self.panel, x, y)
            wait_until(lambda: abs(frame(self.panel)[0] - x) < 20, "the panel moved")
            wait_until(lambda: self.is_in_place(sheet), "the sheet moved along")
        xdotool("windowsize", self.panel, 900, 600)
        wait_until(lambda: frame(self.panel)[2] == 900, "the panel resized")
        wait_until(lambda: self.is_in_place(sheet), "the sheet in the middle again")

    def test_its_window_waits(self):
        self.open_sheet()
        self.launcher.click_row(0, times=2)
        stays(lambda: len(visible_windows(self.launcher.process.pid)) == 2, "the panel and one sheet")
        xdotool("key", "Escape")
        self.wait_until_gone()

    def test_quitting_while_it_is_up(self):
        for number in [signal.SIGTERM, signal.SIGINT]:
            with self.subTest(number):
                self.open_sheet()
                os.kill(self.launcher.process.pid, number)
                self.assertEqual(self.launcher.wait_for_exit(), 0, self.launcher.standard_error())
                self.assert_log_is_whole(self.launcher)
                self.assertRegex(self.launcher.log_entries()[-1],
                                 r"^(Asking user what to do\.\.\.|User cancelled Purgel)$")
                self.setUp()

    def test_the_window_manager_closes_it(self):
        self.open_sheet()
        xdotool("key", "alt+F4")
        self.wait_until_gone()


if __name__ == "__main__":
    unittest.main()
