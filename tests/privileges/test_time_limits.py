"""What does not get on: it is given up in time."""

import os
import pathlib
import time
import unittest

from driver import NOT_STARTED, UNAVAILABLE, Driver
from private_system import ADMINISTRATOR, HELPER, Bus, Polkit, wait_until
from test_authorization import GRANTED_BY_RULE

setUpModule = Bus.start


class TimeLimitsTest(unittest.TestCase):
    def test_gives_up(self):
        """Both at once: a helper that never gets ready, and a polkit that stops while PAM is at work."""
        Polkit.start(GRANTED_BY_RULE)
        runner = Driver(self)
        asker = Driver(self, user=ADMINISTRATOR)  # the rule does not grant it to him
        for driver in (runner, asker):
            self.assertEqual(driver.ask("create"), 0)
        self.assertEqual(runner.ask("rights"), 0)
        os.rename(HELPER, HELPER + ".away")
        helper = pathlib.Path(HELPER)
        helper.write_text("#!/bin/sh\nexec sleep 600\n", encoding="utf-8")
        helper.chmod(0o755)

        begin = time.monotonic()
        runner.send("run", "end", "no", "/bin/true")
        wait_until(lambda: any(self.name_of(child) == "sleep" for child in runner.children()), "the helper")
        asker.send("rights", ADMINISTRATOR, 5, followed_by=b"wrong")
        wait_until(lambda: any(self.name_of(child).startswith("polkit-agent") for child in asker.children()), "PAM")
        Polkit.freeze()
        self.assertEqual(runner.answer(limit=90), NOT_STARTED)
        self.assertEqual(asker.answer(limit=150), UNAVAILABLE)
        self.assertLess(time.monotonic() - begin, 150)

    @staticmethod
    def name_of(process):
        try:
            return pathlib.Path(f"/proc/{process}/comm").read_text().strip()
        except FileNotFoundError:
            return ""


if __name__ == "__main__":
    unittest.main()
