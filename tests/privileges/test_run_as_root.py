"""The helper that becomes a tool: what it refuses, and what it lets the tool see."""

import ctypes
import json
import os
import pathlib
import pwd
import shutil
import resource
import signal
import socket
import struct
import subprocess
import unittest

from private_system import HELPER, USER, run, wait_until
from recording_tool import ToolFolder

EX_USAGE, EX_OSERR, EX_TEMPFAIL, EX_NOPERM = 64, 71, 75, 77
PYTHON = "/usr/bin/python3"  # a tool that is no script, and a link


ACCESS_LIST = "system.posix_acl_access"


def let_write(path, user):
    """By an access list, as `setfacl -m user:USER:rwx` does."""
    everybody = 0xFFFFFFFF
    entries = ((1, 7, everybody), (2, 7, user), (4, 5, everybody), (16, 7, everybody), (32, 5, everybody))
    os.setxattr(path, ACCESS_LIST, struct.pack("<I", 2) + b"".join(struct.pack("<HHI", *entry) for entry in entries))


class HelperTest(unittest.TestCase):
    def setUp(self):
        self.tools = ToolFolder()
        self.tool = self.tools.add("recorder")
        self.user = pwd.getpwnam(USER).pw_uid

    def helper(self, *words, **options):
        return subprocess.run([HELPER, *words], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, **options)

    def assert_refused(self, *words, status=EX_NOPERM):
        result = self.helper(*words)
        self.assertEqual(result.returncode, status, result.stderr)
        self.assertEqual(result.stdout, b"")
        self.assertRegex(result.stderr, rb"\Alauncher-run-as-root\[\d+\]: [^\x00-\x1f\x7f]*\n\Z")
        self.assertEqual(list(self.tools.path.glob("*.record")), [])

    def assert_runs(self, *words):
        result = self.helper(*words)
        self.assertEqual(result.returncode, 0, result.stderr)
        name = os.path.basename(words[0])
        record = self.tools.record(name)
        self.assertIsNotNone(record)
        self.assertEqual(record["arguments"][1:], [os.fsencode(word) for word in words[1:]])
        self.tools.forget(name)
        return record


