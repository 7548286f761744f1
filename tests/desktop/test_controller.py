"""The sample controller's window, and what workers make it show: the sample worker, and the commands that
docs/SUITE.md gives to try it."""

import contextlib
import os
import pathlib
import re
import signal
import socket
import subprocess
import threading
import unittest

from gi.repository import Gio, GLib

from launcher_driver import PROGRAM, DesktopTest, application_of, below
from windows import wait_until

PRODUCTS = pathlib.Path(PROGRAM).parents[3]
TOP = pathlib.Path(__file__).resolve().parents[2]
NAME = "com.vantorel.VTVarnClientCallback"
OBJECT = "/com/vantorel/VTVarnClientCallback"
INTERFACE = "com.vantorel.VTOSTLErrorCallbackProtocol"
LIMIT = 20  # seconds; who waits for an answer that never comes does so for 25


def call(member, arguments=None, interface=INTERFACE):
    """Calls a method of the controller and waits for the answer."""
    return Gio.bus_get_sync(Gio.BusType.SESSION).call_sync(
        NAME, OBJECT, interface, member, arguments, None, Gio.DBusCallFlags.NO_AUTO_START, LIMIT * 1000, None)


def work(*messages):
    """Runs the worker to its end; what it prints."""
    return subprocess.run([PRODUCTS / "SampleWorker", *messages], stdout=subprocess.PIPE, text=True,
                          timeout=LIMIT, check=True).stdout


class Controller:
    """A running controller, seen through the accessibility tree."""

    def __init__(self, *arguments, environment=None):
        self.process = subprocess.Popen([PRODUCTS / "SampleController", *arguments], stderr=subprocess.PIPE,
                                        text=True, env={**os.environ, **(environment or {})})
        self._application = None

    def end(self):
        self.process.kill()
        self.process.communicate()

    def _find_application(self):
        if self.process.poll() is not None:
            raise AssertionError(f"the controller ended with {self.process.returncode}")
        return application_of(self.process.pid)

    def _part(self, role):
        return wait_until(lambda: next((part for part in below(self._application)
                                        if part.get_role_name() == role), None), f"a {role}")

    def shown(self):
        """What the window says: the state, the steps done, the errors."""
        self._application = self._application or wait_until(self._find_application, "the controller's window")
        errors = self._part("text")
        return (self._part("label").get_name(), self._part("progress bar").get_current_value(),
                errors.get_text(0, errors.get_character_count()).splitlines())

    def wait_until_shown(self, state, steps, *errors):
        expected = (state, steps, list(errors))
        try:
            wait_until(lambda: self.shown() == expected, str(expected), limit=LIMIT)
        except AssertionError as error:
            raise AssertionError(f"{error}; but {self.shown()}") from None


class CutOffBus:
    """The session bus by another address, at which it can go away."""

    def __init__(self, path):
        self.address = f"unix:path={path}"
        self._target = re.match("unix:path=([^,]*)", os.environ["DBUS_SESSION_BUS_ADDRESS"]).group(1)
        self._sockets = [socket.socket(socket.AF_UNIX)]
        self._sockets[0].bind(path)
        self._sockets[0].listen()
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                client, _ = self._sockets[0].accept()
            except OSError:
                return  # cut off
            server = socket.socket(socket.AF_UNIX)
            server.connect(self._target)
            self._sockets += [client, server]
            for ends in [(client, server), (server, client)]:
                threading.Thread(target=self._forward, args=ends, daemon=True).start()

    @staticmethod
    def _forward(source, target):
        with contextlib.suppress(OSError):  # cut off
            while data := source.recv(65536):
                target.sendall(data)

    def cut(self):
        for end in self._sockets:
            with contextlib.suppress(OSError):  # the other side may have left
                end.shutdown(socket.SHUT_RDWR)
            end.close()


