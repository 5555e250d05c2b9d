"""nginx, over HTTP/1.1 and over HTTP/2."""

import hashlib
import os
import re
import signal
import tempfile
import unittest.mock

import servers
from tool import Screen, ToolTest, run, run_in_terminal


def setUpModule():
    global folder, server, plain, secure, trust
    folder = servers.Folder()
    folder.make_certificate()
    server = servers.Nginx(folder)
    plain = f"http://127.0.0.1:{server.plain_port}"
    secure = f"https://localhost:{server.secure_port}"
    trust = ("--trust", folder / "server.der")


def tearDownModule():
    server.stop()
    folder.remove()


LARGE = hashlib.sha256(servers.pattern(servers.LARGE)).hexdigest()


class Both:
    """What must work alike over both."""

    def test_a_small_file(self):
        self.assertEqual(self.succeed(self.base() + "/hello.txt", *self.options()).output, b"hello\n")

    def test_an_empty_file(self):
        report = self.report(self.base() + "/empty", *self.options())
        self.assertEqual((report["status"], report["bodyBytes"]), (200, 0))

    def test_a_large_file(self):
        output = self.succeed(self.base() + "/large", *self.options()).output
        self.assertEqual(hashlib.sha256(output).hexdigest(), LARGE)

    def test_a_compressed_response(self):
        report = self.report(self.base() + "/words.txt", *self.options())
        self.assertEqual(report["headers"]["content-encoding"], ["gzip"])
        self.assertEqual(report["bodyBytes"], 39 * 2000)

    def test_a_part_of_a_file(self):
        report = self.report(self.base() + "/large", "--header", "Range: bytes=100-199", *self.options())
        self.assertEqual((report["status"], report["bodyBytes"]), (206, 100))

    def test_a_download_that_goes_on(self):
        with tempfile.TemporaryDirectory() as place:
            path = os.path.join(place, "large")
            arguments = (self.base() + "/slowly/large", "--output", path, "--continue", *self.options())
            screen = Screen(100, *arguments)
            while not re.search(r"[1-9]\d*\.\d MB of ", screen.text) and screen.read():
                pass
            screen.process.send_signal(signal.SIGINT)
            self.assertEqual(screen.finish(), -signal.SIGINT, screen.text)
            self.assertIn("interrupted; what has arrived is kept for another --continue", screen.text)
            self.assertEqual(sorted(os.listdir(place)), ["large.corvane-part", "large.corvane-resume"])
            kept = os.path.getsize(path + ".corvane-part")
            self.assertGreaterEqual(kept, 1_000_000)

            report = self.report(*arguments, "--digest", f"sha256:{LARGE}")

            self.assertEqual((report["status"], report["error"], report["bodyBytes"]), (206, None, servers.LARGE))
            self.assertEqual(report["headers"]["content-range"],
                             [f"bytes {kept}-{servers.LARGE - 1}/{servers.LARGE}"])
            self.assertEqual(os.listdir(place), ["large"])

    def test_a_download_that_starts_over_when_the_file_has_changed(self):
        with tempfile.TemporaryDirectory() as place:
            path = os.path.join(place, "large")
            changed = folder / "content" / f"changed-{self.id().split('.')[-2]}"
            changed.write_bytes(servers.pattern(servers.LARGE))
            url = self.base() + "/slowly/" + changed.name
            arguments = (url, "--output", path, "--continue", *self.options())
            screen = Screen(100, *arguments)
            while not re.search(r"[1-9]\d*\.\d MB of ", screen.text) and screen.read():
                pass
            screen.process.send_signal(signal.SIGINT)
            self.assertEqual(screen.finish(), -signal.SIGINT, screen.text)
            changed.write_text("another file")
            self.addCleanup(changed.unlink)

            report = self.report(*arguments)

            self.assertEqual((report["status"], report["error"]), (200, None))
            with open(path) as file:
                self.assertEqual(file.read(), "another file")
            self.assertEqual(os.listdir(place), ["large"])

    def test_an_unchanged_file(self):
        tag = self.report(self.base() + "/hello.txt", *self.options())["headers"]["etag"][0]
        report = self.report(self.base() + "/hello.txt", "--header", f"If-None-Match: {tag}", "--accept-status", "304",
                             *self.options())
        self.assertEqual((report["status"], report["bodyBytes"], report["error"]), (304, 0, None))

    def test_head(self):
        report = self.report("HEAD", self.base() + "/large", *self.options())
        self.assertEqual((report["status"], report["bodyBytes"]), (200, 0))
        self.assertEqual(report["headers"]["content-length"], [str(servers.LARGE)])

    def test_a_redirect_within_the_server(self):
        self.assertEqual(self.report(self.base() + "/moved", *self.options())["status"], 200)

    def test_a_missing_file(self):
        report = self.report(self.base() + "/missing", *self.options())
        self.assertEqual((report["status"], report["statusName"]), (404, "notFound"))

    def test_a_connection_closed_without_a_response(self):
        report = self.report(self.base() + "/cut", *self.options())
        self.assertIsNone(report["status"])
        self.assertEqual(report["error"]["case"], "networkConnectionLost")

    def test_a_large_body_to_the_server(self):
        with tempfile.NamedTemporaryFile() as body:
            body.write(servers.pattern(servers.LARGE))
            body.flush()
            report = self.report(self.base() + "/accepts", "--body-file", body.name, *self.options())
        self.assertEqual((report["status"], report["error"]), (204, None))

    def test_a_body_the_server_refuses(self):
        with tempfile.NamedTemporaryFile() as body:
            os.truncate(body.name, 65 * 1024 * 1024)
            report = self.report(self.base() + "/accepts", "--body-file", body.name, *self.options())
        self.assertEqual(report["status"], 413)

    def test_many_at_a_time(self):
        reports = run(self.base() + "/hello.txt", "--parallel", "50", "--repeat", "4", "--report", "json",
                      *self.options()).reports()
        self.assertEqual([report["status"] for report in reports], [200] * 200)

    def test_large_files_at_a_time(self):
        reports = run(self.base() + "/large", "--parallel", "4", "--report", "json", *self.options()).reports()
        self.assertEqual([report["bodyBytes"] for report in reports], [servers.LARGE] * 4)


