"""Bodies of 5 GiB, whose sizes and offsets take more than 32 bits, in little memory."""

import json
import shutil
import tempfile

import servers
from driver import TransferTest
from sink import SAMPLE, Sink

GIB = 1 << 30
SIZE = 5 * GIB + 3
# Around all sizes at which a narrower count would begin anew, and at both ends.
OFFSETS = (0, 2 * GIB - 8, 4 * GIB - 8, SIZE - SAMPLE)
MEMORY = 32 << 20
FREE_SPACE_NEEDED = 12 * GIB


def mark(offset):
    return b"at %13d" % offset


def setUpModule():
    global folder, sink, server, source
    folder = servers.Folder()
    folder.make_certificate()
    sink = Sink(OFFSETS)
    server = servers.Nginx(folder, sink)
    source = folder / "content" / "huge"
    with open(source, "wb") as file:  # all but the marks is a hole
        file.truncate(SIZE)
        for offset in OFFSETS:
            file.seek(offset)
            file.write(mark(offset))


def tearDownModule():
    server.stop()
    sink.stop()
    folder.remove()


class HugeTransfers(TransferTest):
    def setUp(self):
        self.driver = self.drive(folder / "server.der")
        self.base = f"http://127.0.0.1:{server.plain_port}"

    def test_down(self):
        free = shutil.disk_usage(tempfile.gettempdir()).free
        if free < FREE_SPACE_NEEDED:
            self.skipTest(f"a download of 5 GiB wants 12 GiB of free space, and there are {free / GIB:.1f}")
        outcome = self.driver.do("download", self.base + "/huge")
        self.check_whole(outcome, SIZE)
        with open(outcome.file, "rb") as file:
            marks = [(file.seek(offset), file.read(SAMPLE)) for offset in OFFSETS]
        size = outcome.file.stat().st_size
        shutil.rmtree(outcome.file.parent)
        self.assertEqual(size, SIZE)
        self.assertEqual(marks, [(offset, mark(offset)) for offset in OFFSETS])
        self.assertLess(outcome.peak, MEMORY, str(outcome))
        self.check_nothing_left(self.driver)

    def test_up_in_a_form(self):
        outcome = self.driver.do("formData", self.base + "/sink", sections=[
            {"name": "file", "file": str(source), "type": "application/octet-stream"}])
        self.assertEqual((outcome.status, outcome.error), (200, ""), str(outcome))
        count = json.loads(outcome.body)["count"]
        self.assertGreater(count, SIZE)
        self.assertEqual((outcome.progress["completed"], outcome.progress["total"]), (count, count), str(outcome))
        self.assertLess(outcome.peak, MEMORY, str(outcome))
        self.check_nothing_left(self.driver)

    def test_up(self):
        outcome = self.driver.do("upload", self.base + "/sink", file=source)
        self.check_whole(outcome, SIZE)
        self.assertEqual(json.loads(outcome.body),
                         {"count": SIZE, "samples": {str(offset): mark(offset).hex() for offset in OFFSETS}})
        self.assertLess(outcome.peak, MEMORY, str(outcome))
        self.check_nothing_left(self.driver)
