"""The panel on the sample suite, as a user meets it."""

import json
import os
import pathlib
import plistlib
import signal
import subprocess
import tempfile
import unittest

from launcher_driver import Atspi, DesktopTest, Row, has_state, take_picture, wait_until, xdotool

EXPECTED = json.loads(
    (pathlib.Path(__file__).parents[2] / "samples" / "expected.json").read_text(encoding="utf-8"))


def by_name(tools):
    return sorted(tools, key=lambda tool: tool["title"].casefold())


def by_group(tools):
    """Within a group the order of the scan; tools without a group come last."""
    return sorted(tools, key=lambda tool: (tool["groupName"] is None, (tool["groupName"] or "").casefold()))


def shown(tools, with_groups=False):
    """The rows of these tools, top to bottom: a title that stands there twice has its group with it."""
    titles = [tool["title"] for tool in tools]
    rows = []
    for tool in tools:
        title = tool["title"]
        if tool["groupName"] and (with_groups or titles.count(title) > 1):
            title += ", " + tool["groupName"]
        rows.append(Row("Icon of " + tool["title"], title, tool["description"] or ""))
    return rows


def groups():
    """In the order in which the scan meets them."""
    return list(dict.fromkeys(tool["groupName"] for tool in EXPECTED if tool["groupName"]))


