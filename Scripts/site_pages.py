#!/usr/bin/env python3
"""Gathers the pages of the site: those of Docs/, and one for each file beside it that they link to.

    Scripts/site_pages.py FOLDER

A link that leads out of Docs/ would be dead on the site. So the files of the root that are prose become pages, a
source that is linked becomes a page that shows it, and a linked folder becomes a page that shows all that is in it.
Fails when a page of Docs/ is missing in the navigation, in mkdocs.yml. What the navigation names beyond the pages that
are there is left out of the settings that mkdocs is given, FOLDER.yml.
"""

import os
import pathlib
import re
import shutil
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCS = ROOT / "Docs"
LINK = re.compile(r"(?P<head>!?\[[^\]]*\]\()(?P<target>[^)\s#]+)(?P<tail>(?:#[^)\s]*)?\))")
LANGUAGES = {".cpp": "cpp", ".hpp": "cpp", ".py": "python", ".sh": "bash", ".yml": "yaml", ".cmake": "cmake"}
BESIDE_DOCS = ("CONTRIBUTING.md", "CHANGELOG.md", "LICENSE")


class Site:
    def __init__(self, target):
        self.target = target
        self.shown = {}  # by the path of what is shown

    def page_for(self, path):
        """Where on the site a file or folder of the tree is shown; as a path relative to the site's pages."""
        if path.is_relative_to(DOCS):
            return path.relative_to(DOCS)
        relative = path.relative_to(ROOT)
        if relative not in self.shown:
            is_prose = path.suffix == ".md"
            self.shown[relative] = pathlib.Path("Files") / (relative if is_prose else f"{relative}.md")
            if is_prose:
                self.write(path, self.shown[relative])
            else:
                self.show(path, self.shown[relative])
        return self.shown[relative]

    def write(self, source, page):
        """A page of prose, its links turned to where their targets are on the site."""
        def turned(match):
            target = match["target"]
            if re.match(r"[a-z]+:", target):
                return match[0]
            path = (source.parent / target).resolve()
            if not path.exists():
                return match[0]  # mkdocs reports it
            if path.is_dir() and path.is_relative_to(DOCS):
                path /= "README.md"
            way = os.path.relpath(self.page_for(path), page.parent)
            tail = ")" if path.suffix not in (".md", "") else match["tail"]
            return match["head"] + way + tail

        place = self.target / page
        place.parent.mkdir(parents=True, exist_ok=True)
        place.write_text(outside_code(source.read_text(encoding="utf-8"), lambda prose: LINK.sub(turned, prose)),
                         encoding="utf-8")

    def show(self, path, page):
        place = self.target / page
        place.parent.mkdir(parents=True, exist_ok=True)
        files = sorted(p for p in path.rglob("*") if p.suffix == ".cpp") if path.is_dir() else [path]
        text = [f"# {path.relative_to(ROOT)}\n"]
        for file in files:
            text += [f"## {file.relative_to(path)}\n"] if path.is_dir() else []
            text += [f"```{LANGUAGES.get(file.suffix, 'text')}\n{file.read_text(encoding='utf-8').rstrip()}\n```\n"]
        place.write_text("\n".join(text), encoding="utf-8")


def outside_code(text, change):
    """Changes the lines that are not code."""
    lines, is_code = [], False
    for line in text.split("\n"):
        is_fence = line.lstrip().startswith("```")
        lines.append(line if is_code or is_fence else change(line))
        is_code ^= is_fence
    return "\n".join(lines)


def pages_without_a_way_to_them():
    navigation = (ROOT / "mkdocs.yml").read_text(encoding="utf-8")
    return [page.name for page in sorted(DOCS.glob("*.md")) if not re.search(rf"\b{re.escape(page.name)}$", navigation,
                                                                         re.MULTILINE)]


def settings_for(target):
    """Those of mkdocs.yml, for these pages and a site beside them."""
    lines = []
    for line in (ROOT / "mkdocs.yml").read_text(encoding="utf-8").splitlines():
        page = re.match(r"^ +- .*: (\S+\.md)$", line)
        if page and not (target / page[1]).exists():
            print(f"site: {page[1]} is in the navigation, but not there")
            continue
        lines.append(re.sub(r"^(docs_dir|site_dir): build/", r"\1: ", line))
    return "\n".join(lines) + "\n"


def main():
    missing = pages_without_a_way_to_them()
    if missing:
        sys.exit(f"site: not in the navigation, nav: of mkdocs.yml: {', '.join(missing)}")
    site = Site(pathlib.Path(sys.argv[1]).resolve())
    for path in sorted(DOCS.rglob("*")):
        if path.suffix == ".md":
            site.write(path, path.relative_to(DOCS))
        elif path.suffix in (".svg", ".png", ".css"):
            place = site.target / path.relative_to(DOCS)
            place.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(path, place)
    for name in BESIDE_DOCS:
        site.page_for(ROOT / name)
    site.page_for(ROOT / "Examples")
    site.target.with_suffix(".yml").write_text(settings_for(site.target), encoding="utf-8")


if __name__ == "__main__":
    main()
