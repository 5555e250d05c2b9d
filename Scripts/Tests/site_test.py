#!/usr/bin/env python3
"""Shows how the site writes declarations, finds members of bases, and draws figures."""

import pathlib
import sys
import unittest
import xml.etree.ElementTree as ElementTree

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "Site"))
sys.dont_write_bytecode = True
import bars  # noqa: E402
import cpp  # noqa: E402
import guide  # noqa: E402
from model import Compound, Reference, text_of  # noqa: E402


def signature(text):
    return cpp.signature(ElementTree.fromstring(text), text_of)


class DeclarationTest(unittest.TestCase):
    def test_spaces_as_in_the_sources(self):
        self.assertEqual(cpp.spaced("const std::vector< int > &values, T *item"), "const std::vector<int>& values, T* item")
        self.assertEqual(cpp.spaced("(F &&... futures)"), "(F&&... futures)")

    def test_splits_at_the_outer_commas(self):
        self.assertEqual(cpp.arguments("A<B<C, D>, E>"), ["B<C, D>", "E"])

    def test_says_what_helpers_mean(self):
        self.assertEqual(cpp.with_meanings("Future<detail::ResponseOf<Request>>"), "Future<Request::Response>")
        self.assertEqual(cpp.with_meanings("() noexcept(detail::checkSelf<A, B>())"), "() noexcept")

    def test_drops_a_constraint_that_users_cannot_name(self):
        self.assertEqual(signature('<memberdef kind="function" explicit="yes"><templateparamlist><param>'
                                   '<type>detail::Headers</type><declname>Fields</declname></param></templateparamlist>'
                                   '<type></type><argsstring>(Fields headers)</argsstring><name>A</name></memberdef>'),
                         "template <class Fields>\nexplicit A(Fields headers)")

    def test_breaks_long_parameter_lists(self):
        text = cpp.broken("void f(" + ", ".join(["std::string name"] * 8) + ") const", "f")
        self.assertEqual(text.count("\n"), 8)
        self.assertTrue(text.endswith("name) const"))


def compound(identifier, name, bases="", members=(), parameters=""):
    functions = "".join(
        f'<memberdef kind="function" id="{identifier}_{each}" prot="public"><type>void</type><name>{each}</name>'
        f'<argsstring>()</argsstring><briefdescription>Words.</briefdescription><location file="Sources/A.hpp"/></memberdef>'
        for each in members)
    return Compound(ElementTree.fromstring(
        f'<compounddef id="{identifier}" kind="class" prot="public"><compoundname>{name}</compoundname>{bases}{parameters}'
        f'<sectiondef>{functions}</sectiondef><briefdescription>Words.</briefdescription>'
        f'<location file="Sources/Corvane/A.hpp"/></compounddef>'))


def reference(*compounds):
    result = Reference.__new__(Reference)
    result.compounds = {each.identifier: each for each in compounds}
    result.by_name = {each.name: each for each in compounds}
    return result


class MembersTest(unittest.TestCase):
    def setUp(self):
        parameter = "<templateparamlist><param><type>class Mixin</type></param></templateparamlist>"
        self.named = compound("n", "corvane::Named", members=["send", "url"])
        self.helper = compound("h", "corvane::detail::Helper", '<basecompoundref prot="public">Mixin</basecompoundref>',
                               ["url"], parameter)
        self.derived = compound("d", "corvane::Derived", '<basecompoundref refid="h" prot="public">corvane::detail::Helper'
                                "&lt; Named &gt;</basecompoundref>")
        self.reference = reference(self.named, self.helper, self.derived)

    def test_shows_the_members_of_a_base_that_is_a_parameter(self):
        own, inherited = self.reference.members_of(self.derived)
        self.assertEqual([each.name for each in own], ["url"])
        self.assertEqual([(base.name, [each.name for each in members]) for base, members in inherited],
                         [("corvane::Named", ["send"])])

    def test_names_the_nearest_base_that_users_know(self):
        self.assertEqual(list(self.reference.named_bases_of(self.derived)), ["Named"])


TABLES = """
| A GET takes | raw | libcurl | Corvane | goal |
|---|--:|--:|--:|---|
| instructions | 1,000 | 4,000 | 2,000 | 3,000 |
| calls | few | 2 | | |
"""


class BarsTest(unittest.TestCase):
    def test_draws_the_figures_of_a_row_without_the_goal(self):
        self.assertEqual(bars.figures(TABLES, "instructions"), [("raw", "1,000"), ("libcurl", "4,000"), ("Corvane", "2,000")])
        self.assertIn('<tr class="own"><th scope="row">Corvane</th><td><span class="bar" style="width:50.0%">',
                      bars.drawn(bars.figures(TABLES, "instructions"), False))

    def test_finds_no_figures_to_compare(self):
        with self.assertRaises(ValueError):
            bars.figures(TABLES, "calls")

    def test_finds_that_a_row_is_gone(self):
        with self.assertRaises(ValueError):
            bars.row_of(TABLES, "bytes")

    def test_takes_rows_as_a_table(self):
        self.assertEqual(bars.excerpt(TABLES, ["calls"]).splitlines()[2], "| calls | few | 2 |  |  |")


class GuideTest(unittest.TestCase):
    PAGE = ('<h1 id="a">Files</h1><p><code>Data</code></p><h2 id="b">Read</h2><div class="codehilite"><pre>Data one;\n'
            "use(one);\nend();\n</pre></div><p><code>Data</code> <a href='x'><code>Data</code></a></p>")

    def test_tells_where_a_type_is_explained_and_used(self):
        pages = guide.Guide()
        for section in guide.sections("Files", "Docs/Files.html", self.PAGE):
            pages.add(section)
        self.assertEqual([place.url for place in pages.places_of("Data")], ["Docs/Files.html#b"])
        self.assertEqual(pages.example_of("Data")[1].heading, "Read")
        self.assertIsNone(pages.example_of("Absent"))

    def test_links_names_but_not_in_links(self):
        linked = guide.with_links(self.PAGE, lambda name: f"ref/{name}")
        self.assertEqual(linked.count('href="ref/Data"'), 2)


if __name__ == "__main__":
    unittest.main()
