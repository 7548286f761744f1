"""A desktop session of the ordinary user's, on the machine of the test's own.

What shows on the user's display can only be read by the user, so that a script is run twice: by root, who serves it
(`run_as_user`), and inside the session, where it holds the tests and lets root do what takes root (`ask_root`).
"""

import json
import os
import pathlib
import pwd
import shutil
import socket
import subprocess
import sys

from private_system import USER, run

HERE = pathlib.Path(__file__).parent
WORLD = pathlib.Path("/usr/lib/vantorel-test")  # root's alone, read by everybody


def run_as_user(script, requests, environment):
    """Runs the script in a session; `requests` has a function for everything that is asked of root. The status."""
    user = pwd.getpwnam(USER)
    runtime = pathlib.Path(f"/run/user/{user.pw_uid}")
    runtime.mkdir(parents=True)
    runtime.chmod(0o700)
    os.chown(runtime, user.pw_uid, user.pw_gid)
    for folder in (HERE, HERE.parent / "desktop"):
        shutil.copytree(folder, WORLD / folder.name)
    run("chmod", "-R", "a+rX,go-w", WORLD)
    ours, theirs = socket.socketpair()
    process = subprocess.Popen(
        [WORLD / "desktop/session", "--limit", "560", "--login", sys.executable,
         WORLD / HERE.name / pathlib.Path(script).name, *sys.argv[1:]],
        cwd="/", pass_fds=[theirs.fileno()], user=user.pw_uid, group=user.pw_gid, extra_groups=[],
        env={"PATH": "/usr/bin:/bin", "HOME": user.pw_dir, "USER": USER, "PYTHONPATH": str(WORLD / "desktop"),
             "ROOTS_SOCKET": str(theirs.fileno()), **environment})
    theirs.close()
    with ours.makefile("rw", encoding="utf-8") as channel:
        for line in channel:
            name, *arguments = json.loads(line)
            print(json.dumps(requests[name](*arguments)), file=channel, flush=True)
    return process.wait()


_channel = None


def ask_root(name, *arguments):
    global _channel
    if _channel is None:
        _channel = socket.socket(fileno=int(os.environ["ROOTS_SOCKET"])).makefile("rw", encoding="utf-8")
    print(json.dumps([name, *arguments]), file=_channel, flush=True)
    return json.loads(_channel.readline())
