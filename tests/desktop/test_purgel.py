"""The Purgel run, worked with the keyboard alone and read through the accessibility tree."""

import pathlib
import subprocess
import unittest

from launcher_driver import SAMPLE_SUITE, Atspi, below, has_state
from purgel_panel import CONFIRMATION, PurgelPanelTest
from tool_root import ToolRoot
from windows import wait_until, xdotool


class PurgelTest(PurgelPanelTest):
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

        def focused():
            """Not within the table."""
            return next((part.get_name() for part in below(self.launcher.application())
                         if has_state(part, Atspi.StateType.FOCUSED)), None)

        for _ in range(10):
            before = focused()
            if before == "Purgel…":
                break
            xdotool("key", "Tab")
            wait_until(lambda: focused() != before, "the focus elsewhere")
        xdotool("key", "space")
        self.wait_for_sheet("Warning", CONFIRMATION)
        self.answer("Escape")

    def test_without_the_tool_there_is_an_alert(self):
        self.open_panel(root=str(ToolRoot(self).folder))
        self.launcher.press("alt+p")
        self.wait_for_sheet("Unable to launch Purgel", "Purgel application cannot be found.")
        self.answer("Return")
        self.wait_for_log("User started Purgel", "Purgel application not found")


if __name__ == "__main__":
    unittest.main()
