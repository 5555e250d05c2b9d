#!/usr/bin/env python3
"""Shows the checks of the documentation pages that are right and pages that are not."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True
import check_docs  # noqa: E402

ERRORS = """
enum class Case {
  first,
  /// Words.
  second = 2
};
class CORVANE_API Failure final : public velisand::AppError<Failure> {};
"""


class CheckDocsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.addCleanup(setattr, check_docs, "ROOT", check_docs.ROOT)
        check_docs.ROOT = self.root
        (self.root / "Sources").mkdir()
        (self.root / "Sources/Error.hpp").write_text(ERRORS)

    def problems(self, *lines):
        page = self.root / "Page.md"
        page.write_text("\n".join(lines) + "\n")
        return [problem for problem in check_docs.check_page(page, None, None) if problem]

    def assert_only(self, problems, text):
        self.assertEqual(len(problems), 1, problems)
        self.assertIn(text, problems[0])

    def test_accepts_a_list_that_names_everything(self):
        self.assertEqual(self.problems("<!-- names every Case of Sources/Error.hpp -->", "`first`, `Case::second`"), [])

    def test_finds_what_a_list_forgets(self):
        problems = self.problems("<!-- names every Case of Sources/Error.hpp -->", "`first`", "# Next", "`second`")
        self.assert_only(problems, "not named here, of Case: second")

    def test_finds_an_error_that_no_page_names(self):
        self.assert_only(self.problems("<!-- names every error of Sources -->", "nothing"), "Failure")

    def test_refuses_a_list_of_what_does_not_exist(self):
        self.assert_only(self.problems("<!-- names every Kind of Sources/Error.hpp -->"), "has no Kind")

    def test_finds_links_to_what_is_not_there(self):
        self.assert_only(self.problems("[a](Lost.md)"), "Lost.md leads nowhere")
        self.assert_only(self.problems("# A title", "[a](#title) [b](#a-title)"), "has no heading #title")

    def test_finds_a_dead_link_whose_text_is_split(self):
        self.assert_only(self.problems("Words", "and [a", "b](Lost.md)"), "Page.md:2: Lost.md leads nowhere")

    def test_finds_an_anchor_that_the_site_has_not(self):
        self.assert_only(self.problems("# One & two", "[a](#one--two)"), "is called something else on the site")

    def table(self, code):
        return (check_docs.ROWS, "", "| What | Code |", "|---|---|", f"| it | `{code}` [Error.hpp](Sources/Error.hpp) |")

    def test_accepts_a_row_that_says_what_the_code_says(self):
        self.assertEqual(self.problems(*self.table("second = 2")), [])

    def test_finds_a_row_that_says_something_else(self):
        self.assert_only(self.problems(*self.table("second = 3")), "`second = 3` does not stand in Sources/Error.hpp")

    def test_finds_a_mark_without_a_table(self):
        self.assert_only(self.problems(check_docs.ROWS), "there is no table")
        self.assert_only(self.problems("<!-- messages of Sources -->"), "there is no table")

    def messages(self, first):
        (self.root / "Sources/Error.cpp").write_text('return "the key \\"" + key +\n  "\\" is " "missing";\n')
        return self.problems("<!-- messages of Sources -->", "", "| Message | Means |", "|---|---|", f"| {first} | it |")

    def test_accepts_messages_that_the_code_has(self):
        self.assertEqual(self.messages("`the key … missing`, `the key \"…\" is …`"), [])

    def test_finds_a_message_that_the_code_has_not(self):
        self.assert_only(self.messages("`the key … is lost`"), 'no message of Sources has "is lost"')

    def test_finds_a_row_without_a_message(self):
        self.assert_only(self.messages("the key is missing"), "does not begin with a message")


if __name__ == "__main__":
    unittest.main()
