"""Responses byte by byte, valid and broken, and a server that sends them: the case number is the path."""

import contextlib
import gzip
import socket
import threading
import zlib

GZIPPED = gzip.compress(b"hello, world", mtime=0)


def head(*fields, status="HTTP/1.1 200 OK"):
    return "".join(line + "\r\n" for line in (status, *fields, "")).encode("latin-1")


def with_length(body, *fields, status="HTTP/1.1 200 OK"):
    return head(*fields, f"Content-Length: {len(body)}", status=status) + body


def chunked(*chunks, fields=(), end=b"0\r\n\r\n"):
    body = b"".join(b"%x\r\n%s\r\n" % (len(chunk), chunk) for chunk in chunks)
    return head("Transfer-Encoding: chunked", *fields) + body + end


def status_lines():
    for line in ("HTTP/1.1 200 OK", "HTTP/1.1 200", "HTTP/1.1 200 ", "HTTP/1.0 200 OK", "HTTP/1.7 200 OK",
                 "HTTP/1.1 201 Created", "HTTP/1.1 206 Partial Content", "HTTP/1.1 299 Odd", "HTTP/1.1 400 Bad",
                 "HTTP/1.1 404 Not Found", "HTTP/1.1 418 Teapot", "HTTP/1.1 500 Oops", "HTTP/1.1 599 Odd",
                 "HTTP/1.1 600 Odd", "HTTP/1.1 999 Odd", "HTTP/1.1 099 Low", "HTTP/1.1 000 Zero", "HTTP/1.1 20 Short",
                 "HTTP/1.1 2000 Long", "HTTP/1.1 2x0 Odd", "HTTP/1.1 -20 Odd", "HTTP/1.1 +20 Odd", "HTTP/1.1  200 OK",
                 "HTTP/1.1\t200 OK", "HTTP/1.1 200OK", "http/1.1 200 OK", "HTTP/1. 200 OK", "HTTP/1.10 200 OK",
                 "HTTP/01.1 200 OK", "HTTP/2 200", "HTTP/2.0 200 OK", "HTTP/3 200", "HTTP/0.9 200 OK", "HTTP 200 OK",
                 "ICY 200 OK", "SSH-2.0-OpenSSH_9.2", " HTTP/1.1 200 OK", "HTTP/1.1 0xC8 OK", "HTTP/1.1 200 \xe4\xf6",
                 "HTTP/1.1 200 O\0K", "HTTP/1.1 200 O\rK", "<html>hello</html>", ""):
        yield f"status line {line!r}", with_length(b"hello", status=line)
    yield "status line after an empty line", b"\r\n" + with_length(b"hello")
    yield "status line that ends with LF", b"HTTP/1.1 200 OK\nContent-Length: 5\n\nhello"
    yield "status line that ends with CR", b"HTTP/1.1 200 OK\rContent-Length: 5\r\rhello"
    yield "status line of 70,000 bytes", with_length(b"hello", status="HTTP/1.1 200 " + "x" * 70_000)


def field_lines():
    for line in ("X: 1", "X:1", "X:\t1", "X: ", "X:", "X: a b", "X: \xe4", "X: a\x01b", "X: a\x7fb", "X: a\0b", "X: a\rb",
                 "X : 1", "X\t: 1", "X Y: 1", ": 1", "X", "X\0: 1", "X\x01: 1", "X\xe4: 1", "X(: 1", '"X": 1', " X: 1",
                 "X: 1\r\n folded", "X: 1\r\n\tfolded", "X: 1\r\n ", "X: 1\nY: 2", "X: " + "a" * 8000,
                 "X: " + "a" * 60_000, "X: " + "a" * 120_000):
        yield f"field {line[:40]!r} of {len(line)} bytes", with_length(b"hello", line)
    for count in (100, 900, 6000):
        yield f"{count} fields", with_length(b"hello", *(f"X-{number}: value" for number in range(count)))
    yield "1 MB of fields", with_length(b"hello", *(f"X-{number}: " + "a" * 10_000 for number in range(100)))


def lengths():
    for value in ("5", "05", "005", " 5", "5 ", "5\t", "+5", "-5", "5.0", "5e0", "0x5", "five", "", " ", "5;", "5,5", "5, 5",
                  "5,6", "5,", ",5", "5 5", "9223372036854775807", "9223372036854775808", "18446744073709551621",
                  "99999999999999999999999", "6", "4", "0", "\xb5", "5\x0b"):
        yield f"length {value!r}", head(f"Content-Length: {value}") + b"hello"
    yield "equal lengths twice", head("Content-Length: 5", "Content-Length: 5") + b"hello"
    yield "two lengths", head("Content-Length: 5", "Content-Length: 4") + b"hello"
    yield "a length and an empty one", head("Content-Length: 5", "Content-Length:") + b"hello"
    yield "no length", head() + b"hello"
    yield "no length over HTTP/1.0", head(status="HTTP/1.0 200 OK") + b"hello"
    yield "no length, connection kept", head("Connection: keep-alive") + b"hello"
    yield "a body shorter than its length", head("Content-Length: 50") + b"hello"
    yield "a body longer than its length", head("Content-Length: 3") + b"hello"


