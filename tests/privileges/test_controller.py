"""The suite's file operations with administrator rights, by a real polkit, pkexec and helper."""

import os
import re
import unittest

from agent import Session
from driver import Driver
from private_system import PASSWORD, USER, Bus, Polkit, wait_until
from recording_tool import ToolFolder
from test_authorization import GRANTED_BY_RULE, MESSAGE, REFUSED_BY_RULE

FAILED = "Authorization failed. Invalid username or password"
NOT_AUTHORIZED, NO_SUCH_TOOL = -1, -2

setUpModule = Bus.start


class ControllerTest(unittest.TestCase):
    rules = ""

    def setUp(self):
        Polkit.start(self.rules)
        self.tools = ToolFolder()
        self.tool = self.tools.add("recorder")
        self.place = self.tools.path / "place"  # root's
        self.place.mkdir(mode=0o755)
        self.driver = Driver(self)

    def failures_logged(self):
        """How often the suite's log speaks of one."""
        (log,) = (self.driver.home / "Library/Logs/Vantorel").glob("*.1.log")
        return len(re.findall(rf"(?m) - {FAILED}$", log.read_text(encoding="utf-8")))

    def start_with(self, password):
        return self.driver.rights_with_password(password=password, command="startWithUser")

    def add(self, name, text="text"):
        path = self.place / name
        path.write_text(text, encoding="utf-8")
        return path

    def wait_for(self, *conditions):
        for condition in conditions:
            wait_until(condition, "the tool's work")


class FilesTest(ControllerTest):
    rules = GRANTED_BY_RULE

    def tearDown(self):
        wait_until(lambda: not self.driver.children(), "the end of all tools")
        self.assertEqual(self.driver.console, [])

    def test_removes(self):
        file = self.add("a file")
        folder = self.place / "folder"
        (folder / "deep").mkdir(parents=True)
        for item in (file, folder):
            self.assertEqual(self.driver.ask("remove", item), 1)
            self.wait_for(lambda: not item.exists())

    def test_trashes(self):
        trash = self.driver.home / ".Trash"
        item = self.add("a.txt", "first")
        self.assertEqual(self.driver.ask("trash", item), 1)
        self.wait_for((trash / "a.txt").exists, lambda: not item.exists())
        self.assertEqual((trash.owner(), trash.stat().st_mode & 0o7777), (USER, 0o700))
        self.assertEqual(((trash / "a.txt").owner(), (trash / "a.txt").read_text()), ("root", "first"))

        item = self.add("a.txt", "second")
        self.assertEqual(self.driver.ask("trash", item), 1)
        self.wait_for(lambda: len(list(trash.iterdir())) == 2, lambda: not item.exists())
        other = next(path for path in trash.iterdir() if path.name != "a.txt")
        self.assertRegex(other.name, r"\Aa_\d{14}\.txt\Z")
        self.assertEqual(other.read_text(), "second")

    def test_trashes_contents(self):
        names = {"one", "line\nbreak", os.fsdecode(b"\xff\xfe"), "-rf"}
        for name in names:
            self.add(name)
        self.assertEqual(self.driver.ask("trashContents", self.place), 1)
        self.wait_for(lambda: set(os.listdir(self.driver.home / ".Trash")) >= names,
                      lambda: not os.listdir(self.place))

    def test_moves(self):
        item = self.add("item")
        self.assertEqual(self.driver.ask("move", item, self.place / "moved"), 1)
        self.wait_for((self.place / "moved").exists, lambda: not item.exists())
        other = self.tools.path / "other"
        other.mkdir()
        self.assertEqual(self.driver.ask("moveContents", self.place, other), 1)
        self.wait_for((other / "moved").exists, lambda: not os.listdir(self.place))

    def test_copies(self):
        item = self.add("item")
        os.chown(item, 0, 42)
        os.utime(item, (1, 1))
        copy = self.place / "copy"
        self.assertEqual(self.driver.ask("copy", item, copy), 1)
        self.wait_for(lambda: copy.exists() and copy.stat().st_mtime == 1 and copy.stat().st_gid == 42)
        self.assertEqual((copy.read_text(), copy.owner(), item.exists()), ("text", "root", True))

    def test_makes_folders(self):
        folder = self.place / "new/folder"
        self.assertEqual(self.driver.ask("makeFolder", folder), 1)
        self.wait_for(folder.is_dir)
        self.assertEqual(folder.owner(), "root")

    def test_handles_two_hundred_items(self):
        for number in range(200):
            self.add(f"{number}")
        other = self.tools.path / "other"
        other.mkdir()
        self.assertEqual(self.driver.ask("moveContents", self.place, other), 1)
        self.wait_for(lambda: len(os.listdir(other)) == 200, lambda: not os.listdir(self.place))

    def test_takes_a_folder_it_may_not_read_for_an_empty_one(self):
        item = self.add("item")
        self.place.chmod(0o700)
        self.assertEqual(self.driver.ask("trashContents", self.place), 1)
        self.assertEqual(self.driver.ask("moveContents", self.place, self.tools.path), 1)
        self.assertTrue(item.exists())
        self.assertEqual(self.driver.children(), [])

    def test_runs_tools(self):
        self.assertEqual(self.driver.ask("exec", "end", self.tool, "word"), 0)
        self.assertEqual(self.tools.record("recorder")["arguments"][1:], [b"word"])
        self.assertEqual(self.tools.record("recorder")["user"], [0, 0, 0])


