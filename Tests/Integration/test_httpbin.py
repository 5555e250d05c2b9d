"""httpbin says what it got, and answers in many ways."""

import base64
import fcntl
import gzip
import json
import os
import subprocess
import tempfile
import termios
import unittest

import servers
from tool import PATIENCE, Screen, ToolTest, run

TORTURE = "it's \"$HOME\" `id` \\ \t!x %41 &;|<>(){}[]*?~# é \u4f60\u597d"


def setUpModule():
    global folder, server, base
    folder = servers.Folder()
    server = servers.httpbin(folder)
    base = f"http://127.0.0.1:{server.port}"


def tearDownModule():
    server.stop()
    folder.remove()


class Identity(ToolTest):
    def test_basic_authentication(self):
        url = f"{base}/basic-auth/ada/se:cret"
        self.assertEqual(json.loads(self.succeed(url, "--user", "ada:se:cret").output)["user"], "ada")
        refused = self.fail_with(1, url)
        self.assertIn("--user NAME authenticates", refused.problems)
        self.assertNotIn("--user NAME", self.fail_with(1, url, "-u", "ada:wrong").problems)

    def test_digest_authentication(self):
        for quality in ("auth", "auth-int"):
            for algorithm in ("MD5", "SHA-256"):
                url = f"{base}/digest-auth/{quality}/ada/secret/{algorithm}"
                got = json.loads(self.succeed(url, "--user", "ada:secret", "--auth", "digest").output)
                self.assertTrue(got["authenticated"])
                self.fail_with(1, url, "--user", "ada:wrong", "--auth", "digest")
                self.fail_with(1, url, "--user", "ada:secret")

    def test_a_token(self):
        got = self.echo(f"{base}/headers", "--bearer", "abc.def")
        self.assertEqual(got["headers"]["Authorization"], "Bearer abc.def")
        self.succeed(f"{base}/bearer", "--bearer", "abc.def")
        self.fail_with(1, f"{base}/bearer")

    def test_cookies(self):
        got = json.loads(self.succeed(f"{base}/cookies", "--cookie", "a=1", "-b", "b=x=y").output)
        self.assertEqual(got["cookies"], {"a": "1", "b": "x=y"})

    def test_a_password_is_asked_for_and_not_shown(self):
        asking = Screen(80, f"{base}/basic-auth/ada/secret", "--user", "ada", start_new_session=True,
                        preexec_fn=lambda: fcntl.ioctl(1, termios.TIOCSCTTY, 0))
        asking.read_until("Password of ada: ")
        os.write(asking.terminal, b"secret\n")
        self.assertEqual(asking.finish(), 0, asking.text)
        self.assertNotIn("secret", asking.text)


class Redirects(ToolTest):
    def test_they_are_shown_and_followed(self):
        head = self.succeed(f"{base}/redirect/2", "--include").output.decode()
        self.assertTrue(head.startswith(f"302 {base}/redirect/2\n302 {base}/relative-redirect/1\nHTTP/1.1 200 OK\n"), head)
        self.assertEqual([each["status"] for each in self.report(f"{base}/redirect/2")["redirects"]], [302, 302])

    def test_they_are_not_followed(self):
        report = self.report(f"{base}/redirect/2", "--follow", "no")
        self.assertEqual((report["status"], report["headers"]["location"]), (302, ["/relative-redirect/1"]))

    def test_they_are_followed_so_often(self):
        self.succeed(f"{base}/redirect/2", "--follow", "2")
        self.assertIn("too many redirects", self.fail_with(1, f"{base}/redirect/2", "--follow", "1").problems)