def transfer_codings():
    body = b"5\r\nhello\r\n0\r\n\r\n"
    for value in ("chunked", "Chunked", "CHUNKED", " chunked ", "chunked,", ",chunked", "chunked, chunked",
                  "identity, chunked", "gzip, chunked", "chunked, gzip", "identity", "xchunked", "chunkedx", "chunked;q=1",
                  '"chunked"', "", "nonsense", "chunked\x0b", "chun\tked", "c\xadhunked"):
        yield f"transfer coding {value!r}", head(f"Transfer-Encoding: {value}") + body
    yield "chunked twice, two fields", head("Transfer-Encoding: chunked", "Transfer-Encoding: chunked") + body
    yield "chunked and identity, two fields", head("Transfer-Encoding: identity", "Transfer-Encoding: chunked") + body
    yield "chunked and a length", head("Transfer-Encoding: chunked", "Content-Length: 5") + body
    yield "a length and chunked", head("Content-Length: 5", "Transfer-Encoding: chunked") + body
    yield "chunked and a wrong length", head("Transfer-Encoding: chunked", "Content-Length: 500") + body
    yield "chunked over HTTP/1.0", head("Transfer-Encoding: chunked", status="HTTP/1.0 200 OK") + body
    yield "chunked with a space before its colon", head("Transfer-Encoding : chunked") + body
    yield "chunked, folded", head("Transfer-Encoding:\r\n chunked") + body


def chunks():
    yield "no chunk", chunked()
    yield "one chunk", chunked(b"hello")
    yield "many chunks", chunked(*[b"hello"] * 100)
    for size in ("5", "05", "0000000005", "5 ", "5\t", " 5", "+5", "-5", "0x5", "5;a", "5;a=b", '5;a="b"', '5;a="\\""',
                 "5 ; a = b", "5;", "5;;", "5,", "5h", "h", "", "5\0", "5\x0b", "ffffffffffffffff", "fffffffffffffffff",
                 "7fffffffffffffff", "10000000000000005", "5;" + "a" * 5000, "5;" + "a" * 200_000):
        yield (f"chunk size {size[:20]!r} of {len(size)} bytes",
               head("Transfer-Encoding: chunked") + size.encode("latin-1") + b"\r\nhello\r\n0\r\n\r\n")
    for name, body in (("LF after the size", b"5\nhello\r\n0\r\n\r\n"), ("LF after the chunk", b"5\r\nhello\n0\r\n\r\n"),
                       ("CR after the size", b"5\rhello\r\n0\r\n\r\n"), ("nothing after the chunk", b"5\r\nhello0\r\n\r\n"),
                       ("more than its size", b"3\r\nhello\r\n0\r\n\r\n"), ("less than its size", b"9\r\nhello\r\n0\r\n\r\n"),
                       ("LF at the end", b"5\r\nhello\r\n0\r\n\n"), ("only LF", b"5\nhello\n0\n\n"),
                       ("no end", b"5\r\nhello\r\n"), ("no end of the end", b"5\r\nhello\r\n0\r\n"),
                       ("end of zeros", b"5\r\nhello\r\n0000\r\n\r\n"), ("end with an extension", b"5\r\nhello\r\n0;a=b\r\n\r\n"),
                       ("bytes after the end", b"5\r\nhello\r\n0\r\n\r\nmore"),
                       ("a response after the end", b"5\r\nhello\r\n0\r\n\r\n" + with_length(b"other")),
                       ("a trailer", b"5\r\nhello\r\n0\r\nX: 1\r\n\r\n"), ("a trailer and LF", b"5\r\nhello\r\n0\r\nX: 1\n\n"),
                       ("a trailer without a colon", b"5\r\nhello\r\n0\r\nX\r\n\r\n"),
                       ("a trailer with NUL", b"5\r\nhello\r\n0\r\nX: a\0b\r\n\r\n"),
                       ("a folded trailer", b"5\r\nhello\r\n0\r\nX: 1\r\n 2\r\n\r\n"),
                       ("a trailer that is a length", b"5\r\nhello\r\n0\r\nContent-Length: 9\r\n\r\n"),
                       ("a trailer cut off", b"5\r\nhello\r\n0\r\nX: 1\r\n"),
                       ("trailers of 1 MB", b"5\r\nhello\r\n0\r\n" + b"X: %s\r\n" % (b"a" * 10_000) * 100 + b"\r\n")):
        yield f"chunks with {name}", head("Transfer-Encoding: chunked") + body


