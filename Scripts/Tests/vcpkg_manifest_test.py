#!/usr/bin/env python3
"""Holds the manifest of the vcpkg port to what vcpkg asks of manifests, and to the project."""

import json
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
PORT = ROOT / "Packaging" / "vcpkg" / "corvane"
ORDER = ["$schema", "name", "version", "description", "license", "supports", "dependencies", "features"]
NAME = re.compile(r"[a-z0-9]+(-[a-z0-9]+)*")


def name_of(dependency):
    return dependency if isinstance(dependency, str) else dependency["name"]


class VcpkgManifestTest(unittest.TestCase):
    def setUp(self):
        self.manifest = json.loads((PORT / "vcpkg.json").read_text())

    def dependencies(self):
        yield self.manifest["dependencies"]
        for feature in self.manifest["features"].values():
            yield feature.get("dependencies", [])

    def test_is_named_like_its_folder(self):
        self.assertEqual(self.manifest["name"], PORT.name)
        self.assertRegex(self.manifest["name"], NAME)

    def test_has_the_version_of_the_project(self):
        project = (ROOT / "CMakeLists.txt").read_text()

        self.assertIn(f"project(Corvane VERSION {self.manifest['version']} ", project)

    def test_has_its_fields_in_the_order_of_format_manifest(self):
        self.assertEqual([field for field in ORDER if field in self.manifest], list(self.manifest))
        self.assertEqual(list(self.manifest["features"]), sorted(self.manifest["features"]))

    def test_names_dependencies_as_ports_are_named_and_sorted(self):
        for dependencies in self.dependencies():
            names = [name_of(dependency) for dependency in dependencies]

            self.assertEqual(names, sorted(names))
            for name in names:
                self.assertRegex(name, NAME)
            for dependency in dependencies:
                if not isinstance(dependency, str):
                    self.assertLessEqual(dependency.keys(), {"name", "default-features", "features", "host"})

    def test_brings_what_the_portfile_calls(self):
        portfile = (PORT / "portfile.cmake").read_text()
        host = {dependency["name"] for dependency in self.manifest["dependencies"]
                if not isinstance(dependency, str) and dependency.get("host")}

        for function, port in (("vcpkg_cmake_configure", "vcpkg-cmake"), ("vcpkg_cmake_config_fixup", "vcpkg-cmake-config")):
            self.assertIn(function, portfile)
            self.assertIn(port, host)

    def test_describes_each_feature_and_the_portfile_knows_it(self):
        portfile = (PORT / "portfile.cmake").read_text()

        for name, feature in self.manifest["features"].items():
            self.assertRegex(name, NAME)
            self.assertTrue(feature["description"])
            self.assertLessEqual(feature.keys(), {"description", "dependencies"})
            self.assertRegex(portfile, rf'(^    {name} CORVANE_|\b{name}:[A-Z]|"{name}" IN_LIST)'.replace("^", "(?m:^)"))

    def test_has_a_licence_of_spdx_and_a_usage_that_names_the_targets(self):
        self.assertEqual(self.manifest["license"], (ROOT / "LICENSE").read_text().split()[0])
        self.assertIn("Corvane::Corvane", (PORT / "usage").read_text())


if __name__ == "__main__":
    unittest.main()
