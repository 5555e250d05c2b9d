"""The server that is installed with the support for tests, as people start it."""

import os
import subprocess
import unittest
import urllib.request

from servers import PATIENCE


class BundledServerTest(unittest.TestCase):
    def start(self, source):
        process = subprocess.Popen([os.environ["CORVANE_TESTSERVER"], "--port", "0"], stdin=source,
                                   stdout=subprocess.PIPE)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.kill)
        line = process.stdout.readline().decode().strip()
        self.assertTrue(line.startswith("listening on 127.0.0.1:"), line)
        return process, "http://" + line.removeprefix("listening on ")

    def test_goes_on_in_the_background_of_a_script(self):
        process, base = self.start(subprocess.DEVNULL)

        for _ in range(50):
            with urllib.request.urlopen(base + "/users/7", timeout=PATIENCE) as response:
                self.assertEqual(response.status, 200)
        self.assertIsNone(process.poll())

        process.terminate()
        self.assertEqual(process.wait(timeout=PATIENCE), 0)

    def test_ends_with_the_pipe_of_who_started_it(self):
        process, _ = self.start(subprocess.PIPE)

        process.stdin.close()

        self.assertEqual(process.wait(timeout=PATIENCE), 0)
