"""The authentication agent of a login session, as a desktop runs one: answers all questions with one password.

    session_agent.py SESSION

reads the password as a line (an empty one: every question is turned away), says "ready", and then writes down each
question as a line of JSON. Further lines name operations of polkit's that it is to call for the session, and whose
answer it writes down.
"""

import json
import pwd
import subprocess
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

PATH = "/test/Agent"
AUTHORITY = "org.freedesktop.PolicyKit1.Authority"


def say(value):
    print(json.dumps(value), flush=True)


class Agent(dbus.service.Object):
    def __init__(self, bus, password):
        super().__init__(bus, PATH)
        self._password = password

    @dbus.service.method("org.freedesktop.PolicyKit1.AuthenticationAgent", in_signature="sssa{ss}sa(sa{sv})",
                         out_signature="", async_callbacks=("done", "failed"))
    def BeginAuthentication(self, action, message, icon, details, cookie, identities, done, failed):
        say({"action": action, "message": message, "details": details})
        if not self._password:
            failed(dbus.DBusException("not now", name="org.freedesktop.PolicyKit1.Error.Cancelled"))
            return
        administrator = pwd.getpwuid(identities[0][1]["uid"]).pw_name
        helper = subprocess.Popen(["/usr/lib/polkit-1/polkit-agent-helper-1", administrator],
                                  stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        helper.stdin.write(f"{cookie}\n{self._password}\n".encode())
        helper.stdin.close()
        GLib.child_watch_add(helper.pid, lambda *_: done())

    @dbus.service.method("org.freedesktop.PolicyKit1.AuthenticationAgent", in_signature="s", out_signature="")
    def CancelAuthentication(self, cookie):
        pass


def ask(polkit):
    """The operation that a line names, for the session; its answer is a line, too."""
    operation = sys.stdin.readline().strip()
    say(str(getattr(polkit, operation)(("unix-session", {"session-id": sys.argv[1]}))))
    return bool(operation)


def main():
    password = sys.stdin.readline().rstrip("\n")
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SystemBus()
    agent = Agent(bus, password)
    polkit = dbus.Interface(bus.get_object("org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority"),
                            AUTHORITY)
    polkit.RegisterAuthenticationAgent(("unix-session", {"session-id": sys.argv[1]}), "C", PATH)
    say("ready")
    GLib.io_add_watch(sys.stdin.fileno(), GLib.IO_IN, lambda *_: ask(polkit))
    GLib.MainLoop().run()
    del agent


if __name__ == "__main__":
    main()
