"""Drives the editor of keyboard shortcuts, and compares what it shows and what it has stored."""

import ctypes
import json
import os
import pathlib
import plistlib
import shutil
import subprocess
import tempfile

from launcher_driver import SAMPLE_SUITE, Atspi, DesktopTest, has_state, wait_until, xdotool

OWN = "com.vantorel.Launcher"
SHIFT, CTRL, ALT, CMD = 0x0200, 0x1000, 0x0800, 0x0100

# As VTKeys.plist lists them.
COMMANDS = [("showLauncher", "Show the Launcher"), ("reloadTools", "Reload the tools"),
            ("sortByName", "Sort by name"), ("sortByGroup", "Sort by group"), ("startPurgel", "Start Purgel"),
            ("checkForUpdates", "Check for updates"), ("openManual", "Open the suite's manual"),
            ("quit", "Quit the Launcher")]


def entry(command, keycode, modifiers):
    return {"bundleid": OWN, "keycode": keycode, "modifiers": modifiers, "commandid": command}


def set_layout(*arguments):
    subprocess.run(["setxkbmap", "-rules", "evdev", "-model", "pc105", *arguments], timeout=30, check=True)


def press_key(keycode):
    """A key by its code and nothing else: xdotool chooses a layout for each key that it presses."""
    x11, xtest = ctypes.CDLL("libX11.so.6"), ctypes.CDLL("libXtst.so.6")
    x11.XOpenDisplay.restype = ctypes.c_void_p
    display = ctypes.c_void_p(x11.XOpenDisplay(None))
    for down in (1, 0):
        xtest.XTestFakeKeyEvent(display, ctypes.c_uint(keycode), down, ctypes.c_ulong(0))
    x11.XSync(display, 0)
    x11.XCloseDisplay(display)


class ShortcutTest(DesktopTest):
    """A Launcher on a suite and a home of its own, with the sample suite's manager."""

    def setUp(self):
        set_layout("us")
        self.addCleanup(set_layout, "us")
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="root-", dir=os.environ["HOME"]))
        self.addCleanup(shutil.rmtree, self.root)
        for folder in ("Applications", "Library/Logs/Vantorel"):
            (self.root / folder).mkdir(parents=True)
        self.manager = self.root / "Library/Application Support/Vantorel/Shared Resources/VTShortcutKeyManager"
        self.manager.parent.mkdir(parents=True)
        shutil.copy(pathlib.Path(SAMPLE_SUITE, self.manager.relative_to(self.root)), self.manager)
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="home-", dir=os.environ["HOME"]))
        self.addCleanup(shutil.rmtree, self.home)
        self.file = self.home / "Library/Preferences/com.vantorel.shortcutkeys.plist"

    # --- the editor ---

    def open_editor(self, **environment):
        self.launcher = self.launch(root=str(self.root), home=str(self.home), environment=environment)
        self.launcher.press("ctrl+k")
        self.find_editor()

    def find_editor(self):
        self.table = self.launcher.find("table", "Shortcuts")
        wait_until(lambda: "Keyboard Shortcuts" in xdotool("getactivewindow", "getwindowname"),
                   "the editor with the keyboard")

    def cell(self, row, column):
        return self.table.get_accessible_at(row, column)

    def shown(self):
        """The shortcuts, top to bottom; "" where there is none."""
        return [self.cell(row, 1).get_name() for row in range(self.table.get_n_rows())]

    def edits(self):
        """Whether the field editor is open."""
        return any(has_state(found, Atspi.StateType.SHOWING)
                   for found in self.launcher.find_all("text", "Shortcut"))

    def select(self, row):
        self.launcher.click(self.cell(row, 0))
        wait_until(lambda: self.table.is_row_selected(row), f"row {row} selected")

    def begin(self, row, how="double click"):
        if how == "double click":
            self.launcher.click(self.cell(row, 1), times=2)
        else:
            self.select(row)
            xdotool("key", how)
        wait_until(self.edits, "the field editor")

    def setups(self):
        """What the manager has found in the file, run by run."""
        log = self.home / "Library/Logs/VTShortcutKeyManager.log"
        if not log.exists():
            return []
        runs = [json.loads(line) for line in log.read_text(encoding="utf-8").splitlines()]
        self.assertTrue(all(run["arguments"] == ["-setup"] for run in runs))
        return [run["watchlist"] for run in runs]

    def bind(self, row, keys, name, keycode, modifiers, how="double click"):
        """Binds, and compares what is shown, what is stored and what the manager found."""
        runs = len(self.setups())
        self.begin(row, how)
        if isinstance(keys, int):
            press_key(keys)
        else:
            xdotool("key", keys)
        wait_until(lambda: not self.edits() and len(self.setups()) == runs + 1, f"{keys} captured")
        self.assertEqual(self.shown()[row], name)
        stored = self.watchlist()
        self.assertEqual(stored[-1], entry(COMMANDS[row][0], keycode, modifiers))
        self.assertEqual(self.setups()[-1], stored)

    def watchlist(self):
        return plistlib.loads(self.file.read_bytes())["watchlist"]