class ToolTest(HelperTest):
    """Which tools it runs."""

    def test_wants_a_tool(self):
        self.assert_refused(status=EX_USAGE)

    def test_wants_a_tool_even_without_a_name_of_its_own(self):
        child = os.fork()
        if child == 0:
            ctypes.CDLL(None).execve(HELPER.encode(), (ctypes.c_char_p * 1)(None), (ctypes.c_char_p * 1)(None))
            os._exit(1)
        self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]), EX_USAGE)

    def test_refuses_relative_paths(self):
        for path in ("recorder", "./recorder", "../bin/true", "", "~/recorder"):
            with self.subTest(path):
                result = self.helper(path, cwd=self.tools.path)
                self.assertEqual(result.returncode, EX_NOPERM)
                self.assertIsNone(self.tools.record("recorder"))

    def test_refuses_what_is_no_file(self):
        os.mkfifo(self.tools.path / "fifo")
        os.mknod(self.tools.path / "device", 0o20755, os.makedev(1, 3))
        os.symlink("loop", self.tools.path / "loop")
        for name in ("missing", "fifo", "device", "loop", "", "recorder/", "recorder/.", "recorder/..", "recorder/x",
                     "x" * 300):
            with self.subTest(name):
                self.assert_refused(f"{self.tools.path}/{name}")

    def test_refuses_tools_that_others_may_change(self):
        for mode in (0o757, 0o777, 0o4757):
            os.chmod(self.tool, mode)
            self.assert_refused(self.tool)
        os.chmod(self.tool, 0o755)
        os.chown(self.tool, self.user, 0)
        self.assert_refused(self.tool)
        os.chown(self.tool, 0, self.user)
        os.chmod(self.tool, 0o775)
        self.assert_refused(self.tool)
        os.chown(self.tool, 0, 0)
        self.assert_refused(self.tool)  # there are groups in which root is not alone, its own included
        os.chmod(self.tool, 0o755)
        self.assert_runs(self.tool)

    def test_refuses_what_an_access_list_opens(self):
        for item in (self.tool, self.tools.path):
            let_write(item, self.user)
            self.assertEqual((os.stat(item).st_uid, os.stat(item).st_gid), (0, 0))
            self.assert_refused(self.tool)
            os.removexattr(item, ACCESS_LIST)
            os.chmod(item, 0o755)
            self.assert_runs(self.tool)

    def test_refuses_tools_in_folders_that_others_may_change(self):
        for mode in (0o757, 0o777, 0o1777):
            self.tools.path.chmod(mode)
            self.assert_refused(self.tool)
        self.tools.path.chmod(0o755)
        os.chown(self.tools.path, self.user, 0)
        self.assert_refused(self.tool)
        os.chown(self.tools.path, 0, 0)
        self.assert_runs(self.tool)

    def test_refuses_tools_below_folders_that_others_may_change(self):
        deep = self.tools.path / "above/below"
        deep.mkdir(parents=True)
        tool = shutil.copy(self.tool, deep)
        (self.tools.path / "above").chmod(0o777)
        self.assert_refused(tool)
        os.chown(self.tools.path / "above", self.user, 0)
        (self.tools.path / "above").chmod(0o755)
        self.assert_refused(tool)
        # In a sticky folder nobody but root can exchange what is root's.
        os.chown(self.tools.path / "above", 0, 0)
        (self.tools.path / "above").chmod(0o1777)
        self.assertEqual(self.helper(tool).returncode, 0)

    def test_follows_links_that_are_roots(self):
        os.symlink("recorder", self.tools.path / "link")
        os.symlink(f"../{self.tools.path.name}/./link", self.tools.path / "second")
        self.assertEqual(self.helper(f"{self.tools.path}/second", "word").returncode, 0)
        self.assertEqual(self.tools.record("recorder")["arguments"][1:], [b"word"])
        self.tools.forget("recorder")
        self.assertEqual(self.helper(f"/usr/../{self.tools.path}//x/../recorder").returncode, EX_NOPERM)
        self.assertEqual(self.helper(f"/usr/bin/../../{self.tools.path}//recorder").returncode, 0)

    def test_refuses_links_that_others_may_change(self):
        open_folder = self.tools.path / "open"
        open_folder.mkdir()
        os.symlink(self.tool, open_folder / "link")
        os.symlink(open_folder / "link", self.tools.path / "roundabout")
        self.assertEqual(self.helper(f"{open_folder}/link").returncode, 0)
        self.tools.forget("recorder")
        for mode in (0o777, 0o1777):
            open_folder.chmod(mode)
            self.assert_refused(f"{open_folder}/link")
        self.assert_refused_by_way_of("roundabout", 0o777)
        open_folder.chmod(0o755)
        os.lchown(open_folder / "link", self.user, self.user)
        self.assert_refused(f"{open_folder}/link")

    def assert_refused_by_way_of(self, name, mode):
        (self.tools.path / "open").chmod(mode)
        self.assert_refused(f"{self.tools.path}/{name}")

    def test_runs_the_tool_it_has_checked(self):
        """Root itself exchanges the tool after the check, as an upgrade does: nothing runs then."""
        for original in (self.tool, shutil.copy("/usr/bin/touch", self.tools.path / "binary")):
            mark = self.tools.path / "mark"
            other = self.tools.add("other", "#!/bin/sh\ntouch '" + str(self.tools.path / "other.ran") + "'\n")
            ours, theirs = socket.socketpair()
            process = subprocess.Popen([HELPER, original, str(mark)], stdin=theirs, stderr=subprocess.DEVNULL)
            theirs.close()
            self.assertEqual(ours.recv(1), b"R")
            os.rename(other, original)
            ours.send(b"G")
            self.assertEqual(ours.recv(1), b"F")
            self.assertEqual(process.wait(), EX_OSERR)
            self.assertIsNone(self.tools.record("recorder"))
            self.assertFalse(mark.exists() or (self.tools.path / "other.ran").exists())
            ours.close()

    def test_runs_the_folder_it_has_checked(self):
        """The folders on the way are renamed after the check, and others take their place."""
        folder = self.tools.path / "folder"
        folder.mkdir()
        tool = shutil.copy(self.tool, folder / "tool")
        ours, theirs = socket.socketpair()
        process = subprocess.Popen([HELPER, tool], stdin=theirs)
        theirs.close()
        self.assertEqual(ours.recv(1), b"R")
        folder.rename(self.tools.path / "elsewhere")
        folder.mkdir()
        os.symlink("/bin/false", tool)
        ours.send(b"G")
        self.assertEqual(process.wait(), 0)
        self.assertIsNotNone(self.tools.record("recorder"))
        ours.close()

    def test_gives_the_process_the_name_of_the_tool(self):
        """So that those who signal processes by name find it, be it a script or a program."""
        gate = self.tools.path / "gate"
        os.mkfifo(gate)
        script = self.tools.add("VtWaiting", f"#!/bin/sh\nread line <{gate}\n")
        program = shutil.copy("/usr/bin/cat", self.tools.path / "VtProgram")
        link = self.tools.path / "VtLink"
        os.symlink("VtProgram", link)
        for tool, name in ((script, "VtWaiting"), (program, "VtProgram"), (link, "VtProgram")):
            process = subprocess.Popen([HELPER, tool, gate], stdin=subprocess.DEVNULL)
            wait_until(lambda: pathlib.Path(f"/proc/{process.pid}/comm").read_text().strip() == name, "its name")
            subprocess.run(["/usr/bin/killall", name], check=True)
            self.assertEqual(process.wait(), -signal.SIGTERM)

    def test_says_what_it_could_not_start(self):
        os.chmod(self.tool, 0o644)
        self.assert_refused(self.tool, status=EX_OSERR)
        bad = self.tools.add("bad", "#!/nonexistent/interpreter\n")
        self.assert_refused(bad, status=EX_OSERR)
        self.assert_refused(self.tools.add("garbage", "\x00\x01"), status=EX_OSERR)

    def test_keeps_its_refusal_on_one_line(self):
        self.assert_refused("/missing\nlauncher-run-as-root[1]: forged\x1b[31m")
        self.assert_refused("/missing" + "x" * 100000)


