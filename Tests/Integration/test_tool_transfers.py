"""Downloads, uploads and forms with the command-line tool, as a person and as a program see them."""

import hashlib
import http.server
import json
import os
import pathlib
import signal
import subprocess
import tempfile
import threading
import unittest

from tool import PATIENCE, PROGRAM, Screen, ToolTest

PIECE = b"x" * 100_000
PIECES = 30


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    # Set by a test that lets a response go on.
    gate = threading.Event()

    def log_message(self, *arguments):
        pass

    def do_GET(self):
        length = len(PIECE) * PIECES
        self.send_response(200)
        if self.path == "/unknown":
            self.send_header("Transfer-Encoding", "chunked")
        else:
            self.send_header("Content-Length", str(length))
        if self.path == "/hostile":
            self.send_header("Content-Disposition", 'attachment; filename="../../.bashrc"')
        self.end_headers()
        try:
            for number in range(PIECES):
                if number == PIECES // 2 and self.path.startswith("/held"):
                    self.gate.wait(PATIENCE)
                frame = b"%x\r\n%b\r\n" % (len(PIECE), PIECE) if self.path == "/unknown" else PIECE
                self.wfile.write(frame)
            if self.path == "/unknown":
                self.wfile.write(b"0\r\n\r\n")
        except OSError:
            self.close_connection = True  # it left

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        response = json.dumps({"method": self.command, "target": self.path, "type": self.headers["Content-Type"],
                             "body": body.decode("latin-1")}).encode()
        self.send_response(200)
        self.send_header("Content-Length", str(len(response)))
        self.end_headers()
        self.wfile.write(response)

    do_PUT = do_POST


