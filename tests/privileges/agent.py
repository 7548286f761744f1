"""Somebody who answers polkit's questions, on a terminal of his own."""

import fcntl
import json
import os
import pathlib
import pty
import pwd
import select
import subprocess
import sys
import termios

from private_system import PASSWORD, USER, run, wait_until


class Agent:
    def __init__(self, test, process):
        user = pwd.getpwnam(USER)
        self._terminal, terminal = pty.openpty()
        os.chown(os.ttyname(terminal), user.pw_uid, user.pw_gid)
        ready, notice = os.pipe()
        self._process = subprocess.Popen(
            ["pkttyagent", "--process", str(process), "--notify-fd", str(notice)],
            stdin=terminal, stdout=terminal, stderr=terminal, pass_fds=[notice], start_new_session=True, cwd="/",
            env={"PATH": "/usr/bin:/bin", "LANG": "C.UTF-8"},
            preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0),
            user=user.pw_uid, group=user.pw_gid, extra_groups=[])
        os.close(terminal)
        os.close(notice)
        os.read(ready, 1)  # its end: the agent is known to polkit
        os.close(ready)
        test.addCleanup(os.close, self._terminal)
        test.addCleanup(self.end)

    def end(self):
        self._process.kill()
        self._process.wait()

    def transcript(self, until=None, limit=30):
        """What is on the terminal by now, or up to the text."""
        text = b""
        while select.select([self._terminal], [], [], limit if until else 0)[0]:
            text += os.read(self._terminal, 4096)
            if until and until in text:
                return text.decode()
        if until:
            raise AssertionError(f"no {until} in {text}")
        return text.decode()

    def question(self):
        """The next one, which stays open."""
        question = self.transcript(b"Password: ")
        wait_until(lambda: not termios.tcgetattr(self._terminal)[3] & termios.ECHO, "a blind terminal")
        return question

    def type(self, password):
        """Answers the open question."""
        os.write(self._terminal, password.encode() + b"\n")
        self.transcript(b"====\r\n\x1b[0m")  # the end of the colour, too

    def answer(self, password):
        """Types it when it is asked for; the question."""
        question = self.question()
        self.type(password)
        return question


class Session:
    """A login session of the user's, with the agent of a desktop. To be made before polkit is started."""

    NAME = "vt1"

    def __init__(self, test):
        user = pwd.getpwnam(USER)
        self._user = user
        self._group = pathlib.Path("/run/session-group")
        path = f"/user.slice/user-{user.pw_uid}.slice/session-{self.NAME}.scope"
        self._group.write_text(f"1:name=systemd:{path}\n0::{path}\n", encoding="utf-8")
        texts = {f"sessions/{self.NAME}":
                     f"UID={user.pw_uid}\nUSER={USER}\nACTIVE=1\nSTATE=active\nTYPE=x11\nCLASS=user\n",
                 f"users/{user.pw_uid}": f"NAME={USER}\nSTATE=active\nDISPLAY={self.NAME}\nSESSIONS={self.NAME}\n",
                 "seats/.none": ""}
        for name, text in texts.items():
            file = pathlib.Path("/run/systemd", name)
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(text, encoding="utf-8")
        test.addCleanup(run, "rm", "-r", "/run/systemd")
        self._test = test

    def take_in(self, process):
        """Whoever asks for the process's session is told this one."""
        place = f"/proc/{process}/cgroup"
        run("mount", "--bind", self._group, place)
        self._test.addCleanup(run, "umount", place)

    def start_agent(self, password=PASSWORD):
        agent = self._agent = subprocess.Popen(
            [sys.executable, pathlib.Path(__file__).with_name("session_agent.py"), self.NAME], stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, bufsize=0, cwd="/", env={"PATH": "/usr/bin:/bin"}, user=self._user.pw_uid,
            group=self._user.pw_gid, extra_groups=[])
        self._test.addCleanup(self._end, agent)
        self.take_in(self._agent.pid)
        self._agent.stdin.write(password.encode() + b"\n")
        self._test.assertEqual(self.question(), "ready")

    def question(self):
        return json.loads(self._agent.stdout.readline())

    def ask_polkit(self, operation):
        self._agent.stdin.write(operation.encode() + b"\n")
        return self.question()

    def was_asked(self):
        return bool(select.select([self._agent.stdout], [], [], 0)[0])

    @staticmethod
    def _end(agent):
        agent.kill()
        agent.wait()
        agent.stdin.close()
        agent.stdout.close()