class SurroundingsTest(HelperTest):
    """What the tool sees."""

    def test_passes_exactly_the_arguments(self):
        self.assert_runs(self.tool)
        self.assert_runs(self.tool, "", "two words", "a\nb", os.fsdecode(b"\xff\xfe"), "$(id)`id`;&|*?~\\'\"", "--",
                         "-x")
        self.assert_runs(self.tool, *(f"{number:04}" + "x" * 1020 for number in range(128)))
        self.assert_runs(self.tool, "x" * 131071)

    def test_gives_an_environment_of_its_own(self):
        hostile = {name: "/nowhere" for name in
                   ("LD_PRELOAD", "LD_LIBRARY_PATH", "LD_AUDIT", "PATH", "IFS", "LC_ALL", "LANG", "LANGUAGE", "LOCPATH",
                    "NLSPATH", "BASH_ENV", "ENV", "SHELLOPTS", "PS4", "PYTHONPATH", "PERL5LIB", "GCONV_PATH", "TMPDIR",
                    "MALLOC_CHECK_", "GLIBC_TUNABLES", "VANTOREL_ROOT", "HOME", "USER", "SHELL", "POSIXLY_CORRECT")}
        self.assertEqual(self.helper(self.tool, env=hostile | {"PKEXEC_UID": "1234"}).returncode, 0)
        self.assertEqual(self.tools.record("recorder")["environment"], {
            "PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "HOME": "/root", "USER": "root", "LOGNAME": "root",
            "SHELL": "/bin/sh", "LANG": "C.UTF-8", "PKEXEC_UID": "1234"})

    def test_gives_standard_streams_that_are_closed(self):
        for redirection in ("0<&-", "1>&-", "2>&-", "0<&- 1>&-", "0<&- 1>&- 2>&-"):
            with self.subTest(redirection):
                subprocess.run(["/bin/sh", "-c", f'exec "$@" {redirection}', "sh", HELPER, self.tool], check=True,
                               stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                descriptors = self.tools.record("recorder")["descriptors"]
                for word in redirection.split():
                    self.assertEqual(descriptors[word[0]], "/dev/null")
                self.tools.forget("recorder")

    def test_closes_all_other_descriptors(self):
        secret = os.open("/etc/shadow", os.O_RDONLY)
        self.addCleanup(os.close, secret)
        os.dup2(secret, 900)
        self.addCleanup(os.close, 900)
        self.helper(self.tool, pass_fds=[secret, 900])
        descriptors = self.tools.record("recorder")["descriptors"]
        # The script's folder, by which its interpreter reads it.
        self.assertEqual({name for name, target in descriptors.items() if target != str(self.tools.path)},
                         {"0", "1", "2"})
        self.assertEqual(len(descriptors), 4)

        code = "import json, os; print(json.dumps(sorted(os.listdir('/proc/self/fd'))))"
        result = self.helper(PYTHON, "-I", "-c", code, pass_fds=[secret, 900])
        self.assertEqual(json.loads(result.stdout), ["0", "1", "2", "3"])  # the last reads the folder

    def test_gives_signals_folder_and_mask_as_they_are_by_default(self):
        def spoil():
            os.umask(0)
            os.chdir("/home")
            signal.signal(signal.SIGTERM, signal.SIG_IGN)
            signal.pthread_sigmask(signal.SIG_BLOCK, signal.valid_signals())

        self.assertEqual(self.helper(self.tool, preexec_fn=spoil).returncode, 0)
        record = self.tools.record("recorder")
        self.assertEqual((record["folder"], record["umask"], record["blocked"]), ("/", 0o022, 0))
        code = "import signal; print(signal.getsignal(signal.SIGTERM) == signal.SIG_DFL)"
        self.assertEqual(self.helper(PYTHON, "-I", "-c", code, preexec_fn=spoil).stdout, b"True\n")

    def test_gives_resources_and_priority_as_they_are_by_default(self):
        limits = {"FSIZE": 1000, "CPU": 1000, "NPROC": 1000, "AS": 2 << 30, "NOFILE": 100, "STACK": 4 << 20,
                  "MEMLOCK": 4096, "SIGPENDING": 100, "MSGQUEUE": 4096, "RTTIME": 1_000_000}
        numbers = {name: getattr(resource, f"RLIMIT_{name}") for name in (*limits, "RTPRIO", "NICE")}
        highest = {name: resource.getrlimit(number)[1] for name, number in numbers.items()}
        limits |= {name: highest[name] for name in ("RTPRIO", "NICE")}  # which may be none at all

        def starve():
            for name, limit in limits.items():
                resource.setrlimit(numbers[name], (limit, highest[name]))

        copy = self.tools.path / "copy"
        self.assertEqual(self.helper("/bin/cp", "/bin/bash", copy, preexec_fn=starve).returncode, 0)
        self.assertEqual(copy.stat().st_size, os.stat("/bin/bash").st_size)
        code = ("import json, resource; print(json.dumps({name: resource.getrlimit(number)[0]"
                f" for name, number in {numbers}.items()}}))")
        found = json.loads(self.helper(PYTHON, "-I", "-c", code, preexec_fn=starve).stdout)
        self.assertEqual((found.pop("NOFILE"), found.pop("STACK")), (1024, 8 << 20))
        self.assertEqual((found.pop("RTPRIO"), found.pop("NICE")), (0, 0))
        for name, limit in {"MEMLOCK": 8 << 20, "MSGQUEUE": 819200}.items():
            self.assertIn(found.pop(name), (limit, highest[name]), name)
        for name, limit in found.items():
            self.assertIn(limit, (resource.RLIM_INFINITY, highest[name]), name)
        code = "import os; print(os.nice(0))"
        self.assertEqual(self.helper(PYTHON, "-I", "-c", code, preexec_fn=lambda: os.nice(5)).stdout, b"0\n")

    def test_passes_streams_and_status_on(self):
        tool = self.tools.add("status", "#!/bin/sh\nread word\necho $word\necho error >&2\nexit 7\n")
        result = subprocess.run([HELPER, tool], input=b"word\n", capture_output=True)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (7, b"word\n", b"error\n"))


