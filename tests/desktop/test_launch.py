"""Launching a tool: the panel makes room for it and comes back after it."""

import os
import shutil
import signal
import unittest

from launcher_driver import DesktopTest
from tool_root import ToolRoot
from windows import WindowWatch, active_process, stays, visible_windows, wait_until, windows_from_below, xdotool

# Scripts; see tool_root.Tool.
SLOW = """#!/bin/sh
echo $$ >>"$NOTES/starts"
sleep 3
exec "$0.window"
"""
HELD = """#!/bin/sh
read -r line <"$NOTES/gate"
exec "$0.window"
"""
CRASHES = """#!/bin/sh
echo $$ >>"$NOTES/starts"
kill -SEGV $$
"""
WRAPPER = """#!/bin/sh
echo $$ >>"$NOTES/starts"
"$0.window" &
"""

# The same by way of other programs, in which it is not to be recognised for a moment.
ROUNDABOUT_WRAPPER = """#!/bin/sh
echo $$ >>"$NOTES/starts"
setsid env nice "$0.window" &
"""


class LaunchTest(DesktopTest):
    def setUp(self):
        self.root = ToolRoot(self)

    def open_panel(self, **options):
        launcher = self.launch(root=str(self.root.folder), **options)
        launcher.wait_for_catalogue()
        wait_until(launcher.is_active, "the panel with the keyboard")
        return launcher

    def watch(self, launcher):
        watch = WindowWatch(launcher.window())
        self.addCleanup(watch.end)
        return watch

    def wait_until_active(self, tool):
        """Its window has the keyboard; returns its process."""
        wait_until(lambda: active_process() in tool.processes(), f"{tool.name} with the keyboard")
        return active_process()

    def launch_and_wait(self, launcher, tool):
        """A launch to its end: the tool's window is the active one and the panel is gone."""
        launcher.double_click(tool.name)
        launcher.wait_until_hidden()
        return self.wait_until_active(tool)

    # --- there and back ---

    def test_a_double_click_launches_and_the_end_of_the_tool_brings_the_panel_back(self):
        tool = self.root.add("Plainel")
        launcher = self.open_panel()
        process = self.launch_and_wait(launcher, tool)
        self.assertEqual(tool.processes(), [process])
        self.assertEqual(visible_windows(launcher.process.pid), [])
        xdotool("key", "Escape")
        launcher.wait_until_back()
        self.assertEqual(tool.processes(), [])
        self.assertEqual(launcher.zombies(), [])
        self.launch_and_wait(launcher, tool)  # and it can be done again

    def test_return_and_enter_launch(self):
        tool = self.root.add("Plainel")
        launcher = self.open_panel()
        launcher.select(tool.name)
        for key in ["Return", "KP_Enter"]:
            launcher.press(key)
            launcher.wait_until_hidden()
            self.wait_until_active(tool)
            xdotool("key", "Escape")
            launcher.wait_until_back()

    def test_without_a_selection_nothing_is_launched(self):
        tool = self.root.add("Plainel")
        launcher = self.open_panel()
        watch = self.watch(launcher)
        launcher.press("Return", "KP_Enter")
        stays(lambda: not tool.processes(), "nothing launched")
        self.assertEqual(watch.times_gone(), 0)

    def test_a_tool_that_is_slow_to_open_its_window_is_waited_for(self):
        tool = self.root.add("Slowel", SLOW)
        launcher = self.open_panel()
        launcher.double_click(tool.name)
        self.wait_until_active(tool)
        launcher.wait_until_hidden()
        self.assertEqual(tool.starts(), 1)
        xdotool("key", "Escape")
        launcher.wait_until_back()

    def test_the_panel_goes_behind_other_windows_while_the_tool_opens(self):
        other = self.root.add("Otherel")
        tool = self.root.add("Heldel", HELD)
        os.mkfifo(tool.notes / "gate")
        launcher = self.open_panel()
        running = other.start_from_terminal()
        self.addCleanup(running.wait)
        self.addCleanup(running.terminate)
        self.wait_until_active(other)
        panel = int(launcher.window())
        xdotool("windowactivate", "--sync", panel)
        wait_until(lambda: windows_from_below()[-1] == panel, "the panel on top")
        launcher.double_click(tool.name)
        wait_until(lambda: windows_from_below()[0] == panel, "the panel beneath the other window")
        (tool.notes / "gate").write_text("\n")
        launcher.wait_until_hidden()

    def test_a_tool_that_crashes_at_once_brings_the_panel_back(self):
        tool = self.root.add("Crashel", CRASHES)
        launcher = self.open_panel()
        watch = self.watch(launcher)
        for times in range(1, 4):
            launcher.double_click(tool.name)
            wait_until(lambda: watch.times_back() == times, "the panel back")
            launcher.wait_until_back()
            self.assertEqual(tool.starts(), times)
        self.assertEqual(watch.times_gone(), 3)

    def test_nothing_watches_the_tools_once_the_program_ends(self):
        tool = self.root.add("Plainel")
        report = self.root.folder / "threads"
        launcher = self.open_panel(environment={"LD_PRELOAD": os.environ["THREADS_AT_EXIT_LIBRARY"],
                                                "THREADS_AT_EXIT": str(report)})
        before = set(launcher.threads())
        self.launch_and_wait(launcher, tool)
        watching = set(launcher.threads()) - before
        self.assertTrue(watching)
        launcher.process.send_signal(signal.SIGTERM)
        self.assertEqual(launcher.wait_for_exit(), 0, launcher.standard_error())
        left = report.read_text(encoding="ascii").split()
        self.assertIn(str(launcher.process.pid), left)
        self.assertFalse(watching.intersection(left))

    # --- what cannot be started ---

    def test_a_tool_that_cannot_be_started_brings_the_panel_back(self):
        refused = self.root.add("Refusedel")
        refused.executable.chmod(0o644)
        missing = self.root.add("Missingel")
        missing.executable.unlink()
        leading_out = self.root.add("Outel")
        leading_out.executable.unlink()
        leading_out.executable.symlink_to("/bin/true")
        outside = self.root.add("Pathel")
        outside.write_information(CFBundleExecutable="../../../Refusedel.app/Contents/MacOS/Refusedel")
        broken = self.root.add("Brokel")
        broken.executable.write_bytes(b"\x7fELF, they say")
        launcher = self.open_panel()
        watch = self.watch(launcher)
        for times, tool in enumerate([refused, missing, leading_out, outside, broken], 1):
            launcher.double_click(tool.name)
            wait_until(lambda: watch.times_back() == times, f"the panel back after {tool.name}")
            launcher.wait_until_back()
            self.assertEqual(watch.times_gone(), times)
            self.assertIn(f"Unable to start {tool.path}", launcher.standard_error())
            self.assertEqual(tool.processes(), [])
        self.assertEqual(launcher.zombies(), [])

    def test_a_tool_that_has_been_deleted_is_an_alert(self):
        tool = self.root.add("Gonel & <b>Co")
        other = self.root.add("Plainel")
        launcher = self.open_panel()
        watch = self.watch(launcher)
        shutil.rmtree(tool.path)
        launcher.double_click(tool.name)
        launcher.find("label", f"{tool.name} cannot be launched.")
        launcher.find("label", "The application could not be found.")
        buttons = launcher.find_all("push button", under=launcher.find("dialog"))
        self.assertEqual([button.get_name() for button in buttons], ["OK"])
        wait_until(lambda: len(visible_windows(launcher.process.pid)) == 2, "the alert beside the panel")
        xdotool("key", "Return")
        wait_until(lambda: len(visible_windows(launcher.process.pid)) == 1, "the panel alone")
        wait_until(launcher.is_active, "the panel with the keyboard")
        self.assertEqual(watch.times_gone(), 0)
        self.launch_and_wait(launcher, other)

    # --- more than one ---

    def test_two_launches_at_once(self):
        slow = self.root.add("Slowel", SLOW)
        quick = self.root.add("Plainel")
        launcher = self.open_panel()
        threads = len(launcher.threads())
        rows = {tool.name: launcher.row_of(tool.name) for tool in [slow, quick]}
        launcher.click_row(rows[slow.name], times=2)
        launcher.click_row(rows[quick.name], times=2)
        self.wait_until_active(quick)
        launcher.wait_until_hidden()
        self.wait_until_active(slow)
        self.assertEqual(slow.starts(), 1)
        self.assertEqual(len(quick.processes()), 1)
        # The one launched last is the one that counts.
        wait_until(lambda: len(launcher.threads()) <= threads + 1, "both launches at their end")
        slow.end()
        stays(launcher.is_hidden, "the Launcher hidden")
        quick.end()
        launcher.wait_until_back()

    def test_a_second_double_click_while_the_tool_starts_starts_nothing(self):
        tool = self.root.add("Slowel", SLOW)
        launcher = self.open_panel()
        launcher.select(tool.name)
        launcher.double_click(tool.name)
        launcher.double_click(tool.name)
        wait_until(tool.starts, "the tool's start")
        launcher.double_click(tool.name)
        self.wait_until_active(tool)
        launcher.wait_until_hidden()
        self.assertEqual(tool.starts(), 1)
        self.assertEqual(len(tool.processes()), 1)

    def test_a_tool_that_runs_already_is_brought_to_the_front(self):
        tool = self.root.add("Plainel")
        running = tool.start_from_terminal()
        self.addCleanup(running.wait)
        self.wait_until_active(tool)
        launcher = self.open_panel()
        self.assertEqual(self.launch_and_wait(launcher, tool), running.pid)
        self.assertEqual(tool.processes(), [running.pid])
        tool.end()
        running.wait()
        launcher.wait_until_back()

    def test_a_wrapper_that_starts_the_real_program_and_ends(self):
        self.check_wrapper(WRAPPER)

    def test_a_wrapper_that_starts_the_real_program_in_a_roundabout_way(self):
        self.check_wrapper(ROUNDABOUT_WRAPPER)

    def check_wrapper(self, script):
        tool = self.root.add("Wrappel", script)
        launcher = self.open_panel()
        launcher.double_click(tool.name)
        self.wait_until_active(tool)
        launcher.wait_until_hidden()
        wrapper = tool.noted("starts").strip()
        wait_until(lambda: not os.path.exists(f"/proc/{wrapper}"), "the wrapper's end")
        stays(launcher.is_hidden, "the Launcher hidden")
        xdotool("key", "Escape")
        launcher.wait_until_back()

    # --- whose end brings the panel back ---

    def test_a_tool_that_is_no_longer_the_last_one_launched_does_not_matter(self):
        first = self.root.add("Firstel")
        second = self.root.add("Secondel")
        launcher = self.open_panel()
        self.launch_and_wait(launcher, first)
        self.start_again(launcher)
        self.launch_and_wait(launcher, second)
        first.end()
        stays(launcher.is_hidden, "the Launcher hidden")
        second.end()
        launcher.wait_until_back()

    def test_the_case_of_the_identifier_does_not_matter(self):
        tool = self.root.add("Plainel", identifier="com.vantorel.Plainel")
        launcher = self.open_panel()
        tool.write_information(CFBundleIdentifier="COM.Vantorel.PLAINEL")
        self.launch_and_wait(launcher, tool)
        tool.end()
        launcher.wait_until_back()

    def test_a_copy_started_from_a_terminal_counts_as_well(self):
        tool = self.root.add("Plainel")
        other = self.root.add("Copyel", identifier=tool.identifier)
        launcher = self.open_panel()
        self.launch_and_wait(launcher, tool)
        copy = other.start_from_terminal()
        self.addCleanup(copy.wait)
        self.wait_until_active(other)
        stays(launcher.is_hidden, "the Launcher hidden")  # and aware of the copy by then
        other.end()
        launcher.wait_until_back()
        self.assertEqual(len(tool.processes()), 1)

    def test_the_last_of_a_tools_processes_counts(self):
        tool = self.root.add("Plainel")
        launcher = self.open_panel()
        first = self.launch_and_wait(launcher, tool)
        second = tool.start_from_terminal()
        self.addCleanup(second.wait)
        wait_until(lambda: active_process() == second.pid, "the second one's window")
        stays(launcher.is_hidden, "the Launcher hidden")
        os.kill(first, 15)
        stays(launcher.is_hidden, "the Launcher hidden")
        tool.end()
        launcher.wait_until_back()

    def test_after_the_user_brought_the_panel_back_nothing_happens(self):
        tool = self.root.add("Plainel")
        bystander = self.root.add("Otherel")
        launcher = self.open_panel()
        self.launch_and_wait(launcher, tool)
        self.start_again(launcher)
        other = bystander.start_from_terminal()
        self.addCleanup(other.wait)
        self.wait_until_active(bystander)
        watch = self.watch(launcher)
        tool.end()
        wait_until(lambda: not tool.processes(), "the tool's end")
        stays(lambda: active_process() == other.pid, "the bystander with the keyboard")
        self.assertEqual(watch.times_back(), 0)
        bystander.end()

    # --- preferences ---

    def test_quits_after_launching_when_the_preference_says_so(self):
        tool = self.root.add("Plainel")
        launcher = self.open_panel(home=self.root.home(quitAfterLaunching=1))
        launcher.double_click(tool.name)
        self.assertEqual(launcher.wait_for_exit(), 0, launcher.standard_error())
        process = self.wait_until_active(tool)
        stays(lambda: tool.processes() == [process], "the tool alive")

    def test_stays_hidden_when_the_preference_says_so(self):
        tool = self.root.add("Plainel")
        launcher = self.open_panel(home=self.root.home(unhideOnLaunchedAppExit=0))
        self.launch_and_wait(launcher, tool)
        tool.end()
        wait_until(lambda: not tool.processes(), "the tool's end")
        stays(launcher.is_hidden, "the Launcher hidden")

        # The tool is not forgotten: with the preference back, the end of one started elsewhere counts.
        self.root.set_defaults(launcher.home, unhideOnLaunchedAppExit=1)
        running = tool.start_from_terminal()
        self.addCleanup(running.wait)
        self.wait_until_active(tool)
        stays(launcher.is_hidden, "the Launcher hidden")
        tool.end()
        launcher.wait_until_back()

    def test_starting_it_again_brings_it_back_whatever_the_preference(self):
        tool = self.root.add("Plainel")
        launcher = self.open_panel(home=self.root.home(unhideOnLaunchedAppExit=0))
        self.launch_and_wait(launcher, tool)
        tool.end()
        self.start_again(launcher)

    def start_again(self, launcher):
        again = self.launch(root=str(self.root.folder), home=launcher.home)
        self.assertEqual(again.wait_for_exit(), 0, again.standard_error())
        launcher.wait_until_back()


if __name__ == "__main__":
    unittest.main()