class Requests(ToolTest):
    def test_each_method(self):
        for method in ("GET", "POST", "PUT", "PATCH", "DELETE"):
            self.assertEqual(self.echo(method, f"{base}/anything")["method"], method)

    def test_head_has_no_body(self):
        report = self.report("HEAD", f"{base}/get")
        self.assertEqual((report["status"], report["bodyBytes"]), (200, 0))

    def test_a_body_makes_it_a_post(self):
        got = self.echo(f"{base}/anything", "--data", "text")
        self.assertEqual((got["method"], got["data"]), ("POST", "text"))
        self.assertEqual(got["headers"]["Content-Type"], "application/octet-stream")

    def test_json(self):
        text = '{"id": 7, "id": 8, "name": "\\u00e9 / é", "price": 1.50}'
        got = self.echo(f"{base}/anything", "--json", text)
        self.assertEqual((got["method"], got["data"]), ("POST", text))
        self.assertEqual(got["headers"]["Content-Type"], "application/json")
        self.assertEqual(got["headers"]["Accept"], "application/json")

    def test_json_with_a_method_and_types_of_its_own(self):
        got = self.echo("PATCH", f"{base}/anything", "--json", "[1]", "--content-type", "application/json-patch+json",
                        "--header", "accept: text/html")
        self.assertEqual((got["method"], got["data"]), ("PATCH", "[1]"))
        self.assertEqual(got["headers"]["Content-Type"], "application/json-patch+json")
        self.assertEqual(got["headers"]["Accept"], "text/html")

    def test_header_fields(self):
        got = self.echo(f"{base}/headers", "--header", "X-One: 1", "--header", "X-Two:two ", "--header", "Accept: text/csv")
        self.assertEqual(got["headers"]["X-One"], "1")
        self.assertEqual(got["headers"]["X-Two"], "two")
        self.assertEqual(got["headers"]["Accept"], "text/csv")
        self.assertEqual(got["headers"]["User-Agent"], "Corvane")

    def test_query_items_arrive_as_they_were_written(self):
        got = self.echo(f"{base}/anything?kept=a%20b", "--query", f"torture={TORTURE}", "--query", "sign=a+b=c&d",
                        "--query", "empty=", "--query", "twice=1", "--query", "twice=2")
        self.assertEqual(got["args"], {"kept": "a b", "torture": TORTURE, "sign": "a+b=c&d", "empty": "",
                                       "twice": ["1", "2"]})

    def test_a_binary_body_from_a_file(self):
        content = os.urandom(300000)
        with tempfile.NamedTemporaryFile() as file:
            file.write(content)
            file.flush()
            got = self.echo("PUT", f"{base}/anything", "--body-file", file.name, "--content-type", "image/png")
        self.assertEqual(base64.b64decode(got["data"].split(",")[1]), content)
        self.assertEqual(got["headers"]["Content-Type"], "image/png")
        self.assertEqual(got["headers"]["Content-Length"], str(len(content)))

    def test_a_compressed_body(self):
        text = "again and again " * 5000
        got = self.echo(f"{base}/anything", "--data", text, "--gzip")
        self.assertEqual(got["headers"]["Content-Encoding"], "gzip")
        compressed = base64.b64decode(got["data"].split(",")[1])
        self.assertLess(len(compressed), len(text) // 10)
        self.assertEqual(gzip.decompress(compressed).decode(), text)

    def test_cookies_are_kept_for_the_next_request_of_a_session(self):
        first, second = run(f"{base}/cookies/set?flavour=oat", "--repeat", "2", "--report", "json").reports()
        self.assertEqual((first["status"], second["status"]), (200, 200))
        self.assertTrue(second["url"].endswith("/cookies"))
        lines = self.succeed(f"{base}/cookies/set?flavour=oat", "--repeat", "2").output
        self.assertEqual(lines.count(b"oat"), 2)


class Answers(ToolTest):
    def test_content_codings(self):
        self.assertTrue(self.echo(f"{base}/gzip")["gzipped"])
        self.assertTrue(self.echo(f"{base}/deflate")["deflated"])

    def test_a_coding_nobody_asked_for_is_an_error(self):
        report = self.report(f"{base}/response-headers?Content-Encoding=br")
        self.assertEqual(report["error"]["case"], "cannotDecodeRawData")

    def test_statuses(self):
        for status in (200, 201, 204, 206):
            self.assertEqual(self.report(f"{base}/status/{status}")["status"], status)
        for status in (207, 304, 400, 401, 404, 418, 429, 500, 503):
            report = self.report(f"{base}/status/{status}")
            self.assertEqual(report["status"], status)
            self.assertEqual(report["error"]["case"], "unacceptableStatus")
            self.assertIsNone(self.report(f"{base}/status/{status}", "--accept-status", status)["error"])

    def test_a_status_and_the_name_for_it(self):
        self.assertEqual(self.report(f"{base}/status/404")["statusName"], "notFound")
        self.assertIn("status 404 Not Found", self.fail_with(1, f"{base}/status/404").problems)

    def test_repeated_header_fields_are_all_reported(self):
        headers = self.report(f"{base}/response-headers?X-Many=1&X-Many=2")["headers"]
        self.assertEqual(headers["x-many"], ["1", "2"])

    def test_redirects_rewrite_the_method_as_browsers_do(self):
        for status, method in ((301, "GET"), (302, "GET"), (303, "GET"), (307, "POST"), (308, "POST")):
            url = f"{base}/redirect-to?url=/anything&status_code={status}"
            got = self.echo("POST", url, "--data", "kept")
            self.assertEqual((got["method"], got["data"]), (method, "kept" if method == "POST" else ""), status)

    def test_redirects_relative_and_absolute(self):
        self.assertTrue(self.report(f"{base}/relative-redirect/3")["url"].endswith("/get"))
        self.assertTrue(self.report(f"{base}/absolute-redirect/3")["url"].endswith("/get"))
        self.assertEqual(self.report(f"{base}/redirect/20")["status"], 200)
        self.assertEqual(self.report(f"{base}/redirect/21")["error"]["case"], "httpTooManyRedirects")

    def test_a_redirect_to_another_kind_of_url_is_not_followed(self):
        report = self.report(f"{base}/redirect-to?url=file:///etc/passwd")
        self.assertIsNotNone(report["error"])
        self.assertEqual(report["bodyBytes"], 0)

    def test_a_stream_in_chunks(self):
        lines = self.succeed(f"{base}/stream/50").output.splitlines()
        self.assertEqual([json.loads(line)["id"] for line in lines], list(range(50)))

    def test_every_byte_of_a_binary_body_comes_through(self):
        first = self.succeed(f"{base}/bytes/70000?seed=7").output
        again = self.succeed(f"{base}/stream-bytes/70000?seed=7&chunk_size=1000").output
        self.assertEqual((len(first), first), (70000, again))

    def test_bodies_go_to_files(self):
        with tempfile.TemporaryDirectory() as place:
            path = os.path.join(place, "body")
            report = self.report(f"{base}/bytes/1000?seed=1", "--output", path)
            self.assertEqual((report["file"], os.path.getsize(path)), (path, 1000))
            self.succeed(f"{base}/bytes/10", "--repeat", "3", "--output", path)
            self.assertEqual(sorted(os.listdir(place)), ["body", "body.1", "body.2", "body.3"])

    def test_a_file_that_cannot_be_written(self):
        self.assertIn("/nowhere/body", self.fail_with(1, f"{base}/get", "--output", "/nowhere/body").problems)
        with open("/dev/full", "wb") as full:
            done = subprocess.run([os.environ["CORVANE_TOOL"], f"{base}/get"], stdout=full, stderr=subprocess.PIPE,
                                  timeout=PATIENCE)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"No space left", done.stderr)


