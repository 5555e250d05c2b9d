"""Servers that tell what a parser of somebody else makes of a form that they are sent."""

import base64
import email.parser
import email.policy
import http.server
import json
import logging
import threading

import multipart

import servers


# What it refuses is told in the response.
logging.getLogger("multipart").addHandler(logging.NullHandler())


def part(name, content, filename, content_type, problem=None):
    return {"name": name, "content": base64.b64encode(content).decode(), "filename": filename, "type": content_type,
            "problem": problem}


def parse_by_email(content_type, body):
    head = f"Content-Type: {content_type}\r\n\r\n".encode()
    message = email.parser.BytesParser(policy=email.policy.HTTP).parsebytes(head + body)
    return [part(section.get_param("name", header="content-disposition"), section.get_payload(decode=True),
                 section.get_filename(), section["Content-Type"] and section.get_content_type(),
                 " ".join(type(defect).__name__ for defect in section.defects) or None)
            for section in message.iter_parts()]


def parse_by_multipart(content_type, body):
    boundary = multipart.multipart.parse_options_header(content_type)[1][b"boundary"]
    sections, field = [], [b"", b""]

    def begin():
        sections.append([{}, b""])

    def header_field(data, start, end):
        field[0] += data[start:end]

    def header_value(data, start, end):
        field[1] += data[start:end]

    def header_end():
        sections[-1][0][field[0].lower()] = field[1]
        field[:] = [b"", b""]

    def content(data, start, end):
        sections[-1][1] += data[start:end]

    parser = multipart.MultipartParser(boundary, {
        "on_part_begin": begin, "on_header_field": header_field, "on_header_value": header_value,
        "on_header_end": header_end, "on_part_data": content})
    parser.write(body)
    parser.finalize()
    parts = []
    for headers, bytes_ in sections:
        _, options = multipart.multipart.parse_options_header(headers.get(b"content-disposition", b""))
        text = {key: value.decode() for key, value in options.items()}
        parts.append(part(text.get(b"name"), bytes_, text.get(b"filename"),
                          headers[b"content-type"].decode() if b"content-type" in headers else None))
    return parts


class FormServer:
    """Parses with Python's own `email` at /email, and with python3-multipart at /multipart."""

    PARSERS = {"/email": parse_by_email, "/multipart": parse_by_multipart}

    def __init__(self):
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), self.Handler)
        self.port = self.server.server_port
        self.thread = threading.Thread(target=self.server.serve_forever)
        self.thread.start()

    class Handler(http.server.BaseHTTPRequestHandler):
        protocol_version = "HTTP/1.1"

        def body(self):
            if self.headers["Transfer-Encoding"] != "chunked":
                return self.rfile.read(int(self.headers["Content-Length"]))
            body = b""
            while size := int(self.rfile.readline(), 16):
                body += self.rfile.read(size)
                self.rfile.readline()
            self.rfile.readline()
            return body

        def do_POST(self):
            body = self.body()
            try:
                report = {"parts": FormServer.PARSERS[self.path](self.headers["Content-Type"], body)}
            except multipart.multipart.MultipartParseError as refusal:
                report = {"refusal": str(refusal)}
            response = json.dumps(report).encode()
            self.send_response(200)
            self.send_header("Content-Length", str(len(response)))
            self.end_headers()
            self.wfile.write(response)

        def log_message(self, *_):
            pass

    def stop(self):
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()


PHP = """<?php
$parts = [];
foreach ($_POST as $name => $value)
  $parts[] = ["name" => (string)$name, "filename" => null, "type" => null, "problem" => null,
              "content" => base64_encode($value)];
foreach ($_FILES as $name => $file)
  $parts[] = ["name" => (string)$name, "filename" => $file["name"], "type" => $file["type"],
              "problem" => $file["error"] === UPLOAD_ERR_OK ? null : "error {$file['error']}",
              "content" => base64_encode($file["error"] === UPLOAD_ERR_OK ? file_get_contents($file["tmp_name"]) : "")];
header("Content-Type: application/json");
echo json_encode(["parts" => $parts]);
"""


def php(folder):
    (folder / "php").mkdir()
    (folder / "php" / "form.php").write_text(PHP)
    port = servers.free_port()
    return servers.Server([servers.find("php"), "-n", "-d", f"sys_temp_dir={folder.path}", "-S", f"127.0.0.1:{port}",
                           "-t", folder / "php"], port, folder / "php.log")
