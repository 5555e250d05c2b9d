"""What parsers of others make of the multipart layout: see Docs/Decisions/0013-multipart-forms-and-servers.md. And that
they read every form of browsers, which `HTTPFormData` and `HTTPFormBody` write, as it was meant."""

import base64
import json

import form_servers
import servers
from driver import TransferTest

# Like a boundary of this library, but for the identifier of the process.
BOUNDARY_LIKE = b'\r\n--corvane.Boundary.\r\nContent-Disposition: form-data; name="none"\r\n\r\nx\r\n--corvane.Boundary.--\r\n'
EVERY_BYTE = bytes(range(256))


def setUpModule():
    global folder, own, php, httpbin
    folder = servers.Folder()
    own = form_servers.FormServer()
    php = form_servers.php(folder)
    httpbin = servers.httpbin(folder)


def tearDownModule():
    httpbin.stop()
    php.stop()
    own.stop()
    folder.remove()


def field(name, content, content_type=None):
    return {"name": name, "value": base64.b64encode(content).decode(), "type": content_type}


def file(name, filename, content):
    path = folder / filename
    path.write_bytes(content)
    return {"name": name, "file": str(path)}


def is_read(name, content, filename=None, content_type=None, problem=None):
    """A section as a parser should give it."""
    return {"name": name, "content": content, "filename": filename, "type": content_type, "problem": problem}


BEFORE, AFTER = field("before", b"1"), field("after", b"2")
BEFORE_READ, AFTER_READ = is_read("before", b"1"), is_read("after", b"2")


class Parser:
    """What holds for each of them."""

    def setUp(self):
        self.driver = self.drive()

    def response(self, *sections):
        outcome = self.driver.do("form", self.url(), sections=sections)
        self.assertEqual((outcome.status, outcome.error), (200, ""), str(outcome))
        return json.loads(outcome.body)

    def read(self, *sections):
        parts = self.response(*sections)["parts"]
        return [{**part, "content": base64.b64decode(part["content"])} for part in parts]

    def is_read_between_others(self, section, *expected):
        self.assertEqual(self.read(BEFORE, section, AFTER), [BEFORE_READ, *expected, AFTER_READ])

    def test_a_plain_field_is_read_right(self):
        self.is_read_between_others(field("name", b"value"), is_read("name", b"value"))

    def test_a_plain_field_without_a_value_is_read_right(self):
        self.is_read_between_others(field("name", b""), is_read("name", b""))

    def test_a_plain_field_of_any_language_is_read_right(self):
        value = "wört, 值".encode()
        self.is_read_between_others(field("näme名", value), is_read("näme名", value))

    def test_a_plain_field_like_headers_or_boundaries_is_read_right(self):
        for value in (b"\r\n", b"\r\n\r\n", b"X-Field: y\r\n\r\nrest", BOUNDARY_LIKE):
            with self.subTest(value):
                self.is_read_between_others(field("name", value), is_read("name", value))

    def test_the_type_of_a_typed_value_is_read_as_its_first_line(self):
        self.is_read_between_others(field("name", b'{"a":1}', "application/json"),
                                    is_read("name", b'Content-Type: application/json\r\n{"a":1}'))
        self.is_read_between_others(field("name", b"", "text/csv"), is_read("name", b"Content-Type: text/csv\r\n"))


class ExactParser(Parser):
    """What holds for those that hand on the bytes."""

    def test_a_plain_field_of_any_bytes_is_read_right(self):
        self.is_read_between_others(field("name", EVERY_BYTE), is_read("name", EVERY_BYTE))


class Werkzeug(Parser, TransferTest):
    """Behind httpbin and Flask; it hands fields on as text."""

    def url(self):
        return f"http://127.0.0.1:{httpbin.port}/post"

    def read(self, *sections):
        response = self.response(*sections)
        self.assertEqual(response["files"], {})
        # Its response is sorted by name.
        return [is_read(name, response["form"][name].encode())
                for name in sorted(response["form"], key=lambda name: (name != "before", name == "after"))]

    def test_a_file_makes_it_lose_the_whole_form(self):
        for content in (b"", b"text", b"\r\ncontent", EVERY_BYTE):
            self.assertEqual(self.read(BEFORE, file("name", "a.txt", content), AFTER), [])

    def test_a_form_without_sections_is_read_right(self):
        self.assertEqual(self.read(), [])


