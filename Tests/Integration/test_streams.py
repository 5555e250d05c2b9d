"""Bodies, reports and problems: standard streams that are closed or full, pipes, files, logs."""

import hashlib
import os
import subprocess
import tempfile

import servers
from tool import PATIENCE, PROGRAM, ToolTest, run


def setUpModule():
    global folder, server, base
    folder = servers.Folder()
    folder.make_certificate()
    server = servers.Nginx(folder)
    base = f"http://127.0.0.1:{server.plain_port}"


def tearDownModule():
    server.stop()
    folder.remove()


def shell(redirections, *arguments):
    """Runs the tool through a shell with these redirections."""
    line = f'exec "$0" "$@" {redirections}'
    return subprocess.run(["sh", "-c", line, PROGRAM, *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, timeout=PATIENCE)


class StandardStreams(ToolTest):
    def refuses_output(self, redirection, problem, *arguments):
        done = shell(redirection, *arguments)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr.decode(), f"corvane: cannot write to standard output{problem}\n")

    def test_a_full_output_is_a_failure_that_is_told_once(self):
        full = ": No space left on device"
        self.refuses_output(">/dev/full", full, base + "/hello.txt")
        self.refuses_output(">/dev/full", full, base + "/large")
        self.refuses_output(">/dev/full", full, base + "/hello.txt", "--repeat", "5")
        self.refuses_output(">/dev/full", full, base + "/hello.txt", "--report", "json")
        self.refuses_output(">/dev/full", full, base + "/hello.txt", "--curl")
        self.refuses_output(">/dev/full", "", "--help")

    def test_a_closed_output_is_a_failure_that_is_told(self):
        self.refuses_output(">&-", ": Bad file descriptor", base + "/hello.txt")
        self.refuses_output(">&-", ": Bad file descriptor", base + "/hello.txt", "--report", "json")

    def test_nothing_to_write_needs_no_output(self):
        self.assertEqual(shell(">&-", base + "/empty").returncode, 0)
        self.assertEqual(shell(">/dev/full", base + "/hello.txt", "--output", "/dev/null").returncode, 0)

    def test_closed_streams_do_not_mix_with_connections(self):
        done = shell("<&- 2>&-", base + "/hello.txt", "--repeat", "3")
        self.assertEqual((done.returncode, done.stdout), (0, b"hello\n" * 3))
        self.assertEqual(shell("<&- >&- 2>&-", base + "/hello.txt").returncode, 1)
        self.assertEqual(shell("2>&-", f"http://127.0.0.1:{servers.free_port()}/").returncode, 1)

    def test_a_reader_that_goes_away_ends_it_quietly(self):
        done = subprocess.run(["sh", "-c", '"$0" "$1" | head -c 8', PROGRAM, base + "/large"], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=PATIENCE)
        self.assertEqual((done.stdout, done.stderr), (servers.pattern(8), b""))

    def test_bodies_follow_each_other_without_anything_between(self):
        output = self.succeed(base + "/large", "--repeat", "3").output
        self.assertEqual(hashlib.sha256(output).digest(), hashlib.sha256(servers.pattern(servers.LARGE) * 3).digest())

    def test_the_body_of_an_unacceptable_response_is_written_too(self):
        outcome = self.fail_with(1, base + "/missing")
        self.assertIn(b"404 Not Found", outcome.output)
        self.assertEqual(outcome.problems, "corvane: the server responded with status 404 Not Found\n")

    def test_a_body_from_standard_input(self):
        line = '"$0" PUT "$1" --body-file /dev/stdin --accept-status 405 --report json'
        done = subprocess.run(["sh", "-c", line, PROGRAM, base + "/hello.txt"], input=b"piped", stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=PATIENCE)
        self.assertEqual((done.returncode, done.stderr), (0, b""))


class Files(ToolTest):
    def test_each_of_several_responses_gets_a_file_of_its_own(self):
        with tempfile.TemporaryDirectory() as place:
            path = os.path.join(place, "body")
            reports = run(base + "/words.txt", "--parallel", "4", "--output", path, "--report", "json").reports()
            self.assertEqual(sorted(report["file"] for report in reports), [f"{path}.{n}" for n in range(1, 5)])
            sizes = {os.path.getsize(report["file"]) for report in reports}
            self.assertEqual(sizes, {reports[0]["bodyBytes"]})

    def test_a_device_stays_a_device(self):
        self.succeed(base + "/hello.txt", "--output", "/dev/null")
        self.assertFalse(os.path.isfile("/dev/null"))
        self.assertIn("No space left", self.fail_with(1, base + "/hello.txt", "--output", "/dev/full").problems)

    def test_a_failed_exchange_leaves_a_file_alone(self):
        with tempfile.NamedTemporaryFile() as file:
            file.write(b"before")
            file.flush()
            report = self.report(base + "/cut", "--output", file.name)
            self.assertIsNone(report["file"])
            with open(file.name, "rb") as same:
                self.assertEqual(same.read(), b"before")


class Logs(ToolTest):
    def test_brief_is_a_line_on_standard_error(self):
        outcome = run(base + "/hello.txt", "--verbosity", "brief")
        self.assertEqual((outcome.status, outcome.output), (0, b"hello\n"))
        self.assertIn(f"REQUEST GET '{base}/hello.txt' RESPONSE status: 200", outcome.problems)
        self.assertEqual(outcome.problems.count("\n"), 1)

    def test_verbose_shows_the_command_line_and_the_header_fields(self):
        outcome = run(base + "/hello.txt", "--verbosity", "verbose")
        self.assertEqual((outcome.status, outcome.output), (0, b"hello\n"))
        self.assertIn("curl: curl ", outcome.problems)
        self.assertIn("Content-Type: text/plain", outcome.problems)

    def test_none_is_silent(self):
        self.succeed(base + "/hello.txt", "--verbosity", "none")
