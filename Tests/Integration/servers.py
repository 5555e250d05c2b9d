"""Starts real servers on free loopback ports, each with a folder of its own."""

import functools
import os
import pathlib
import shutil
import socket
import subprocess
import tempfile
import time

LARGE = 32 * 1024 * 1024
PATIENCE = 20


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


@functools.lru_cache(maxsize=4)
def pattern(size):
    """Bytes that tell their place, so that a swapped or missing piece shows."""
    words = b"".join(number.to_bytes(4, "little") for number in range((size + 3) // 4))
    return words[:size]


def find(program):
    path = os.pathsep.join([os.environ.get("PATH", ""), "/usr/sbin", "/sbin"])
    found = shutil.which(program, path=path)
    if not found:
        raise RuntimeError(f"{program} is not installed: Scripts/setup.sh integration")
    return found


class Folder:
    """A temporary folder with a certificate for localhost and its key."""

    def __init__(self):
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="corvane-integration-"))

    def make_certificate(self):
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                        "-keyout", self / "server.key", "-out", self / "server.pem", "-days", "2",
                        "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1"],
                       check=True, stderr=subprocess.DEVNULL)
        subprocess.run(["openssl", "x509", "-in", self / "server.pem", "-outform", "der", "-out", self / "server.der"],
                       check=True)

    def __truediv__(self, name):
        return self.path / name

    def remove(self):
        shutil.rmtree(self.path, ignore_errors=True)


class Server:
    def __init__(self, command, port, log, environment=None):
        self.port = port
        self.log = log
        with open(log, "wb") as output:
            self.process = subprocess.Popen(list(map(str, command)), stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                            env={**os.environ, **(environment or {})})
        self.wait_until_it_listens()

    def wait_until_it_listens(self):
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline:
            try:
                socket.create_connection(("127.0.0.1", self.port), 1).close()
                return
            except OSError:
                try:
                    self.process.wait(0.02)
                except subprocess.TimeoutExpired:
                    continue
                break
        self.stop()
        raise RuntimeError("a server does not listen:\n" + pathlib.Path(self.log).read_text(errors="replace")[-2000:])

    def stop(self):
        self.process.terminate()
        try:
            self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()


def httpbin(folder):
    port = free_port()
    program = ("import httpbin, werkzeug.serving as s; "
               "s.WSGIRequestHandler.protocol_version = 'HTTP/1.1'; "
               f"s.run_simple('127.0.0.1', {port}, httpbin.app, threaded=True)")
    return Server(["/usr/bin/python3", "-c", program], port, folder / "httpbin.log")


NGINX = """
daemon off;
master_process off;
pid FOLDER/nginx.pid;
error_log FOLDER/nginx-error.log;
events { worker_connections 1024; }
http {
  access_log FOLDER/nginx-access.log;
  client_body_temp_path FOLDER/temporary;
  proxy_temp_path FOLDER/temporary;
  fastcgi_temp_path FOLDER/temporary;
  uwsgi_temp_path FOLDER/temporary;
  scgi_temp_path FOLDER/temporary;
  default_type application/octet-stream;
  types { text/plain txt; application/json json; application/problem+json problem; }
  gzip on;
  gzip_min_length 100;
  gzip_types text/plain application/json;
  http2_max_concurrent_streams 16;
  split_clients $request_id $large_or_small { 50% large; * hello.txt; }
  server {
    listen 127.0.0.1:PLAIN;
    listen 127.0.0.1:SECURE ssl http2;
    listen 127.0.0.1:TLSWITHHTTP1 ssl;
    ssl_certificate FOLDER/server.pem;
    ssl_certificate_key FOLDER/server.key;
    root FOLDER/content;
    client_max_body_size 64m;
    location /uploads/ { root FOLDER; dav_methods PUT; client_max_body_size 200m; }
    location = /uploads/small { root FOLDER; dav_methods PUT; client_max_body_size 1m; }
    location /slowly/ { alias FOLDER/content/; limit_rate 4m; }
    location = /sink { proxy_pass http://127.0.0.1:SINK; proxy_http_version 1.1; proxy_request_buffering off;
                       client_max_body_size 0; client_body_buffer_size 1m; }
    location = /huge { sendfile on; }
    location = /moved { return 301 /hello.txt; }
    location = /found-elsewhere { return 302 http://127.0.0.1:PLAIN/hello.txt; }
    location = /to-plain { return 302 http://127.0.0.1:PLAIN/hello.txt; }
    location = /round { return 302 /round; }
    location = /cut { return 444; }
    location = /private { auth_basic "for members"; auth_basic_user_file FOLDER/members; alias FOLDER/content/hello.txt; }
    location = /either { rewrite ^ /$large_or_small; }
    location = /accepts { client_body_buffer_size 64m; proxy_pass http://127.0.0.1:PLAIN/taken; }
    location = /taken { return 204; }
    location = /connection { default_type text/plain; return 200 "$connection $connection_requests"; }
    location = /protocol { default_type text/plain; return 200 "$server_protocol"; }
  }
  server {
    listen 127.0.0.1:RETIRINGPLAIN;
    listen 127.0.0.1:RETIRINGSECURE ssl http2;
    ssl_certificate FOLDER/server.pem;
    ssl_certificate_key FOLDER/server.key;
    root FOLDER/content;
    keepalive_requests 10;
  }
}
"""


