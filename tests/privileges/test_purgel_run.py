"""Purgel from its button to its end: the real Launcher on a display, worked with the keyboard and read through the
accessibility tree by an ordinary user, with the rights of a real polkit and tools that really run as root."""

import os
import pathlib
import plistlib
import shutil
import signal
import subprocess
import sys
import time
import unittest

from agent import Agent
from private_system import ACTION, ADMINISTRATOR, PASSWORD, USER, Bus, Polkit
from user_session import WORLD, ask_root, run_as_user

PRODUCT = WORLD / "product"
SUITES = WORLD / "suites"
VTPOST = "/usr/libexec/vantorel/vtpost"
SIBLINGS = ["Tallowby", "Ferrulet", "Quoinet", "Gimbrel"]

# --- what root does ---


def polkit_answers(result):
    Polkit.start(f"""polkit.addRule(function (action, subject) {{
        if (action.id == "{ACTION}" && subject.user == "{USER}") {{ return polkit.Result.{result}; }}
    }});
    """)


def add_suite(name, tools):
    """A root folder whose tools, by folder and group, are all titled Purgel and wait to be ended."""
    suite = SUITES / name
    for folder, group in tools:
        contents = suite / "Applications" / folder / "Purgel.app/Contents"
        for place, values in (("Info.plist", {"CFBundleName": "Purgel", "CFBundleIdentifier": "com.vantorel.Purgel",
                                              "CFBundleExecutable": "Purgel"}),
                              ("Resources/VTApp.plist", {"VTAppDescription": "Waits.", "VTGroupName": group})):
            file = contents / place
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_bytes(plistlib.dumps(values))
        (contents / "MacOS").mkdir()
        shutil.copy(os.environ["PURGEL_RUN_WAITING_TOOL"], contents / "MacOS/Purgel")
    return str(suite)


class Siblings:
    """Processes of root's with the names of the suite's other repair tools, and one that has none of them."""

    processes = {}

    @classmethod
    def start(cls):
        folder = WORLD / "siblings"
        folder.mkdir(exist_ok=True)
        for name in [*SIBLINGS, "Bystander"]:
            program = shutil.copy(os.environ["PURGEL_RUN_WAITING_TOOL"], folder / name)
            cls.processes[name] = subprocess.Popen([program])

    @classmethod
    def statuses(cls):
        return {name: process.poll() for name, process in cls.processes.items()}

    @classmethod
    def end(cls):
        for process in cls.processes.values():
            process.kill()
            process.wait()


class Asked:
    """Whoever is asked by polkit for one process, and knows the administrator's password."""

    _holder = unittest.TestCase()
    _agent = None

    @classmethod
    def start(cls, process):
        cls._agent = Agent(cls._holder, process)

    @classmethod
    def question(cls):
        return cls._agent.question()

    @classmethod
    def answer(cls):
        cls._agent.type(PASSWORD)

    @classmethod
    def transcript(cls):
        return cls._agent.transcript()

    @classmethod
    def end(cls):
        cls._holder.doCleanups()


def end_tools():
    subprocess.run(["killall", "-q", "-KILL", "Purgel"], check=False)


def serve():
    Bus.start()
    shutil.copytree(pathlib.Path(os.environ["PURGEL_RUN_PRODUCT"]) / "Launcher.app", PRODUCT / "Launcher.app")
    shutil.copytree(pathlib.Path(os.environ["PURGEL_RUN_PRODUCT"]) / "SampleSuite", SUITES / "sample")
    failures = pathlib.Path("/run/failures")
    failures.mkdir(mode=0o777)
    failures.chmod(0o777)
    status = run_as_user(
        __file__,
        {"polkit_answers": polkit_answers, "add_suite": add_suite, "start_siblings": Siblings.start,
         "siblings": Siblings.statuses, "end_siblings": Siblings.end, "end_tools": end_tools,
         "start_agent": Asked.start, "question": Asked.question, "answer": Asked.answer,
         "transcript": Asked.transcript, "end_agent": Asked.end, "signal": os.kill},
        {"LAUNCHER_PROGRAM": str(PRODUCT / "Launcher.app/Contents/MacOS/Launcher"),
         "LAUNCHER_SAMPLE_SUITE": str(SUITES / "sample"), "LAUNCHER_FAILURES": str(failures)})
    shutil.copytree(failures, os.environ["LAUNCHER_FAILURES"], dirs_exist_ok=True)
    return status


if os.geteuid() == 0:
    sys.exit(serve())

# --- what the user sees and does ---

from purgel_panel import CONFIRMATION, PurgelPanelTest  # noqa: E402 (from the user's desktop)
from launcher_driver import SAMPLE_SUITE, Atspi, has_state  # noqa: E402
from tool_root import ToolRoot  # noqa: E402
from windows import stays, wait_until, xdotool  # noqa: E402

REPAIRING = "Purgel is repairing…"
COMPLETE = ("Purgel complete", "You can now relaunch your editing applications.")


