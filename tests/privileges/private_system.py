"""A machine of a test's own, in namespaces of this one.

    private_system.py BUILD DRIVER SCRIPT [ARGUMENT...]

runs a test script as root where /usr, /etc, /var, /home and /run may be changed at will: what is written there lies
in memory and is gone, with every process that was started, when the script ends in whatever way. Inside are an
ordinary user and an administrator, and the Launcher's helper and policy as `cmake --install` puts them; the
script itself starts the system bus and polkit. Where that cannot be had, it says why and ends with the status 77.
"""

import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

SKIPPED = 77
USER = "vtplain"
ADMINISTRATOR = "vtkeeper"
PASSWORD = "Quorndon-7-Wexelblatt"  # of the administrator; nothing else holds these letters
HELPER = "/usr/libexec/vantorel/launcher-run-as-root"
POLICY = "/usr/share/polkit-1/actions/com.vantorel.launcher.policy"
DRIVER = "/usr/local/bin/vt-authorization-driver"
ACTION = "com.vantorel.launcher.admin"
RULES = pathlib.Path("/etc/polkit-1/rules.d")
ADMINISTRATORS = f'polkit.addAdminRule(function () {{ return ["unix-user:{ADMINISTRATOR}"]; }});\n'
POLKIT_DAEMON = "/usr/lib/polkit-1/polkitd"


def skip(reason):
    print(f"SKIPPED: {reason}", file=sys.stderr)
    sys.exit(SKIPPED)


def run(*words, **options):
    return subprocess.run(words, check=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options).stdout


def wait_until(condition, what, limit=30):
    end = time.monotonic() + limit
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.02)


def _name_has_owner(name):
    call = subprocess.run(["dbus-send", "--system", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                           "org.freedesktop.DBus.NameHasOwner", f"string:{name}"],
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return b"true" in call.stdout


class Polkit:
    """The daemon; it forgets what it has granted when it is started anew."""

    _process = None

    @classmethod
    def start(cls, rules=""):
        cls.stop()
        for file in RULES.iterdir():
            file.unlink()
        (RULES / "00-test.rules").write_text(ADMINISTRATORS + rules, encoding="utf-8")
        cls._process = subprocess.Popen([POLKIT_DAEMON, "--no-debug"], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_until(lambda: _name_has_owner("org.freedesktop.PolicyKit1"), "polkit")

    @classmethod
    def freeze(cls):
        cls._process.send_signal(signal.SIGSTOP)

    @classmethod
    def stop(cls):
        if cls._process:
            cls._process.kill()
            cls._process.wait()
            cls._process = None
            wait_until(lambda: not _name_has_owner("org.freedesktop.PolicyKit1"), "the end of polkit")


class Bus:
    _process = None

    @classmethod
    def start(cls):
        cls._process = subprocess.Popen(["dbus-daemon", "--system", "--nofork", "--nopidfile"],
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        wait_until(lambda: _name_has_owner("org.freedesktop.DBus"), "the system bus")

    @classmethod
    def stop(cls):
        cls._process.kill()
        cls._process.wait()


def _lay_over(folder, world):
    upper, work = (world / f"{folder.strip('/')}-{part}" for part in ("upper", "work"))
    upper.mkdir()
    work.mkdir()
    run("mount", "-t", "overlay", "overlay", "-o", f"lowerdir={folder},upperdir={upper},workdir={work}", folder)


def _set_up():
    run("mount", "-t", "tmpfs", "-o", "mode=755", "tmpfs", "/run")
    run("mount", "-t", "tmpfs", "-o", "mode=755", "tmpfs", "/home")
    world = pathlib.Path("/run/world")
    world.mkdir()
    pathlib.Path("/run/dbus").mkdir()
    for folder in ("/usr", "/etc", "/var"):
        _lay_over(folder, world)
    for user in (USER, ADMINISTRATOR):
        run("useradd", "--create-home", "--shell", "/bin/bash", user)
    run("chpasswd", input=f"{ADMINISTRATOR}:{PASSWORD}\n".encode())
    # The bus would start it by itself.
    pathlib.Path("/usr/share/dbus-1/system-services/org.freedesktop.PolicyKit1.service").unlink()


def _install(build, driver):
    environment = {name: value for name, value in os.environ.items() if name != "DESTDIR"}
    subprocess.run(["cmake", "--install", build, "--component", "administrator-rights"], check=True, env=environment)
    shutil.copy(driver, DRIVER)
    os.chmod(DRIVER, 0o755)


def _inside(build, driver, *words):
    try:
        _set_up()
    except (subprocess.CalledProcessError, OSError) as failure:
        skip(f"no machine of the test's own: {failure} {getattr(failure, 'output', b'') or b''}")
    _install(build, driver)
    for name in ("DBUS_SYSTEM_BUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS", "PKEXEC_UID", "SUDO_UID"):
        os.environ.pop(name, None)
    return subprocess.run([sys.executable, *words], env=os.environ | {"PRIVATE_SYSTEM": "yes"}).returncode


def main():
    if sys.argv[1] == "--inside":
        sys.exit(_inside(*sys.argv[2:]))
    if os.geteuid() != 0:
        skip("only root can make users and mounts of the test's own")
    for program in ("/usr/bin/pkexec", POLKIT_DAEMON):
        if not os.access(program, os.X_OK):
            skip(f"{program} is not installed")
    space = ["unshare", "--mount", "--propagation", "private", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if subprocess.run([*space, "true"], stderr=subprocess.DEVNULL).returncode != 0:
        skip("namespaces of the test's own are not allowed here")
    # In the place of this process, so that whoever ends it ends everything.
    os.execvp(space[0], [*space, sys.executable, __file__, "--inside", *sys.argv[1:]])


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    main()
