"""The policy that is installed: exactly the one that was agreed upon, and polkit understands it."""

import os
import pathlib
import stat
import unittest

import dbus

from private_system import ACTION, HELPER, POLICY, Bus, Polkit

AUTH_ADMIN_KEEP = 4
GOLDEN = pathlib.Path(__file__).with_name("com.vantorel.launcher.policy.golden")


class PolicyTest(unittest.TestCase):
    def test_is_the_golden_one(self):
        self.assertEqual(pathlib.Path(POLICY).read_text(encoding="utf-8"), GOLDEN.read_text(encoding="utf-8"))

    def test_is_understood(self):
        Bus.start()
        Polkit.start()
        authority = dbus.SystemBus().get_object("org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority")
        for locale, description, message in (
                ("C", "Remove, move and copy files", "The Launcher wants to change files"),
                ("de_DE.UTF-8", "Dateien des Systems entfernen", "Der Launcher möchte mit Administratorrechten"),
                ("fr_FR.UTF-8", "Supprimer, déplacer et copier", "Le Launcher veut modifier des fichiers")):
            actions = authority.EnumerateActions(locale, dbus_interface="org.freedesktop.PolicyKit1.Authority")
            action = next(action for action in actions if action[0] == ACTION)
            self.assertTrue(action[1].startswith(description), action[1])
            self.assertTrue(action[2].startswith(message), action[2])
            self.assertEqual(action[6:9], (AUTH_ADMIN_KEEP,) * 3)
            self.assertEqual(action[9]["org.freedesktop.policykit.exec.path"], HELPER)

    def test_files_are_roots_alone(self):
        for path in (POLICY, HELPER, os.path.dirname(HELPER)):
            status = os.stat(path)
            self.assertEqual((status.st_uid, stat.S_IMODE(status.st_mode) & 0o6022), (0, 0), path)


if __name__ == "__main__":
    unittest.main()
