"""The program that uses the Launcher's administrator rights, as the ordinary user."""

import pathlib
import pwd
import select
import subprocess
import tempfile

import private_system
from private_system import DRIVER, USER, run

DENIED, DISMISSED, UNAVAILABLE, NOT_STARTED = -60005, -60006, -60008, -60031


def hexadecimal(word):
    return (word if isinstance(word, bytes) else str(word).encode()).hex() or "-"


class Driver:
    def __init__(self, test, environment=None, user=USER, **options):
        user = pwd.getpwnam(user)
        self.home = pathlib.Path(user.pw_dir)
        self.console = []  # what it was told, line by line
        self.process = subprocess.Popen(
            [DRIVER], stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0, cwd="/",
            env={"PATH": "/usr/bin:/bin", "HOME": user.pw_dir} | (environment or {}),
            user=user.pw_uid, group=user.pw_gid, extra_groups=[], **options)
        test.addCleanup(self.end)
        self._answers = b""

    @property
    def folder(self):
        return pathlib.Path(f"/proc/{self.process.pid}")

    def end(self):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.kill()
        self.process.wait()

    def send(self, *words, followed_by=b""):
        self.process.stdin.write(" ".join(map(hexadecimal, words)).encode() + b"\n" + followed_by)

    def _line(self, limit):
        while b"\n" not in self._answers:
            if not select.select([self.process.stdout], [], [], limit)[0]:
                raise AssertionError("no answer")
            chunk = self.process.stdout.read(4096)
            if not chunk:
                raise AssertionError(f"the driver has ended: {self.process.wait()}")
            self._answers += chunk
        line, _, self._answers = self._answers.partition(b"\n")
        return line

    def answer(self, limit=90):
        while (line := self._line(limit)).startswith(b"console "):
            self.console.append(bytes.fromhex(line.split()[1].decode()).decode())
        return int(line)

    def answers_now(self):
        return bool(self._answers or select.select([self.process.stdout], [], [], 0)[0])

    def ask(self, *words, **options):
        self.send(*words, **options)
        return self.answer()

    def rights_with_password(self, user=private_system.ADMINISTRATOR, password=private_system.PASSWORD,
                             command="rights"):
        return self.ask(command, user, len(password.encode()), followed_by=password.encode())

    def run(self, *words, until="end", asking="no"):
        return self.ask("run", until, asking, *words)

    def children(self):
        """Of all its threads; those that have ended and wait to be collected included."""
        children = []
        for task in (self.folder / "task").iterdir():
            try:
                children += (task / "children").read_text().split()
            except FileNotFoundError:
                pass  # a thread that has ended
        return children

    def descriptors(self):
        return sorted(path.name for path in (self.folder / "fd").iterdir())

    def assert_password_is_forgotten(self, command, password, result):
        """Asks with the password, which is answered so; no part of it is left in memory then."""
        # Until its last letter has come it is to be found; so the search would find it afterwards.
        self.send(command, private_system.ADMINISTRATOR, len(password))
        self.process.stdin.write(password[:-1].encode())
        private_system.wait_until(lambda: self.memory_holds(password[:-1].encode()), "the password in memory")
        self.process.stdin.write(password[-1:].encode())
        assert self.answer() == result
        with tempfile.NamedTemporaryFile() as memory:
            memory.writelines(self.memory())
            memory.flush()
            # As UTF-8 and as UTF-16.
            texts = [run("strings", "--all", "--encoding", width, memory.name) for width in "Sl"]
        for part in (password, password[:12], password[-12:]):
            assert not self.memory_holds(part.encode()) and not self.memory_holds(part.encode("utf-16-le")), part
            assert not any(part.encode() in text for text in texts), part
        assert self.memory_holds(private_system.ADMINISTRATOR.encode())
        assert private_system.ADMINISTRATOR.encode() in texts[0]

    def memory_holds(self, text):
        return any(text in part for part in self.memory())

    def memory(self):
        """What can be read of it, one mapping after the other."""
        with open(self.folder / "mem", "rb", buffering=0) as memory:
            for line in (self.folder / "maps").read_text().splitlines():
                span, rights = line.split()[:2]
                if rights.startswith("r") and not line.endswith(("[vvar]", "[vsyscall]", "[vvar_vclock]")):
                    start, end = (int(number, 16) for number in span.split("-"))
                    try:
                        memory.seek(start)
                        yield memory.read(end - start)
                    except OSError:
                        pass  # gone since it was listed
