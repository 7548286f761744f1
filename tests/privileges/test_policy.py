"""The policy that is installed: exactly the one that was agreed upon, and polkit understands it."""

import os
import pathlib
import stat
import subprocess
import unittest

from private_system import ACTION, HELPER, POLICY, Bus, Polkit

GOLDEN = pathlib.Path(__file__).with_name("com.vantorel.launcher.policy.golden")


class PolicyTest(unittest.TestCase):
    def test_is_the_golden_one(self):
        self.assertEqual(pathlib.Path(POLICY).read_text(encoding="utf-8"), GOLDEN.read_text(encoding="utf-8"))

    def test_is_understood(self):
        Bus.start()
        Polkit.start()
        for locale, description in (("C.UTF-8", "Remove, move and copy"), ("de_DE.UTF-8", "Dateien des Systems"),
                                    ("fr_FR.UTF-8", "Supprimer, déplacer")):
            text = subprocess.run(["pkaction", "--action-id", ACTION, "--verbose"], check=True, stdout=subprocess.PIPE,
                                  env={"PATH": "/usr/bin", "LANG": locale}).stdout.decode()
            self.assertEqual(text.count("auth_admin_keep"), 3)
            self.assertIn(HELPER, text)
            if locale == "C.UTF-8":
                self.assertIn(description, text)

    def test_files_are_roots_alone(self):
        for path in (POLICY, HELPER, os.path.dirname(HELPER)):
            status = os.stat(path)
            self.assertEqual((status.st_uid, stat.S_IMODE(status.st_mode) & 0o6022), (0, 0), path)


if __name__ == "__main__":
    unittest.main()
