"""Credentials that httpbin and nginx check."""

import itertools
import json

import servers
from driver import TransferTest


def setUpModule():
    global folder, server, base
    folder = servers.Folder()
    server = servers.httpbin(folder)
    base = f"http://127.0.0.1:{server.port}"


def tearDownModule():
    server.stop()
    folder.remove()


class OfNginx(TransferTest):
    def test_basic(self):
        own = servers.Folder()
        self.addCleanup(own.remove)
        own.make_certificate()
        nginx = servers.Nginx(own)
        self.addCleanup(nginx.stop)
        driver = self.drive(own / "server.der")
        for origin in (f"http://127.0.0.1:{nginx.plain_port}", f"https://localhost:{nginx.secure_port}"):
            with self.subTest(origin=origin):
                outcome = driver.do("basic", f"{origin}/private", user="ada", secret="s3cret")
                self.assertEqual((outcome.status, outcome.body), (200, b"hello\n"), str(outcome))
                self.assertEqual(driver.do("basic", f"{origin}/private", user="ada", secret="wrong").status, 401)


class OfHTTPBin(TransferTest):
    def setUp(self):
        self.driver = self.drive()

    def check_in(self, outcome, **facts):
        self.assertEqual((outcome.status, outcome.error), (200, ""), str(outcome))
        got = json.loads(outcome.body)
        self.assertEqual({name: got[name] for name in facts}, facts, str(outcome))

    def digest(self, path, user="ada", secret="s3cret"):
        return self.driver.do("digest", f"{base}/digest-auth/{path}", user=user, secret=secret)

    def test_basic(self):
        url = f"{base}/basic-auth/ada/s3cret"
        self.check_in(self.driver.do("basic", url, user="ada", secret="s3cret"), authenticated=True, user="ada")
        self.assertEqual(self.driver.do("basic", url, user="ada", secret="wrong").status, 401)

    def test_bearer(self):
        outcome = self.driver.do("bearer", f"{base}/bearer", secret="t0ken")
        self.check_in(outcome, authenticated=True, token="t0ken")

    def test_digest_of_each_kind(self):
        for protection, algorithm in itertools.product(("auth", "auth-int"), ("MD5", "SHA-256")):
            with self.subTest(protection=protection, algorithm=algorithm):
                self.check_in(self.digest(f"{protection}/ada/s3cret/{algorithm}"), authenticated=True, user="ada")

    def test_digest_without_an_algorithm(self):
        self.check_in(self.digest("auth/ada/s3cret"), authenticated=True, user="ada")

    def test_digest_with_a_wrong_password(self):
        self.assertEqual(self.digest("auth/ada/s3cret/SHA-256", secret="wrong").status, 401)

    def test_digest_with_an_algorithm_that_is_not_known(self):
        # SHA-512 is none of RFC 7616, which has SHA-512-256.
        self.assertEqual(self.digest("auth/ada/s3cret/SHA-512").status, 401)

    def test_digest_after_a_redirect(self):
        self.check_in(
            self.driver.do("digest", f"{base}/redirect-to?url=/digest-auth/auth/ada/s3cret/SHA-256", user="ada",
                           secret="s3cret"),
            authenticated=True, user="ada")