class PanelTest(DesktopTest):
    def open_panel(self, **options):
        launcher = self.launch(**options)
        launcher.wait_for_catalogue()
        return launcher

    def preferences(self, launcher):
        """What the user's preference file holds."""
        return plistlib.loads(
            pathlib.Path(launcher.home, "Library/Preferences/com.vantorel.Launcher.plist").read_bytes())

    def wait_for_rows(self, launcher, rows):
        try:
            wait_until(lambda: launcher.rows() == rows, "the expected rows")
        except AssertionError:
            self.assertEqual(launcher.rows(), rows)

    def test_shows_every_tool_by_name(self):
        launcher = self.open_panel()
        self.assertEqual(launcher.columns(), ["Icon", "Title", "Description"])
        self.assertEqual(launcher.rows(), shown(by_name(EXPECTED)))
        self.assertEqual(launcher.tool_count(), f"{len(EXPECTED)} tools")

    def test_menus_are_named_and_say_what_is_chosen(self):
        launcher = self.open_panel()
        self.assertEqual([item.title for item in launcher.menu_items()],
                         ["Launcher", "View", "Manuals", "Help"])
        self.assertEqual(launcher.menu_items("Launcher"),
                         [("About Launcher", False), ("Check for Updates…", False),
                          ("Keyboard Shortcuts…", False), ("Quit After Launching", False),
                          ("Show Again When a Tool Quits", True), ("Quit", False)])
        self.assertEqual(launcher.menu_items("View"),
                         [("Sort by Name", True), ("Sort by Group", False), ("Show Group Names", False),
                          ("Hide Groups", False), ("Reload", False), ("Reveal in File Browser", False)])
        self.assertEqual(launcher.menu_items("View", "Hide Groups"), [(name, False) for name in groups()])
        self.assertEqual([item.title for item in launcher.menu_items("Help")],
                         ["Ostendel User Manual", "Ostendel Home Page", "Report a Bug…",
                          "Suggest a Feature…", "Vantorel Home Page"])

    def test_lists_the_manuals(self):
        launcher = self.open_panel()
        manuals = wait_until(lambda: launcher.menu_items("Manuals"), "manuals in their menu")
        self.assertEqual(manuals, [("Kelvandor Quick Start", False), ("Tallowby Backups", False)])

    def test_without_manuals_their_menu_is_disabled(self):
        with tempfile.TemporaryDirectory() as root:
            os.mkdir(os.path.join(root, "Applications"))
            launcher = self.open_panel(root=root)
            menu = launcher.find("menu item", "Manuals")
            self.assertFalse(has_state(menu, Atspi.StateType.ENABLED))

    def test_says_what_it_is(self):
        launcher = self.open_panel()
        launcher.choose("Launcher", "About Launcher")
        about = launcher.find("dialog", "About Launcher")
        texts = [label.get_name() for label in launcher.find_all("label", under=about) if label.get_name()]
        self.assertEqual(texts[0], "Launcher")
        self.assertRegex(texts[1], r"\AVersion \d+\.\d+\.\d+\nTools for editing workstations\Z")
        self.assertEqual(about.get_description(), texts[1])
        xdotool("key", "Return")
        wait_until(lambda: not launcher.find_all("dialog"), "the panel alone again")
        launcher.press("ctrl+q")
        self.assertEqual(launcher.wait_for_exit(), 0)

    def test_remembers_what_launching_does(self):
        launcher = self.open_panel()
        launcher.choose("Launcher", "Quit After Launching")
        launcher.choose("Launcher", "Show Again When a Tool Quits")
        changed = [("Quit After Launching", True), ("Show Again When a Tool Quits", False)]

        def marks(panel):
            return [item for item in panel.menu_items("Launcher") if item.title in dict(changed)]

        wait_until(lambda: marks(launcher) == changed, "the changed check marks")
        launcher.press("ctrl+q")
        self.assertEqual(launcher.wait_for_exit(), 0)
        self.assertEqual(self.preferences(launcher)["quitAfterLaunching"], 1)
        self.assertEqual(self.preferences(launcher)["unhideOnLaunchedAppExit"], 0)

        again = self.open_panel(home=launcher.home)
        self.assertEqual(marks(again), changed)

    def test_sorts_by_group_and_by_name_again(self):
        launcher = self.open_panel()
        launcher.choose("View", "Sort by Group")
        self.wait_for_rows(launcher, shown(by_group(EXPECTED)))
        self.assertEqual(launcher.menu_items("View")[:2], [("Sort by Name", False), ("Sort by Group", True)])
        launcher.press("ctrl+1")
        self.wait_for_rows(launcher, shown(by_name(EXPECTED)))
        self.assertEqual(launcher.menu_items("View")[:2], [("Sort by Name", True), ("Sort by Group", False)])

    def test_hides_a_group_and_shows_it_again(self):
        launcher = self.open_panel()
        remaining = [tool for tool in EXPECTED if tool["groupName"] != "Ostendel"]
        launcher.choose("View", "Hide Groups", "Ostendel")
        self.wait_for_rows(launcher, shown(by_name(remaining)))
        self.assertEqual(launcher.tool_count(), f"{len(remaining)} tools · 1 group hidden")
        self.assertEqual(launcher.menu_items("View", "Hide Groups"),
                         [(name, name == "Ostendel") for name in groups()])
        launcher.choose("View", "Hide Groups", "Ostendel")
        self.wait_for_rows(launcher, shown(by_name(EXPECTED)))
        self.assertEqual(launcher.tool_count(), f"{len(EXPECTED)} tools")

    def test_shows_group_names_when_asked(self):
        launcher = self.open_panel()
        launcher.choose("View", "Show Group Names")
        self.wait_for_rows(launcher, shown(by_name(EXPECTED), with_groups=True))
        launcher.press("ctrl+g")
        self.wait_for_rows(launcher, shown(by_name(EXPECTED)))

    def test_remembers_the_view(self):
        launcher = self.open_panel()
        launcher.choose("View", "Sort by Group")
        launcher.choose("View", "Hide Groups", "Kelvandor")
        launcher.choose("View", "Show Group Names")
        remaining = by_group(tool for tool in EXPECTED if tool["groupName"] != "Kelvandor")
        self.wait_for_rows(launcher, shown(remaining, with_groups=True))
        launcher.press("ctrl+q")
        self.assertEqual(launcher.wait_for_exit(), 0)

        again = self.open_panel(home=launcher.home)
        self.assertEqual(again.rows(), shown(remaining, with_groups=True))
        self.assertEqual(again.menu_items("View")[:4],
                         [("Sort by Name", False), ("Sort by Group", True), ("Show Group Names", True),
                          ("Hide Groups", False)])
        self.assertEqual(again.menu_items("View", "Hide Groups"),
                         [(name, name == "Kelvandor") for name in groups()])

    def picture_of_scroll_bars_upper_end(self, arrows):
        """With that preference of the user's for all programs; None leaves it out."""
        side = 15
        with tempfile.TemporaryDirectory() as home:
            preferences = pathlib.Path(home, "Library/Preferences")
            preferences.mkdir(parents=True)
            (preferences / ".GlobalPreferences.plist").write_bytes(
                plistlib.dumps({} if arrows is None else {"AppleScrollBarVariant": arrows}))
            launcher = self.open_panel(home=home)
            table = launcher.table().get_extents(Atspi.CoordType.SCREEN)
            picture = os.path.join(home, "panel.png")
            take_picture(picture)
            launcher.press("ctrl+q")
            self.assertEqual(launcher.wait_for_exit(), 0)
            area = f"{side}x{side}+{table.x + table.width - side}+{table.y}"
            return subprocess.run(["convert", picture, "-crop", area, "rgb:-"], stdout=subprocess.PIPE,
                                  timeout=30, check=True).stdout

    def test_the_arrows_of_the_scroll_bar_are_where_the_user_wants_them(self):
        apart = self.picture_of_scroll_bars_upper_end("Single")
        together = self.picture_of_scroll_bars_upper_end("DoubleMax")
        self.assertNotEqual(apart, together)
        self.assertIn(self.picture_of_scroll_bars_upper_end(None), (apart, together))

    def test_all_groups_hidden_leaves_the_tools_without_one(self):
        launcher = self.open_panel()
        for name in groups():
            launcher.choose("View", "Hide Groups", name)
        self.wait_for_rows(launcher, shown([tool for tool in EXPECTED if not tool["groupName"]]))
        self.assertEqual(launcher.tool_count(), f"1 tool · {len(groups())} groups hidden")

    def test_says_where_it_looked_when_there_are_no_tools(self):
        with tempfile.TemporaryDirectory() as root:
            os.mkdir(os.path.join(root, "Applications"))
            launcher = self.open_panel(root=root)
            self.assertEqual(launcher.tool_count(), "0 tools")
            launcher.find("label", "No tools found")
            launcher.find("label", f"in {root}/Applications")

    def test_reload_finds_a_tool_that_has_come_since(self):
        with tempfile.TemporaryDirectory() as root:
            applications = os.path.join(root, "Applications")
            os.mkdir(applications)
            launcher = self.open_panel(root=root)
            tool = next(tool for tool in EXPECTED if tool["title"] == "Ferrulet")
            os.symlink(os.path.join(os.environ["LAUNCHER_SAMPLE_SUITE"], tool["appPath"]),
                       os.path.join(applications, "Ferrulet.app"))
            launcher.press("F5")
            wait_until(lambda: launcher.tool_count() == "1 tool", "the new tool's count")
            self.assertEqual(launcher.rows(), shown([tool]))
            os.remove(os.path.join(applications, "Ferrulet.app"))
            launcher.press("ctrl+r")
            wait_until(lambda: launcher.tool_count() == "0 tools", "the count without it")

    def test_quits_from_the_keyboard(self):
        launcher = self.open_panel()
        launcher.press("ctrl+q")
        self.assertEqual(launcher.wait_for_exit(), 0, launcher.standard_error())

    def test_quits_when_its_window_is_closed(self):
        launcher = self.open_panel()
        launcher.press("alt+F4")  # fades it out first
        self.assertEqual(launcher.wait_for_exit(), 0)
        self.assertEqual(launcher.standard_error(), "")
        self.assert_log_is_whole(launcher)

    def test_remembers_its_size_however_it_ends(self):
        launcher = self.open_panel()
        width, height = 700, 500
        for end in (lambda: launcher.press("ctrl+q"), lambda: launcher.press("alt+F4"),
                    lambda: launcher.process.send_signal(signal.SIGTERM)):
            xdotool("windowsize", "--sync", launcher.window(), width, height)
            wait_until(lambda: abs(launcher.find("frame", "Launcher").get_size().x - width) < 2,
                       "the new width")
            end()
            self.assertEqual(launcher.wait_for_exit(), 0, launcher.standard_error())
            self.assertEqual(self.preferences(launcher)["panelSize"], [width, height])
            self.assert_log_is_whole(launcher)
            launcher = self.open_panel(home=launcher.home)
            width -= 20

    def test_keeps_a_log_that_is_whole_at_the_end(self):
        launcher = self.open_panel()
        launcher.press("ctrl+q")
        self.assertEqual(launcher.wait_for_exit(), 0)
        self.assert_log_is_whole(launcher)

    def test_quits_from_the_menu(self):
        launcher = self.open_panel()
        launcher.choose("Launcher", "Quit")
        self.assertEqual(launcher.wait_for_exit(), 0, launcher.standard_error())


if __name__ == "__main__":
    unittest.main()