class Retiring(ToolTest):
    """A server that closes each connection after ten requests."""

    def check(self, base, *options):
        for counts in (("--repeat", "35"), ("--parallel", "35"), ("--parallel", "20", "--repeat", "3")):
            outcome = run(base + "/hello.txt", *counts, *options)
            self.assertEqual((outcome.status, outcome.problems), (0, ""))
            self.assertEqual(set(outcome.output.decode().split("\n")), {"hello", ""})

    def test_over_http_1(self):
        self.check(f"http://127.0.0.1:{server.plain_retiring_port}")

    def test_over_http_2(self):
        self.check(f"https://localhost:{server.secure_retiring_port}", *trust)


class Terminal(ToolTest):
    """What a person sees; programs get what came."""

    COMPACT = b'{"id":7,"tags":["a",1.50],"none":{}}'

    def see(self, path, *options):
        outcome = run_in_terminal(f"http://127.0.0.1:{server.plain_port}/{path}", *options)
        self.assertEqual((outcome.status, outcome.problems), (0, ""), str(outcome))
        return outcome.output

    def test_json_is_laid_out(self):
        laid_out = b'{\n  "id": 7,\n  "tags": [\n    "a",\n    1.50\n  ],\n  "none": {}\n}\n'
        self.assertEqual(re.sub(rb"\x1b\[[0-9;]*m", b"", self.see("user.json")), laid_out)
        with unittest.mock.patch.dict(os.environ, {"NO_COLOR": "1"}):
            self.assertEqual(self.see("user.json"), laid_out)
            self.assertEqual(self.see("user.problem"), laid_out)

    def test_json_is_coloured(self):
        with unittest.mock.patch.dict(os.environ, {"TERM": "xterm", "NO_COLOR": ""}):
            self.assertIn(b'\x1b[34m"id"\x1b[0m: \x1b[35m7\x1b[0m', self.see("user.json"))

    def test_each_of_several_is_laid_out(self):
        self.assertEqual(self.see("user.json", "--repeat", "3").count(b'\n}\n'), 3)

    def test_json_as_it_came_when_asked_for(self):
        self.assertEqual(self.see("user.json", "--raw"), self.COMPACT)

    def test_everything_else_as_it_came(self):
        self.assertEqual(self.see("user.txt"), self.COMPACT)
        self.assertEqual(self.see("broken.json"), b'{"id":7,')

    def test_pipes_and_files_get_what_came(self):
        url = f"http://127.0.0.1:{server.plain_port}/user.json"
        self.assertEqual(self.succeed(url).output, self.COMPACT)
        with tempfile.TemporaryDirectory() as place:
            path = os.path.join(place, "body")
            self.assertEqual(self.see("user.json", "--output", path), b"")
            with open(path, "rb") as file:
                self.assertEqual(file.read(), self.COMPACT)


