"""Servers that are killed while they answer, or that are asked to go."""

import json
import signal
import subprocess

import servers
from tool import PATIENCE, PROGRAM, ToolTest


class LostServers(ToolTest):
    def lose(self, make, url, how):
        """Sends requests, eight at a time; ends the server after the first response."""
        folder = servers.Folder()
        self.addCleanup(folder.remove)
        folder.make_certificate()
        server = make(folder)
        self.addCleanup(server.stop)
        command = [PROGRAM, url(server), "--parallel", "8", "--repeat", "10", "--trust", folder / "server.der",
                   "--report", "json"]
        # Unbuffered, so that reading the first line takes nothing of the others.
        process = subprocess.Popen(list(map(str, command)), stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0)
        lines = [process.stdout.readline()]
        server.process.send_signal(how)
        output, problems = process.communicate(timeout=PATIENCE)

        self.assertEqual((process.returncode, problems), (1, b""))
        reports = [json.loads(line) for line in lines + output.splitlines()]
        self.assertEqual(len(reports), 80)
        cases = {report["error"]["case"] for report in reports if report["error"]}
        self.assertLessEqual(cases, {"networkConnectionLost", "cannotConnectToHost", "secureConnectionFailed"})
        self.assertIn("cannotConnectToHost", cases)
        complete = [report["bodyBytes"] for report in reports if report["error"] is None]
        self.assertLessEqual(set(complete), {servers.LARGE})

    def test_over_http_1(self):
        for how in (signal.SIGKILL, signal.SIGTERM):
            with self.subTest(how):
                self.lose(servers.Nginx, lambda server: f"http://127.0.0.1:{server.plain_port}/large", how)

    def test_over_http_2(self):
        for how in (signal.SIGKILL, signal.SIGTERM):
            with self.subTest(how):
                self.lose(servers.Nginx, lambda server: f"https://localhost:{server.secure_port}/large", how)

    def test_nghttpd(self):
        for how in (signal.SIGKILL, signal.SIGTERM):
            with self.subTest(how):
                self.lose(servers.Nghttpd, lambda server: f"https://localhost:{server.port}/large", how)