class HandshakeTest(HelperTest):
    def start(self, *words):
        ours, theirs = socket.socketpair()
        process = subprocess.Popen([HELPER, *words], stdin=theirs, stderr=subprocess.DEVNULL)
        theirs.close()
        self.addCleanup(ours.close)
        self.addCleanup(process.wait)
        return ours, process

    def test_starts_when_told_to(self):
        gate = self.tools.path / "gate"
        os.mkfifo(gate)
        tool = self.tools.add("waiting", f"#!/bin/sh\nread line <{gate}\n")
        ours, process = self.start(tool)
        self.assertEqual(ours.recv(1), b"R")
        ours.send(b"G")
        self.assertEqual(ours.recv(1), b"")  # while the tool runs
        self.assertIsNone(process.poll())
        gate.write_text("\n")

    def test_tells_of_the_right_alone(self):
        ours, process = self.start()
        self.assertEqual(ours.recv(2), b"R")
        self.assertEqual(ours.recv(1), b"")
        self.assertEqual(process.wait(), 0)

    def test_does_not_start_for_nobody(self):
        for word in (b"", b"X"):
            ours, process = self.start(self.tool)
            self.assertEqual(ours.recv(1), b"R")
            ours.send(word)
            ours.close()
            self.assertEqual(process.wait(), EX_TEMPFAIL)
            self.assertIsNone(self.tools.record("recorder"))

    def test_tells_when_it_could_not_start(self):
        os.chmod(self.tool, 0o644)
        ours, process = self.start(self.tool)
        self.assertEqual(ours.recv(1), b"R")
        ours.send(b"G")
        self.assertEqual(ours.recv(1), b"F")
        self.assertEqual(process.wait(), EX_OSERR)

    def test_says_nothing_when_it_refuses(self):
        ours, process = self.start("relative")
        self.assertEqual(ours.recv(1), b"")
        self.assertEqual(process.wait(), EX_NOPERM)

    def test_gives_the_tool_no_input(self):
        ours, process = self.start(self.tool)
        self.assertEqual(ours.recv(1), b"R")
        ours.send(b"G")
        self.assertEqual(process.wait(), 0)
        self.assertEqual(self.tools.record("recorder")["descriptors"]["0"], "/dev/null")