class ToolTransfers(ToolTest):
    def setUp(self):
        Handler.gate.clear()
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.addCleanup(self.server.server_close)
        thread = threading.Thread(target=self.server.serve_forever)
        thread.start()
        self.addCleanup(thread.join)
        self.addCleanup(self.server.shutdown)
        self.addCleanup(Handler.gate.set)
        self.base = f"http://127.0.0.1:{self.server.server_port}"
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.folder = pathlib.Path(directory.name)

    def check_only(self, *names):
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), sorted(names))

    def test_a_download_prints_its_path_and_shows_nothing_else_on_pipes(self):
        outcome = self.succeed(f"{self.base}/file.bin", "--download", self.folder)
        self.assertEqual(outcome.output.decode(), f"{self.folder}/file.bin\n")
        self.assertEqual((self.folder / "file.bin").read_bytes(), PIECE * PIECES)
        self.check_only("file.bin")

    def test_a_hostile_name_lands_inside(self):
        self.succeed(f"{self.base}/hostile", "--download", self.folder)
        self.check_only("bashrc")

    def test_the_report_names_the_file(self):
        report = self.report(f"{self.base}/file.bin", "--download", self.folder)
        self.assertEqual((report["file"], report["bodyBytes"]), (f"{self.folder}/file.bin", len(PIECE) * PIECES))

    def test_a_terminal_shows_how_far_it_is(self):
        screen = Screen(100, f"{self.base}/held", "--download", self.folder)
        screen.read_until(" of 3.0 MB, ")
        Handler.gate.set()
        self.assertEqual(screen.finish(), 0, screen.text)
        self.assertRegex(screen.text, r"\r [ 0-9]\d% \[#*-+\]  \d+(\.\d)? [kM]?B of 3\.0 MB, ")
        self.assertTrue(screen.text.endswith(f" \r{self.folder}/held\r\n"), screen.text)
        for line in screen.text.split("\r"):
            self.assertLess(len(line), 100)

    def test_a_narrow_terminal_is_not_overrun(self):
        screen = Screen(20, f"{self.base}/held", "--download", ".", cwd=self.folder)
        screen.read_until("%")
        Handler.gate.set()
        self.assertEqual(screen.finish(), 0, screen.text)
        for line in screen.text.split("\r"):
            self.assertLess(len(line), 20)

    def test_an_interrupt_leaves_nothing(self):
        screen = Screen(80, f"{self.base}/held", "--download", self.folder)
        screen.read_until(" of 3.0 MB, ")
        screen.process.send_signal(signal.SIGINT)
        self.assertEqual(screen.finish(), -signal.SIGINT, screen.text)
        self.assertRegex(screen.text, r" \r(\x1b\[[0-9;]*m)?corvane:(\x1b\[0m)? interrupted\r\n$")
        self.check_only()

    def test_several_downloads_have_a_line_each_and_a_summary(self):
        names = ("held-first.bin", "held-second.bin")
        screen = Screen(100, *(f"{self.base}/{name}" for name in names), "--parallel", "2", "--download", self.folder,
                        env={**os.environ, "TERM": "xterm"})
        for name in names:
            screen.read_until(f"{name} ")
        screen.read_until(" of 3.0 MB, ")
        Handler.gate.set()
        self.assertEqual(screen.finish(), 0, screen.text)
        for name in names:
            self.assertRegex(screen.text, rf"\n?{name} +[ 0-9]\d% ")
        self.assertRegex(screen.text, r"2 of 2 files, 6\.0 MB in 0:\d\d\r\n$")
        self.check_only(*names)

    def test_an_output_is_saved_while_it_arrives(self):
        file = self.folder / "a.bin"
        file.write_text("old")
        screen = Screen(100, f"{self.base}/held", "--output", file)
        screen.read_until(" of 3.0 MB, ")
        self.assertEqual(file.read_text(), "old")
        Handler.gate.set()
        self.assertEqual(screen.finish(), 0, screen.text)
        self.assertEqual(file.read_bytes(), PIECE * PIECES)
        self.check_only("a.bin")

    def test_an_interrupted_output_leaves_what_was_there(self):
        file = self.folder / "a.bin"
        file.write_text("old")
        screen = Screen(100, f"{self.base}/held", "--output", file)
        screen.read_until(" of 3.0 MB, ")
        screen.process.send_signal(signal.SIGINT)
        self.assertEqual(screen.finish(), -signal.SIGINT, screen.text)
        self.assertEqual(file.read_text(), "old")
        self.check_only("a.bin")

    def test_a_digest(self):
        file = self.folder / "a.bin"
        right, wrong = hashlib.sha256(PIECE * PIECES).hexdigest(), "0" * 64
        problems = self.fail_with(1, f"{self.base}/file", "--output", file, "--digest", f"sha256:{wrong}").problems
        self.assertIn(right, problems)
        self.assertIn(wrong, problems)
        self.check_only()
        self.succeed(f"{self.base}/file", "--output", file, "--digest", f"sha256:{right}")
        self.succeed(f"{self.base}/file", "--download", self.folder, "--digest", f"sha256:{right}")
        self.check_only("a.bin", "file")

    def test_a_digest_and_continuing_are_checked_before_anything_is_sent(self):
        for arguments in (("--continue",), ("--output", "a", "--digest", "sha256:0"), ("--digest", "sha256:" + "0" * 64)):
            self.fail_with(2, f"{self.base}/file", *arguments)

    def test_a_total_that_is_not_known(self):
        self.succeed(f"{self.base}/unknown", "--download", self.folder)
        self.assertEqual((self.folder / "unknown").read_bytes(), PIECE * PIECES)

    def run_in_shell(self, line):
        done = subprocess.run(["sh", "-c", line + " --silent --show-error --noproxy '*'"], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=PATIENCE)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout

    def test_the_curl_line_of_an_upload_sends_the_same(self):
        file = self.folder / "it's [1-3].csv"
        file.write_bytes(bytes(range(256)))
        for method, target in (("POST", "/file"), ("PUT", "/file"), ("PUT", "/folder/")):
            arguments = (method, self.base + target, "--upload", file)
            line = self.succeed(*arguments, "--curl").output.decode().rstrip("\n")
            self.assertEqual(json.loads(self.run_in_shell(line)), self.echo(*arguments))

    def test_the_curl_line_of_a_form_sends_the_same_but_for_the_boundary(self):
        file = self.folder / "ada.png"
        file.write_bytes(b"\x89PNG\r\n")
        arguments = (f"{self.base}/form", "--form", "title=it's", "--form", f"photo=@{file};type=image/x-own")
        outcome = self.run_tool_for_curl(*arguments)
        ours, theirs = self.echo(*arguments), json.loads(self.run_in_shell(outcome))
        for echo in (ours, theirs):
            boundary = echo["type"].partition("boundary=")[2]
            echo["type"] = echo["type"].replace(boundary, "B")
            echo["body"] = echo["body"].replace(boundary, "B")
        self.assertEqual(ours, theirs)
        self.assertIn('; filename="ada.png"\r\nContent-Type: image/x-own\r\n', ours["body"])

    def run_tool_for_curl(self, *arguments):
        done = subprocess.run([PROGRAM, *map(str, arguments), "--curl"], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=PATIENCE, env={**os.environ, "TMPDIR": str(self.folder)})
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout.decode().rstrip("\n")

    def test_the_curl_line_of_a_download_saves_the_same(self):
        for target, name in (("/file.bin", "file.bin"), ("/hostile", ".bashrc"), ("", "127.0.0.1")):
            line = self.succeed(self.base + target, "--download", self.folder, "--curl").output.decode().rstrip("\n")
            self.run_in_shell(line)
            self.assertEqual((self.folder / name).read_bytes(), PIECE * PIECES)


if __name__ == "__main__":
    unittest.main()