class ControllerTest(DesktopTest):
    def setUp(self):
        # Where a worker that runs as root has its log; an ordinary user's worker makes its own folder.
        pathlib.Path(os.environ["VANTOREL_ROOT"], "Library/Logs/Vantorel").mkdir(parents=True, exist_ok=True)

    def start(self, *arguments, **options):
        controller = Controller(*arguments, **options)
        self.addCleanup(controller.end)
        controller.wait_until_shown("Waiting for a worker.", 0)
        return controller

    def test_shows_steps_errors_and_the_end(self):
        controller = self.start("5")
        self.assertEqual(work("step", "step"), "")
        controller.wait_until_shown("Working…", 2)
        work("text=cannot copy")
        controller.wait_until_shown("There was an error.", 2, "SampleWorker: cannot copy")
        work("error=disk full", "step")
        errors = ["SampleWorker: cannot copy", "SampleWorker: description: disk full"]
        controller.wait_until_shown("Working…", 3, *errors)
        work("finished")
        controller.wait_until_shown("The task has ended.", 5, *errors)
        work("disconnect")
        controller.wait_until_shown("The worker has left.", 5, *errors)

        # The next task starts anew, and takes more steps than it said.
        work("step")
        controller.wait_until_shown("Working…", 1, *errors)
        work(*["step"] * 6, "disconnect", "step", "step")
        controller.wait_until_shown("Working…", 2, *errors)

    def test_shows_text_that_is_not_utf8(self):
        controller = self.start()
        work(b"text=cannot copy /a/\xff")
        controller.wait_until_shown("There was an error.", 0, "SampleWorker: cannot copy /a/\ufffd")

    def test_shows_errors_without_a_sender(self):
        controller = self.start()
        call("postErrorString", GLib.Variant("(s)", ("plain",)))
        call("postError", GLib.Variant("(v)", (GLib.Variant("s", "any"),)))
        call("postError", GLib.Variant("(v)", (GLib.Variant("i", 7),)))
        another = {"another": GLib.Variant("s", "key")}
        call("postErrorStringUserInfo", GLib.Variant("(sa{sv})", ("of whom", another)))
        controller.wait_until_shown("There was an error.", 0, "plain", "any", "An error of the kind i", "of whom")

    def test_the_documentations_commands_work(self):
        text = (TOP / "docs/SUITE.md").read_text(encoding="utf-8")
        section = re.search(r"^## Message ports\n(.*?)^## ", text, re.DOTALL | re.MULTILINE).group(1)
        lines = re.findall(r"^    (.*)$", section, re.MULTILINE)
        commands = "\n".join(lines).replace("\\\n", "").replace("build/", f"{PRODUCTS}/").splitlines()
        self.assertEqual([pathlib.Path(command.split()[0]).name for command in commands],
                         ["SampleController", "SampleWorker", "busctl"])
        controller = self.start(*commands[0].split()[1:])
        for command in commands[1:]:
            before = controller.shown()
            subprocess.run(command, shell=True, timeout=LIMIT, check=True)
            wait_until(lambda: controller.shown() != before, command)

    def test_has_the_methods_that_are_described(self):
        self.start()
        described = (TOP / "packaging" / f"{INTERFACE}.xml").read_text(encoding="utf-8")
        own = call("Introspect", interface="org.freedesktop.DBus.Introspectable").unpack()[0]

        def methods(xml):
            interface = Gio.DBusNodeInfo.new_for_xml(xml).lookup_interface(INTERFACE)
            return {method.name: ([argument.signature for argument in method.in_args], method.out_args,
                                  Gio.DBusAnnotationInfo.lookup(method.annotations,
                                                                "org.freedesktop.DBus.Method.NoReply"))
                    for method in interface.methods}

        self.assertEqual(methods(own), methods(described))
        self.assertEqual(len(methods(own)), 7)

    def test_a_second_one_ends(self):
        self.start()
        second = Controller()
        self.addCleanup(second.end)
        self.assertEqual(second.process.wait(LIMIT), 1)
        self.assertIn("another controller has the port", second.process.stderr.read())

    def test_says_when_the_bus_has_gone(self):
        bus = CutOffBus(os.path.join(os.environ["XDG_RUNTIME_DIR"], "cut-off-bus"))
        controller = self.start(environment={"DBUS_SESSION_BUS_ADDRESS": bus.address})
        bus.cut()
        controller.wait_until_shown("The session bus has gone. Nobody will report any more.", 0)

    def test_a_worker_goes_on_without_a_controller_and_with_one_that_hangs(self):
        self.assertEqual(work("step", "text=nobody listens", "disconnect"), "")
        controller = self.start()
        controller.process.send_signal(signal.SIGSTOP)
        self.assertEqual(work("step"), "Exception in +[VTTaskNotification postIncrementProgress]. "
                                       f"NSPortTimeoutException - nobody answers at {OBJECT}.\n")
        controller.process.send_signal(signal.SIGCONT)
        work("step")
        controller.wait_until_shown("Working…", 1)


if __name__ == "__main__":
    unittest.main()
