"""Real files from nginx and to nginx, over each protocol that it speaks; what arrives is compared by digest."""

import hashlib
import random
import shutil

import servers
from driver import TransferTest

MIB = 1 << 20
SIZES = (0, 1, MIB, 100 * MIB)


def setUpModule():
    global folder, server, source, digests
    folder = servers.Folder()
    folder.make_certificate()
    server = servers.Nginx(folder)
    source = folder / "content"
    digests = {}
    whole = random.Random(1).randbytes(max(SIZES))
    for size in SIZES:
        (source / f"{size}.bin").write_bytes(whole[:size])
        digests[size] = hashlib.sha256(whole[:size]).hexdigest()
    (source / "20MiB").write_bytes(whole[:20 * MIB])


def tearDownModule():
    server.stop()
    folder.remove()


def digest(path):
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()


class Protocol:
    """What must work alike over each of them."""

    def setUp(self):
        self.driver = self.drive(*self.trust())

    def test_downloads(self):
        for size in SIZES:
            with self.subTest(size):
                outcome = self.driver.do("download", f"{self.base()}/{size}.bin")
                self.check_whole(outcome, size)
                self.assertEqual((outcome.file.name, outcome.file.stat().st_size), (f"{size}.bin", size))
                self.assertEqual(digest(outcome.file), digests[size])
                shutil.rmtree(outcome.file.parent)
                self.check_nothing_left(self.driver)

    def test_a_compressed_download_arrives_decoded(self):
        outcome = self.driver.do("download", f"{self.base()}/words.txt")
        self.assertEqual((outcome.status, outcome.error), (200, ""), str(outcome))
        self.assertEqual(outcome.file.read_bytes(), (source / "words.txt").read_bytes())
        self.assertLess(outcome.progress["completed"], 39 * 2000)

    def test_a_missing_file_leaves_nothing(self):
        outcome = self.driver.do("download", f"{self.base()}/missing")
        self.assertEqual((outcome.status, outcome.file), (404, ""), str(outcome))
        self.assertNotEqual(outcome.error, "")
        self.check_nothing_left(self.driver)

    def upload(self, action, size):
        there = folder / "uploads" / f"{type(self).__name__}-{action}-{size}"
        outcome = self.driver.do(action, f"{self.base()}/uploads/{there.name}", file=source / f"{size}.bin")
        self.check_whole(outcome, size, status=201)
        self.assertEqual((there.stat().st_size, digest(there)), (size, digests[size]))
        there.unlink()

    def test_uploads_of_files(self):
        for size in SIZES:
            with self.subTest(size):
                self.upload("upload", size)
        self.check_nothing_left(self.driver)

    def test_uploads_from_memory(self):
        for size in SIZES:
            with self.subTest(size):
                self.upload("uploadFromMemory", size)

    def refused(self, action):
        """The server answers when it has seen the head, and the body is still on its way."""
        for attempt in range(50):
            outcome = self.driver.do(action, f"{self.base()}/uploads/small", file=source / "20MiB")
            self.assertEqual(outcome.status, 413, f"attempt {attempt}: {outcome}")
            self.assertIn(b"413 Request Entity Too Large", outcome.body, f"attempt {attempt}: {outcome}")
        self.check_whole(self.driver.do("download", f"{self.base()}/1.bin"), 1)

    def test_a_file_that_is_too_large_for_the_server(self):
        self.refused("upload")

    def test_bytes_that_are_too_many_for_the_server(self):
        self.refused("uploadFromMemory")


class PlainHTTP1(Protocol, TransferTest):
    def base(self):
        return f"http://127.0.0.1:{server.plain_port}"

    def trust(self):
        return ()


class SecureHTTP1(Protocol, TransferTest):
    def base(self):
        return f"https://localhost:{server.secure_http_1_port}"

    def trust(self):
        return (folder / "server.der",)


class HTTP2(Protocol, TransferTest):
    def base(self):
        return f"https://localhost:{server.secure_port}"

    def trust(self):
        return (folder / "server.der",)


class Protocols(TransferTest):
    def test_they_are_what_they_are_called(self):
        driver = self.drive(folder / "server.der")
        for kind, version in ((PlainHTTP1, "HTTP/1.1"), (SecureHTTP1, "HTTP/1.1"), (HTTP2, "HTTP/2.0")):
            outcome = driver.do("download", kind.base(None) + "/protocol")
            self.assertEqual(outcome.file.read_text(), version)