class Nginx(Server):
    def __init__(self, folder, sink=None):
        self.plain_port, self.secure_port = free_port(), free_port()
        self.secure_http_1_port = free_port()
        self.plain_retiring_port, self.secure_retiring_port = free_port(), free_port()
        content = folder / "content"
        content.mkdir()
        (folder / "uploads").mkdir()
        (content / "hello.txt").write_text("hello\n")
        (content / "words.txt").write_text("all work and no play makes a dull test\n" * 2000)
        (content / "large").write_bytes(pattern(LARGE))
        for name in ("user.json", "user.problem", "user.txt"):
            (content / name).write_text('{"id":7,"tags":["a",1.50],"none":{}}')
        (content / "broken.json").write_text('{"id":7,')
        (content / "empty").write_bytes(b"")
        (folder / "members").write_text("ada:{PLAIN}s3cret\n")
        text = NGINX
        for name, value in (("FOLDER", folder.path), ("RETIRINGPLAIN", self.plain_retiring_port),
                            ("RETIRINGSECURE", self.secure_retiring_port), ("PLAIN", self.plain_port),
                            ("SECURE", self.secure_port), ("TLSWITHHTTP1", self.secure_http_1_port),
                            ("SINK", sink.port if sink else free_port())):
            text = text.replace(name, str(value))
        (folder / "nginx.conf").write_text(text)
        super().__init__([find("nginx"), "-e", folder / "nginx-error.log", "-c", folder / "nginx.conf"],
                         self.plain_port, folder / "nginx.log")


class Nghttpd(Server):
    def __init__(self, folder):
        content = folder / "htdocs"
        content.mkdir()
        (content / "hello.txt").write_text("hello\n")
        (content / "large").write_bytes(pattern(LARGE))
        port = free_port()
        super().__init__([find("nghttpd"), "--htdocs", content, "--address", "127.0.0.1", "--echo-upload",
                          "--trailer", "x-checked: yes", port, folder / "server.key", folder / "server.pem"],
                         port, folder / "nghttpd.log")


SQUID = """
http_port 127.0.0.1:PORT
max_filedescriptors 1024
cache_mem 8 MB
auth_param SCHEME program PROGRAM FOLDER/members
auth_param SCHEME children 2
auth_param SCHEME realm members
SETTINGS
acl members proxy_auth REQUIRED
acl secure port SECURE
acl CONNECT method CONNECT
http_access deny CONNECT !secure
http_access allow members
http_access deny all
cache deny all
access_log none
cache_log /dev/null
logfile_rotate 0
pid_filename none
pinger_enable off
visible_hostname localhost
shutdown_lifetime 0 seconds
"""


class Squid(Server):
    """An HTTP proxy for the user "ada" with the password "s3cret", who is known by Basic or by Digest. Tunnels lead to
    one port only."""

    def __init__(self, folder, scheme, secure_port):
        if scheme == "digest":
            program, member = "digest_file_auth", "ada:s3cret"
            # A nonce is good for a few requests, whose numbers grow.
            settings = "auth_param digest nonce_max_count 20\nauth_param digest check_nonce_count on"
        else:
            hashed = subprocess.run(["openssl", "passwd", "-apr1", "s3cret"], check=True, stdout=subprocess.PIPE, text=True)
            program, member, settings = "basic_ncsa_auth", "ada:" + hashed.stdout.strip(), ""
        port = free_port()
        text = SQUID
        for name, value in (("SCHEME", scheme), ("PROGRAM", "/usr/lib/squid/" + program), ("FOLDER", folder.path),
                            ("SETTINGS", settings), ("PORT", port), ("SECURE", secure_port)):
            text = text.replace(name, str(value))
        (folder / "squid.conf").write_text(text)
        (folder / "members").write_text(member + "\n")
        # Started by root, it works as another user.
        folder.path.chmod(0o755)
        super().__init__([find("squid"), "-N", "-d", "1", "-f", folder / "squid.conf"], port, folder / "squid.log")


class Microsocks(Server):
    """A SOCKS5 proxy for the user "ada" with the password "s3cret"."""

    def __init__(self, folder):
        port = free_port()
        super().__init__([find("microsocks"), "-i", "127.0.0.1", "-p", port, "-u", "ada", "-P", "s3cret"], port,
                         folder / "microsocks.log")


class BundledServer:
    """The project's own server, with the routes that fail for a while."""

    def __init__(self):
        self.process = subprocess.Popen([os.environ["CORVANE_TESTSERVER"]], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE)
        line = self.process.stdout.readline().decode().strip()
        if not line.startswith("listening on "):
            self.stop()
            raise RuntimeError(f"the server does not listen: {line!r}")
        self.base = "http://" + line.removeprefix("listening on ")

    def stop(self):
        self.process.communicate(timeout=PATIENCE)  # it ends when its standard input does
