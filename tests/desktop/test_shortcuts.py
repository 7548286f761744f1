"""The editor of keyboard shortcuts, with real key presses under several keyboard layouts."""

import os
import plistlib
import sys
import unittest

from gi.repository import Gio, GLib

from launcher_driver import Atspi, has_state, take_picture, wait_until, xdotool
from shortcut_editor import ALT, CMD, COMMANDS, CTRL, SHIFT, ShortcutTest, entry, press_key, set_layout

LAYOUTS = ("us", "de", "fr")  # switched while the Launcher runs


class ReloadEvents:
    """What another process of the session hears of the suite's event."""

    def __init__(self, test):
        self._context = GLib.MainContext.default()
        self._connection = Gio.bus_get_sync(Gio.BusType.SESSION)
        self._test = test
        self.heard = []
        subscription = self._connection.signal_subscribe(
            None, "com.vantorel.DistributedNotification", "Posted",
            "/com/vantorel/DistributedNotification", None, Gio.DBusSignalFlags.NONE,
            lambda *arguments: self._hear(arguments[5].unpack()))
        test.addCleanup(self._connection.signal_unsubscribe, subscription)

    def _hear(self, event):
        name, about, user_info = event
        self._test.assertEqual(user_info, {})
        self.heard.append((name, about))

    def heard_reloads(self):
        """How many there have been, each about nobody and with nothing to say."""
        # What was sent before this call has come by its answer.
        self._connection.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetId", None, None,
                                   Gio.DBusCallFlags.NONE, -1, None)
        while self._context.iteration(False):
            pass
        self._test.assertEqual(set(self.heard) - {("VTShortcutKeysReload", "")}, set())
        return len(self.heard)


