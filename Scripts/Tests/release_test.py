#!/usr/bin/env python3
"""Shows the release script trees that tell one version, and trees that do not."""

import pathlib
import shutil
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "Scripts"))
sys.dont_write_bytecode = True
import release  # noqa: E402

FILES = {"CMakeLists.txt", "Packaging/publisher.ini", *(path for path, _, _ in release.PLACES)}


class ReleaseTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for name in FILES:
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, self.root / name)

    def edit(self, name, old, new):
        text = (self.root / name).read_text()
        self.assertIn(old, text)
        (self.root / name).write_text(text.replace(old, new))

    def test_accepts_one_version_everywhere(self):
        self.assertEqual(list(release.version_problems(self.root)), [])

    def test_finds_each_place_that_tells_another(self):
        version = release.version_of(self.root)
        self.edit("CMakeLists.txt", f"VERSION {version}", "VERSION 9.8.7")

        problems = list(release.version_problems(self.root))

        self.assertEqual(len(problems), len(release.PLACES), problems)
        for (path, _, is_minor), problem in zip(release.PLACES, problems):
            self.assertIn(path, problem)
            self.assertTrue(problem.endswith("9.8" if is_minor else "9.8.7"), problem)

    def test_wants_a_dated_changelog(self):
        version = release.version_of(self.root)
        for heading, count in (("in preparation", 1), ("2026-13-01", 1), ("2026-11-22", 0)):
            (self.root / "CHANGELOG.md").write_text(f"# Changelog\n\n## {version}, {heading}\n")
            (self.root / "Packaging/debian/changelog").write_text(f"corvane ({version}-1) unstable; urgency=medium\n")
            self.assertEqual(len(list(release.changelog_problems(self.root))), count, heading)

    def test_wants_every_value_of_the_publisher(self):
        path = self.root / "Packaging/publisher.ini"
        path.write_text("[publisher]\n" + "".join(f"{name} = something\n" for name in release.VALUES))
        self.assertEqual(release.publisher_problems(release.publisher(self.root)), [])
        path.write_text(path.read_text().replace("security = something", "security ="))
        self.assertEqual(release.publisher_problems(release.publisher(self.root)),
                         ["Packaging/publisher.ini: security is missing"])


if __name__ == "__main__":
    unittest.main()