def interim_responses():
    for code in (100, 102, 103, 199):
        yield f"{code}, then 200", head(status=f"HTTP/1.1 {code} Interim") + with_length(b"hello")
    yield "101, then 200", head("Upgrade: h2c", status="HTTP/1.1 101 Switching Protocols") + with_length(b"hello")
    yield "103 with fields and a length", head("Link: </a>", "Content-Length: 3", status="HTTP/1.1 103 Early Hints") + \
        with_length(b"hello")
    yield "ten times 103", head(status="HTTP/1.1 103 Early Hints") * 10 + with_length(b"hello")
    yield "100 alone", head(status="HTTP/1.1 100 Continue")
    yield "10,000 times 103", head(status="HTTP/1.1 103 Early Hints") * 10_000 + with_length(b"hello")


def responses_without_a_body():
    for status in ("204 No Content", "304 Not Modified"):
        line = f"HTTP/1.1 {status}"
        yield status, head(status=line)
        yield f"{status} with a length", head("Content-Length: 5", status=line)
        yield f"{status} with a length and a body", with_length(b"hello", status=line)
        yield f"{status}, chunked", head("Transfer-Encoding: chunked", status=line) + b"0\r\n\r\n"
    yield "205 with a body", with_length(b"hello", status="HTTP/1.1 205 Reset Content")


def content_codings():
    for coding in ("gzip", "x-gzip", "GZIP", "deflate", "identity", "br", "nonsense", "gzip, identity", "", "gzip;q=1"):
        body = zlib.compress(b"hello, world") if coding == "deflate" else GZIPPED
        yield f"content coding {coding!r}", with_length(body, f"Content-Encoding: {coding}")
    yield "gzip twice", with_length(gzip.compress(GZIPPED, mtime=0), "Content-Encoding: gzip, gzip")
    yield "gzip in two fields", with_length(gzip.compress(GZIPPED, mtime=0), "Content-Encoding: gzip",
                                            "Content-Encoding: gzip")
    yield "bare deflate", with_length(zlib.compress(b"hello, world")[2:-4], "Content-Encoding: deflate")
    yield "gzip in chunks", chunked(GZIPPED[:7], GZIPPED[7:], fields=("Content-Encoding: gzip",))
    for name, body in (("cut off", GZIPPED[:-9]), ("without its checksum", GZIPPED[:-8]),
                       ("with a wrong checksum", GZIPPED[:-8] + b"\1\2\3\4" + GZIPPED[-4:]),
                       ("with bytes after it", GZIPPED + b"more"), ("of two members", GZIPPED + GZIPPED),
                       ("that is none", b"hello, world"), ("of no byte", b""), ("of one byte", b"\x1f")):
        yield f"gzip {name}", with_length(body, "Content-Encoding: gzip")


def truncations():
    for name, response in (("with a length", with_length(b"hello", "X: 1")), ("in chunks", chunked(b"hello", b"world"))):
        for count in range(0, len(response), 5):
            yield f"a response {name}, cut off after {count} bytes", response[:count]


def connections():
    for value in ("close", "keep-alive", "Close", "upgrade", "close, keep-alive", ""):
        yield f"connection {value!r}", with_length(b"hello", f"Connection: {value}")


def all_cases():
    groups = (status_lines, field_lines, lengths, transfer_codings, chunks, interim_responses, responses_without_a_body,
              content_codings, truncations, connections)
    cases = [case for group in groups for case in group()]
    assert len({name for name, _ in cases}) == len(cases)
    return cases


class Server:
    """Sends case number N to who asks for /N, and closes the connection."""

    def __init__(self, cases):
        self.cases = cases
        self.listener = socket.create_server(("127.0.0.1", 0), backlog=64)
        self.port = self.listener.getsockname()[1]
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def serve(self):
        while True:
            connection, _ = self.listener.accept()
            with connection:
                connection.settimeout(20)
                # A client that refuses what it has read so far goes away, or waits for more.
                with contextlib.suppress(OSError):
                    if not self.respond(connection):
                        return

    def respond(self, connection):
        request = b""
        while b"\r\n\r\n" not in request:
            piece = connection.recv(65536)
            if not piece:
                return True
            request += piece
        path = request.split(b" ", 2)[1]
        if path == b"/stop":
            return False
        connection.sendall(self.cases[int(path[1:])][1])
        connection.shutdown(socket.SHUT_WR)
        while connection.recv(65536):
            pass
        return True

    def stop(self):
        with socket.create_connection(("127.0.0.1", self.port)) as connection:
            connection.sendall(b"GET /stop HTTP/1.1\r\n\r\n")
        self.thread.join()
        self.listener.close()
