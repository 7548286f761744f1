"""Administrator rights, from the request to the tool, by a real polkit and a real pkexec."""

import os
import pwd
import resource
import time
import unittest

from agent import Agent, Session
from driver import DENIED, DISMISSED, NOT_STARTED, UNAVAILABLE, Driver
from private_system import ACTION, ADMINISTRATOR, HELPER, PASSWORD, RULES, USER, Bus, Polkit, run, wait_until
from recording_tool import ToolFolder

GRANTED_BY_RULE = f"""polkit.addRule(function (action, subject) {{
    if (action.id == "{ACTION}" && subject.user == "{USER}") {{ return polkit.Result.YES; }}
}});
"""
REFUSED_BY_RULE = GRANTED_BY_RULE.replace("Result.YES", "Result.NO")
MESSAGE = ("The Launcher wants to change files or run repair tools with administrator rights. "
           f"For the next few minutes it will not ask again. Command: {HELPER}")

FUTEX = {"x86_64": "202", "aarch64": "98"}[os.uname().machine]  # the system call

setUpModule = Bus.start


class AuthorizationTest(unittest.TestCase):
    rules = ""

    def setUp(self):
        Polkit.start(self.rules)
        self.tools = ToolFolder()
        self.tool = self.tools.add("recorder")
        self.driver = Driver(self)

    def assert_runs(self, *arguments, **options):
        self.tools.forget("recorder")
        self.assertEqual(self.driver.run(self.tool, *arguments, **options), 0)
        record = wait_until(lambda: self.tools.record("recorder"), "the tool's record")
        self.assertEqual((record["user"], record["group"]), ([0, 0, 0], [0, 0, 0]))
        return record

    def assert_does_not_run(self, status, *arguments, **options):
        self.tools.forget("recorder")
        self.assertEqual(self.driver.run(self.tool, *arguments, **options), status)
        self.assertIsNone(self.tools.record("recorder"))

    def take_all_places(self):
        """By eight tools that nobody waits for, and that wait for a line from the gate each."""
        gate, log = self.tools.path / "gate", self.tools.path / "log"
        os.mkfifo(gate)
        log.touch()
        waiting = self.tools.add("waiting", f"#!/bin/sh\necho start >>{log}\nread line <{gate}\necho end >>{log}\n")
        for _ in range(8):
            self.assertEqual(self.driver.run(waiting, until="start"), 0)
        wait_until(lambda: log.read_text().split() == ["start"] * 8, "eight starts")
        return waiting, gate, log

    def send_the_ninth(self, tool):
        wait_until(lambda: len(self.driver.children()) == 8, "the end of all others")
        self.driver.send("run", "start", "no", tool)

        def has_decided():
            """The ninth waits for its turn, or is started."""
            call = (self.driver.folder / "syscall").read_text().split()[0]
            return call == FUTEX or len(self.driver.children()) > 8

        wait_until(has_decided, "the ninth")
        self.assertFalse(self.driver.answers_now())
        self.assertEqual(len(self.driver.children()), 8)


