"""Drives the real Launcher: starts it, reads its windows through the accessibility tree, and works its
keyboard and mouse. Meant to be run inside `session`, with /usr/bin/python3.

Nothing here sleeps and hopes: whatever takes its time is waited for with `wait_until`.
"""

import collections
import functools
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import unittest

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402 (the version comes first)

from windows import active_process, visible_windows, wait_until, xdotool  # noqa: E402

PROGRAM = os.environ["LAUNCHER_PROGRAM"]  # .../Launcher.app/Contents/MacOS/Launcher
SAMPLE_SUITE = os.environ["LAUNCHER_SAMPLE_SUITE"]  # a VANTOREL_ROOT with working tools
FAILURES = os.environ["LAUNCHER_FAILURES"]  # where pictures of failed tests go; made when needed

# One line of the tool table, as it is read out. The title of a tool that shows its group below it is
# "title, group".
Row = collections.namedtuple("Row", "icon title description")

# One item of a menu.
MenuItem = collections.namedtuple("MenuItem", "title checked")

Atspi.set_timeout(5000, 5000)  # milliseconds; a busy machine is slow to answer


def has_state(accessible, state):
    return accessible.get_state_set().contains(state)


def application_of(process):
    """The root of a process's windows in the accessibility tree; None while it is not there."""
    desktop = Atspi.get_desktop(0)
    desktop.clear_cache()
    for index in range(desktop.get_child_count()):
        application = desktop.get_child_at_index(index)
        if application is not None and application.get_process_id() == process:
            # Every look is a fresh one: nobody here runs the loop that would keep a cache up to date.
            application.set_cache_mask(Atspi.Cache.NONE)
            return application
    return None


def below(accessible):
    """Every accessible object under this one, top down, but not the cells of tables."""
    for index in range(accessible.get_child_count()):
        child = accessible.get_child_at_index(index)
        if child is not None:
            yield child
            if child.get_role() != Atspi.Role.TABLE:
                yield from below(child)


