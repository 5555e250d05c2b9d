"""What the tool makes of its command line, without any server."""

import os
import signal
import socket
import subprocess
import tempfile
import time

from servers import free_port
from tool import PATIENCE, PROGRAM, ToolTest


class Usage(ToolTest):
    def refuses(self, problem, *arguments):
        outcome = self.fail_with(2, *arguments)
        self.assertIn(problem, outcome.problems)
        self.assertIn("Try 'corvane --help'", outcome.problems)
        self.assertEqual(outcome.output, b"")

    def test_wrong_words_end_with_status_2_and_say_what_is_wrong(self):
        self.refuses("a URL is needed")
        self.refuses("'b' is no URL to send to", "a", "b", "c")
        self.refuses("'b' is no URL to send to", "http://127.0.0.1/", "b")
        self.refuses("must start with http:// or https://", "ftp://127.0.0.1/")
        self.refuses("is not a URL", "http://127.0.0.1:port/")
        self.refuses("names no host", "http:///path")
        self.refuses("--nope", "--nope", "http://127.0.0.1/")
        self.refuses("not a token", "G T", "http://127.0.0.1/")

    def test_wrong_values_end_with_status_2(self):
        url = "http://127.0.0.1/"
        self.refuses("no header field", "--header", "no colon", url)
        self.refuses("line break", "--header", "A: b\r\nC: d", url)
        self.refuses("Bad Name", "--header", "Bad Name: b", url)
        self.refuses("Content-Length", "--header", "Content-Length: 5", url)
        self.refuses("no query item", "--query", "=value", url)
        self.refuses("positive number", "--timeout", "0", url)
        self.refuses("positive number", "--timeout", "soon", url)
        self.refuses("not a number from", "--accept-status", "99", url)
        self.refuses("not a number from", "--repeat", "0", url)
        self.refuses("not a number from", "--parallel", "-1", url)
        self.refuses("has one body", "--data", "a", "--body-file", "b", url)
        self.refuses("has one body", "--data", "a", "--json", "{}", url)
        self.refuses("at byte 9 (after '{\"id\": 7 ')", "--json", '{"id": 7 "x": 1}', url)
        self.refuses("--header needs a value", url, "--header")
        self.refuses("may be given only once", "--data", "a", "--data", "b", url)
        self.refuses("cannot carry a body", "HEAD", "--data", "a", url)
        self.refuses("needs a body", "--gzip", url)
        self.refuses("needs a body", "--content-type", "text/plain", url)
        self.refuses("cannot read the body", "--body-file", "/nowhere/at/all", url)
        self.refuses("not a certificate", "--trust", __file__, url)
        self.refuses("interval='-1' is not a number of seconds", "--retry", "interval=-1,limit=1", url)
        self.refuses("delta='0.5' is not a whole number", "--retry", "interval=1,limit=1,delta=0.5", url)
        self.refuses("'limit' is needed", "--retry", "interval=1", url)
        self.refuses("'limit' may be given only once", "--retry", "interval=1,limit=1,limit=2", url)
        self.refuses("'often' is unknown", "--retry", "often", url)
        self.refuses("from 0.001", "--poll", "0", url)
        self.refuses("not a number from 1", "--poll", "1", "--count", "0", url)
        self.refuses("--count needs --poll", "--count", "2", url)
        self.refuses("--poll takes one URL", "--poll", "1", url, url)
        self.refuses("--poll cannot be joined", "--poll", "1", "--repeat", "2", url)
        self.refuses("one of --serial and --parallel", "--serial", "--parallel", "2", url, url)
        self.refuses("json", "--report", "xml", url)
        self.refuses("verbose", "--verbosity", "loud", url)

    def test_help_and_version(self):
        help_text = self.succeed("--help").output.decode()
        for option in ("--header", "--query", "--body-file", "--data", "--json", "--content-type", "--gzip", "--timeout", "--trust",
                       "--wait-for-connectivity", "--accept-status", "--output", "--raw", "--verbosity", "--curl",
                       "--cancel-after", "--retry", "--poll", "--count", "--repeat", "--serial", "--parallel",
                       "--report", "Retry:", "Examples:", "Exit status:"):
            self.assertIn(option, help_text)
        self.assertRegex(self.succeed("--version").output.decode(), r"^corvane \d+\.\d+\.\d+\n$")


class Failures(ToolTest):
    def test_a_refused_connection(self):
        url = f"http://127.0.0.1:{free_port()}/"
        outcome = self.fail_with(1, url)
        self.assertIn("no connection could be made to", outcome.problems)

        report = self.report(url)
        self.assertIsNone(report["status"])
        self.assertEqual(report["headers"], {})
        self.assertEqual(report["url"], url)
        self.assertEqual(report["error"]["code"], -1004)
        self.assertEqual(report["error"]["type"], "CFNetworkErrors")
        self.assertEqual(report["error"]["case"], "cannotConnectToHost")

    def test_a_host_that_does_not_exist(self):
        report = self.report("http://no-such-host.invalid/", "--timeout", "20")
        # Without any network, nobody can tell.
        self.assertIn(report["error"]["case"], ("cannotFindHost", "notConnectedToInternet"))

    def test_an_interrupt_ends_it_at_once(self):
        with socket.create_server(("127.0.0.1", 0)) as silent:
            process = subprocess.Popen([PROGRAM, f"http://127.0.0.1:{silent.getsockname()[1]}/"],
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            connection, _ = silent.accept()
            connection.recv(100)
            process.send_signal(signal.SIGINT)
            output, problems = process.communicate(timeout=PATIENCE)
            connection.close()
        self.assertEqual((process.returncode, output, problems), (-signal.SIGINT, b"", b""))


class CurlLine(ToolTest):
    def test_sends_nothing(self):
        with socket.create_server(("127.0.0.1", 0)) as server:
            self.succeed(f"http://127.0.0.1:{server.getsockname()[1]}/", "--curl")
            server.setblocking(False)
            self.assertRaises(BlockingIOError, server.accept)

    def test_names_the_users_own_file_as_the_body(self):
        with tempfile.NamedTemporaryFile() as body:
            body.write(os.urandom(100000))
            body.flush()
            line = self.succeed("http://127.0.0.1/", "--body-file", body.name, "--curl").output.decode()
            self.assertIn("@" + body.name, line)
