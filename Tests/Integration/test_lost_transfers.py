"""Transfers whose server is killed, or whose file finds no more room."""

import pathlib
import shutil
import subprocess
import tempfile

import servers
from driver import TransferTest
from sink import Sink

CONNECTION_LOST = ("CFNetwork.CFNetworkErrors", -1005)
CANNOT_WRITE = ("CFNetwork.CFNetworkErrors", -3003)
ROOM = 4 << 20


class LostServers(TransferTest):
    """Over each protocol a server of its own, which is killed when a transfer is under way."""

    BASES = {
        "plain HTTP/1.1": lambda server: f"http://127.0.0.1:{server.plain_port}",
        "TLS, HTTP/1.1": lambda server: f"https://localhost:{server.secure_http_1_port}",
        "TLS, HTTP/2": lambda server: f"https://localhost:{server.secure_port}",
    }

    def setUp(self):
        # Takes some of each body, and then no more of it.
        self.sink = Sink(stalls_after=1 << 20)
        self.addCleanup(self.sink.stop)

    def lose(self, base, action, path, **values):
        folder = servers.Folder()
        self.addCleanup(folder.remove)
        folder.make_certificate()
        server = servers.Nginx(folder, self.sink)
        self.addCleanup(server.stop)
        driver = self.drive(folder / "server.der")
        driver.start(action, base(server) + path, **values)
        self.assertTrue(driver.wait_until_under_way())
        server.process.kill()
        outcome = driver.finish()

        self.assertEqual(outcome.error, CONNECTION_LOST, str(outcome))
        self.assertEqual(outcome.file, "")
        self.assertLess(outcome.progress["fraction"], 1, str(outcome))
        self.check_nothing_left(driver)

    def test_in_the_middle_of_a_download(self):
        for name, base in self.BASES.items():
            with self.subTest(name):
                self.lose(base, "download", "/slowly/large")

    def test_in_the_middle_of_an_upload(self):
        with tempfile.NamedTemporaryFile() as body:
            body.truncate(200 << 20)
            for action in ("upload", "uploadFromMemory"):
                for name, base in self.BASES.items():
                    with self.subTest(f"{action}, {name}"):
                        self.lose(base, action, "/sink", file=body.name)


class FullDisk(TransferTest):
    def setUp(self):
        self.folder = servers.Folder()
        self.addCleanup(self.folder.remove)
        self.folder.make_certificate()
        self.server = servers.Nginx(self.folder)
        self.addCleanup(self.server.stop)

    def test_a_download_that_finds_no_room(self):
        place = pathlib.Path(tempfile.mkdtemp(prefix="corvane-integration-"))
        self.addCleanup(place.rmdir)
        # A mount that only this process and its children see, and that ends with them (unshare(1)).
        through = ["unshare", "--user", "--map-root-user", "--mount", "sh", "-c",
                   f'mount -t tmpfs -o size={ROOM} tmpfs "$TMPDIR" && exec "$@"', "sh"]
        if shutil.which("unshare") is None or subprocess.run([*through, "true"], env={"TMPDIR": str(place)},
                                                             stderr=subprocess.DEVNULL).returncode:
            self.skipTest("this system gives no right to mount a small file system")
        base = f"http://127.0.0.1:{self.server.plain_port}"
        driver = self.drive(temporary=place, through=through)

        for path in ("/large", "/slowly/large"):
            outcome = driver.do("download", base + path)
            self.assertEqual(outcome.error, CANNOT_WRITE, str(outcome))
            self.assertIn("cannot be written", outcome.message)
            self.assertEqual(outcome.file, "")
            self.assertEqual(driver.files(), [])
        after = driver.do("download", base + "/hello.txt")
        self.check_whole(after, len("hello\n"))
        self.assertEqual(driver.files(), [pathlib.Path(after.file.parent.name), after.file.relative_to(place)])
        driver.do("download", base + "/missing")
        self.check_whole(driver.do("upload", base + "/uploads/x", file=self.folder / "content" / "hello.txt"), 6, 201)
