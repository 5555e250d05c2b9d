#!/usr/bin/env python3
"""Makes a release: the source archive of the commit that is checked out, tried outside of the repository, and recipes
that name it. Everything is left in build/release-archive.

    Scripts/release.py            makes it
    Scripts/release.py --draft    the same, whatever `Packaging/publisher.ini` still lacks and whether or not the
                                  changelog has a date
    Scripts/release.py --check    makes nothing; fails when the version is not the same everywhere
"""

import argparse
import configparser
import datetime
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
DATED = re.compile(r"\d{4}-\d{2}-\d{2}")
VALUES = ["maintainer", "security", "homepage", "repository", "archive"]

# Where a version stands: the file, a pattern whose group is the version, and whether it is that of the minor version.
PLACES = [
    ("Packaging/vcpkg/corvane/vcpkg.json", r'"version": "([\d.]+)"', False),
    ("Packaging/debian/changelog", r"\Acorvane \(([\d.]+)-\d+\)", False),
    ("CHANGELOG.md", r"^## ([\d.]+),", False),
    ("README.md", r"find_package\(Corvane ([\d.]+)", True),
    ("Docs/GettingStarted.md", r"find_package\(Corvane ([\d.]+)", True),
    ("Docs/Installing.md", r"find_package\(Corvane ([\d.]+)", True),
    ("Docs/Installing.md", r"`libcorvane([\d.]+)`", True),
    ("Docs/Installing.md", r"`CORVANE_([\d.]+)`", True),
]


def version_of(root):
    return re.search(r"project\(Corvane VERSION ([\d.]+)", (root / "CMakeLists.txt").read_text())[1]


def version_problems(root):
    """Where another version is told than that of the project."""
    version = version_of(root)
    for path, pattern, is_minor in PLACES:
        wanted = version.rpartition(".")[0] if is_minor else version
        found = re.findall(pattern, (root / path).read_text(encoding="utf-8"), re.MULTILINE)
        # A changelog begins with the newest version.
        told = set(found[:1] if "CHANGELOG" in path or path.endswith("changelog") else found)
        if told != {wanted}:
            yield f"{path}: tells {', '.join(sorted(told)) or 'no version'}, the project's is {wanted}"


def changelog_problems(root):
    heading = re.search(r"^## [\d.]+, (.*)$", (root / "CHANGELOG.md").read_text(encoding="utf-8"), re.MULTILINE)
    try:
        datetime.date.fromisoformat(heading[1] if heading and DATED.fullmatch(heading[1]) else "")
    except ValueError:
        yield "CHANGELOG.md: the newest version has no date"
    if " UNRELEASED;" in (root / "Packaging/debian/changelog").read_text():
        yield "Packaging/debian/changelog: the newest version is UNRELEASED"


def publisher(root):
    parser = configparser.ConfigParser(interpolation=None)
    parser.read(root / "Packaging/publisher.ini")
    return {name: parser["publisher"].get(name, "").strip() for name in VALUES}


def publisher_problems(values):
    return [f"Packaging/publisher.ini: {name} is missing" for name in VALUES if not values[name]]


def git(*arguments):
    return subprocess.run(["git", "-C", ROOT, *arguments], check=True, stdout=subprocess.PIPE, text=True).stdout


def make_archive(folder, version):
    """The committed files, the same bytes for the same commit."""
    archive = folder / f"corvane-{version}.tar.gz"
    tar = subprocess.run(["git", "-C", ROOT, "archive", f"--prefix=corvane-{version}/", "HEAD"], check=True,
                         stdout=subprocess.PIPE).stdout
    archive.write_bytes(subprocess.run(["gzip", "-9", "-n"], input=tar, check=True, stdout=subprocess.PIPE).stdout)
    for name in ("sha256", "sha512"):
        sum_of = hashlib.new(name, archive.read_bytes()).hexdigest()
        (folder / f"{archive.name}.{name}").write_text(f"{sum_of}  {archive.name}\n")
    return archive


def digest(archive, name):
    return hashlib.new(name, archive.read_bytes()).hexdigest()


def write_recipes(folder, archive, url, version):
    write_vcpkg_port(folder, archive, url)
    write_conan_recipe(folder, archive, url, version)


def write_vcpkg_port(folder, archive, url):
    port = folder / "vcpkg" / "corvane"
    shutil.copytree(ROOT / "Packaging/vcpkg/corvane", port)
    (port / "source.cmake").write_text(f"""vcpkg_download_distfile(ARCHIVE
  URLS "{url}"
  FILENAME "{archive.name}"
  SHA512 {digest(archive, 'sha512')}
)
vcpkg_extract_source_archive(SOURCE_PATH ARCHIVE "${{ARCHIVE}}")
""")


def write_conan_recipe(folder, archive, url, version):
    recipe = folder / "conan"
    shutil.copytree(ROOT / "Packaging/conan", recipe, ignore=shutil.ignore_patterns("__pycache__"))
    # JSON is YAML, too.
    data = {"sources": {version: {"url": url, "sha256": digest(archive, "sha256")}}}
    (recipe / "conandata.yml").write_text(json.dumps(data, indent=2) + "\n")


def try_archive(archive, version):
    """Builds, installs and uses what is in the archive, where nothing of the repository can be found."""
    with tempfile.TemporaryDirectory(prefix="corvane-release-") as place:
        subprocess.run(["tar", "-xzf", archive, "-C", place], check=True)
        tree = pathlib.Path(place, f"corvane-{version}")
        environment = {name: value for name, value in os.environ.items() if not name.startswith("GIT_")}
        subprocess.run(["bash", "Scripts/test_install.sh", "static"], cwd=tree, check=True, env=environment)


def try_recipes(folder):
    """The stand-ins for vcpkg and Conan do not use the network, so these recipes name the archive that is here."""
    subprocess.run(["bash", ROOT / "Scripts/test_recipes.sh"], check=True, env={**os.environ, "RECIPES": str(folder)})


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    choice = parser.add_mutually_exclusive_group()
    choice.add_argument("--draft", action="store_true")
    choice.add_argument("--check", action="store_true")
    arguments = parser.parse_args()

    problems = list(version_problems(ROOT))
    values = publisher(ROOT)
    if not arguments.check and not arguments.draft:
        problems += [*changelog_problems(ROOT), *publisher_problems(values)]
    if not arguments.check and git("status", "--porcelain"):
        problems.append("the working tree has changes that are not committed")
    if problems:
        sys.exit("\n".join(problems))
    version = version_of(ROOT)
    if arguments.check:
        print(f"version {version} everywhere")
        return

    folder = ROOT / "build" / "release-archive"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    archive = make_archive(folder, version)
    try_archive(archive, version)
    with tempfile.TemporaryDirectory(prefix="corvane-recipes-") as place:
        write_recipes(pathlib.Path(place), archive, archive.as_uri(), version)
        try_recipes(place)
    url = values["archive"].format(version=version, file=archive.name) or archive.as_uri()
    write_recipes(folder, archive, url, version)
    print(f"{archive}\nsha256 {digest(archive, 'sha256')}\nrecipes that name {url}: {folder}/vcpkg, {folder}/conan")


if __name__ == "__main__":
    main()
