"""Runs the command-line tool and looks at what it says."""

import fcntl
import json
import os
import pty
import select
import struct
import subprocess
import termios
import unittest

PROGRAM = os.environ["CORVANE_TOOL"]
# Far beyond what any test needs; a hang becomes a failure.
PATIENCE = 60


class Outcome:
    def __init__(self, status, output, problems):
        self.status = status
        self.output = output
        self.problems = problems.decode(errors="replace")

    def reports(self):
        return [json.loads(line) for line in self.output.splitlines()]

    def report(self):
        (only,) = self.reports()
        return only

    def __str__(self):
        return f"exit status {self.status}\n--- output\n{self.output[:2000]!r}\n--- problems\n{self.problems[:2000]}"


def run(*arguments, **options):
    done = subprocess.run([PROGRAM, *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, timeout=PATIENCE, **options)
    return Outcome(done.returncode, done.stdout, done.stderr)


def run_in_terminal(*arguments):
    """Runs the tool with a terminal of its own as standard output."""
    ours, its = pty.openpty()
    process = subprocess.Popen([PROGRAM, *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=its,
                               stderr=subprocess.PIPE)
    os.close(its)
    output = b""
    with open(ours, "rb", buffering=0) as terminal:
        while select.select([terminal], [], [], PATIENCE)[0]:
            try:
                piece = terminal.read(65536)
            except OSError:  # what Linux says when the last writer is gone
                break
            if not piece:
                break
            output += piece
        else:
            process.kill()
    _, problems = process.communicate(timeout=PATIENCE)
    return Outcome(process.returncode, output.replace(b"\r\n", b"\n"), problems)


class Screen:
    """The tool with a terminal of its own, of so many columns, as standard output and standard error."""

    def __init__(self, columns, *arguments, **options):
        self.terminal, its = pty.openpty()
        fcntl.ioctl(its, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        self.process = subprocess.Popen([PROGRAM, *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=its,
                                        stderr=its, **options)
        os.close(its)
        self.text = ""

    def read_until(self, wanted):
        while wanted not in self.text and self.read():
            pass

    def read(self):
        if not select.select([self.terminal], [], [], PATIENCE)[0]:
            self.process.kill()
            return False
        try:
            piece = os.read(self.terminal, 65536)
        except OSError:  # what Linux says when the last writer is gone
            return False
        self.text += piece.decode()
        return bool(piece)

    def finish(self):
        while self.read():
            pass
        os.close(self.terminal)
        return self.process.wait(PATIENCE)


class ToolTest(unittest.TestCase):
    """A test of the tool; the checks say everything there is to know when they fail."""

    def succeed(self, *arguments):
        outcome = run(*arguments)
        self.assertEqual(outcome.status, 0, str(outcome))
        self.assertEqual(outcome.problems, "", str(outcome))
        return outcome

    def fail_with(self, status, *arguments):
        outcome = run(*arguments)
        self.assertEqual(outcome.status, status, str(outcome))
        self.assertTrue(outcome.problems.startswith("corvane: "), str(outcome))
        return outcome

    def report(self, *arguments):
        """The report of the only response, with the names of header fields in lower case."""
        outcome = run(*arguments, "--report", "json")
        report = outcome.report()
        report["headers"] = {name.lower(): values for name, values in report["headers"].items()}
        self.assertEqual(outcome.status, 1 if report["error"] else 0, str(outcome))
        return report

    def echo(self, *arguments):
        """What a server that echoes says it got."""
        return json.loads(self.succeed(*arguments).output)
