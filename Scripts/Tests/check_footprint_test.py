#!/usr/bin/env python3
"""Shows the check of the footprint figures, pages and packages that are made up."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True
import check_footprint  # noqa: E402

SIZE = "libcorvane.so, stripped"
LINES = "Lines that the compiler reads for HelloGet"


class CheckFootprintTest(unittest.TestCase):
    def problems(self, measured, page):
        return list(check_footprint.problems(measured, "\n".join(check_footprint.figures(page))))

    def test_is_content_with_figures_that_the_page_tells(self):
        self.assertEqual(self.problems({SIZE: 1_900_000, LINES: 50_000}, {SIZE: 1_900_400, LINES: 50_500}), [])

    def test_finds_what_is_above_its_limit(self):
        for name in (SIZE, LINES):
            measured = {name: check_footprint.LIMITS[name] + 1}

            (problem,) = self.problems(measured, measured)

            self.assertIn("is more than the limit", problem)

    def test_finds_old_figures_in_the_page(self):
        for page in ({SIZE: 1_700_000}, {SIZE: 2_100_000}, {}):
            (problem,) = self.problems({SIZE: 1_900_000}, page)

            self.assertIn("run this script with --update", problem)

    def test_counts_each_package_once_and_none_that_every_system_has(self):
        packages = {"a": (10, ["b", "c"], False), "b": (20, ["c", "base"], False), "c": (30, ["a"], False),
                    "base": (40, [], True)}

        self.assertEqual(check_footprint.closure(["a"], packages), {"a", "b", "c"})
        self.assertEqual(check_footprint.closure(["base", "unknown"], packages), set())

    def test_finds_the_packages_of_this_system(self):
        packages = check_footprint.installed_packages()

        self.assertIn("libc6", check_footprint.closure(["libstdc++6"], packages))
        self.assertNotIn("dpkg", check_footprint.closure(["dpkg"], packages))


if __name__ == "__main__":
    unittest.main()
