"""The suite's file operations in a process of root's own, which needs no polkit."""

import os
import unittest

from driver import Driver
from private_system import wait_until
from recording_tool import ToolFolder


class RootTest(unittest.TestCase):
    def test_handles_ten_thousand_items(self):
        folder = ToolFolder().path
        driver = Driver(self, {"HOME": str(folder), "VANTOREL_ROOT": str(folder)}, user="root")
        source = folder / "source"
        source.mkdir()
        (folder / "destination").mkdir()
        names = {f"item\n{number}" for number in range(10_000)}
        for name in names:
            (source / name).touch()
        driver.send("moveContents", source, folder / "destination")
        self.assertEqual(driver.answer(limit=200), 1)
        wait_until(lambda: not os.listdir(source), "the end of all moves")
        self.assertEqual(set(os.listdir(folder / "destination")), names)
        wait_until(lambda: not driver.children(), "the end of all tools")
        self.assertLess(len(driver.descriptors()), 20)
        self.assertEqual(driver.console, [])


if __name__ == "__main__":
    unittest.main()
