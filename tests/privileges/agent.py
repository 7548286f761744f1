"""Somebody who answers polkit's questions, on a terminal of his own."""

import fcntl
import os
import pty
import pwd
import select
import subprocess
import termios

from private_system import USER, wait_until


class Agent:
    def __init__(self, test, driver):
        user = pwd.getpwnam(USER)
        self._terminal, terminal = pty.openpty()
        os.chown(os.ttyname(terminal), user.pw_uid, user.pw_gid)
        ready, notice = os.pipe()
        self._process = subprocess.Popen(
            ["pkttyagent", "--process", str(driver.process.pid), "--notify-fd", str(notice)],
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

    def answer(self, password):
        """Types it when it is asked for; the question."""
        question = self.transcript(b"Password: ")
        wait_until(lambda: not termios.tcgetattr(self._terminal)[3] & termios.ECHO, "a blind terminal")
        os.write(self._terminal, password.encode() + b"\n")
        self.transcript(b"====\r\n")
        return question