class Time(ToolTest):
    def test_a_server_that_is_too_slow(self):
        report = self.report(f"{base}/delay/10", "--timeout", "0.3")
        self.assertEqual(report["error"]["case"], "timedOut")
        self.assertLess(report["seconds"], 5)

    def test_cancelling(self):
        report = self.report(f"{base}/delay/10", "--cancel-after", "0.2")
        self.assertEqual(report["error"]["case"], "taskCancelled")
        self.assertLess(report["seconds"], 5)

    def test_many_at_a_time_and_one_after_the_other(self):
        reports = run(f"{base}/get", "--parallel", "8", "--repeat", "3", "--report", "json").reports()
        self.assertEqual([report["status"] for report in reports], [200] * 24)

    def test_waiting_for_connectivity_changes_nothing_where_there_is_a_network(self):
        self.assertEqual(self.report(f"{base}/get", "--wait-for-connectivity")["status"], 200)


class CurlLine(ToolTest):
    """The printed line, through a shell and the real curl, must send what the tool sends."""

    def compare(self, *arguments):
        ours = self.echo(*arguments)
        line = run(*arguments, "--curl").output.decode()
        done = subprocess.run(["sh", "-c", line], stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=PATIENCE)
        self.assertEqual(done.returncode, 0, line + done.stderr.decode())
        theirs = json.loads(done.stdout)
        for got in (ours, theirs):
            got["headers"].pop("Accept-Language", None)
        self.assertEqual(ours, theirs, line)

    def test_a_get(self):
        self.compare(f"{base}/anything/a%20b;c?x=1&y='2'", "--query", f"torture={TORTURE}")

    def test_header_fields(self):
        self.compare(f"{base}/anything", "--header", "X-Torture: it's \"$HOME\" `id` \\ !x", "--header", "X-Empty:")

    def test_a_text_as_body(self):
        self.compare("PUT", f"{base}/anything", "--data", TORTURE + "\n@not-a-file", "--content-type", "text/plain")

    def test_a_binary_body(self):
        with tempfile.NamedTemporaryFile() as file:
            file.write(os.urandom(50000))
            file.flush()
            self.compare(f"{base}/anything", "--body-file", file.name)

    def test_a_compressed_body(self):
        self.compare(f"{base}/anything", "--data", "again and again " * 100, "--gzip")

    def test_json(self):
        self.compare(f"{base}/anything", "--json", '{"text": "it\'s $HOME"}')

    def test_methods(self):
        self.compare("DELETE", f"{base}/anything")
        self.compare("PATCH", f"{base}/anything", "--data", "x")
        self.compare("POST", f"{base}/anything")