class Email(ExactParser, TransferTest):
    """The `email` package of Python."""

    def url(self):
        return f"http://127.0.0.1:{own.port}/email"

    def test_the_headers_of_a_file_are_read_as_its_first_lines(self):
        for content in (b"", b"text", b"\r\ncontent", BOUNDARY_LIKE, EVERY_BYTE):
            with self.subTest(content):
                lines = b'; filename="a.txt"\r\nContent-Type: text/plain\r\n'
                self.is_read_between_others(
                    file("name", "a.txt", content),
                    is_read("name", lines + content, problem="MissingHeaderBodySeparatorDefect"))

    def test_a_form_without_sections_is_read_right(self):
        self.assertEqual(self.read(), [])


class Multipart(ExactParser, TransferTest):
    """python3-multipart, behind Starlette and FastAPI."""

    def url(self):
        return f"http://127.0.0.1:{own.port}/multipart"

    def test_a_file_makes_it_refuse_the_form(self):
        for content in (b"", b"text", b"\r\ncontent", EVERY_BYTE):
            self.assertIn("non-alphanumeric character 59 in header",
                          self.response(BEFORE, file("name", "a.txt", content), AFTER)["refusal"])

    def test_a_form_without_sections_is_refused(self):
        self.assertIn("Did not find CR at end of boundary", self.response()["refusal"])


class PHP(ExactParser, TransferTest):
    def url(self):
        return f"http://127.0.0.1:{php.port}/form.php"

    def test_a_file_that_begins_with_an_empty_line_is_read_without_that(self):
        for content in (b"", b"content", BOUNDARY_LIKE, EVERY_BYTE):
            with self.subTest(content):
                # It tells of files after fields.
                self.assertEqual(self.read(BEFORE, file("näme", "ä 名.bin", b"\r\n" + content), AFTER),
                                 [BEFORE_READ, AFTER_READ,
                                  is_read("näme", content, "ä 名.bin", "application/octet-stream")])

    def test_any_other_file_loses_all_up_to_its_first_empty_line(self):
        for lost, content in ((b"PNG\r\n\x1a\n\r\n", b"\r\nrest"), (b"X-Field: y\r\n\r\n", b"rest"),
                              (bytes(range(11)), bytes(range(11, 256)))):
            with self.subTest(lost):
                before, after, read = self.read(BEFORE, file("name", "a.png", lost + content), AFTER)
                self.assertEqual((before, after), (BEFORE_READ, AFTER_READ))
                self.assertEqual((read["content"], read["filename"], read["problem"]), (content, "a.png", None))

    def test_a_file_without_an_empty_line_takes_in_the_field_behind_it(self):
        before, read = self.read(BEFORE, file("name", "a.json", b'{"a":1}'), AFTER)
        self.assertEqual(before, BEFORE_READ)
        self.assertEqual(read, is_read("name", b"2", "a.json", "application/json"))

    def test_a_file_without_an_empty_line_at_the_end_is_an_error(self):
        for content in (b"", b"text"):
            self.assertEqual(self.read(BEFORE, file("name", "a.txt", content)),
                             [BEFORE_READ, is_read("name", b"", "a.txt", "", "error 3")])

    def test_a_form_without_sections_is_read_right(self):
        self.assertEqual(self.read(), [])


TYPED = field("typed", b'{"a":1}', "application/json")
TYPED_READ = is_read("typed", b'{"a":1}', content_type="application/json")


def produced(name, content):
    return {**field(name, content, "text/csv"), "isProduced": True}


