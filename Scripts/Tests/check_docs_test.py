#!/usr/bin/env python3
"""Shows the checks of the documentation pages that are right and pages that are not."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True
import check_docs  # noqa: E402
import check_site  # noqa: E402
import reference_sources  # noqa: E402

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

    def table(self, code):
        return (check_docs.ROWS, "", "| What | Code |", "|---|---|", f"| it | `{code}` [Error.hpp](Sources/Error.hpp) |")

    def test_accepts_a_row_that_says_what_the_code_says(self):
        self.assertEqual(self.problems(*self.table("second = 2")), [])

    def test_finds_a_row_that_says_something_else(self):
        self.assert_only(self.problems(*self.table("second = 3")), "`second = 3` does not stand in Sources/Error.hpp")

    def test_finds_a_mark_without_a_table(self):
        self.assert_only(self.problems(check_docs.ROWS), "there is no table")


class CheckSiteTest(unittest.TestCase):
    def problems(self, text):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "index.html").write_text(text)
            (root / "other.html").write_text('<h1 id="there">Other</h1>')
            pages = check_site.read_pages(root)
            return list(check_site.problems(root / "index.html", pages[root / "index.html"], pages, root))

    def test_accepts_links_that_lead_somewhere(self):
        self.assertEqual(self.problems('<a href="other.html#there">1</a> <a href="https://example.com/">2</a>'), [])

    def test_finds_a_page_and_an_anchor_that_are_not_there(self):
        problems = self.problems('<a href="lost.html">1</a> <a href="other.html#here">2</a>')
        self.assertEqual(problems, ["lost.html leads nowhere", "other.html#here names an anchor that is not there"])

    def test_finds_what_would_need_the_network(self):
        problems = self.problems('<script src="https://example.com/a.js"></script>')
        self.assertEqual(problems, ["loads https://example.com/a.js from the network"])


class ReferenceSourcesTest(unittest.TestCase):
    def test_gives_a_run_of_constants_the_words_before_it(self):
        lines = ["/// Codes.", "inline constexpr int one = 1;", "inline constexpr int two = 2;", "", "int three();"]

        self.assertEqual(reference_sources.with_words_for_all(lines),
                         ["/// Codes.", "inline constexpr int one = 1;", "/** Codes. */ inline constexpr int two = 2;",
                          "", "int three();"])

    def test_leaves_functions_of_several_kinds_alone(self):
        lines = ["/// The count.", "int count() const;", "bool isEmpty() const;"]

        self.assertEqual(reference_sources.with_words_for_all(lines), lines)

    def test_keeps_the_numbers_of_lines_when_it_takes_a_list_apart(self):
        lines = ["/// Codes.", "static const Code one,", "    two;", "int three();"]

        changed = reference_sources.with_words_for_all(lines)

        self.assertEqual(len(changed), len(lines))
        self.assertEqual(changed[1].count("static const Code"), 2)
        self.assertEqual(changed[3], "int three();")


if __name__ == "__main__":
    unittest.main()
