"""Retries, polls and batches with the command-line tool, as a person and as a program see them."""

import pathlib
import signal
import socket
import subprocess
import tempfile

from servers import BundledServer
from tool import PATIENCE, PROGRAM, Screen, ToolTest, run

UNAVAILABLE = "the server responded with status 503 Service Unavailable\n"
AT_ONCE = "interval=0.01,delta=0,limit="


class BehaviourTest(ToolTest):
    def setUp(self):
        server = BundledServer()
        self.addCleanup(server.stop)
        self.base = server.base

    def start(self, *arguments):
        return subprocess.Popen([PROGRAM, *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE)

    def interrupt(self, process):
        """Ends it, and returns what it said after what was read of it."""
        process.send_signal(signal.SIGINT)
        output, problems = process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, -signal.SIGINT, problems)
        return output.decode(), problems.decode()


class Retries(BehaviourTest):
    def test_what_fails_for_a_while_succeeds_in_the_end(self):
        outcome = run(f"{self.base}/flaky/2", "--retry", AT_ONCE + "5")
        self.assertEqual((outcome.status, outcome.output), (0, b"done\n"), str(outcome))
        self.assertEqual(outcome.problems, f"corvane: attempt 1 failed: {UNAVAILABLE}corvane: attempt 2 failed: {UNAVAILABLE}")

    def test_a_response_at_the_limit_is_a_success(self):
        outcome = run(f"{self.base}/flaky/2", "--retry", AT_ONCE + "2")
        self.assertEqual((outcome.status, outcome.output), (0, b"done\n"), str(outcome))

    def test_what_fails_all_the_time_fails(self):
        outcome = self.fail_with(1, f"{self.base}/status/404", "--retry", AT_ONCE + "1")
        self.assertEqual(outcome.output, b"404 Not Found\n")
        self.assertEqual(outcome.problems.count(" failed: the server responded with status 404"), 2)
        self.assertTrue(outcome.problems.endswith("\ncorvane: the server responded with status 404 Not Found\n"), str(outcome))

    def test_a_failure_that_stays_is_left_alone_when_asked_to(self):
        outcome = self.fail_with(1, f"{self.base}/status/404", "--retry", AT_ONCE + "5,transient")
        self.assertEqual(outcome.problems, "corvane: the server responded with status 404 Not Found\n")

    def test_the_report_tells_of_the_attempts_and_nothing_else_does(self):
        outcome = self.succeed(f"{self.base}/flaky/2", "--retry", AT_ONCE + "5", "--report", "json")
        report = outcome.report()
        self.assertEqual((report["status"], report["error"], report["attempts"]), (200, None, 3))
        self.assertEqual([failure["status"] for failure in report["failures"]], [503, 503])
        self.assertEqual(report["failures"][0]["error"]["case"], "unacceptableStatus")

    def test_a_lost_connection_has_no_status(self):
        report = self.report(f"{self.base}/drop", "--retry", AT_ONCE + "0")
        self.assertEqual((report["attempts"], len(report["failures"])), (2, 1))
        self.assertIsNone(report["failures"][0]["status"])
        self.assertEqual(report["failures"][0]["error"]["case"], "networkConnectionLost")

    def test_a_report_without_retries_is_what_it_was(self):
        report = self.report(f"{self.base}/get")
        self.assertEqual(list(report), ["status", "statusName", "url", "headers", "bodyBytes", "file", "error", "seconds"])

    def test_a_download_is_attempted_again(self):
        with tempfile.TemporaryDirectory() as folder:
            outcome = run(f"{self.base}/flaky/1", "--retry", AT_ONCE + "3", "--download", folder)
            self.assertEqual((outcome.status, outcome.output.decode()), (0, f"{folder}/1.txt\n"), str(outcome))
            self.assertEqual([path.name for path in pathlib.Path(folder).iterdir()], ["1.txt"])

    def test_an_interrupt_ends_a_wait(self):
        process = self.start(f"{self.base}/flaky/2", "--retry", "interval=1000,limit=3")
        self.assertEqual(process.stderr.readline().decode(), "corvane: attempt 1 failed: " + UNAVAILABLE)
        self.assertEqual(self.interrupt(process), ("", ""))

    def test_cancelling_ends_a_wait(self):
        report = self.report(f"{self.base}/flaky/2", "--retry", "interval=1000,limit=3", "--cancel-after", "0.2")
        self.assertEqual((report["error"]["case"], report["attempts"]), ("taskCancelled", 1))
        self.assertEqual(len(report["failures"]), 1)