class BrowserForm:
    """What holds for forms in the layout of browsers, whoever reads them."""

    reads_types = True
    reads_produced = True

    def setUp(self):
        self.driver = self.drive()

    def response(self, *sections, action="formData"):
        outcome = self.driver.do(action, self.url(), sections=sections)
        self.assertEqual((outcome.status, outcome.error), (200, ""), str(outcome))
        return json.loads(outcome.body)

    def read(self, *sections):
        parts = self.response(*sections)["parts"]
        return [{**part, "content": base64.b64decode(part["content"])} for part in parts]

    def is_read_as(self, sections, *expected):
        """In any order, since some tell of files after values."""
        def key(part):
            return part["name"]
        self.assertEqual(sorted(self.read(*sections), key=key), sorted(expected, key=key))

    def test_values_are_read_right(self):
        for value in (b"", b"value", "wört, 值".encode(), b"\r\n\r\n", BOUNDARY_LIKE):
            with self.subTest(value):
                self.is_read_as([BEFORE, field("name", value), AFTER], BEFORE_READ, is_read("name", value), AFTER_READ)

    def test_files_are_read_right(self):
        for content in (b"", b"text", b"\r\ncontent", BOUNDARY_LIKE, EVERY_BYTE, EVERY_BYTE * 4000):
            with self.subTest(content[:100]):
                self.is_read_as([BEFORE, file("name", "ä 名.bin", content), AFTER], BEFORE_READ,
                                is_read("name", content, "ä 名.bin", "application/octet-stream"), AFTER_READ)

    def test_a_name_of_any_language_is_read_right(self):
        self.is_read_as([file("näme", "a.txt", b"x")], is_read("näme", b"x", "a.txt", "text/plain"))

    def test_a_quote_in_a_name_is_read_as_browsers_write_it(self):
        self.is_read_as([field('a"b', b"1")], is_read("a%22b", b"1"))

    def test_a_produced_part_is_read_right(self):
        if not self.reads_produced:
            self.skipTest("this server does not read bodies of unknown length")
        content = EVERY_BYTE * 100
        self.is_read_as([BEFORE, produced("name", content)], BEFORE_READ,
                        is_read("name", content, "produced", "text/csv"))


class BrowserFormByEmail(BrowserForm, TransferTest):
    def url(self):
        return f"http://127.0.0.1:{own.port}/email"

    def test_the_type_of_a_value_is_read_right(self):
        self.is_read_as([BEFORE, TYPED], BEFORE_READ, TYPED_READ)


class BrowserFormByMultipart(BrowserForm, TransferTest):
    def url(self):
        return f"http://127.0.0.1:{own.port}/multipart"

    def test_the_type_of_a_value_is_read_right(self):
        self.is_read_as([BEFORE, TYPED], BEFORE_READ, TYPED_READ)


class BrowserFormByPHP(BrowserForm, TransferTest):
    reads_produced = False

    def url(self):
        return f"http://127.0.0.1:{php.port}/form.php"

    def test_a_plain_form_is_read_right(self):
        values = [("a", b"1"), ("b c", "wört & 值=+%\r\n".encode()), ("empty", b"")]
        parts = self.response(*(field(*value) for value in values), action="formURLEncoded")["parts"]
        # It makes variables of names, without spaces.
        self.assertEqual([(part["name"], base64.b64decode(part["content"])) for part in parts],
                         [(name.replace(" ", "_"), value) for name, value in values])


class BrowserFormByWerkzeug(TransferTest):
    def setUp(self):
        self.driver = self.drive()

    def response(self, *sections, action):
        outcome = self.driver.do(action, f"http://127.0.0.1:{httpbin.port}/post", sections=sections)
        self.assertEqual((outcome.status, outcome.error), (200, ""), str(outcome))
        return json.loads(outcome.body)

    def test_a_form_with_a_file_is_read_right(self):
        response = self.response(BEFORE, file("name", "a.txt", b"text\n"), AFTER, action="formData")
        self.assertEqual((response["form"], response["files"]), ({"before": "1", "after": "2"}, {"name": "text\n"}))

    def test_a_plain_form_is_read_right(self):
        response = self.response(field("a b", "wört & 值=+%".encode()), field("c", b"1"), field("c", b"2"),
                                 action="formURLEncoded")
        self.assertEqual(response["form"], {"a b": "wört & 值=+%", "c": ["1", "2"]})
