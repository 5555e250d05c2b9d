#!/usr/bin/env python3
"""Shows the check of the built site good pages and bad ones."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True
import check_site  # noqa: E402

TYPE = '<pre class="signature declaration">class A</pre><p class="places"><a href="../Docs/A.html">A</a></p>'
GUIDE = {"Docs/A.html": ""}


class CheckSiteTest(unittest.TestCase):
    def found(self, pages):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name).resolve()
            for path, text in pages.items():
                (folder / path).parent.mkdir(exist_ok=True)
                (folder / path).write_text(text, encoding="utf-8")
            return list(check_site.problems(folder))

    def test_accepts_links_to_pages_anchors_and_other_sites(self):
        pages = {"index.html": '<a href="b.html#x">b</a><a href="https://example.com/">c</a>', "b.html": '<p id="x">'}
        self.assertEqual(self.found(pages), [])

    def test_finds_a_link_to_no_page(self):
        self.assertEqual(self.found({"index.html": '<a href="b.html">b</a>'}), ["index.html: b.html leads nowhere"])

    def test_finds_a_link_out_of_the_site(self):
        self.assertEqual(self.found({"index.html": '<a href="../b">b</a>'}), ["index.html: ../b leads nowhere"])

    def test_finds_a_link_to_no_anchor(self):
        pages = {"index.html": '<a href="b.html#y">b</a>', "b.html": '<p id="x">'}
        self.assertEqual(self.found(pages), ["index.html: b.html#y: that page has no #y"])

    def test_finds_a_missing_picture(self):
        self.assertEqual(self.found({"index.html": '<img src="a.svg">'}), ["index.html: a.svg leads nowhere"])

    def test_finds_what_the_network_would_be_needed_for(self):
        for link in ("https://example.com/a.js", "//example.com/a.js"):
            self.assertEqual(self.found({"index.html": f'<script src="{link}"></script>'}),
                             [f"index.html: {link} would be loaded from the network"])

    def test_accepts_the_page_of_a_type(self):
        self.assertEqual(self.found({"reference/A.html": TYPE, **GUIDE}), [])

    def test_finds_a_type_without_a_way_back(self):
        page = TYPE.partition("<p ")[0]
        self.assertEqual(self.found({"reference/A.html": page}), ["reference/A.html: no way back to the guide"])

    def test_finds_a_name_that_users_do_not_know(self):
        page = TYPE + '<pre class="signature">void f(detail::A)</pre>'
        self.assertEqual(self.found({"reference/A.html": page, **GUIDE}),
                         ["reference/A.html: a declaration names what users do not: detail::"])


if __name__ == "__main__":
    unittest.main()
