#!/usr/bin/env python3
"""Shows the check of the reference symbols with and without words, as Doxygen writes them down."""

import html
import pathlib
import sys
import unittest
import xml.etree.ElementTree as ElementTree

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True
import check_reference  # noqa: E402

BASE = "base"


def member(name, words="", kind="function", arguments="()", parameters=(), values="", line=1):
    types = "".join(f"<param><type>{html.escape(parameter)}</type></param>" for parameter in parameters)
    return (f'<memberdef kind="{kind}" prot="public"><name>{name}</name><argsstring>{html.escape(arguments)}</argsstring>{types}'
            f'{values}<briefdescription>{words}</briefdescription><type>int</type><location file="Corvane/A.hpp" line="{line}"/></memberdef>')


def compound(name, members, words="Words.", base=""):
    bases = f'<basecompoundref refid="{base}"/>' if base else ""
    text = (f'<compounddef kind="class" prot="public"><compoundname>{name}</compoundname>{bases}<sectiondef>'
            f'{"".join(members)}</sectiondef><briefdescription>{words}</briefdescription>'
            f'<location file="Corvane/A.hpp" line="1"/></compounddef>')
    return check_reference.Compound(ElementTree.fromstring(text))


class CheckReferenceTest(unittest.TestCase):
    def missing(self, *members, words="Words."):
        base = compound("corvane::Base", [member("path", "Where it leads.")])
        compounds = {BASE: base, "a": compound("corvane::A", members, words, BASE)}
        return [name for _, name in check_reference.undocumented(compounds)]

    def test_accepts_a_member_with_words(self):
        self.assertEqual(self.missing(member("count", "How many.")), [])

    def test_finds_a_member_without_words(self):
        self.assertEqual(self.missing(member("count")), ["corvane::A::count()"])

    def test_finds_a_class_without_words(self):
        self.assertEqual(self.missing(words=""), ["corvane::A"])

    def test_accepts_an_overload_of_a_documented_function(self):
        self.assertEqual(self.missing(member("send", "Sends."), member("send")), [])

    def test_accepts_constants_on_the_lines_after_a_documented_one(self):
        def constant(name, line, words=""):
            return member(name, words, "variable", "", line=line)

        run = [constant("one", 1, "Codes."), constant("two", 2), constant("three", 3)]
        self.assertEqual(self.missing(*run), [])
        self.assertEqual(self.missing(*run, constant("four", 5)), ["corvane::A::four"])

    def test_accepts_a_member_that_the_base_class_explains(self):
        self.assertEqual(self.missing(member("path")), [])

    def test_accepts_copies_and_comparisons(self):
        copy = member("A", arguments="(const A &)", parameters=("const A &",))
        self.assertEqual(self.missing(copy, member("operator==")), [])

    def test_finds_a_constructor_without_words(self):
        made = member("A", arguments="(int)", parameters=("int",))
        self.assertEqual(self.missing(made), ["corvane::A::A(int)"])

    def test_finds_the_one_enumerator_without_words(self):
        one, two = ("<enumvalue><name>{}</name><briefdescription>{}</briefdescription></enumvalue>".format(*pair)
                    for pair in (("one", "First."), ("two", "")))
        self.assertEqual(self.missing(member("Case", "Which.", "enum", "", values=one + two)), ["corvane::A::Case::two"])

    def test_accepts_enumerators_that_are_all_without_words(self):
        values = "<enumvalue><name>one</name></enumvalue><enumvalue><name>two</name></enumvalue>"
        self.assertEqual(self.missing(member("Case", "Which.", "enum", "", values=values)), [])


if __name__ == "__main__":
    unittest.main()
