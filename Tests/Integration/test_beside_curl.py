"""The same responses, valid and broken, for this library and for the program curl: both say the same, or a reason is given
here why ours is right."""

import json
import os
import shutil
import subprocess
import tempfile
import unittest

import raw_responses
from tool import PATIENCE, PROGRAM

# Why the verdicts may differ: a reason, and its cases. A case without a difference is a failure, too.
REASONS = {
    "a status line has one space after the version and a status of three digits (RFC 9112, 4)": [
        "status line 'HTTP/1.1  200 OK'", "status line 'HTTP/1.1 200OK'"],
    "the name of the protocol is in capitals (RFC 9112, 2.3)": ["status line 'http/1.1 200 OK'"],
    "HTTP/2 has no status lines": ["status line 'HTTP/2 200'", "status line 'HTTP/2.0 200 OK'"],
    "a higher minor version is understood as the highest that is known (RFC 9110, 2.5)": ["status line 'HTTP/1.7 200 OK'"],
    "a line has at most 64 KiB": ["status line of 70,000 bytes"],
    "a CR within a line may end it for another recipient (RFC 9112, 2.2)": [
        "status line 'HTTP/1.1 200 O\\rK'", "field 'X: a\\rb' of 6 bytes"],
    "no space stands before the colon (RFC 9112, 5.1)": [
        "field 'X : 1' of 5 bytes", "field 'X\\t: 1' of 5 bytes", "chunked with a space before its colon"],
    "the name of a field is a token (RFC 9110, 5.1)": [
        "field 'X Y: 1' of 6 bytes", "field ': 1' of 3 bytes", "field 'X\\x01: 1' of 5 bytes", "field 'X\xe4: 1' of 5 bytes",
        "field 'X(: 1' of 5 bytes", "field '\"X\": 1' of 6 bytes"],
    "a folded line is read in different ways (RFC 9112, 5.2)": [
        "field 'X: 1\\r\\n folded' of 13 bytes", "field 'X: 1\\r\\n\\tfolded' of 13 bytes", "field 'X: 1\\r\\n ' of 7 bytes",
        "chunked, folded", "chunks with a folded trailer"],
    "a head has at most 1000 fields": ["6000 fields"],
    "a length is digits, in the range of numbers, and only one (RFC 9110, 8.6)": [
        "length '+5'", "length '5.0'", "length '5e0'", "length '0x5'", "length '5;'", "length '5,6'", "length '5,'",
        "length '5 5'", "length '5\\x0b'", "length '9223372036854775808'", "length '18446744073709551621'",
        "length '99999999999999999999999'", "two lengths"],
    "the one transfer coding is chunked, once: no other was asked for (RFC 9112, 6.1)": [
        "transfer coding 'chunked, chunked'", "transfer coding 'identity, chunked'", "transfer coding 'identity'",
        "transfer coding ''", "transfer coding 'chunked\\x0b'", "chunked twice, two fields",
        "chunked and identity, two fields"],
    "a chunk's size is hexadecimal digits, then perhaps an extension (RFC 9112, 7.1)": [
        "chunk size '5,' of 2 bytes", "chunk size '5h' of 2 bytes", "chunk size '5\\x00' of 2 bytes",
        "chunk size '5\\x0b' of 2 bytes"],
    "a chunk's extensions have at most 4 KiB": [
        "chunk size '5;aaaaaaaaaaaaaaaaaa' of 5002 bytes", "chunk size '5;aaaaaaaaaaaaaaaaaa' of 200002 bytes"],
    "CR LF follows a chunk and its size (RFC 9112, 7.1)": [
        "chunks with LF after the size", "chunks with LF after the chunk", "chunks with only LF"],
    "a part tells which one it is (RFC 9110, 15.3.7), or a file would have another's bytes": [
        "status line 'HTTP/1.1 206 Partial Content'"],
    "nobody asked for another protocol (RFC 9110, 15.2.2)": ["101, then 200"],
    "at most 200 interim responses come before the final one": ["10,000 times 103"],
    "content that is not complete is no success (RFC 1952, 2.3.1)": [
        "gzip cut off", "gzip without its checksum", "gzip of one byte"],
    "a gzip file is a series of members (RFC 1952, 2.2)": ["gzip of two members"],
    "a head that ends early is no head (RFC 9112, 8)":
        [f"a response {kind}, cut off after {count} bytes"
         for kind in ("with a length", "in chunks") for count in range(20, 45, 5)],
}


def ours(url, path):
    done = subprocess.run([PROGRAM, url, "--output", path, "--report", "json", "--timeout", "10"],
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=PATIENCE)
    report = json.loads(done.stdout)
    error = report["error"]
    if error and error["code"] < 0:
        return f"failure {error['code']}: {error['message']}"
    with open(path, "rb") as body:
        return report["status"], body.read()


def curls(url, path):
    done = subprocess.run(["curl", "--silent", "--compressed", "--max-time", "10", "--http1.1", "--output", path,
                           "--write-out", "%{http_code}", url],
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=PATIENCE,
                          env={"PATH": os.environ["PATH"]})
    if done.returncode != 0:
        return f"failure {done.returncode}"
    if not os.path.exists(path):
        return int(done.stdout), b""
    with open(path, "rb") as body:
        return int(done.stdout), body.read()


def agree(one, other):
    return one == other or (isinstance(one, str) and isinstance(other, str))


class BesideCurl(unittest.TestCase):
    def test_each_response(self):
        cases = raw_responses.all_cases()
        self.assertGreaterEqual(len(cases), 200)
        server = raw_responses.Server(cases)
        self.addCleanup(server.stop)
        expected = {name for names in REASONS.values() for name in names}
        differing = set()
        for number, (name, _) in enumerate(cases):
            url = f"http://127.0.0.1:{server.port}/{number}"
            with tempfile.TemporaryDirectory(prefix="corvane-integration-") as folder:
                mine, its = ours(url, folder + "/ours"), curls(url, folder + "/curls")
            if agree(mine, its):
                continue
            differing.add(name)
            with self.subTest(name):
                self.assertIn(name, expected, f"ours: {mine!r:.200}, curl's: {its!r:.200}")
        self.assertEqual(expected - differing, set(), "these do not differ any more")
