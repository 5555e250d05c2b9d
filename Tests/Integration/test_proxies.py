"""Squid and microsocks, in front of nginx."""

import tempfile

import servers
from tool import ToolTest, run


def setUpModule():
    global folder, nginx, plain, secure, trust
    folder = servers.Folder()
    folder.make_certificate()
    nginx = servers.Nginx(folder)
    plain, secure = f"http://127.0.0.1:{nginx.plain_port}", f"https://localhost:{nginx.secure_port}"
    trust = ("--trust", str(folder / "server.der"))


def tearDownModule():
    nginx.stop()
    folder.remove()


class Proxied(ToolTest):
    scheme = None

    @classmethod
    def setUpClass(cls):
        cls.folder = servers.Folder()
        cls.proxy = cls.start()

    @classmethod
    def tearDownClass(cls):
        cls.proxy.stop()
        cls.folder.remove()

    def through(self, user="ada:s3cret@"):
        return ("--proxy", f"{self.scheme}://{user}127.0.0.1:{self.proxy.port}", *trust)


class WhateverTheProxy:
    """What each of them does alike."""

    def test_a_request_in_the_clear(self):
        self.assertEqual(self.succeed(plain + "/hello.txt", *self.through()).output, b"hello\n")

    def test_a_request_over_tls(self):
        self.assertEqual(self.succeed(secure + "/protocol", *self.through()).output, b"HTTP/2.0")

    def test_a_large_response(self):
        for origin in (plain, secure):
            with self.subTest(origin=origin):
                output = self.succeed(origin + "/large", *self.through()).output
                self.assertTrue(output == servers.pattern(servers.LARGE), f"{len(output)} bytes, not those of the file")

    def test_an_upload(self):
        content = servers.pattern(5_000_000)
        for origin in (plain, secure):
            with self.subTest(origin=origin), tempfile.NamedTemporaryFile() as body:
                body.write(content)
                body.flush()
                name = f"{type(self).__name__}-{origin.partition(':')[0]}"
                self.succeed("PUT", f"{origin}/uploads/{name}", "--upload", body.name, *self.through())
                self.assertTrue((folder / "uploads" / name).read_bytes() == content, "not the bytes of the file")

    def test_many_at_a_time(self):
        for origin in (plain, secure):
            with self.subTest(origin=origin):
                outcome = run(origin + "/hello.txt", "--parallel", "32", "--repeat", "3", "--report", "json",
                              *self.through())
                self.assertEqual([report["status"] for report in outcome.reports()], [200] * 96, str(outcome))

    def test_hosts_that_are_excepted(self):
        output = self.succeed(plain + "/hello.txt", *self.through("ada:wrong@"), "--no-proxy", "127.0.0.0/8").output
        self.assertEqual(output, b"hello\n")


class OfHTTP(Proxied):
    scheme = "http"

    @classmethod
    def start(cls):
        return servers.Squid(cls.folder, cls.authentication, nginx.secure_port)

    def through(self, user="ada:s3cret@"):
        return (*super().through(user), "--proxy-auth", self.authentication)

    def check_refusal(self, user, reason):
        report = self.report(plain + "/hello.txt", *self.through(user))
        self.assertEqual(report["status"], 407)
        self.assertIn("ERR_CACHE_ACCESS_DENIED", report["headers"]["x-squid-error"][0])
        self.assertIn(reason, self.fail_with(1, secure + "/hello.txt", *self.through(user)).problems)


class SquidWithBasic(WhateverTheProxy, OfHTTP):
    authentication = "basic"

    def test_a_wrong_password(self):
        self.check_refusal("ada:wrong@", "refuses the user name or the password")

    def test_no_password(self):
        self.check_refusal("", "asks for a user name and a password, and none are set")

    def test_a_tunnel_to_a_port_that_is_closed(self):
        problems = self.fail_with(1, f"https://localhost:{nginx.secure_http_1_port}/hello.txt", *self.through()).problems
        self.assertIn("403 Forbidden", problems)


class SquidWithDigest(WhateverTheProxy, OfHTTP):
    authentication = "digest"

    def test_a_wrong_password(self):
        self.check_refusal("ada:wrong@", "refuses the user name or the password")

    def test_basic_is_not_what_it_asks_for(self):
        words = (*Proxied.through(self), "--proxy-auth", "basic")
        problems = self.fail_with(1, plain + "/hello.txt", *words).problems
        self.assertIn("the proxy asks for --proxy-auth digest", problems)
        problems = self.fail_with(1, secure + "/hello.txt", *words).problems
        self.assertIn("does not take Basic authentication, but asks for: digest", problems)
        self.assertIn("--proxy-auth digest", problems)


class OfSOCKS(WhateverTheProxy, Proxied):
    scheme = "socks5"

    @classmethod
    def start(cls):
        return servers.Microsocks(cls.folder)

    def test_a_name_that_the_proxy_resolves(self):
        words = self.through()
        words = ("--proxy", words[1].replace("socks5:", "socks5h:"), *trust)
        self.assertEqual(self.succeed(secure + "/hello.txt", *words).output, b"hello\n")

    def test_a_wrong_password(self):
        problems = self.fail_with(1, plain + "/hello.txt", *self.through("ada:wrong@")).problems
        self.assertIn("refuses the user name or the password", problems)

    def test_no_password(self):
        problems = self.fail_with(1, plain + "/hello.txt", *self.through("")).problems
        self.assertIn("user name and a password", problems)