class Polls(BehaviourTest):
    def test_it_ends_after_so_many_responses(self):
        outcome = self.succeed(f"{self.base}/status/200", "--poll", "0.05", "--count", "3")
        self.assertEqual(outcome.output, b"200 OK\n" * 3)

    def test_one_that_fails_makes_the_whole_fail(self):
        outcome = self.fail_with(1, f"{self.base}/flaky/1", "--poll", "0.3", "--count", "2")
        self.assertEqual((outcome.output, outcome.problems), (b"not yet\ndone\n", "corvane: " + UNAVAILABLE))

    def test_each_poll_is_attempted_again(self):
        outcome = self.succeed(f"{self.base}/flaky/1", "--poll", "0.5", "--count", "2", "--retry", AT_ONCE + "2",
                               "--report", "json")
        self.assertEqual([(each["status"], each["attempts"]) for each in outcome.reports()], [(200, 2)] * 2)

    def test_files_are_numbered(self):
        with tempfile.TemporaryDirectory() as folder:
            self.succeed(f"{self.base}/bytes/5", "--poll", "0.05", "--count", "2", "--output", f"{folder}/body")
            self.assertEqual(sorted(path.name for path in pathlib.Path(folder).iterdir()), ["body.1", "body.2"])

    def test_an_interrupt_ends_it(self):
        process = self.start(f"{self.base}/status/200", "--poll", "0.05")
        for _ in range(2):
            self.assertEqual(process.stdout.readline(), b"200 OK\n")
        output, problems = self.interrupt(process)
        self.assertEqual((output.replace("200 OK\n", ""), problems), ("", ""))

    def test_an_interrupt_ends_what_is_under_way(self):
        with tempfile.TemporaryDirectory() as folder, socket.create_server(("127.0.0.1", 0)) as silent:
            process = self.start(f"http://127.0.0.1:{silent.getsockname()[1]}/", "--poll", "0.05", "--download", folder)
            connection, _ = silent.accept()
            connection.recv(100)
            self.assertEqual(self.interrupt(process), ("", "corvane: interrupted\n"))
            connection.close()
            self.assertEqual(list(pathlib.Path(folder).iterdir()), [])


class SeveralURLs(BehaviourTest):
    def urls(self, *targets):
        return [self.base + target for target in targets]

    def test_they_are_told_apart_and_one_may_fail(self):
        urls = self.urls("/status/200", "/status/404", "/flaky/0")
        for manner in ((), ("--serial",)):
            outcome = self.fail_with(1, *urls, *manner)
            self.assertEqual(outcome.output.decode(), f"==> {urls[0]} <==\n200 OK\n==> {urls[1]} <==\n404 Not Found\n"
                                                      f"==> {urls[2]} <==\ndone\n")
            self.assertEqual(outcome.problems, f"corvane: {urls[1]}: the server responded with status 404 Not Found\n")

    def test_those_in_parallel_come_as_they_are_done(self):
        urls = self.urls("/delay/1", "/status/404", "/bytes/5")
        outcome = run("GET", *urls, "--parallel", "3", "--report", "json")
        reports = outcome.reports()
        self.assertEqual((outcome.status, outcome.problems), (1, ""), str(outcome))
        self.assertEqual(reports[-1]["requestedURL"], urls[0])
        self.assertEqual({each["requestedURL"]: each["status"] for each in reports},
                         dict(zip(urls, (200, 404, 200))))

    def test_the_report_names_what_was_asked_for_beside_what_answered(self):
        urls = self.urls("/redirect/1", "/get")
        reports = self.succeed(*urls, "--report", "json").reports()
        self.assertEqual([each["requestedURL"] for each in reports], urls)
        self.assertEqual([each["url"] for each in reports], [urls[1]] * 2)

    def test_options_apply_to_all(self):
        outcome = self.succeed("PUT", *self.urls("/echo", "/echo"), "--data", "body\n")
        self.assertEqual(outcome.output.decode().count(" <==\nbody\n"), 2)

    def test_each_download_has_a_name_of_its_own(self):
        with tempfile.TemporaryDirectory() as folder:
            urls = self.urls("/files/a?size=1", "/files/b?size=2", "/files/a?size=3", "/status/500")
            outcome = self.fail_with(1, *urls, "--parallel", "2", "--download", folder)
            saved = dict(line.split("\t") for line in outcome.output.decode().splitlines())
            self.assertEqual(sorted(saved.values()), sorted(urls[:3]))
            self.assertEqual(sorted(pathlib.Path(path).stat().st_size for path in saved), [1, 2, 3])
            self.assertEqual(len(list(pathlib.Path(folder).iterdir())), 3)

    def test_each_has_a_curl_line(self):
        urls = self.urls("/a", "/b")
        lines = self.succeed(*urls, "--curl").output.decode().splitlines()
        self.assertEqual([line.split()[-1] for line in lines], [f"'{url}'" for url in urls])

    def test_a_terminal_shows_how_far_they_are_and_a_pipe_does_not(self):
        with tempfile.TemporaryDirectory() as folder:
            arguments = (*self.urls("/status/404", "/delay/1"), "--output", f"{folder}/body")
            screen = Screen(80, *arguments)
            self.assertEqual(screen.finish(), 1, screen.text)
            self.assertRegex(screen.text, r"\n1 of 2, 14 B, \d+ B/s, after 0:0\d")
            self.assertRegex(screen.text, r"1 of 2 files, \d+ B in 0:0\d, 1 failed\r\n\Z")

            outcome = self.fail_with(1, *arguments)
            self.assertEqual(outcome.problems.count("\n"), 1, str(outcome))
            self.assertEqual(outcome.output, b"")

    def test_an_interrupt_ends_them_all(self):
        process = self.start(*self.urls("/status/200", "/delay/3000", "/delay/3000"), "--parallel", "2")
        process.stdout.readline()
        self.assertEqual(process.stdout.readline(), b"200 OK\n")
        self.assertEqual(self.interrupt(process), ("", ""))
