"""Windows on the display, and waiting for them and for anything else."""

import re
import subprocess
import tempfile
import time

from gi.repository import GLib


def wait_until(predicate, what, limit=30):
    """The first true value of predicate(), asked every 50 ms; AssertionError after `limit` seconds.

    A widget that goes away while it is being looked at counts as "not yet".
    """
    deadline = time.monotonic() + limit
    while True:
        try:
            value = predicate()
        except GLib.Error:
            value = None
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {limit} seconds: {what}")
        time.sleep(0.05)


def xdotool(*arguments):
    result = subprocess.run(["xdotool", *map(str, arguments)], stdout=subprocess.PIPE, text=True,
                            timeout=30, check=True)
    return result.stdout.strip()


def stays(predicate, what, seconds=1):
    """Asserts that predicate() is true now and for as long as this: a tool's end is told within 250 ms."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if not predicate():
            raise AssertionError(f"no longer: {what}")
        time.sleep(0.05)


def visible_windows(pid):
    """The X windows of a process that are on the screen."""
    def search():
        # None found is a status of 1, and so is a window that went away while it was being looked at.
        result = subprocess.run(["xdotool", "search", "--all", "--onlyvisible", "--pid", str(pid), "--name",
                                 "."], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=30,
                                check=False)
        return [result.stdout.split()] if not result.stderr else None

    return wait_until(search, "a look at the windows")[0]


def windows_from_below():
    """The managed windows, the one on top last."""
    result = subprocess.run(["xprop", "-root", "_NET_CLIENT_LIST_STACKING"], stdout=subprocess.PIPE, text=True,
                            timeout=30, check=True)
    return [int(number, 16) for number in re.findall(r"0x[0-9a-f]+", result.stdout)]


def active_process():
    """The process whose window has the keyboard; None when there is none."""
    result = subprocess.run(["xdotool", "getactivewindow", "getwindowpid"], stdout=subprocess.PIPE,
                            stderr=subprocess.DEVNULL, text=True, timeout=30, check=False)
    return int(result.stdout) if result.returncode == 0 and result.stdout.strip() else None


class WindowWatch:
    """Counts how often a window leaves the screen and comes back, however quickly that goes."""

    def __init__(self, window):
        self._events = tempfile.NamedTemporaryFile(mode="r")
        self._seen = ""
        with open(self._events.name, "w", encoding="utf-8") as output:
            self._process = subprocess.Popen(
                ["stdbuf", "-oL", "xev", "-id", window, "-event", "structure", "-event", "property"],
                stdout=output, stderr=subprocess.DEVNULL)

        def listens():
            # It is made to hear of a change that means nothing.
            subprocess.run(["xprop", "-id", window, "-f", "WATCHED", "8s", "-set", "WATCHED", "yes"],
                           timeout=30, check=True)
            return self._count("WATCHED")

        wait_until(listens, "word from a watched window")

    def _count(self, text):
        self._seen += self._events.read()
        return self._seen.count(text)

    def times_gone(self):
        return self._count("\nUnmapNotify event")

    def times_back(self):
        return self._count("\nMapNotify event")

    def end(self):
        self._process.kill()
        self._process.wait()
        self._events.close()
