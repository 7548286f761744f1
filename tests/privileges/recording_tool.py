"""Tools for the tests: they write down how they were called, and do nothing else."""

import json
import os
import pathlib
import shutil
import tempfile

RECORDER = """#!/usr/bin/python3 -I
import json, os, signal, sys
arguments = [os.fsencode(argument).hex() for argument in sys.argv]
descriptors = {}
for name in os.listdir("/proc/self/fd"):
    try:
        descriptors[name] = os.readlink("/proc/self/fd/" + name)
    except FileNotFoundError:
        pass  # the one by which they are listed
with open("/proc/self/status") as status:
    blocked = next(line.split()[1] for line in status if line.startswith("SigBlk"))
record = {"arguments": arguments, "environment": dict(os.environ), "descriptors": descriptors, "folder": os.getcwd(),
          "umask": os.umask(0), "user": os.getresuid(), "group": os.getresgid(), "blocked": int(blocked, 16)}
draft = "@RECORD@.draft"
with open(draft, "w") as file:
    json.dump(record, file)
os.rename(draft, "@RECORD@")
"""


class ToolFolder:
    """A folder of root's alone, with tools that record in it."""

    def __init__(self):
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="tools-", dir="/usr/local"))
        self.path.chmod(0o755)

    def add(self, name, text=None):
        tool = self.path / name
        tool.write_text(text or RECORDER.replace("@RECORD@", str(self.record_of(name))), encoding="utf-8")
        tool.chmod(0o755)
        return str(tool)

    def stand_in_for(self, test, tool):
        """Until the test is over, a tool that records is in the place of one of the system's."""
        away = f"{tool}.away"
        os.rename(tool, away)
        test.addCleanup(os.replace, away, tool)
        shutil.copy(self.add(os.path.basename(tool)), tool)

    def record_of(self, name):
        return self.path / f"{name}.record"

    def forget(self, name):
        self.record_of(name).unlink(missing_ok=True)

    def record(self, name):
        """How the tool was called; None when it was not."""
        try:
            record = json.loads(self.record_of(name).read_text(encoding="utf-8"))
        except FileNotFoundError:
            return None
        record["arguments"] = [bytes.fromhex(argument) for argument in record["arguments"]]
        return record
