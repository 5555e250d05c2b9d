"""nghttpd speaks HTTP/2 and nothing else."""

import gzip
import hashlib
import subprocess
import tempfile

import servers
from driver import TransferTest
from tool import PATIENCE, PROGRAM, ToolTest, run


def setUpModule():
    global folder, server, base, trust
    folder = servers.Folder()
    folder.make_certificate()
    server = servers.Nghttpd(folder)
    base = f"https://localhost:{server.port}"
    trust = ("--trust", str(folder / "server.der"))


def tearDownModule():
    server.stop()
    folder.remove()


class HTTP2(ToolTest):
    def test_a_small_file_with_a_trailer(self):
        self.assertEqual(self.succeed(base + "/hello.txt", *trust).output, b"hello\n")

    def test_a_large_body(self):
        output = self.succeed(base + "/large", *trust).output
        self.assertEqual(hashlib.sha256(output).digest(), hashlib.sha256(servers.pattern(servers.LARGE)).digest())

    def test_a_body_comes_back_as_it_was_sent(self):
        content = servers.pattern(5_000_000)
        with tempfile.NamedTemporaryFile() as body:
            body.write(content)
            body.flush()
            output = self.succeed("POST", base + "/echo", "--body-file", body.name, *trust).output
        self.assertEqual(hashlib.sha256(output).digest(), hashlib.sha256(content).digest())

    def test_many_at_a_time(self):
        reports = run(base + "/hello.txt", "--parallel", "50", "--repeat", "4", "--report", "json", *trust).reports()
        self.assertEqual([report["status"] for report in reports], [200] * 200)

    def test_a_missing_file(self):
        self.assertEqual(self.report(base + "/missing", *trust)["status"], 404)

    def test_a_server_that_goes_away_while_it_sends(self):
        other_folder = servers.Folder()
        self.addCleanup(other_folder.remove)
        other_folder.make_certificate()
        other = servers.Nghttpd(other_folder)
        self.addCleanup(other.stop)
        command = [PROGRAM, f"https://localhost:{other.port}/large", "--parallel", "8", "--repeat", "50", "--trust",
                   str(other_folder / "server.der"), "--report", "json"]
        process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        process.stdout.readline()
        other.stop()
        output, problems = process.communicate(timeout=PATIENCE)
        self.assertEqual((process.returncode, problems), (1, b""))
        self.assertIn(b'"domain"', output)


class ProducedBodies(TransferTest):
    """Over HTTP/2 a body needs no length."""

    def test_come_back_as_they_were_sent(self):
        driver = self.drive(folder / "server.der")
        content = servers.pattern(5_000_000)
        with tempfile.NamedTemporaryFile() as body:
            body.write(content)
            body.flush()
            for action in ("produce", "produceKnown"):
                with self.subTest(action):
                    outcome = driver.do(action, base + "/echo", file=body.name)
                    self.check_whole(outcome, len(content))
                    self.assertEqual(outcome.body, content)
            outcome = driver.do("produceCompressed", base + "/echo", file=body.name)
            self.assertEqual((outcome.status, outcome.error), (200, ""), str(outcome))
            self.assertEqual(gzip.decompress(outcome.body), content)
