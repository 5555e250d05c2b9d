#!/usr/bin/env python3
"""Fails when a page of the built site leads nowhere, needs the network, or shows what is no part of the interface.

    Scripts/check_site.py [build/site]

Every link and every picture, script and sheet must be a file of the site, and every anchor an `id` of its page. The page
of a type must lead back to the guide, and its declarations must not name a `detail`.
"""

import html.parser
import pathlib
import re
import sys
import urllib.parse

ROOT = pathlib.Path(__file__).resolve().parent.parent
LOADED = {"script": "src", "img": "src", "iframe": "src", "link": "href", "source": "src"}
SIGNATURE = re.compile(r'<pre class="signature[^"]*">(.*?)</pre>', re.DOTALL)
WAY_BACK = re.compile(r'<p class="places">.*?<a href="\.\./(Docs|Examples)/')
INNER = re.compile(r"\b\w*detail::")


class Page(html.parser.HTMLParser):
    """The anchors of a page and what it leads to."""

    def __init__(self, text):
        super().__init__()
        self.anchors, self.links, self.loaded = set(), [], []
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        values = dict(attrs)
        if values.get("id"):
            self.anchors.add(values["id"])
        if tag == "a" and values.get("href") is not None:
            self.links.append(values["href"])
        if tag in LOADED and values.get(LOADED[tag]):
            self.loaded.append(values[LOADED[tag]])


def problem_of(path, link, folder, pages):
    """Why a link of the page at `path` leads nowhere, or None."""
    parts = urllib.parse.urlsplit(link)
    if parts.scheme or parts.netloc:
        return None
    target = (path.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else path
    if not target.is_relative_to(folder) or not target.exists():
        return f"{link} leads nowhere"
    anchor = urllib.parse.unquote(parts.fragment)
    if anchor and target in pages and anchor not in pages[target].anchors:
        return f"{link}: that page has no #{anchor}"
    return None


def problems(folder):
    texts = {path: path.read_text(encoding="utf-8") for path in sorted(folder.rglob("*.html"))}
    pages = {path: Page(text) for path, text in texts.items()}
    for path, page in pages.items():
        where = path.relative_to(folder)
        # The page for what is not there is shown at any address, so its links begin at the root of the site.
        if where.name == "404.html":
            continue
        for link in sorted({*page.links, *page.loaded}):
            found = problem_of(path, link, folder, pages)
            if found:
                yield f"{where}: {found}"
        for link in page.loaded:
            if re.match(r"(https?:)?//", link):
                yield f"{where}: {link} would be loaded from the network"
        if where.parts[0] == "reference":
            for signature in SIGNATURE.findall(texts[path]):
                if INNER.search(signature):
                    yield f"{where}: a declaration names what users do not: {INNER.search(signature)[0]}"
            if 'class="signature declaration"' in texts[path] and not WAY_BACK.search(texts[path]):
                yield f"{where}: no way back to the guide"


def main():
    folder = (pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else ROOT / "build/site").resolve()
    if not (folder / "index.html").is_file():
        sys.exit(f"{folder} holds no site")
    found = list(problems(folder))
    for problem in found:
        print(problem)
    print(f"{len(list(folder.rglob('*.html')))} pages, {len(found)} problems")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