class EditorTest(ShortcutTest):
    def test_lists_the_commands(self):
        self.open_editor()
        self.assertEqual([self.table.get_column_description(column) for column in range(2)],
                         ["Command", "Shortcut"])
        self.assertEqual([self.cell(row, 0).get_name() for row in range(self.table.get_n_rows())],
                         [description for _, description in COMMANDS])
        self.assertEqual(self.shown(), [""] * len(COMMANDS))
        self.assertTrue(self.launcher.find("push button", "Clear"))
        self.assertFalse(self.file.exists())

    def test_binds_rebinds_and_clears(self):
        self.open_editor()
        for layout in LAYOUTS:
            set_layout(layout)
            with self.subTest(layout=layout):
                self.bind_rebind_and_clear()

    def bind_rebind_and_clear(self):
        runs = len(self.setups())
        self.bind(0, "super+k", "Cmd+K", 45, CMD)
        self.bind(1, "ctrl+alt+super+e", "Ctrl+Alt+Cmd+E", 26, CTRL | ALT | CMD)
        self.bind(0, "k", "Shift+Cmd+K", 45, SHIFT | CMD)  # a key alone
        self.assertEqual([one["commandid"] for one in self.watchlist()], ["reloadTools", "showLauncher"])

        self.select(0)
        xdotool("key", "Delete")
        wait_until(lambda: len(self.setups()) == runs + 4, "the manager told")
        self.assertEqual(self.shown()[:2], ["", "Ctrl+Alt+Cmd+E"])
        self.assertEqual(self.watchlist(), [entry("reloadTools", 26, CTRL | ALT | CMD)])
        self.assertEqual(self.setups()[-1], self.watchlist())

        self.select(1)
        self.launcher.click(self.launcher.find("push button", "Clear"))
        wait_until(lambda: len(self.setups()) == runs + 5, "the manager told")
        self.assertEqual(self.shown(), [""] * len(COMMANDS))
        self.assertEqual(self.watchlist(), [])

    def test_another_process_hears_of_every_change(self):
        events = ReloadEvents(self)
        self.open_editor()
        self.bind(0, "super+k", "Cmd+K", 45, CMD)
        self.assertEqual(events.heard_reloads(), 1)
        self.begin(0)
        self.launcher.click(self.cell(3, 0))  # which only ends the edit
        wait_until(lambda: not self.edits(), "the edit ended")
        self.assertEqual(events.heard_reloads(), 1)
        self.launcher.click(self.launcher.find("push button", "Clear"))  # row 3 has no shortcut
        wait_until(lambda: len(self.setups()) == 2, "the manager told")
        self.assertEqual(events.heard_reloads(), 2)
        self.select(0)
        xdotool("key", "BackSpace")
        wait_until(lambda: len(self.setups()) == 3, "the manager told")
        self.assertEqual(events.heard_reloads(), 3)

    def test_clearing_with_nothing_selected_tells_only_the_manager(self):
        events = ReloadEvents(self)
        self.open_editor()
        self.launcher.click(self.launcher.find("push button", "Clear"))
        wait_until(lambda: len(self.setups()) == 1, "the manager told")
        self.assertEqual(events.heard_reloads(), 0)
        self.assertFalse(self.file.exists())

    def test_every_kind_of_key(self):
        self.open_editor()
        for layout in LAYOUTS:
            set_layout(layout)
            for keys, name, keycode, modifiers in (
                    ("ctrl+shift+alt+super+F5", "Ctrl+Shift+Alt+Cmd+F5", 71, CTRL | SHIFT | ALT | CMD),
                    ("super+Left", "Cmd+Left Arrow", 113, CMD), ("super+Right", "Cmd+Right Arrow", 114, CMD),
                    ("super+Up", "Cmd+Up Arrow", 111, CMD), ("super+Down", "Cmd+Down Arrow", 116, CMD),
                    ("F12", "Shift+Cmd+F12", 96, SHIFT | CMD), ("Return", "Shift+Cmd+Enter", 36, SHIFT | CMD),
                    ("KP_Enter", "Shift+Cmd+Return", 104, SHIFT | CMD),
                    ("space", "Shift+Cmd+Space", 65, SHIFT | CMD)):
                with self.subTest(layout=layout, keys=keys):
                    self.bind(2, keys, name, keycode, modifiers)

    def test_keys_that_mean_something_elsewhere(self):
        self.open_editor()
        for keys, name, keycode, modifiers in (
                ("ctrl+Prior", "Ctrl+Page Up", 112, CTRL), ("ctrl+Next", "Ctrl+Page Down", 117, CTRL),
                ("alt+Home", "Alt+Home", 110, ALT), ("alt+End", "Alt+End", 115, ALT),
                ("Tab", "Shift+Cmd+Tab", 23, SHIFT | CMD), ("Escape", "Shift+Cmd+Escape", 9, SHIFT | CMD),
                ("Delete", "Shift+Cmd+Delete", 119, SHIFT | CMD),
                ("BackSpace", "Shift+Cmd+Backspace", 22, SHIFT | CMD),
                ("shift+2", "Shift+2", 11, SHIFT),
                # What belongs to this program's menus and to the window manager.
                ("ctrl+q", "Ctrl+Q", 24, CTRL), ("alt+F4", "Alt+F4", 70, ALT),
                ("alt+Tab", "Alt+Tab", 23, ALT)):
            with self.subTest(keys=keys):
                self.bind(2, keys, name, keycode, modifiers)

    def test_return_and_f2_begin_an_edit(self):
        self.open_editor()
        self.bind(0, "super+a", "Cmd+A", 38, CMD, how="F2")
        self.bind(1, "super+b", "Cmd+B", 56, CMD, how="Return")

    def test_modifiers_alone_are_no_key_press(self):
        self.open_editor()
        self.begin(0)
        xdotool("key", "shift", "ctrl", "alt", "super")
        xdotool("keydown", "super")
        xdotool("keydown", "ctrl")
        self.assertTrue(self.edits())
        self.assertFalse(self.file.exists())
        xdotool("key", "j")
        xdotool("keyup", "ctrl")
        xdotool("keyup", "super")
        wait_until(lambda: len(self.setups()) == 1, "the key captured")
        self.assertEqual(self.watchlist(), [entry("showLauncher", 44, CTRL | CMD)])
        self.assertEqual(self.shown()[0], "Ctrl+Cmd+J")

    def test_a_click_elsewhere_leaves_the_shortcut_as_it_is(self):
        self.open_editor()
        self.bind(0, "super+a", "Cmd+A", 38, CMD)
        self.begin(0)
        self.launcher.click(self.cell(3, 0))
        wait_until(lambda: not self.edits(), "the edit ended")
        self.assertEqual(self.shown()[0], "Cmd+A")
        self.assertEqual(len(self.setups()), 1)

    def test_a_key_that_switches_layouts_is_no_key_press(self):
        set_layout("us,de", "-option", "", "-option", "grp:caps_toggle")
        self.addCleanup(set_layout, "us", "-option", "")
        self.open_editor()
        self.begin(0)
        press_key(66)  # Caps Lock, which switches
        press_key(29)
        wait_until(lambda: not self.edits() and len(self.setups()) == 1, "the second key captured")
        self.assertEqual(self.shown()[0], "Shift+Cmd+Z")

    def test_layouts_are_switched_while_it_runs(self):
        self.open_editor()
        # One and the same key, wherever the layout has its characters.
        for layout, names in ((["us"], ["Y", "Q", "[", "-"]), (["de"], ["Z", "Q", "Ü", "SS"]),
                              (["fr"], ["Y", "A", "(null)", ")"]),
                              (["us", "-variant", "intl"], ["Y", "Q", "[", "-"])):
            set_layout(*layout)
            for row, (keycode, name) in enumerate(zip((29, 24, 34, 20), names)):
                with self.subTest(layout=layout, keycode=keycode):
                    self.bind(row, keycode, f"Shift+Cmd+{name}", keycode, SHIFT | CMD)
        self.assertEqual(self.launcher.standard_error().count(
            "Couldn't find a translation for the '34' key code"), 1)

    def test_the_second_layout_of_two_counts_once_it_is_in_use(self):
        set_layout("us,de", "-option", "", "-option", "grp:menu_toggle")
        self.addCleanup(set_layout, "us", "-option", "")
        self.open_editor()
        self.bind(0, 29, "Shift+Cmd+Y", 29, SHIFT | CMD)
        press_key(135)  # the menu key, which switches
        self.bind(0, 29, "Shift+Cmd+Z", 29, SHIFT | CMD)

    def test_names_are_in_the_users_language(self):
        for language, name in (("de_DE.UTF-8", "Shift+Cmd+Leertaste"), ("fr_FR.UTF-8", "Shift+Cmd+Espace")):
            self.open_editor(LC_ALL=language)
            self.bind(0, "space", name, 65, SHIFT | CMD)
            self.launcher.end()

    def test_shows_what_is_on_file(self):
        foreign = {"bundleid": "com.vantorel.Tallowby", "keycode": 24, "modifiers": CMD,
                   "commandid": "showLauncher"}
        content = {"version": 3, "watchlist": [foreign, entry("quit", 24, CTRL | CMD)]}
        self.file.parent.mkdir(parents=True)
        self.file.write_bytes(plistlib.dumps(content))
        self.open_editor()
        self.assertEqual(self.shown(), [""] * 7 + ["Ctrl+Cmd+Q"])
        self.bind(0, "super+k", "Cmd+K", 45, CMD)
        content["watchlist"].append(entry("showLauncher", 45, CMD))
        self.assertEqual(plistlib.loads(self.file.read_bytes()), content)

    def test_a_damaged_file_is_left_alone_until_a_key_is_set(self):
        self.file.parent.mkdir(parents=True)
        self.open_editor()
        for run, damage in enumerate((b"<plist><dict>", b"<plist><array/></plist>", b"")):
            self.file.write_bytes(damage)
            self.select(0)
            xdotool("key", "Delete")
            wait_until(lambda: len(self.setups()) == run + 1, "the manager told")
            self.assertIsNone(self.setups()[-1])
            self.assertEqual(self.file.read_bytes(), damage)
        self.bind(0, "super+k", "Cmd+K", 45, CMD)
        self.assertEqual(plistlib.loads(self.file.read_bytes()), {"watchlist": [entry("showLauncher", 45, CMD)]})

    def test_closes_with_escape_and_opens_again(self):
        self.open_editor()
        xdotool("key", "Escape")
        wait_until(lambda: not self.launcher.find_all("frame", "Keyboard Shortcuts") or not has_state(
            self.launcher.find_all("frame", "Keyboard Shortcuts")[0], Atspi.StateType.SHOWING), "it closed")
        self.launcher.press("ctrl+k")
        self.find_editor()
        self.bind(0, "super+k", "Cmd+K", 45, CMD)

    def test_pictures(self):
        """Leaves pictures of the editor where SHORTCUT_PICTURES says, for whoever wants to look at them."""
        folder = os.environ.get("SHORTCUT_PICTURES")
        if not folder:
            self.skipTest("SHORTCUT_PICTURES names no folder")
        self.file.parent.mkdir(parents=True)
        self.file.write_bytes(plistlib.dumps({"watchlist": [
            entry("showLauncher", 24, CTRL | ALT | CMD), entry("startPurgel", 45, SHIFT | CMD),
            entry("openManual", 117, CTRL | SHIFT | ALT | CMD), entry("reloadTools", 112, CMD)]}))
        for scale in ("1", "2"):
            self.open_editor(QT_SCALE_FACTOR=scale)
            window = xdotool("getactivewindow")
            take_picture(os.path.join(folder, f"editor-{scale}.png"), window)
            xdotool("key", "Down", "Down", "Down", "F2")  # the tree's places are not in pixels then
            wait_until(self.edits, "the field editor")
            take_picture(os.path.join(folder, f"editing-{scale}.png"), window)
            self.launcher.end()
        self.manager.unlink()
        self.open_editor()
        take_picture(os.path.join(folder, "missing-1.png"), xdotool("getactivewindow"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv)
