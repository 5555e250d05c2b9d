#!/usr/bin/env python3
"""Shows the check of exported symbols small libraries."""

import pathlib
import re
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
VERSION = re.search(r"project\(Corvane VERSION (\d+\.\d+)", (ROOT / "CMakeLists.txt").read_text()).group(1)
OWN = "namespace corvane { struct A { virtual ~A(); }; A::~A() {} int f() { static int calls = 0; return ++calls; } }\n"


class CheckSymbolsTest(unittest.TestCase):
    def check(self, source, script="CORVANE_%s { global: _Z*; local: *; };" % VERSION, soname="libx.so." + VERSION):
        """Builds a library of the source, and returns the status and the output of the check."""
        with tempfile.TemporaryDirectory() as folder:
            library = pathlib.Path(folder) / "libx.so"
            (library.parent / "x.cpp").write_text(source)
            (library.parent / "x.map").write_text(script)
            options = [f"-Wl,--version-script={library.parent / 'x.map'}"] if script else []
            subprocess.run(["g++", "-std=c++20", "-shared", "-fPIC", library.parent / "x.cpp", "-o", f"{library}.0",
                            f"-Wl,-soname,{soname}", *options], check=True)
            library.symlink_to("libx.so.0")
            done = subprocess.run([ROOT / "Scripts" / "check_symbols.sh", library], stdout=subprocess.PIPE, text=True)
            return done.returncode, done.stdout

    def assert_refused(self, text, *arguments, **options):
        status, output = self.check(*arguments, **options)

        self.assertEqual(status, 1, output)
        self.assertIn(text, output)

    def test_accepts_symbols_of_its_own_namespaces(self):
        status, output = self.check(OWN)

        self.assertEqual(status, 0, output)

    def test_refuses_symbols_of_other_namespaces(self):
        self.assert_refused("other::g()", OWN + "namespace other { int g() { return 1; } }\n")
        self.assert_refused("std::vector<corvane::A", OWN + "#include <vector>\ntemplate class std::vector<corvane::A>;\n")

    def test_refuses_symbols_without_a_version_or_of_another(self):
        self.assert_refused("not of the version", OWN, script="")
        self.assert_refused("not of the version", OWN, script="CORVANE_9.9 { global: _Z*; local: *; };")

    def test_refuses_another_soname(self):
        self.assert_refused("has not the SONAME", OWN, soname="libx.so")

    def test_refuses_a_library_that_shows_nothing(self):
        self.assert_refused("shows nothing", OWN, script="{ local: *; };")


if __name__ == "__main__":
    unittest.main()
