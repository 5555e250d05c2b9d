"""A server that counts what it is sent and keeps nothing of it."""

import json
import socket
import threading

PIECE = 1 << 20
SAMPLE = 16


class Sink:
    """Answers each request with the size of its body, and the bytes at the offsets that it looks at."""

    def __init__(self, offsets=(), stalls_after=None):
        """`stalls_after` so many bytes it reads no further, until it is stopped."""
        self.offsets = offsets
        self.stalls_after = stalls_after
        self.stopped = threading.Event()
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.port = self.socket.getsockname()[1]
        self.thread = threading.Thread(target=self.serve)
        self.thread.start()

    def serve(self):
        while True:
            try:
                connection, _ = self.socket.accept()
            except OSError:  # stopped
                return
            with connection:
                if not self.stopped.is_set():
                    self.respond(connection)

    def respond(self, connection):
        head = b""
        while b"\r\n\r\n" not in head:
            more = connection.recv(PIECE)
            if not more:
                return
            head += more
        head, _, first = head.partition(b"\r\n\r\n")
        fields = [line.partition(b":") for line in head.split(b"\r\n")[1:]]
        length = int(next(value for name, _, value in fields if name.lower() == b"content-length"))
        report = json.dumps(self.count(connection, first, length)).encode()
        connection.sendall(b"HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: %d\r\n\r\n" % len(report) + report)

    def count(self, connection, first, length):
        samples = {offset: b"" for offset in self.offsets}
        buffer = bytearray(PIECE)
        view = memoryview(buffer)
        view[:len(first)] = first
        got, count = len(first), 0
        while True:
            for offset in self.offsets:
                begin, end = max(offset, count), min(offset + SAMPLE, count + got)
                if begin < end:
                    samples[offset] += bytes(view[begin - count:end - count])
            count += got
            if self.stalls_after is not None and count >= self.stalls_after:
                self.stopped.wait()
                break
            if count >= length:
                break
            got = connection.recv_into(buffer)
            if got == 0:
                break
        return {"count": count, "samples": {str(offset): sample.hex() for offset, sample in samples.items()}}

    def stop(self):
        self.stopped.set()
        # Closing alone would not wake the thread that waits there (accept(2)).
        self.socket.shutdown(socket.SHUT_RDWR)
        self.thread.join()
        self.socket.close()