class GrantedTest(AuthorizationTest):
    rules = GRANTED_BY_RULE

    def setUp(self):
        super().setUp()
        self.assertEqual(self.driver.ask("create"), 0)

    def test_needs_the_right_first(self):
        self.assert_does_not_run(DENIED)

    def test_grants_by_rule_and_runs_as_root(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        self.assert_runs()
        self.assertEqual(self.driver.ask("free"), 0)
        self.assert_does_not_run(DENIED)

    def test_does_what_the_user_may_not(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        place = self.tools.path / "place"
        place.mkdir(mode=0o700)
        (place / "file").write_text("text")
        for words in (("/bin/cp", "-f", "-p", "-R", place / "file", place / "copy"),
                      ("/bin/mv", "-f", place / "file", place / "moved"),
                      ("/bin/rm", "-Rdf", place / "copy"),
                      ("/bin/mkdir", "-p", place / "new/folder"),
                      ("/usr/sbin/chown", "-R", USER, place / "new")):
            self.assertEqual(self.driver.run(*words), 0)
        self.assertEqual(sorted(path.name for path in place.iterdir()), ["moved", "new"])
        self.assertEqual((place / "moved").read_text(), "text")
        self.assertEqual((place / "new/folder").owner(), USER)

    def test_passes_exactly_the_arguments(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        arguments = [b"-Rdf", b"", b"two words", b"a\nb\tc", b"\xff\xfe", b"$(id) `id` ; & | * ? ~ \\ ' \"", b"--",
                     b"-"]
        record = self.assert_runs(*arguments)
        self.assertEqual(record["arguments"][1:], arguments)

    def test_passes_128_kib_of_arguments(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        arguments = [b"%04d" % number + b"x" * 1020 for number in range(128)]
        self.assertEqual(self.assert_runs(*arguments)["arguments"][1:], arguments)
        # One argument that the system itself does not pass, and a zero byte, which ends an argument.
        self.assert_does_not_run(NOT_STARTED, b"x" * 131072)
        self.assert_does_not_run(NOT_STARTED, b"a\0b")

    def test_gives_the_tool_surroundings_of_its_own(self):
        self.driver = Driver(self, {"LD_PRELOAD": "/nonexistent.so", "LD_LIBRARY_PATH": "/tmp", "PATH": "/tmp",
                                    "IFS": "/", "BASH_ENV": "/tmp/x", "ENV": "/tmp/x", "LC_ALL": "de_DE.UTF-8",
                                    "LANG": "../../x", "SHELL": "/tmp/x", "VANTOREL_ROOT": "/tmp", "HOME": "/tmp",
                                    "PYTHONPATH": "/tmp", "TMPDIR": "/nowhere"})
        self.assertEqual(self.driver.ask("create"), 0)
        self.assertEqual(self.driver.ask("rights"), 0)
        record = self.assert_runs()
        self.assertEqual(record["environment"], {
            "PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "HOME": "/root", "USER": "root", "LOGNAME": "root",
            "SHELL": "/bin/sh", "LANG": "C.UTF-8", "PKEXEC_UID": str(pwd.getpwnam(USER).pw_uid)})
        self.assertEqual(record["folder"], "/")
        self.assertEqual(record["blocked"], 0)

    def test_returns_at_once_or_when_the_output_ends(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        gate = self.tools.path / "gate"
        os.mkfifo(gate)
        end = self.tools.path / "end"
        waiting = self.tools.add("waiting", f"#!/bin/sh\necho output\nread line <{gate}\ntouch {end}\n")
        self.assertEqual(self.driver.run(waiting, until="start"), 0)
        self.assertFalse(end.exists())
        gate.write_text("\n")
        wait_until(end.exists, "the tool's end")

        end.unlink()
        self.driver.send("run", "end", "no", waiting)
        gate.write_text("\n")  # waits for the tool to listen
        self.assertEqual(self.driver.answer(), 0)
        self.assertTrue(end.exists())

    def test_drains_closes_and_collects(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        before = self.driver.descriptors()
        end = self.tools.path / "end"
        chatty = self.tools.add("chatty", f"#!/bin/sh\nhead -c 3000000 /dev/zero\ntouch {end}\n")
        for until in ("start", "end"):
            self.assertEqual(self.driver.run(chatty, until=until), 0)
            wait_until(end.exists, "the end of what the tool writes")
            end.unlink()
        wait_until(lambda: not self.driver.children(), "the end of all children")
        wait_until(lambda: self.driver.descriptors() == before, "the end of all pipes")

    def test_loses_no_descriptors_when_there_are_none_left(self):
        statuses = set()
        for number in range(5, 20):
            driver = Driver(self, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (number, number)))
            if driver.ask("create") != 0 or driver.ask("rights") != 0:
                continue
            before = driver.descriptors()
            statuses.add(driver.run("/bin/true"))
            wait_until(lambda: driver.descriptors() == before, "the end of all pipes")
        self.assertGreaterEqual(statuses, {0, NOT_STARTED})

    def test_runs_eight_at_a_time(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        waiting, gate, log = self.take_all_places()
        self.assert_runs(until="end")  # what is waited for takes no place
        self.send_the_ninth(waiting)
        with open(gate, "w") as lines:
            lines.write("\n" * 9)
            lines.flush()
            self.assertEqual(self.driver.answer(), 0)
            wait_until(lambda: log.read_text().split().count("end") == 9, "nine ends")
        self.assertEqual(log.read_text().split()[8], "end")
        wait_until(lambda: not self.driver.children(), "the end of all children")

    def test_reports_what_does_not_start(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        os.chmod(self.tool, 0o644)
        self.assert_does_not_run(NOT_STARTED)
        os.chmod(self.tool, 0o757)
        self.assert_does_not_run(NOT_STARTED)
        self.assertEqual(self.driver.run("/nonexistent/tool"), NOT_STARTED)
        self.assertEqual(self.driver.run("bin/true"), NOT_STARTED)
        remove = self.tools.add("rm")
        self.assertEqual(self.driver.run(remove, "-Rdf", "/usr/"), NOT_STARTED)
        self.assertIsNone(self.tools.record("rm"))
        self.assertEqual(self.driver.run("/usr/bin/false", until="start"), 0)  # it has started

    def test_needs_the_helper_where_it_is_installed(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        os.rename(HELPER, HELPER + ".away")
        self.addCleanup(os.rename, HELPER + ".away", HELPER)
        self.assert_does_not_run(UNAVAILABLE)
        self.assertEqual(self.driver.ask("rights"), UNAVAILABLE)
        self.assertEqual(self.driver.ask("create"), UNAVAILABLE)

    def test_needs_pkexec(self):
        os.rename("/usr/bin/pkexec", "/usr/bin/pkexec.away")
        self.addCleanup(os.rename, "/usr/bin/pkexec.away", "/usr/bin/pkexec")
        self.assertEqual(self.driver.ask("rights"), UNAVAILABLE)

    def test_needs_polkit(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        Polkit.stop()
        self.assert_does_not_run(UNAVAILABLE)
        self.assertEqual(self.driver.ask("create"), UNAVAILABLE)

    def test_gives_up_on_a_polkit_that_does_not_answer(self):
        Polkit.freeze()
        start = time.monotonic()
        self.assertEqual(self.driver.ask("create"), UNAVAILABLE)
        self.assertLess(time.monotonic() - start, 30)

    def test_survives_the_end_of_the_bus(self):
        self.assertEqual(self.driver.rights_with_password(), 0)
        Bus.stop()
        self.addCleanup(Bus.start)
        self.assertEqual(self.driver.rights_with_password(), UNAVAILABLE)
        self.assertEqual(self.driver.ask("create"), UNAVAILABLE)


class RefusedTest(AuthorizationTest):
    rules = REFUSED_BY_RULE

    def test_refuses_by_rule(self):
        self.assertEqual(self.driver.ask("create"), 0)
        self.assertEqual(self.driver.ask("rights"), DENIED)
        self.assertEqual(self.driver.rights_with_password(), DENIED)
        self.assert_does_not_run(DENIED)


class PasswordTest(AuthorizationTest):
    def setUp(self):
        super().setUp()
        self.assertEqual(self.driver.ask("create"), 0)

    def test_is_denied_without_an_agent(self):
        self.assertEqual(self.driver.ask("rights"), DENIED)
        self.assert_does_not_run(DENIED, asking="ask")

    def test_grants_by_password_and_holds(self):
        self.assertEqual(self.driver.rights_with_password(), 0)
        self.assert_runs()
        self.assert_runs()  # nobody could be asked again
        self.assert_runs(until="start")

    def test_refuses_others(self):
        self.assertEqual(self.driver.rights_with_password(password="wrong"), DENIED)
        self.assertEqual(self.driver.rights_with_password(password=""), DENIED)
        self.assertEqual(self.driver.rights_with_password(user=USER), DENIED)
        self.assertEqual(self.driver.rights_with_password(user="nobody-of-that-name"), DENIED)
        self.assertEqual(self.driver.rights_with_password(user="root"), DENIED)
        self.assert_does_not_run(DENIED)

    def test_refuses_what_only_begins_with_the_password(self):
        for ending in ("\n", "\njunk", "\0", "\0junk", "x"):
            with self.subTest(ending):
                self.assertEqual(self.driver.rights_with_password(password=PASSWORD + ending), DENIED)
                self.assertEqual(self.driver.rights_with_password(user=ADMINISTRATOR + ending), DENIED)
        self.assert_does_not_run(DENIED)

    def test_is_gone_once_freed(self):
        self.assertEqual(self.driver.rights_with_password(), 0)
        self.assertEqual(self.driver.ask("free"), 0)
        self.assert_does_not_run(DENIED)
        # polkit lets nobody revoke what an agent of the process's own has obtained. It helps nobody, though.
        self.assertEqual(self.driver.ask("create"), 0)
        self.assertEqual(self.driver.ask("rights"), DENIED)
        self.assertEqual(self.driver.rights_with_password(password="wrong"), DENIED)
        self.assert_does_not_run(DENIED)
        self.assertEqual(self.driver.rights_with_password(), 0)
        self.assert_runs()
        wait_until(lambda: not self.driver.children(), "the end of all children")

    def test_is_asked_anew_in_the_name_of_another(self):
        """polkit keeps what the password has obtained, but that is not what grants the next request."""
        self.assertEqual(self.driver.rights_with_password(), 0)
        self.assertEqual(self.driver.ask("free"), 0)
        self.assertEqual(self.driver.ask("create"), 0)
        self.assertEqual(self.driver.ask("rights"), DENIED)
        (RULES / "10-others.rules").write_text(
            GRANTED_BY_RULE.replace("subject.user ==", f"subject.pid != {self.driver.process.pid} && subject.user =="))
        other = Driver(self)
        self.assertEqual(other.ask("create"), 0)
        wait_until(lambda: other.ask("rights") == 0, "polkit to have read the rule")
        self.assertEqual(self.driver.ask("rights"), 0)
        self.assert_runs()

    def test_asks_polkit_each_time(self):
        self.assertEqual(self.driver.rights_with_password(), 0)
        self.assert_runs()
        Polkit.start(self.rules)  # has forgotten everything, as when the time is up
        self.assert_does_not_run(DENIED)
        self.assert_does_not_run(DENIED, asking="ask")  # there is nobody to ask

    def test_holds_for_this_process_alone(self):
        self.assertEqual(self.driver.rights_with_password(), 0)
        other = Driver(self)
        self.assertEqual(other.ask("create"), 0)
        self.assertEqual(other.ask("rights"), DENIED)

    def test_leaves_no_password_in_memory(self):
        self.driver.assert_password_is_forgotten("rights", PASSWORD, 0)
        self.driver.assert_password_is_forgotten("rights", PASSWORD[::-1], DENIED)

    def test_needs_the_library_that_speaks_to_pam(self):
        self.assertEqual(self.driver.rights_with_password(password="wrong"), DENIED)
        library = next(line.split()[-1] for line in (self.driver.folder / "maps").read_text().splitlines()
                       if line.endswith("/vt_password_agent.so"))
        folder = os.path.dirname(library)
        run("mount", "-t", "tmpfs", "tmpfs", folder)
        self.addCleanup(run, "umount", folder)
        other = Driver(self)
        self.assertEqual(other.ask("create"), 0)
        self.assertEqual(other.rights_with_password(), UNAVAILABLE)
        self.assertTrue(other.console[0].startswith("Unable to load vt_password_agent.so"), other.console)

    def test_refuses_what_only_begins_with_the_longest_password(self):
        longest = "Wexelblatt-" * 46 + "Quorn"
        self.addCleanup(run, "chpasswd", input=f"{ADMINISTRATOR}:{PASSWORD}\n".encode())
        run("chpasswd", input=f"{ADMINISTRATOR}:{longest}\n".encode())
        for ending in ("x", "junk"):
            self.assertEqual(self.driver.rights_with_password(password=longest + ending), DENIED)
        self.assertEqual(self.driver.rights_with_password(password=longest), 0)

    def test_takes_a_thousand_letters(self):
        self.assertEqual(self.driver.rights_with_password(password="x" * 1000), DENIED)
        self.assertEqual(self.driver.rights_with_password(), 0)


class AgentTest(AuthorizationTest):
    """With an agent as a desktop has one, which asks on a terminal."""

    def setUp(self):
        super().setUp()
        self.agent = Agent(self, self.driver.process.pid)
        self.assertEqual(self.driver.ask("create"), 0)

    def test_asks_once_and_holds(self):
        self.driver.send("rights")
        question = self.agent.answer(PASSWORD)
        self.assertIn("The Launcher wants to change files or run repair tools with administrator rights.", question)
        self.assertIn(ADMINISTRATOR, question)
        self.assertEqual(self.driver.answer(), 0)
        self.assert_runs()
        self.assert_runs(asking="ask")
        self.assertEqual(self.agent.transcript(), "")

    def test_is_denied_by_a_wrong_password(self):
        self.driver.send("rights")
        self.agent.answer("wrong")
        self.assertEqual(self.driver.answer(), DENIED)
        self.assert_does_not_run(DENIED)

    def test_asks_again_when_the_right_has_lapsed(self):
        self.driver.send("rights")
        self.agent.answer(PASSWORD)
        self.assertEqual(self.driver.answer(), 0)
        self.agent.end()
        Polkit.start(self.rules)
        self.agent = Agent(self, self.driver.process.pid)
        self.assert_does_not_run(DENIED)
        self.assertEqual(self.agent.transcript(), "")
        self.driver.send("run", "end", "ask", self.tool, "word")
        self.agent.answer(PASSWORD)
        self.assertEqual(self.driver.answer(), 0)
        self.assertEqual(self.tools.record("recorder")["arguments"][1:], [b"word"])


class DismissedTest(AuthorizationTest):
    """With an agent that turns every question away."""

    def test_is_dismissed(self):
        session = Session(self)
        Polkit.start()
        session.take_in(self.driver.process.pid)
        session.start_agent(password="")
        self.assertEqual(self.driver.ask("create"), 0)
        self.assertEqual(self.driver.ask("rights"), DISMISSED)
        session.question()
        self.assert_does_not_run(DENIED)


class SessionTest(AuthorizationTest):
    """In a login session, whose agent asks, and in which polkit lets a right be revoked."""

    def setUp(self):
        self.session = Session(self)
        super().setUp()
        self.session.take_in(self.driver.process.pid)
        self.session.start_agent()
        self.assertEqual(self.driver.ask("create"), 0)

    def test_asks_once_and_revokes(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        question = self.session.question()
        self.assertEqual(question["action"], ACTION)
        self.assertEqual(question["details"]["polkit.subject-pid"], str(self.driver.process.pid))
        self.assertEqual(question["message"], MESSAGE)
        self.assert_runs()
        self.assert_runs(asking="ask")
        self.assertFalse(self.session.was_asked())

        self.assertEqual(self.driver.ask("free"), 0)
        self.assertNotIn("tmpauthz", self.kept())
        self.assert_does_not_run(DENIED, asking="ask")
        self.assertEqual(self.driver.ask("create"), 0)
        self.assertEqual(self.driver.ask("rights"), 0)
        self.session.question()  # is asked anew
        self.assertIn("tmpauthz", self.kept())

    def kept(self):
        """What polkit keeps for the session."""
        return self.session.ask_polkit("EnumerateTemporaryAuthorizations")

    def test_asks_for_this_process_when_a_right_has_lapsed(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        self.session.question()
        self.session.ask_polkit("RevokeTemporaryAuthorizations")
        self.assert_does_not_run(DENIED)
        self.assert_runs("word\n\nThis is harmless.", asking="ask")
        question = self.session.question()
        self.assertEqual(question["action"], ACTION)
        self.assertEqual(question["message"], f"{MESSAGE} {self.tool}")  # what arguments are called says nothing
        self.assertEqual(question["details"]["polkit.subject-pid"], str(self.driver.process.pid))
        self.assertFalse(self.session.was_asked())

    def test_asks_nobody_when_the_right_lapses_while_a_place_is_waited_for(self):
        self.assertEqual(self.driver.ask("rights"), 0)
        self.session.question()
        _, gate, _ = self.take_all_places()
        self.send_the_ninth(self.tool)
        self.session.ask_polkit("RevokeTemporaryAuthorizations")
        with open(gate, "w") as lines:
            lines.write("\n" * 8)
            lines.flush()
            self.assertEqual(self.driver.answer(), DENIED)
            wait_until(lambda: not self.driver.children(), "the end of all children")
        self.assertFalse(self.session.was_asked())
        self.assertIsNone(self.tools.record("recorder"))

    def test_names_the_tool_and_runs_none(self):
        self.assertEqual(self.driver.ask("rights", self.tool), 0)
        self.assertEqual(self.session.question()["message"], f"{MESSAGE} {self.tool}")
        self.assertIsNone(self.tools.record("recorder"))
        self.assert_runs()
        self.assertFalse(self.session.was_asked())

    def test_has_the_right_although_the_tool_named_is_none(self):
        os.chmod(self.tool, 0o757)
        self.assertEqual(self.driver.ask("rights", self.tool), 0)
        self.session.question()
        self.assert_does_not_run(NOT_STARTED)

    def test_asks_about_no_tool_whose_name_could_say_anything(self):
        self.assertEqual(self.driver.ask("rights", f"{self.tool}\n\nThis is harmless."), NOT_STARTED)
        self.assertFalse(self.session.was_asked())

    def test_asks_nobody_when_a_password_is_given(self):
        self.assertEqual(self.driver.rights_with_password(), 0)
        self.assertEqual(self.driver.ask("free"), 0)
        self.assertEqual(self.driver.rights_with_password(password="wrong"), DENIED)
        self.assertEqual(self.driver.rights_with_password(), 0)
        Polkit.start()
        self.session.start_agent()
        self.assert_does_not_run(DENIED, asking="ask")
        self.assertFalse(self.session.was_asked())


if __name__ == "__main__":
    unittest.main()