class ProtectedPlacesTest(HelperTest):
    """What `rm` and `mv` may not take away. Both are recorders here: a mistake costs nothing."""

    def setUp(self):
        super().setUp()
        self.remove = self.tools.add("rm")
        self.move = self.tools.add("mv")
        self.home = pwd.getpwnam(USER).pw_dir
        self.place = self.tools.path / "place"
        (self.place / "folder").mkdir(parents=True)
        (self.place / "file").touch()
        self.mount = self.place / "folder/mount point"
        self.mount.mkdir()
        run("mount", "-t", "tmpfs", "tmpfs", self.mount)
        self.addCleanup(run, "umount", self.mount)
        os.symlink("/", self.place / "top")
        os.symlink("/usr", self.place / "users")

    def protected(self):
        top = [f"/{entry.name}" for entry in os.scandir("/") if entry.is_dir()]
        return ["/", "//", "/.", "/..", "/usr/..", *top, *(f"{folder}/" for folder in top), "//usr", "/usr/.",
                "/usr/./", "/usr/bin/..", "/usr/bin/../", "/usr/../usr", "/../usr", "/proc/self/root/usr", "usr",
                "./usr", f"{self.place}/top/usr", f"{self.place}/top/",
                f"{self.place}/users/", f"{self.place}/top/home",
                f"{self.place}/../../../../etc", self.home, f"{self.home}/", f"{self.home}/.", f"{self.home}//",
                "/home", str(self.mount), f"{self.mount}/", f"{self.place}/folder", str(self.place),
                str(self.tools.path)]

    def allowed(self):
        return [f"{self.place}/file", f"{self.place}/top", f"{self.place}/users", f"{self.place}/missing",
                f"{self.home}/file", f"{self.mount}/file", "/missing", "/usr/missing", "/missing/usr", f"{self.tool}",
                "/usr/local/share", f"{self.place}/top/usr/local/share", "", f"{self.place}/file/../x"]

    def test_protects(self):
        for path in self.protected():
            with self.subTest(path):
                self.assert_refused(self.remove, "-Rdf", path)
                self.assert_refused(self.remove, "-R", "-f", path)
                self.assert_refused(self.remove, path, "-Rf")
                self.assert_refused(self.remove, "-Rf", "--", f"{self.place}/file", path)
                self.assert_refused(self.move, "-f", path, f"{self.place}/elsewhere")
                self.assert_refused(self.move, "-ft", f"{self.place}", path)
                self.assert_refused(self.move, f"--target-directory={self.place}", path)

    def test_lets_others_go(self):
        for path in self.allowed():
            with self.subTest(path):
                self.assert_runs(self.remove, "-Rdf", path)
                self.assert_runs(self.move, "-f", path, f"{self.place}/elsewhere")

    def test_lets_things_be_moved_to_protected_places(self):
        for path in ("/usr", "/home", self.home, str(self.mount)):
            self.assert_runs(self.move, "-f", f"{self.place}/file", path)

    def test_knows_homes_elsewhere(self):
        home = self.place / "homes/somebody"
        home.mkdir(parents=True)
        with open("/etc/passwd", "a", encoding="utf-8") as users:
            users.write(f"somebody:x:4711:4711::{home}:/bin/sh\n")
        self.addCleanup(run, "userdel", "somebody")
        self.assert_refused(self.remove, "-Rdf", str(home))
        self.assert_refused(self.remove, "-Rdf", str(home.parent))
        (pathlib.Path("/home") / "unlisted").mkdir()
        self.assert_refused(self.remove, "-Rdf", "/home/unlisted")

    def test_knows_the_tool_by_either_name(self):
        os.symlink("rm", self.tools.path / "harmless")
        self.assert_refused(f"{self.tools.path}/harmless", "/usr")
        self.tools.add("many")
        os.remove(self.move)
        os.symlink("many", self.move)
        self.assert_refused(self.move, "/usr", f"{self.place}/elsewhere")

    def test_leaves_other_tools_alone(self):
        for path in ("/usr", self.home):
            self.assert_runs(self.tool, "-R", path)

    def test_refuses_what_it_cannot_judge(self):
        os.symlink("round", self.place / "round")
        self.assert_refused(self.remove, "-Rdf", f"{self.place}/round/usr")
        self.assert_refused(self.remove, "-Rdf", "/usr/" + "./" * 3000)


if __name__ == "__main__":
    unittest.main()
