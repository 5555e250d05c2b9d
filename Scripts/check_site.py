#!/usr/bin/env python3
"""Fails when a page of the built site has a link, a picture or an anchor that leads nowhere, or needs the network.

    Scripts/check_site.py build/site

Links to other sites are not followed; styles, scripts, fonts and pictures from elsewhere are refused.
"""

import html.parser
import os
import pathlib
import re
import sys
import urllib.parse

LOADED = {"img": "src", "script": "src", "link": "href", "iframe": "src", "source": "src"}


class Page(html.parser.HTMLParser):
    """What a page can be linked by, what it links to, and what it loads."""

    def __init__(self, text):
        super().__init__()
        self.names, self.links, self.loads = set(), [], []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.names |= {values[key] for key in ("id", "name") if values.get(key)}
        if tag == "a" and values.get("href"):
            self.links.append(values["href"])
        elif values.get(LOADED.get(tag, "")) and values.get("rel") not in ("canonical", "author"):
            self.loads.append(values[LOADED[tag]])

    handle_startendtag = handle_starttag


def read_pages(root):
    return {path: Page(path.read_text(encoding="utf-8")) for path in sorted(root.rglob("*.html"))}


def target_of(path, link, root):
    """The file and the anchor that a link leads to; nothing for one that leaves the site."""
    parts = urllib.parse.urlsplit(link)
    if parts.scheme or parts.netloc:
        return None, None
    place = urllib.parse.unquote(parts.path)
    file = path if not place else pathlib.Path(os.path.normpath((root if place.startswith("/") else path.parent) /
                                                                place.lstrip("/")))
    return (file / "index.html" if file.is_dir() else file), urllib.parse.unquote(parts.fragment)


def problems(path, page, pages, root):
    for link in page.loads:
        if re.match(r"(https?:)?//", link):
            yield f"loads {link} from the network"
    for link in page.links + page.loads:
        file, anchor = target_of(path, link, root)
        if file is None:
            continue
        if not file.exists():
            yield f"{link} leads nowhere"
        elif anchor and file in pages and anchor not in pages[file].names:
            yield f"{link} names an anchor that is not there"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    pages = read_pages(root)
    found = sorted({f"{path.relative_to(root)}: {problem}" for path, page in pages.items()
                    for problem in problems(path, page, pages, root)})
    for problem in found:
        print(problem)
    links = sum(len(page.links) + len(page.loads) for page in pages.values())
    if not pages:
        sys.exit(f"{root} holds no page")
    print(f"{len(pages)} pages with {links} links, {len(found)} of them dead")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
