"""One copy for each user and display; how it is found, and how it ends."""

import os
import pathlib
import signal
import subprocess
import time
import unittest

from gi.repository import Gio, GLib

from launcher_driver import DesktopTest
from tool_root import ToolRoot
from windows import active_process, stays, visible_windows, wait_until, xdotool

NAME = "com.vantorel.Launcher"
OBJECT = "/com/vantorel/Launcher"
UNREACHABLE = "unix:path=/nonexistent"


class InstanceTest(DesktopTest):
    def setUp(self):
        self.root = ToolRoot(self)
        self.tool = self.root.add("Plainel")

    def open_panel(self, **options):
        launcher = self.launch(root=str(self.root.folder), **options)
        launcher.wait_for_catalogue()
        wait_until(launcher.is_active, "the panel with the keyboard")
        return launcher

    def hide(self, launcher):
        launcher.double_click(self.tool.name)
        launcher.wait_until_hidden()
        wait_until(lambda: active_process() in self.tool.processes(), "the tool with the keyboard")

    def logs(self, launcher):
        library = pathlib.Path(launcher.root if os.getuid() == 0 else launcher.home) / "Library"
        return {file.name: file.read_text(encoding="utf-8") for file in (library / "Logs").rglob("*.log")}

    @staticmethod
    def call(method, *arguments):
        bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        return bus.call_sync(NAME, OBJECT, "org.freedesktop.Application", method, *arguments, None,
                             Gio.DBusCallFlags.NO_AUTO_START, 5000, None)

    # --- a second start ---

    def test_a_second_start_brings_the_hidden_panel_back_and_ends(self):
        launcher = self.open_panel()
        self.hide(launcher)
        again = self.launch(root=launcher.root, home=launcher.home)
        self.assertEqual(again.wait_for_exit(), 0)
        launcher.wait_until_back()
        self.assertEqual(again.standard_error(), "")
        launcher.press("ctrl+q")
        self.assertEqual(launcher.wait_for_exit(), 0)
        logs = self.logs(launcher)
        self.assertEqual(list(logs), ["Launcher.1.log"])
        self.assertEqual(logs["Launcher.1.log"].count("Log started"), 1)

    def test_a_second_start_brings_a_visible_panel_to_the_front(self):
        launcher = self.open_panel()
        other = self.tool.start_from_terminal()
        self.addCleanup(other.wait)
        wait_until(lambda: active_process() == other.pid, "the tool with the keyboard")
        again = self.launch(root=launcher.root, home=launcher.home)
        self.assertEqual(again.wait_for_exit(), 0)
        launcher.wait_until_back()
        self.tool.end()

    def test_many_starts_at_once_leave_one(self):
        copies = [self.launch(root=str(self.root.folder), home=self.root.home()) for _ in range(5)]

        def survivors():
            return [copy for copy in copies if copy.process.poll() is None]

        wait_until(lambda: len(survivors()) == 1, "one copy alone")
        survivor = survivors()[0]
        survivor.wait_until_back()
        stays(lambda: survivors() == [survivor], "one copy")
        self.assertEqual([copy.process.returncode for copy in copies if copy is not survivor], [0] * 4)

    def test_after_the_first_one_has_ended_another_may_start(self):
        first = self.open_panel()
        first.press("ctrl+q")
        self.assertEqual(first.wait_for_exit(), 0)
        self.open_panel()

    def test_one_that_does_not_answer_is_ignored(self):
        mute = self.open_panel()
        mute.process.send_signal(signal.SIGSTOP)
        begin = time.monotonic()
        launcher = self.launch(root=mute.root)
        wait_until(lambda: visible_windows(launcher.process.pid), "a panel of its own")
        self.assertGreater(time.monotonic() - begin, 1.9)
        mute.end()
        launcher.wait_for_catalogue()
        launcher.press("ctrl+q")
        self.assertEqual(launcher.wait_for_exit(), 0)

    # --- the interface on the bus ---

    def test_answers_activate(self):
        launcher = self.open_panel()
        self.hide(launcher)
        self.call("Activate", GLib.Variant("(a{sv})", ({},)))
        launcher.wait_until_back()
        token = GLib.Variant("s", "some-token_TIME0")
        self.hide(launcher)
        self.call("Activate", GLib.Variant("(a{sv})", ({"activation-token": token,
                                                        "desktop-startup-id": token},)))
        launcher.wait_until_back()

    def test_a_file_to_open_brings_the_panel_back_as_well(self):
        launcher = self.open_panel()
        self.hide(launcher)
        self.call("Open", GLib.Variant("(asa{sv})", (["file:///etc/hostname"], {})))
        launcher.wait_until_back()

    def test_refuses_what_it_does_not_know(self):
        launcher = self.open_panel()
        self.hide(launcher)
        for method, arguments in [("ActivateAction", GLib.Variant("(sava{sv})", ("quit", [], {}))),
                                  ("Activate", GLib.Variant("(s)", ("not what it takes",))),
                                  ("Quit", None)]:
            with self.subTest(method=method), self.assertRaises(GLib.Error):
                self.call(method, arguments)
        stays(launcher.is_hidden, "the Launcher hidden")
        self.assertIsNone(launcher.process.poll())

    # --- another display ---

    def other_display(self):
        """A display beside the session's, and the server's process."""
        reading, writing = os.pipe()
        server = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-screen", "0", "640x480x24",
                                   "-nolisten", "tcp", "-noreset"], pass_fds=[writing],
                                  stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(writing)
        self.addCleanup(server.wait)
        self.addCleanup(server.terminate)
        with open(reading, encoding="ascii") as announcement:
            return ":" + announcement.readline().strip(), server

    def test_a_copy_on_another_display_runs_beside_the_first_and_ends_with_its_display(self):
        first = self.open_panel()
        display, server = self.other_display()
        place = {"root": str(ToolRoot(self).folder), "environment": {"DISPLAY": display}}
        other = self.launch(**place)  # with a log of its own
        other.wait_for_catalogue()
        again = self.launch(**place)
        self.assertEqual(again.wait_for_exit(), 0)
        self.assertIsNone(first.process.poll())

        server.terminate()
        self.assertEqual(other.wait_for_exit(), 0, other.standard_error())
        self.assertIn("Running in", "".join(self.logs(other).values()))  # what it had to say is written
        self.assertIsNone(first.process.poll())
        first.press("ctrl+q")
        self.assertEqual(first.wait_for_exit(), 0)

    # --- without a session bus ---

    def test_without_a_bus_it_is_minimised_and_comes_back(self):
        for address in [None, UNREACHABLE]:
            with self.subTest(address=address):
                launcher = self.launch(root=str(self.root.folder),
                                       environment={"DBUS_SESSION_BUS_ADDRESS": address})
                window = launcher.window()
                wait_until(launcher.is_active, "the panel with the keyboard")

                def started():
                    # There is no accessibility tree to see the rows through.
                    if active_process() == launcher.process.pid:
                        xdotool("key", "Down", "Return")
                    return self.tool.processes()

                wait_until(started, "the tool's start")
                wait_until(lambda: self.window_state(window) == "Iconic", "the panel minimised")
                wait_until(lambda: active_process() in self.tool.processes(), "the tool with the keyboard")
                self.tool.end()
                launcher.wait_until_back()
                self.assertEqual(self.window_state(window), "Normal")
                launcher.press("ctrl+q")
                self.assertEqual(launcher.wait_for_exit(), 0, launcher.standard_error())

    def test_without_a_bus_a_second_start_is_a_second_panel(self):
        copies = [self.launch(root=str(self.root.folder),
                              environment={"DBUS_SESSION_BUS_ADDRESS": UNREACHABLE}) for _ in range(2)]
        for copy in copies:
            wait_until(lambda: visible_windows(copy.process.pid), "a panel")
        for copy in copies:
            copy.process.send_signal(signal.SIGTERM)
            self.assertEqual(copy.wait_for_exit(), 0, copy.standard_error())

    # --- the end ---

    def test_ends_in_order_while_it_is_hidden(self):
        launcher = self.open_panel()
        self.hide(launcher)
        launcher.process.send_signal(signal.SIGTERM)
        self.assertEqual(launcher.wait_for_exit(), 0, launcher.standard_error())
        self.assertEqual(len(self.tool.processes()), 1)
        self.assert_log_is_whole(launcher)

    def test_closing_fades_the_panel_out_and_ends_the_program(self):
        launcher = self.open_panel()
        launcher.press("alt+F4")
        self.assertEqual(launcher.wait_for_exit(), 0, launcher.standard_error())
        self.assert_log_is_whole(launcher)

    def test_ends_in_order_while_an_alert_stands(self):
        launcher = self.open_panel()
        os.rename(self.tool.path, self.tool.path.with_suffix(".gone"))
        launcher.double_click(self.tool.name)
        wait_until(lambda: len(visible_windows(launcher.process.pid)) == 2, "the alert beside the panel")
        launcher.process.send_signal(signal.SIGTERM)
        self.assertEqual(launcher.wait_for_exit(), 0, launcher.standard_error())
        self.assert_log_is_whole(launcher)

    @staticmethod
    def window_state(window):
        text = subprocess.run(["xprop", "-id", window, "WM_STATE"], stdout=subprocess.PIPE, text=True,
                              timeout=30, check=True).stdout
        return next((line.split()[-1] for line in text.splitlines() if "window state" in line), None)


if __name__ == "__main__":
    unittest.main()
