"""What the Launcher does from the command line, without any display."""

import json
import os
import pathlib
import plistlib
import subprocess
import tempfile
import unittest

PROGRAM = os.environ["LAUNCHER_PROGRAM"]
SAMPLE_SUITE = os.environ["LAUNCHER_SAMPLE_SUITE"]
EXPECTED = pathlib.Path(__file__).parents[2] / "samples" / "expected.json"


def expected_tools():
    """What a scan of the sample suite finds, in scan order."""
    tools = json.loads(EXPECTED.read_text(encoding="utf-8"))
    for tool in tools:
        tool["appPath"] = os.path.join(SAMPLE_SUITE, tool["appPath"])
    return tools


class CommandLineTest(unittest.TestCase):
    maxDiff = None

    def run_launcher(self, *arguments, root=SAMPLE_SUITE):
        """Runs it with nothing but a home and a root, and checks that it leaves that home alone."""
        with tempfile.TemporaryDirectory() as home:
            result = subprocess.run([PROGRAM, *arguments], stdin=subprocess.DEVNULL, capture_output=True,
                                    text=True, timeout=30,
                                    env={"HOME": home, "VANTOREL_ROOT": root, "LC_ALL": "C.UTF-8",
                                         "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent"})
            self.assertEqual(os.listdir(home), [], "no log, no stamps, no preferences")
        return result

    def new_root(self):
        root = tempfile.TemporaryDirectory()
        self.addCleanup(root.cleanup)
        return root.name

    def test_list_as_json_has_every_tool_in_scan_order(self):
        result = self.run_launcher("--list", "--json")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(json.loads(result.stdout), expected_tools())

    def test_list_has_one_line_per_tool(self):
        result = self.run_launcher("--list")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stdout.splitlines(),
                         ["\t".join([tool["title"], tool["groupName"] or "", tool["bundleID"],
                                     tool["appPath"]]) for tool in expected_tools()])

    def test_order_of_the_options_does_not_matter(self):
        self.assertEqual(self.run_launcher("--json", "--list").stdout,
                         self.run_launcher("--list", "--json").stdout)

    def test_empty_applications_folder_gives_an_empty_list(self):
        root = self.new_root()
        os.mkdir(os.path.join(root, "Applications"))
        result = self.run_launcher("--list", "--json", root=root)
        self.assertEqual((result.returncode, json.loads(result.stdout), result.stderr), (0, [], ""))
        result = self.run_launcher("--list", root=root)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

    def test_missing_applications_folder_is_said_on_standard_error(self):
        root = self.new_root()
        result = self.run_launcher("--list", "--json", root=root)
        self.assertEqual((result.returncode, json.loads(result.stdout)), (0, []))
        self.assertIn(f"Unable to get contents of directory {root}/Applications - No such file or directory",
                      result.stderr)

    def test_link_back_into_the_folder_is_said_on_standard_error(self):
        root = self.new_root()
        applications = os.path.join(root, "Applications")
        os.mkdir(applications)
        os.symlink(applications, os.path.join(applications, "Again"))
        result = self.run_launcher("--list", root=root)
        self.assertEqual((result.returncode, result.stdout), (0, ""))
        self.assertIn("Warning: Symbolic link links back to itself.", result.stderr)

    def test_version_is_the_bundle_s(self):
        information = pathlib.Path(PROGRAM).parents[1] / "Info.plist"
        version = plistlib.loads(information.read_bytes())["CFBundleShortVersionString"]
        result = self.run_launcher("--version")
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, f"Launcher {version}\n", ""))

    def test_help_names_every_option(self):
        result = self.run_launcher("--help")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        for option in ("--list", "--json", "--version", "--help", "VANTOREL_ROOT"):
            self.assertIn(option, result.stdout)

    def test_unknown_argument_is_named_and_refused(self):
        for arguments in (["--frobnicate"], ["--list", "--frobnicate"], ["typo"], ["--list", "typo"]):
            result = self.run_launcher(*arguments)
            self.assertEqual((result.returncode, result.stdout), (2, ""))
            self.assertIn(f"Launcher: unknown argument {arguments[-1]}\n", result.stderr)
            self.assertIn("Usage:", result.stderr)

    def test_json_without_list_is_refused(self):
        result = self.run_launcher("--json")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn("Launcher: unknown argument --json\n", result.stderr)

    def test_panel_without_a_display_is_refused_without_a_crash(self):
        result = self.run_launcher()
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("display", result.stderr)


if __name__ == "__main__":
    unittest.main()
