#!/usr/bin/python3
"""Shows the check of the public interface small headers, and changes of them that it must find, or must not."""

import contextlib
import io
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True
import check_api  # noqa: E402

HEADER = """
#pragma once
#include "Corvane/Export.hpp"
#define SHOWN(x) (x)
namespace corvane {
template <class T> concept Small = sizeof(T) <= 8;
enum class Colour { red, green = 5, blue };
namespace detail { struct Secret { int member; }; }
/// A box.
template <Small T, int Size = 4>
  requires requires(T value) { value + value; }
class CORVANE_API Box : public Base {
 public:
  using Value = T;
  Box() = default;
  explicit Box(T value, int weight = 3) : value_(value), weight_{weight} {}
  template <class U> U as() const& noexcept;
  auto size() const { return 1L; }
  operator bool() const { return true; }
  friend bool operator==(const Box&, const Box&) { return true; }
  struct Corner { int x = 0; int y = 0; };
  static constexpr int sides = 6;
 protected:
  virtual void turn(double by) = 0;
 private:
  void hide();
  T value_;
  int weight_;
};
template <> struct Trait<int> { static int number(); };
inline constexpr int limit = 10;
CORVANE_API int count(const char* text, int from = 0) noexcept;
}
"""


class CheckAPITest(unittest.TestCase):
    def dump(self, header=HEADER, **others):
        """The dump of a tree with one header of interest."""
        with tempfile.TemporaryDirectory() as folder:
            sources = pathlib.Path(folder)
            for path, text in {
                "Corvane/Export.hpp": "#pragma once\n#define CORVANE_API __attribute__((visibility(\"default\")))\n"
                                      "namespace corvane { struct Base {}; template <class T> struct Trait; }\n",
                "Corvane/Box.hpp": header, **others,
            }.items():
                (sources / path).parent.mkdir(parents=True, exist_ok=True)
                (sources / path).write_text(text)
            return check_api.dump(sources)["Corvane.txt"]

    def lines(self, *arguments, **others):
        return self.dump(*arguments, **others).splitlines()

    def test_says_each_declaration_in_a_line(self):
        lines = self.lines()

        for line in (
            "# Corvane/Box.hpp",
            "(global): #define SHOWN(x) (x)",
            "corvane: template <class T> concept Small = sizeof(T) <= 8",
            "corvane: enum class Colour",
            "corvane::Colour: red = 0",
            "corvane::Colour: blue = 6",
            "corvane: template <Small T, int Size = 4> requires requires(T value) { value + value; } class Box : public Base",
            "corvane::Box: using Value = T",
            "corvane::Box: Box() = default",
            "corvane::Box: explicit Box(T value, int weight = 3)",
            "corvane::Box: template <class U> U as() const& noexcept",
            "corvane::Box: operator bool() const",
            "corvane::Box: friend bool operator==(const Box&, const Box&)",
            "corvane::Box: struct Corner",
            "corvane::Box::Corner: int y = 0",
            "corvane::Box: static constexpr int sides = 6",
            "corvane::Box: protected: virtual void turn(double by) = 0",
            "corvane: template <> struct Trait<int>",
            "corvane::Trait<int>: static int number()",
            "corvane: inline constexpr int limit = 10",
            "corvane: int count(const char* text, int from = 0) noexcept",
        ):
            self.assertIn(line, lines)

    def test_finds_each_change_that_users_notice(self):
        dump = self.dump()

        for before, after in (
            ("sizeof(T) <= 8", "sizeof(T) <= 4"),
            ("red, green", "green, red"),
            ("green = 5, blue", "green = 5, yellow, blue"),
            ("int Size = 4", "int Size = 8"),
            ("template <Small T,", "template <class T,"),
            ("value + value", "value - value"),
            (": public Base", ""),
            ("using Value = T;", "using Value = T*;"),
            ("Box() = default", "Box() = delete"),
            ("int weight = 3", "int weight = 4"),
            ("explicit Box(T", "Box(T"),
            ("template <class U> U as", "template <class U, class V> U as"),
            ("const& noexcept;", "const&;"),
            ("as() const&", "as() &"),
            ("friend bool operator==(const Box&, const Box&) { return true; }", ""),
            ("int y = 0;", "int y = 0; int z = 0;"),
            ("int x = 0; int y = 0;", "int y = 0; int x = 0;"),
            ("sides = 6", "sides = 8"),
            ("protected:\n  virtual", "public:\n  virtual"),
            ("turn(double by) = 0", "turn(double by)"),
            ("static int number()", "static long number()"),
            ("limit = 10", "limit = 11"),
            ("int from = 0", "int from"),
            (") noexcept;\n}", ");\n}"),
            ("#define SHOWN(x) (x)", ""),
            ("#define SHOWN(x)", "#define SHOWN(x, y)"),
        ):
            self.assertIn(before, HEADER)
            self.assertNotEqual(self.dump(HEADER.replace(before, after, 1)), dump, f"{before} -> {after}")

    def test_leaves_out_what_users_cannot_name(self):
        dump = self.dump()

        for before, after in (
            ("struct Secret { int member; }", "struct Secret { long member; int more; }"),
            ("void hide();", "int hide(int);"),
            ("int weight_;", "long weight_;"),
            ("return true; }\n  friend", "return false; }\n  friend"),
            ("/// A box.", "/// A box, with a lid."),
            ("template <Small T, int Size = 4>\n  requires", "template <Small T,\n          int Size = 4> requires"),
            ("(const char* text, int from = 0)", "(\n    const char* text,\n    int from = 0)"),
            ("CORVANE_API int", "int"),
        ):
            self.assertIn(before, HEADER)
            self.assertEqual(self.dump(HEADER.replace(before, after, 1)), dump, f"{before} -> {after}")
        self.assertNotIn("Secret", dump)
        self.assertNotIn("hide", dump)

    def test_leaves_out_internal_folders(self):
        dump = self.dump(**{"Corvane/Internal/Inner.hpp": "namespace corvane { int inner(); }\n"})

        self.assertEqual(dump, self.dump())

    def test_knows_the_type_that_a_body_makes(self):
        text = "namespace corvane { inline auto answer() { return 42L; } }\n"

        self.assertIn("corvane: inline auto answer() -> long", self.lines(text))
        self.assertIn("-> char", self.dump(text.replace("42L", "'a'")))

    def test_counts_the_enumerators_of_a_template(self):
        text = "namespace corvane { template <class T> struct Result { enum class Case { none, some, all }; }; }\n"

        self.assertIn("corvane::Result::Case: all (number 2)", self.lines(text))
        self.assertNotEqual(self.dump(text), self.dump(text.replace("none, some", "some, none")))

    def test_takes_members_from_their_class_only(self):
        text = ("namespace corvane { template <class T> struct Cup { class Lid; void fill(); };\n"
                "template <class T> void Cup<T>::fill() {}\n"
                "template <class T> class Cup<T>::Lid { public: void lift(); }; }\n")

        lines = self.lines(text)

        self.assertIn("corvane::Cup: void fill()", lines)
        self.assertIn("corvane::Cup<T>::Lid: void lift()", lines)
        self.assertEqual(sum("fill" in line for line in lines), 1)

    def test_leaves_out_an_adapter_whose_library_is_not_there(self):
        header = "namespace corvane { int adapted(); }\n"
        with tempfile.TemporaryDirectory() as folder:
            sources = pathlib.Path(folder)
            for path, text in {"Corvane/A.hpp": "", "CorvaneAsio/B.hpp": header,
                               "CorvaneQt/C.hpp": "#include <absent_library.hpp>\n"}.items():
                (sources / path).parent.mkdir()
                (sources / path).write_text(text)

            with contextlib.redirect_stderr(io.StringIO()) as told:
                texts = check_api.dump(sources)

            self.assertIn("corvane: int adapted()", texts["CorvaneAsio.txt"])
            self.assertIsNone(texts["CorvaneQt.txt"])
            self.assertIn("CorvaneQt is not checked", told.getvalue())
            self.assertTrue(check_api.compare(sources, {"CorvaneQt.txt": None}, set()))

    def test_refuses_headers_that_do_not_compile(self):
        with self.assertRaisesRegex(SystemExit, "unknown type name 'Gone'"):
            self.dump("namespace corvane { Gone gone(); }\n")

    def test_shows_the_difference_and_fails(self):
        with tempfile.TemporaryDirectory() as folder:
            kept = pathlib.Path(folder)
            (kept / "Corvane.txt").write_text("corvane: int old()\n")
            (kept / "Gone.txt").write_text("gone: int gone()\n")
            printed = io.StringIO()

            with contextlib.redirect_stdout(printed):
                same = check_api.compare(kept, {"Corvane.txt": "corvane: int young()\n"}, {"Gone.txt"})

        self.assertFalse(same)
        for line in ("-corvane: int old()", "+corvane: int young()", "-gone: int gone()"):
            self.assertIn(line, printed.getvalue().splitlines())

    def test_is_content_with_what_did_not_change(self):
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "Corvane.txt").write_text("corvane: int same()\n")

            self.assertTrue(check_api.compare(pathlib.Path(folder), {"Corvane.txt": "corvane: int same()\n"}, set()))


if __name__ == "__main__":
    unittest.main()
