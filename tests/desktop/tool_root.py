"""A root folder of a test's own, with tools that do what the test needs."""

import os
import pathlib
import plistlib
import shutil
import signal
import subprocess
import tempfile

from launcher_driver import SAMPLE_SUITE
from windows import wait_until

SAMPLE_TOOL = pathlib.Path(SAMPLE_SUITE, "Applications/Kelvandor/Ferrulet.app/Contents/MacOS/Ferrulet")


class Tool:
    """A bundle in the root's Applications folder, or in a folder of that.

    It opens the sample tool's window, unless `script` is the text of a program that does something else; the
    sample tool is then there as well, as "$0.window". Scripts find themselves in `$0` and a folder to leave
    word in, `folder`, in `$NOTES`.
    """

    def __init__(self, root, name, script=None, identifier=None, folder=""):
        self.name = name
        self.identifier = identifier or "com.vantorel." + name
        self.path = root.applications / folder / (name + ".app")
        self.notes = root.folder / "notes" / name
        self.notes.mkdir(parents=True)
        self.executable = self.path / "Contents/MacOS" / name
        self.executable.parent.mkdir(parents=True)
        if script is None:
            shutil.copy(SAMPLE_TOOL, self.executable)
        else:
            shebang, _, text = script.partition("\n")
            self.executable.write_text(f"{shebang}\nNOTES='{self.notes}'\n{text}", encoding="utf-8")
            self.executable.chmod(0o755)
            shutil.copy(SAMPLE_TOOL, f"{self.executable}.window")
        self.write_information()
        self._write_list("Contents/Resources/VTApp.plist", {"VTAppDescription": "A tool for a test."})

    def _write_list(self, place, values):
        path = self.path / place
        path.parent.mkdir(exist_ok=True)
        path.write_bytes(plistlib.dumps(values))

    def write_information(self, **values):
        self._write_list("Contents/Info.plist",
                         {"CFBundleName": self.name, "CFBundleIdentifier": self.identifier,
                          "CFBundleExecutable": self.name, **values})

    def processes(self):
        """Those that run a program of the bundle, or a script of it."""
        found = []
        for entry in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if (entry / "stat").read_text(errors="replace").rpartition(")")[2].split()[0] == "Z":
                    continue
                words = (entry / "cmdline").read_bytes().split(b"\0")
                if (os.readlink(entry / "exe").startswith(f"{self.path}/")
                        or any(word.startswith(os.fsencode(f"{self.path}/")) for word in words)):
                    found.append(int(entry.name))
            except (FileNotFoundError, PermissionError, ProcessLookupError):
                pass
        return found

    def wait_for_process(self):
        return wait_until(self.processes, f"a process of {self.name}")[0]

    def start_from_terminal(self):
        """Starts it without the Launcher."""
        return subprocess.Popen([self.executable], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL)

    def end(self):
        for process in self.processes():
            try:
                os.kill(process, signal.SIGTERM)
            except ProcessLookupError:
                pass

    def noted(self, name):
        """What a script has written into a file of its notes; "" while there is none."""
        try:
            return (self.notes / name).read_text(encoding="utf-8", errors="surrogateescape")
        except FileNotFoundError:
            return ""

    def starts(self):
        """How often a script has noted its start."""
        return len(self.noted("starts").splitlines())


class ToolRoot:
    """Removed, and its tools ended, with the test."""

    def __init__(self, test):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="root-", dir=os.environ["HOME"]))
        self.applications = self.folder / "Applications"
        self.applications.mkdir()
        (self.folder / "Library/Logs/Vantorel").mkdir(parents=True)  # of the machine, where root logs
        self._tools = []
        test.addCleanup(self._remove)

    def add(self, name, *arguments, **options):
        tool = Tool(self, name, *arguments, **options)
        self._tools.append(tool)
        return tool

    def _remove(self):
        for tool in self._tools:
            tool.end()
        shutil.rmtree(self.folder)

    def home(self, **defaults):
        """A home whose preferences are these."""
        home = pathlib.Path(tempfile.mkdtemp(prefix="home-", dir=os.environ["HOME"]))
        self.set_defaults(home, **defaults)
        return str(home)

    @staticmethod
    def set_defaults(home, **defaults):
        file = pathlib.Path(home, "Library/Preferences/com.vantorel.Launcher.plist")
        values = plistlib.loads(file.read_bytes()) if file.exists() else {}
        file.parent.mkdir(parents=True, exist_ok=True)
        draft = file.with_suffix(".draft")
        draft.write_bytes(plistlib.dumps(values | defaults))
        draft.rename(file)