class GuardTest(ControllerTest):
    """What the guard refuses does not reach the helper, and what the helper refuses is reported."""

    rules = GRANTED_BY_RULE

    def test_refuses_system_folders(self):
        tools = "rm", "mv", "cp", "mkdir"
        for name in tools:  # should anything get through
            self.tools.stand_in_for(self, f"/usr/bin/{name}")
        for command, verb in (("remove", "delete path"), ("trash", "trash path"), ("move", "move path"),
                              ("trashContents", "trash folder contents of path"),
                              ("moveContents", "move contents of path")):
            for path in ("/", self.driver.home, "/Applications"):
                self.assertEqual(self.driver.ask(command, path, "/elsewhere"), 0)
                self.assertEqual(self.driver.console.pop(),
                                 f"Unable to {verb} {path} because it is a system directory.")
        self.assertEqual(self.driver.ask("isHeld"), 0)  # nobody was asked either
        self.assertEqual(self.driver.ask("remove", "/usr"), 0)  # the helper alone knows this one
        self.assertEqual([self.tools.record(name) for name in tools], [None] * len(tools))
        # The helper takes them for tools, so there would be a record.
        item = self.add("item")
        self.assertEqual(self.driver.ask("remove", item), 1)
        self.wait_for(lambda: self.tools.record("rm"))
        self.assertEqual(self.driver.ask("move", item, self.place / "moved"), 1)
        self.wait_for(lambda: self.tools.record("mv"))


class RefusedTest(ControllerTest):
    rules = REFUSED_BY_RULE

    def test_has_no_rights(self):
        item = self.add("item")
        self.assertEqual(self.driver.ask("start"), 0)
        self.assertEqual(self.driver.ask("exec", "end", self.tool), NOT_AUTHORIZED)
        self.assertEqual(self.driver.ask("remove", item), 0)
        self.assertTrue(item.exists())
        self.assertIsNone(self.tools.record("recorder"))
        self.assertEqual(self.driver.ask("isHeld"), 0)

    def test_looks_for_the_tool_first(self):
        self.assertEqual(self.driver.ask("exec", "start", "/missing"), NO_SUCH_TOOL)
        self.assertEqual(self.driver.console, ["Unable to execute task: path /missing doesn't exist"])


class PasswordTest(ControllerTest):
    def test_is_right(self):
        self.assertEqual(self.start_with(PASSWORD), 1)
        self.assertEqual(self.driver.ask("isHeld"), 1)
        for _ in range(2):  # nobody could be asked again
            self.assertEqual(self.driver.ask("exec", "end", self.tool), 0)
        self.assertEqual(self.driver.ask("end"), 0)
        self.assertEqual(self.driver.ask("isHeld"), 0)
        self.assertEqual(self.driver.ask("exec", "end", self.tool), NOT_AUTHORIZED)
        self.assertEqual(self.driver.console, [])
        self.assertEqual(self.failures_logged(), 0)

    def test_is_wrong(self):
        self.assertEqual(self.start_with(PASSWORD), 1)
        for failures, password in enumerate(("wrong", PASSWORD + "\n", ""), 1):
            self.assertEqual(self.start_with(password), 0)
            self.assertEqual(self.driver.ask("isHeld"), 0)
            self.assertEqual(self.driver.console.pop(), FAILED)
            self.assertEqual(self.failures_logged(), failures)
        self.assertEqual(self.driver.ask("exec", "end", self.tool), NOT_AUTHORIZED)

    def test_is_not_asked_for_without_polkit(self):
        Polkit.stop()
        self.assertEqual(self.start_with(PASSWORD), 0)
        self.assertEqual(self.driver.console, ["Unable to create authRef - error -60008"])
        self.assertEqual(self.driver.ask("exec", "end", self.tool), NOT_AUTHORIZED)

    def test_is_in_no_memory(self):
        self.driver.assert_password_is_forgotten("startWithUser", PASSWORD, 1)
        self.driver.assert_password_is_forgotten("startWithUser", PASSWORD[::-1], 0)


