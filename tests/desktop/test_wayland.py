"""The panel on Wayland: a started tool is given what lets it come to the front, and the panel hides and
comes back. The compositor draws to memory; the session's X display is there as well, as on a desktop that
also shows programs that know no Wayland.
"""

import json
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import unittest

from launcher_driver import PROGRAM, DesktopTest, wait_until
from tool_root import ToolRoot

# Notes its token, and then does what it is told.
SCRIPT = """#!/bin/sh
echo "$XDG_ACTIVATION_TOKEN" >$NOTES/draft
mv $NOTES/draft $NOTES/token
read -r line <$NOTES/gate
eval exec $line
"""


class Compositor:
    """A running sway with a keyboard. Programs show their windows on it in its `environment`."""

    def __init__(self, folder):
        ready = folder / "ready"
        configuration = folder / "configuration"
        configuration.write_text("xwayland disable\n"
                                 f"exec echo $WAYLAND_DISPLAY $SWAYSOCK >{ready}.new"
                                 f" && mv {ready}.new {ready}\n")
        command = ["sway", "--debug", "--config", configuration]
        if os.getuid() == 0:  # which it refuses to run as; here root is somebody else
            command = ["unshare", "--user", "--map-user=1000", "--map-group=1000", *command]
        self._log = open(folder / "log", "w+b")
        self._process = subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=self._log, stderr=self._log,
            env={**os.environ, "WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1",
                 "WLR_RENDERER": "pixman"})
        wait_until(lambda: self._process.poll() is not None or ready.exists(), "the compositor")
        if not ready.exists():
            raise AssertionError("the compositor does not start:\n" + self.log())
        display, self._socket = ready.read_text().split()
        self.environment = {"WAYLAND_DISPLAY": display, "QT_QPA_PLATFORM": "wayland"}
        # Programs see a keyboard only while somebody has one, and take a moment to notice.
        self._keyboard = subprocess.Popen(["wtype", "-s", "3600000", "-k", "Shift_L"],
                                          env=os.environ | self.environment)
        wait_until(lambda: any(device["type"] == "keyboard" for device in self._ask("get_inputs")),
                   "the keyboard")

    def end(self):
        for process in (self._keyboard, self._process):
            process.terminate()
            process.wait(timeout=10)
        self._log.close()

    def log(self):
        self._log.seek(0)
        return self._log.read().decode(errors="replace")

    def _ask(self, what):
        answer = subprocess.run(["swaymsg", "--socket", self._socket, "--raw", "--type", what],
                                stdout=subprocess.PIPE, timeout=30, check=True)
        return json.loads(answer.stdout)

    def windows(self):
        """The process of each window, and whether it has the focus."""
        def below(node):
            for child in node["nodes"] + node["floating_nodes"]:
                if child.get("pid"):
                    yield child["pid"], child["focused"]
                yield from below(child)

        return dict(below(self._ask("get_tree")))

    def press(self, key):
        subprocess.run(["wtype", "-k", key], env=os.environ | self.environment, timeout=30, check=True)


class WaylandTest(DesktopTest):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.compositor = Compositor(pathlib.Path(folder.name))
        self.addCleanup(self.compositor.end)
        self.root = ToolRoot(self)
        self.tool = self.root.add("Notes", SCRIPT)
        os.mkfifo(self.tool.notes / "gate")

    def tell_tool(self, line):
        (self.tool.notes / "gate").write_text(line + "\n")

    def open_panel(self):
        """With the tool selected. All that it says to the compositor is written to standard error."""
        launcher = self.launch(root=str(self.root.folder),
                               environment={**self.compositor.environment, "WAYLAND_DEBUG": "client"})
        launcher.wait_for_catalogue()
        self.wait_for_panel(launcher)
        self.compositor.press("Down")
        return launcher

    def wait_for_panel(self, launcher):
        wait_until(lambda: self.compositor.windows() == {launcher.process.pid: True},
                   "the panel with the focus")

    def start_tool(self):
        """The token that the tool has got, once the panel has gone."""
        self.compositor.press("Return")
        token = wait_until(lambda: self.tool.noted("token"), "the started tool").strip()
        (self.tool.notes / "token").unlink()
        # Sooner than it would after waiting in vain for a window on the X display.
        wait_until(lambda: not self.compositor.windows(), "the panel to hide", limit=5)
        return token

    def test_hands_a_started_tool_a_token(self):
        launcher = self.open_panel()
        self.assertTrue(self.start_tool())
        said = launcher.standard_error()
        request = re.search(r"-> xdg_activation_v1@\d+\.get_activation_token\(new id (\S+)\)", said)[1]
        requests = dict(re.findall(rf"-> {request}\.(\w+)\((.*)\)", said))
        self.assertEqual(requests["set_app_id"], f'"{self.tool.identifier}"')
        self.assertRegex(requests["set_serial"], r"[1-9]\d*, wl_seat@\d+")
        self.assertRegex(requests["set_surface"], r"wl_surface@\d+")
        # A token that is good for nothing looks like any other.
        self.assertNotIn("Rejecting token", self.compositor.log())
        self.tell_tool("true")

    def test_comes_back_when_the_tool_has_ended(self):
        launcher = self.open_panel()
        tokens = set()
        for _ in range(3):
            tokens.add(self.start_tool())
            self.tell_tool("true")
            self.wait_for_panel(launcher)
        self.assertEqual(len(tokens), 3)
        self.assertNotIn("Rejecting token", self.compositor.log())
        launcher.process.send_signal(signal.SIGTERM)
        self.assertEqual(launcher.wait_for_exit(), 0, launcher.standard_error())

    def test_comes_back_with_the_token_of_whoever_starts_it_again(self):
        launcher = self.open_panel()
        token = self.start_tool()
        self.tell_tool(f"'{PROGRAM}'")
        self.wait_for_panel(launcher)
        self.assertRegex(launcher.standard_error(),
                         rf'-> xdg_activation_v1@\d+\.activate\("{re.escape(token)}", wl_surface@\d+\)')


if __name__ == "__main__":
    unittest.main()
