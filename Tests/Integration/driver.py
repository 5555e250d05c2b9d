"""Drives the program that does transfers with the library."""

import base64
import json
import os
import pathlib
import select
import subprocess
import tempfile
import time
import unittest

PROGRAM = os.environ["CORVANE_TRANSFER_DRIVER"]
# Far beyond what any step takes; a hang becomes a failure.
PATIENCE = 120


class Outcome:
    def __init__(self, report):
        self.report = report
        self.status = report["status"]
        self.error = report["errorDomain"] and (report["errorDomain"], report["errorCode"])
        self.message = report["errorMessage"]
        self.file = report["file"] and pathlib.Path(report["file"])
        self.body = base64.b64decode(report.get("body", ""))
        self.progress = report["progress"]
        self.peak = report["peakMemoryKiB"] * 1024

    def __str__(self):
        return json.dumps(self.report)[:3000]


class Driver:
    """One process of the program, with a temporary directory of its own."""

    def __init__(self, *trust, temporary=None, through=()):
        """`through` is a command that runs the program, and may change what its directory is."""
        self.own = None if temporary else tempfile.TemporaryDirectory(prefix="corvane-integration-")
        self.temporary = pathlib.Path(temporary or self.own.name)
        self.buffer = b""
        self.process = subprocess.Popen([*through, PROGRAM, *map(str, trust)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0,
                                        env={**os.environ, "TMPDIR": str(self.temporary)})

    def start(self, action, url, **values):
        values = {name: str(value) if isinstance(value, pathlib.Path) else value for name, value in values.items()}
        self.process.stdin.write(json.dumps({"action": action, "url": url, **values}).encode() + b"\n")

    def wait_until_under_way(self):
        return self.message()["isUnderWay"]

    def finish(self):
        while "isUnderWay" in (message := self.message()):
            pass
        return Outcome(message)

    def do(self, action, url, **values):
        self.start(action, url, **values)
        return self.finish()

    def message(self):
        deadline = time.monotonic() + PATIENCE
        while b"\n" not in self.buffer:
            if not select.select([self.process.stdout], [], [], max(0, deadline - time.monotonic()))[0]:
                self.process.kill()
                raise AssertionError("the program does not end what it was told to do")
            more = self.process.stdout.read(1 << 20)
            if not more:
                raise AssertionError("the program ended: " + self.process.stderr.read().decode(errors="replace"))
            self.buffer += more
        line, _, self.buffer = self.buffer.partition(b"\n")
        return json.loads(line)

    def files(self):
        """What is in its temporary directory, as it sees it itself."""
        seen = pathlib.Path(f"/proc/{self.process.pid}/root{self.temporary}")
        return sorted(path.relative_to(seen) for path in seen.rglob("*"))

    def stop(self):
        """Lets it end by itself; a program that cannot is a failure."""
        try:
            _, problems = self.process.communicate(timeout=PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            raise
        finally:
            if self.own:
                self.own.cleanup()
        if self.process.returncode != 0 or problems:
            raise AssertionError(f"exit status {self.process.returncode}: {problems.decode(errors='replace')}")


class TransferTest(unittest.TestCase):
    """A test with a driver; the checks say everything there is to know when they fail."""

    def drive(self, *trust, **options):
        driver = Driver(*trust, **options)
        self.addCleanup(driver.stop)
        return driver

    def check_whole(self, outcome, size, status=200):
        """The transfer succeeded, and its progress ended with all bytes of the body."""
        self.assertEqual((outcome.status, outcome.error), (status, ""), str(outcome))
        if size:
            self.assertGreaterEqual(outcome.progress["calls"], 1, str(outcome))
            self.assertEqual((outcome.progress["completed"], outcome.progress["total"]), (size, size), str(outcome))
            self.assertEqual((outcome.progress["fraction"], outcome.progress["everWentBack"]), (1, False), str(outcome))

    def check_nothing_left(self, driver):
        self.assertEqual(driver.files(), [])