class ExpiryTest(ControllerTest):
    """polkit is started anew, which has forgotten everything, as when the time is up."""

    def assert_expired(self, console):
        Polkit.start(self.rules)
        self.assertEqual(self.driver.ask("exec", "end", self.tool), NOT_AUTHORIZED)
        self.assertEqual(self.driver.ask("isHeld"), 0)
        self.assertIsNone(self.tools.record("recorder"))
        self.assertEqual(self.driver.console, console)

    def test_takes_the_way_of_those_without_rights(self):
        self.assertEqual(self.start_with(PASSWORD), 1)
        self.assert_expired([])

    def test_says_so_where_nobody_can_be_asked(self):
        self.assertEqual(self.start_with(PASSWORD), 1)
        self.assertEqual(self.driver.ask("silent"), 0)
        self.assert_expired(["Unable to authorize"])


class AgentTest(ControllerTest):
    """With the agent of a desktop."""

    def setUp(self):
        self.session = Session(self)
        super().setUp()
        self.session.take_in(self.driver.process.pid)
        self.session.start_agent()


class SessionTest(AgentTest):
    def test_asks_once_and_names_the_tool(self):
        self.assertEqual(self.driver.ask("exec", "end", self.tool, "one"), 0)
        question = self.session.question()
        self.assertEqual(question["message"], f"{MESSAGE} {self.tool}")
        self.assertEqual(question["details"]["polkit.subject-pid"], str(self.driver.process.pid))
        self.assertEqual(self.driver.ask("exec", "end", self.tool, "two"), 0)
        self.assertEqual(self.tools.record("recorder")["arguments"][1:], [b"two"])
        self.assertFalse(self.session.was_asked())

    def test_names_the_tool_of_a_file_operation(self):
        item = self.add("harmless\n\nreally")
        self.assertEqual(self.driver.ask("remove", item), 1)
        self.assertEqual(self.session.question()["message"], f"{MESSAGE} /bin/rm")
        self.wait_for(lambda: not item.exists())

    def test_asks_again_when_the_right_has_expired(self):
        self.assertEqual(self.driver.ask("start"), 1)
        self.assertEqual(self.session.question()["message"], MESSAGE)
        self.session.ask_polkit("RevokeTemporaryAuthorizations")
        self.assertEqual(self.driver.ask("exec", "end", self.tool), 0)
        self.assertEqual(self.session.question()["message"], f"{MESSAGE} {self.tool}")
        self.assertEqual(self.driver.ask("isHeld"), 1)


class UnkeptTest(AgentTest):
    """Where a rule keeps polkit from keeping the right."""

    rules = GRANTED_BY_RULE.replace("Result.YES", "Result.AUTH_ADMIN")

    def test_asks_for_each_run(self):
        for_right, for_run = f"{MESSAGE} {self.tool}", f"{MESSAGE} {self.tool} word"
        for questions in ((for_right, for_right, for_run), (for_right, for_run)):
            self.assertEqual(self.driver.ask("exec", "end", self.tool, "word"), 0)
            for question in questions:
                self.assertEqual(self.session.question()["message"], question)
            self.assertFalse(self.session.was_asked())

    def test_runs_nothing_by_a_password_given_before(self):
        self.assertEqual(self.start_with(PASSWORD), 1)
        self.assertEqual(self.driver.ask("exec", "end", self.tool), NOT_AUTHORIZED)
        self.assertEqual(self.driver.ask("isHeld"), 0)
        self.assertIsNone(self.tools.record("recorder"))
        self.assertFalse(self.session.was_asked())


if __name__ == "__main__":
    unittest.main()