class Launcher:
    """A running Launcher. `home` is an empty folder made for it unless one is given. `environment` adds
    variables, or takes those away whose value is None."""

    def __init__(self, *arguments, root=SAMPLE_SUITE, home=None, environment=None, pass_fds=()):
        self.root = root
        self.home = home or tempfile.mkdtemp(prefix="home-", dir=os.environ["HOME"])
        self._errors = tempfile.TemporaryFile()
        variables = {**os.environ, "HOME": self.home, "VANTOREL_ROOT": root, **(environment or {})}
        self.process = subprocess.Popen([PROGRAM, *arguments], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=self._errors, pass_fds=pass_fds,
                                        env={name: value for name, value in variables.items()
                                             if value is not None})
        self._application = None

    # --- the process ---

    def standard_error(self):
        self._errors.seek(0)
        return self._errors.read().decode(errors="replace")

    def wait_for_exit(self, limit=30):
        """The exit status once it has ended by itself."""
        try:
            return self.process.wait(timeout=limit)
        except subprocess.TimeoutExpired:
            raise AssertionError(f"the Launcher has not ended within {limit} seconds") from None

    def end(self):
        """Ends it if it still runs."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGCONT)  # a test may have stopped it
            self.process.terminate()
            try:
                self.process.wait(timeout=5)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self._errors.close()

    def _status(self, task, field):
        """A number from the status of one of its threads."""
        with open(f"/proc/{self.process.pid}/task/{task}/status", encoding="ascii") as file:
            return int(re.search(rf"^{field}:\s+(\d+)", file.read(), re.MULTILINE).group(1))

    def threads(self):
        return os.listdir(f"/proc/{self.process.pid}/task")

    def wake_ups(self):
        """How often its threads have gone to sleep until now."""
        return sum(self._status(task, "voluntary_ctxt_switches") for task in self.threads())

    def descriptors(self):
        return os.listdir(f"/proc/{self.process.pid}/fd")

    def zombies(self):
        """Its children that have ended and that it has not taken notice of."""
        found = []
        for task in self.threads():
            with open(f"/proc/{self.process.pid}/task/{task}/children", encoding="ascii") as file:
                for child in file.read().split():
                    with open(f"/proc/{child}/stat", encoding="utf-8", errors="replace") as state:
                        if state.read().rpartition(")")[2].split()[0] == "Z":
                            found.append(child)
        return found

    # --- its log ---

    def log_entries(self):
        """The log's entries without their dates, the last one written to its end."""
        library = pathlib.Path(self.root if os.getuid() == 0 else self.home) / "Library"
        text = (library / "Logs/Vantorel/Launcher.1.log").read_text(encoding="utf-8")
        if not text.endswith("\n"):
            raise AssertionError(f"the log breaks off: {text!r}")
        return [line.split(" - ", 1)[1] for line in text.splitlines()]

    # --- where its panel is ---

    def is_hidden(self):
        return not visible_windows(self.process.pid)

    def is_active(self):
        return active_process() == self.process.pid

    def wait_until_hidden(self, limit=30):
        wait_until(lambda: self._runs() and self.is_hidden(), "a hidden Launcher", limit)

    def wait_until_back(self, limit=30):
        """The panel is on the screen and has the keyboard, and so is on top."""
        wait_until(lambda: self._runs() and self.is_active() and not self.is_hidden(),
                   "the panel back and active", limit)

    # --- the accessibility tree ---

    def _runs(self):
        """True; AssertionError when it has ended."""
        if self.process.poll() is not None:
            raise AssertionError(f"the Launcher ended with status {self.process.returncode}:\n"
                                 + self.standard_error())
        return True

    def application(self):
        if self._application is None:
            self._application = wait_until(lambda: self._runs() and application_of(self.process.pid),
                                           "the Launcher in the accessibility tree")
        return self._application

    def find_all(self, role, name=None, under=None):
        """The objects of a role ("label", "push button") with this name; a compiled pattern must match
        the whole name, None matches any."""
        def matches(accessible):
            if accessible.get_role_name() != role:
                return False
            if isinstance(name, re.Pattern):
                return name.fullmatch(accessible.get_name()) is not None
            return name is None or accessible.get_name() == name

        return [found for found in below(under or self.application()) if matches(found)]

    def find(self, role, name=None, under=None, limit=30):
        """The first such object that is on the screen, waited for."""
        def visible():
            return next((found for found in self.find_all(role, name, under)
                         if has_state(found, Atspi.StateType.SHOWING)), None)

        wanted = name.pattern if isinstance(name, re.Pattern) else name
        return wait_until(visible, f"a visible {role} named {wanted!r}", limit)

    # --- the panel ---

    def tool_count(self):
        """The footer's text, as in "14 tools · 1 group hidden"; "" while scanning."""
        labels = self.find_all("label", re.compile(r"\d+ tools?( · \d+ groups? hidden)?"))
        return labels[0].get_name() if labels else ""

    def wait_for_catalogue(self, limit=30):
        """Waits until the scanned tools are shown; returns the footer's text."""
        application = self.application()

        def shown():
            return self._runs() and application and self.tool_count()

        return wait_until(shown, "the catalogue in the panel", limit)

    def table(self):
        return self.find("table", "Tools")

    def columns(self):
        table = self.table()
        return [table.get_column_description(column) for column in range(table.get_n_columns())]

    def rows(self):
        """What the table shows, top to bottom."""
        table = self.table()
        return [Row(*(table.get_accessible_at(row, column).get_name() for column in range(3)))
                for row in range(table.get_n_rows())]

    def titles(self):
        return [row.title for row in self.rows()]

    def row_of(self, title):
        return self.titles().index(title)

    def select(self, title):
        self.click_row(self.row_of(title))

    def double_click(self, title):
        self.click_row(self.row_of(title), times=2)

    # --- menus ---

    def _menu(self, path):
        place = self.find("menu bar")
        for title in path:
            items = [item for item in self.find_all("menu item", title, under=place)]
            if not items:
                raise AssertionError(f"no menu {' > '.join(path)}")
            place = items[0]
        return place

    def menu_items(self, *path):
        """The items of the menu bar, or of the menu that `path` leads to, without opening it."""
        place = self._menu(path)
        if path:
            place = place.get_child_at_index(0)
        found = []
        for index in range(place.get_child_count()):
            item = place.get_child_at_index(index)
            if item.get_role_name() != "separator":
                found.append(MenuItem(item.get_name(), has_state(item, Atspi.StateType.CHECKED)))
        return found

    def choose(self, *path):
        """Clicks through the menus: choose("View", "Sort by Group")."""
        for depth in range(1, len(path) + 1):
            item = wait_until(functools.partial(self._shown_item, path[:depth]),
                              f"the menu item {' > '.join(path[:depth])} on the screen")
            self.click(item)

    def _shown_item(self, path):
        item = self._menu(path)
        return item if has_state(item, Atspi.StateType.SHOWING) else None

    # --- keyboard and mouse ---

    def window(self):
        """The X window of the panel, once it is on the screen."""
        def found():
            try:
                return xdotool("search", "--all", "--onlyvisible", "--pid", self.process.pid,
                               "--name", "^Launcher$")
            except subprocess.CalledProcessError:
                return None  # not yet, or a window went away while it was looked at

        return wait_until(found, "the panel's window").splitlines()[0]

    def press(self, *keys):
        """Types into the panel: press("ctrl+q")."""
        xdotool("windowactivate", "--sync", self.window())
        xdotool("key", *keys)

    def click(self, accessible, button=1, times=1):
        place = accessible.get_extents(Atspi.CoordType.SCREEN)
        xdotool("mousemove", place.x + place.width // 2, place.y + place.height // 2)
        xdotool("click", "--repeat", times, "--delay", 20, button)

    def click_row(self, row, times=1):
        self.click(self.table().get_accessible_at(row, 1), times=times)


def take_picture(path, window="root"):
    """Saves a picture of the window, or of the whole screen, once two looks in a row are the same."""
    os.makedirs(os.path.dirname(path), exist_ok=True)

    def look():
        return subprocess.run(["import", "-silent", "-window", window, "png:-"], stdout=subprocess.PIPE,
                              timeout=30, check=True).stdout

    pictures = [look()]

    def settled():
        pictures.append(look())
        return pictures[-1] == pictures[-2]

    try:
        wait_until(settled, "a screen that stands still", limit=10)
    finally:
        with open(path, "wb") as file:
            file.write(pictures[-1])


def _photographed_on_failure(test):
    @functools.wraps(test)
    def wrapper(self):
        try:
            test(self)
        except unittest.SkipTest:
            raise
        except BaseException:
            take_picture(os.path.join(FAILURES, self.id().removeprefix("__main__.") + ".png"))
            raise

    return wrapper


class DesktopTest(unittest.TestCase):
    """Base of the desktop tests: a failed test leaves a picture of the screen and the program's words."""

    maxDiff = None

    def __init_subclass__(cls, **arguments):
        super().__init_subclass__(**arguments)
        for name, member in list(vars(cls).items()):
            if name.startswith("test_"):
                setattr(cls, name, _photographed_on_failure(member))

    def assert_log_is_whole(self, launcher):
        """Once it has ended: the entries of its start are there, and none breaks off."""
        entries = launcher.log_entries()
        starts = ["Log started: ", "Version: ", "Path: ", "System: OS X ", "Running in "]
        self.assertEqual([entry[:len(start)] for entry, start in zip(entries, starts)], starts)

    def launch(self, *arguments, **options):
        """A Launcher that ends with the test."""
        launcher = Launcher(*arguments, **options)
        self.addCleanup(launcher.end)
        return launcher