def roots_processes(executable):
    """Those that root runs with exactly this program and the one argument."""
    found = []
    for entry in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            users = next(line for line in (entry / "status").read_text().splitlines() if line.startswith("Uid:"))
            if ((entry / "cmdline").read_bytes() == os.fsencode(executable) + b"\0-fix\0"
                    and users.split()[1:] == ["0"] * 4):
                found.append(int(entry.name))
        except (FileNotFoundError, ProcessLookupError):
            pass
    return found


def post_the_end():
    subprocess.run([VTPOST, "VTKVDPurgelComplete"], check=True, timeout=30)


class PurgelRunTest(PurgelPanelTest):
    def setUp(self):
        ask_root("polkit_answers", "YES")
        self.addCleanup(ask_root, "end_tools")

    def suite(self, name="waiting", tools=(("Kelvandor", "Kelvandor"),)):
        return ask_root("add_suite", f"{self.id().rpartition('.')[2]}-{name}", tools)

    def wait_for_keyboard(self, dialog):
        wait_until(lambda: has_state(dialog, Atspi.StateType.ACTIVE), "the sheet with the keyboard")

    def confirm(self):
        self.launcher.press("alt+p")
        self.wait_for_keyboard(self.wait_for_sheet("Warning", CONFIRMATION))
        xdotool("key", "Return")

    def start_run(self, path):
        """The process of the tool at the path, once it runs."""
        self.confirm()
        executable = f"{path}/Contents/MacOS/Purgel"
        [process] = wait_until(lambda: roots_processes(executable), f"root's process of {executable}")
        return process

    def wait_for_progress(self):
        dialog = self.launcher.find("dialog", REPAIRING)
        self.launcher.find("progress bar", REPAIRING, under=dialog)
        self.launcher.find("push button", "Cancel", under=dialog)
        self.wait_for_keyboard(dialog)
        return dialog

    def wait_for_the_end(self, limit=30):
        dialog = wait_until(lambda: self.launcher.find_all("dialog", COMPLETE[0]), COMPLETE[0], limit)[0]
        self.wait_for_sheet(*COMPLETE)
        self.assertEqual(self.sheets(), [COMPLETE[0]])
        self.wait_for_keyboard(dialog)
        self.answer("Return")
        wait_until(lambda: self.sheets() == [], "the panel without a sheet")

    def sheets(self):
        """The titles of those on the screen."""
        return [dialog.get_name() for dialog in self.launcher.find_all("dialog")
                if has_state(dialog, Atspi.StateType.SHOWING)]

    def assert_nothing_shows(self):
        stays(lambda: self.sheets() == [], "the panel without a sheet")

    def test_from_the_button_to_the_end(self):
        self.open_panel()
        path = f"{SAMPLE_SUITE}/Applications/Kelvandor/Purgel.app"
        start = time.monotonic()
        process = self.start_run(path)
        ask_root("signal", process, signal.SIGSTOP)  # while its three seconds are looked at
        self.wait_for_progress()
        ask_root("signal", process, signal.SIGCONT)
        self.wait_for_the_end(limit=60)
        self.assertLess(time.monotonic() - start, 60, "told by the tool, not by the timer")
        wait_until(lambda: not pathlib.Path(f"/proc/{process}").exists(), "the tool's end")
        self.assertEqual(os.listdir(f"{SAMPLE_SUITE}/Library/Caches"), [])
        self.wait_for_log("User started Purgel", "Asking user what to do...", "Purgel confirmed",
                          f"Launching Purgel at {path}/Contents/MacOS/Purgel")

    def test_cancel_at_the_confirmation(self):
        self.open_panel()
        self.launcher.press("alt+p")
        self.wait_for_keyboard(self.wait_for_sheet("Warning", CONFIRMATION))
        self.answer("Escape")
        self.wait_for_log("User started Purgel", "User cancelled Purgel")
        self.assert_nothing_shows()

    def test_refused_rights_leave_a_log_line(self):
        ask_root("polkit_answers", "NO")
        self.open_panel()
        self.confirm()
        self.wait_for_log("Purgel confirmed", "Error: authorization failed or application cannot be found")
        self.assert_nothing_shows()
        # It can be asked for again.
        ask_root("polkit_answers", "YES")
        self.start_run(f"{SAMPLE_SUITE}/Applications/Kelvandor/Purgel.app")
        self.wait_for_the_end()

    def test_cancel_stops_the_suites_processes(self):
        suite = self.suite()
        ask_root("start_siblings")
        self.addCleanup(ask_root, "end_siblings")
        self.open_panel(root=suite)
        process = self.start_run(f"{suite}/Applications/Kelvandor/Purgel.app")
        self.wait_for_progress()
        xdotool("key", "Return")  # one too many
        stays(lambda: self.sheets() == [REPAIRING], "the progress sheet")
        self.answer("Escape")
        expected = {name: -signal.SIGTERM for name in SIBLINGS} | {"Bystander": None}
        wait_until(lambda: ask_root("siblings") == expected, "the end of the suite's processes alone")
        wait_until(lambda: not pathlib.Path(f"/proc/{process}").exists(), "the tool's end")
        post_the_end()
        self.assert_nothing_shows()

    def test_asks_once_for_the_run_and_its_end(self):
        suite = self.suite()
        executable = f"{suite}/Applications/Kelvandor/Purgel.app/Contents/MacOS/Purgel"
        ask_root("polkit_answers", "AUTH_ADMIN_KEEP")
        ask_root("start_siblings")
        self.addCleanup(ask_root, "end_siblings")
        self.open_panel(root=suite)
        ask_root("start_agent", self.launcher.process.pid)
        self.addCleanup(ask_root, "end_agent")
        self.confirm()
        self.assertIn(ADMINISTRATOR, ask_root("question"))
        # The panel can be worked with while the question is open.
        wait_until(lambda: self.sheets() == [], "the panel without a sheet")
        self.assertIn(("Sort by Group", False), self.launcher.menu_items("View"))
        self.launcher.choose("View", "Sort by Group")
        wait_until(lambda: ("Sort by Group", True) in self.launcher.menu_items("View"), "the other order")
        self.assertEqual(roots_processes(executable), [])
        self.assertEqual(ask_root("transcript"), "")
        ask_root("answer")
        [process] = wait_until(lambda: roots_processes(executable), f"root's process of {executable}")
        self.wait_for_progress()
        self.answer("Escape")
        expected = {name: -signal.SIGTERM for name in SIBLINGS} | {"Bystander": None}
        wait_until(lambda: ask_root("siblings") == expected, "the end of the suite's processes alone")
        wait_until(lambda: not pathlib.Path(f"/proc/{process}").exists(), "the tool's end")
        self.assertEqual(ask_root("transcript"), "", "no second question")
        post_the_end()
        self.assert_nothing_shows()

    def test_a_tool_of_a_hidden_group(self):
        suite = self.suite()
        home = ToolRoot(self).home(hiddenGroups=["Kelvandor"])
        self.open_panel(root=suite, home=home)
        self.assertEqual(self.launcher.tool_count(), "0 tools · 1 group hidden")
        self.start_run(f"{suite}/Applications/Kelvandor/Purgel.app")
        self.wait_for_progress()
        post_the_end()
        self.wait_for_the_end()

    def test_of_several_the_one_of_the_group_wins_and_failing_it_the_last(self):
        for tools, chosen in (([("A", "Ostendel"), ("B", "Kelvandor"), ("C", "Pelliden")], "B"),
                              ([("A", "Ostendel"), ("B", "kelvandor"), ("C", "Pelliden")], "C")):
            with self.subTest(chosen):
                suite = self.suite(chosen, tools)
                self.open_panel(root=suite)
                self.start_run(f"{suite}/Applications/{chosen}/Purgel.app")
                self.wait_for_progress()
                post_the_end()
                self.wait_for_the_end()
                self.launcher.end()

    def test_without_a_notification_it_takes_a_minute(self):
        suite = self.suite()
        self.open_panel(root=suite)
        start = time.monotonic()
        process = self.start_run(f"{suite}/Applications/Kelvandor/Purgel.app")
        self.wait_for_progress()
        self.wait_for_the_end(limit=90)
        self.assertGreaterEqual(time.monotonic() - start, 60)
        self.assertTrue(pathlib.Path(f"/proc/{process}").exists(), "the tool goes on")

    def test_a_second_run_is_ended_by_the_timer_of_the_first(self):
        suite = self.suite()
        path = f"{suite}/Applications/Kelvandor/Purgel.app"
        self.open_panel(root=suite)
        begin = time.monotonic()
        first = self.start_run(path)
        self.wait_for_progress()
        post_the_end()
        self.wait_for_the_end()
        ask_root("signal", first, signal.SIGKILL)
        wait_until(lambda: not pathlib.Path(f"/proc/{first}").exists(), "the first tool's end")
        stays(lambda: self.sheets() == [], "a pause", seconds=10)
        self.start_run(path)
        second = time.monotonic()
        self.wait_for_progress()
        self.wait_for_the_end(limit=90)
        self.assertGreaterEqual(time.monotonic() - begin, 60)
        self.assertLess(time.monotonic() - second, 58)

    def test_the_program_ends_while_a_sheet_is_up(self):
        suite = self.suite()
        for ended in (False, True):
            with self.subTest("complete" if ended else "progress"):
                self.open_panel(root=suite)
                self.start_run(f"{suite}/Applications/Kelvandor/Purgel.app")
                self.wait_for_progress()
                if ended:
                    post_the_end()
                    self.wait_for_sheet(*COMPLETE)
                self.launcher.process.terminate()
                self.assertEqual(self.launcher.wait_for_exit(), 0)
                ask_root("end_tools")


if __name__ == "__main__":
    unittest.main()