class HTTP1(Both, ToolTest):
    def base(self):
        return plain

    def options(self):
        return ()

    def test_it_is_http_1(self):
        self.assertEqual(self.succeed(plain + "/protocol").output, b"HTTP/1.1")

    def test_requests_of_a_session_share_a_connection(self):
        lines = self.succeed(plain + "/connection", "--repeat", "5").output.decode()
        connection = lines.split(" ")[0]
        self.assertEqual(lines, "".join(f"{connection} {number}" for number in range(1, 6)))

    def test_a_redirect_to_another_origin(self):
        self.assertEqual(self.succeed(plain + "/found-elsewhere").output, b"hello\n")

    def test_redirects_without_end(self):
        self.assertEqual(self.report(plain + "/round")["error"]["case"], "httpTooManyRedirects")


class HTTP2(Both, ToolTest):
    def base(self):
        return secure

    def options(self):
        return trust

    def test_it_is_http_2(self):
        self.assertEqual(self.succeed(secure + "/protocol", *trust).output, b"HTTP/2.0")

    def test_parallel_requests_share_connections(self):
        lines = run(secure + "/connection", "--parallel", "12", *trust).output.decode()
        self.assertEqual(len(lines.split()), 13)

    def test_cancelled_responses_do_not_spoil_the_connection_for_others(self):
        reports = run(secure + "/either", "--repeat", "60", "--cancel-after", "0.05", "--report", "json", *trust).reports()
        statuses = [report["status"] for report in reports if report["error"] is None]
        self.assertEqual(len(reports), 60)
        self.assertEqual(set(statuses), {200})
        self.assertGreater(len(statuses), 5)

    def test_a_redirect_to_plain_http_is_not_followed(self):
        report = self.report(secure + "/to-plain", *trust)
        self.assertIsNotNone(report["error"])

    def test_without_trust_nothing_is_sent(self):
        report = self.report(secure + "/secret-path")
        self.assertIsNone(report["status"])
        self.assertEqual(report["error"]["case"], "serverCertificateHasUnknownRoot")
        self.assertNotIn("secret-path", (folder / "nginx-access.log").read_text())

    def test_of_several_certificates_the_last_one_counts(self):
        other = servers.Folder()
        self.addCleanup(other.remove)
        other.make_certificate()
        wrong = ("--trust", other / "server.der")
        self.succeed(secure + "/hello.txt", *wrong, *trust)
        report = self.report(secure + "/hello.txt", *trust, *wrong)
        self.assertEqual(report["error"]["case"], "serverCertificateHasUnknownRoot")

    def test_plain_http_on_the_tls_port_and_tls_on_the_plain_port(self):
        self.assertEqual(self.report(f"http://localhost:{server.secure_port}/")["status"], 400)
        report = self.report(f"https://localhost:{server.plain_port}/", *trust)
        self.assertEqual(report["error"]["case"], "secureConnectionFailed")

    def test_bodies_to_the_server_at_a_time(self):
        with tempfile.NamedTemporaryFile() as body:
            body.write(servers.pattern(4_000_000))
            body.flush()
            reports = run(secure + "/accepts", "--body-file", body.name, "--parallel", "8", "--repeat", "2", "--report",
                          "json", *trust).reports()
        self.assertEqual([report["status"] for report in reports], [204] * 16)

    def test_a_certificate_for_another_name(self):
        report = self.report(f"https://127.0.0.2:{server.secure_port}/", *trust)
        self.assertIsNotNone(report["error"])

    def test_an_address_in_the_certificate(self):
        self.assertEqual(self.report(f"https://127.0.0.1:{server.secure_port}/hello.txt", *trust)["status"], 200)
