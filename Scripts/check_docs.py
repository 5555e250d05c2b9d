#!/usr/bin/env python3
"""Fails when the documentation shows code that is not compiled, or has a relative link that leads nowhere.

A code block is tied to a source by a comment on the line before it:

    <!-- from Examples/HelloGet.cpp -->
    ```cpp
    ...
    ```

Its lines must stand in that file, one after the other, as they are; the indentation may differ as a whole.

What an example prints is marked with `<!-- output of NAME -->` and checked when the folder of the programs is given:

    Scripts/check_docs.py --programs build/dev/Examples --server build/dev/bin/corvane_testserver

The example runs in a folder of its own. Further words of the mark are its arguments: `/target` is that target on the
server, and a path of this tree is that file.
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import textwrap
import urllib.parse

ROOT = pathlib.Path(__file__).resolve().parent.parent
MARK = re.compile(r"^<!-- (from|output of) (\S+)((?: \S+)*) -->$")
LISTENING = re.compile(rb"listening on (\S+)")
LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)")
FENCE = re.compile(r"^\s*```")


def normalised(lines):
    return textwrap.dedent("\n".join(lines)).strip("\n").split("\n")


def stands_in(block, source):
    """Whether the lines of `block` follow each other in `source`, up to a common indentation."""
    wanted = normalised(block)
    size = len(wanted)
    return any(normalised(source[at : at + size]) == wanted for at in range(len(source) - size + 1))


def parts(text):
    """Prose lines, and the code blocks with the mark before them, with line numbers."""
    prose, blocks = [], []
    mark, block, begin = None, None, 0
    for number, line in enumerate(text.splitlines(), 1):
        if FENCE.match(line):
            if block is None:
                block, begin = [], number
            else:
                blocks.append((begin, mark, block))
                block, mark = None, None
        elif block is not None:
            block.append(line)
        else:
            match = MARK.match(line.strip())
            mark = match.groups() if match else (mark if not line.strip() else None)
            prose.append((number, line))
    return prose, blocks


def anchors(path):
    """The names that headings of a page can be linked by."""
    prose, _ = parts(path.read_text(encoding="utf-8"))
    headings = [line.lstrip("#").strip().lower() for _, line in prose if line.startswith("#")]
    return {re.sub(r"[^\w\- ]", "", heading).replace(" ", "-") for heading in headings}


def check_link(page, number, link):
    if re.match(r"[a-z]+:", link):
        return None
    target, _, anchor = urllib.parse.unquote(link).partition("#")
    path = (page.parent / target) if target else page
    where = f"{page.relative_to(ROOT)}:{number}"
    if not path.exists():
        return f"{where}: {link} leads nowhere"
    if anchor and path.suffix == ".md" and anchor not in anchors(path):
        return f"{where}: {target or page.name} has no heading #{anchor}"
    return None


def check_block(page, number, source, block):
    where = f"{page.relative_to(ROOT)}:{number}"
    if not (ROOT / source).is_file():
        return f"{where}: the code is said to be from {source}, which does not exist"
    if not stands_in(block, (ROOT / source).read_text(encoding="utf-8").splitlines()):
        return f"{where}: the code does not stand in {source} like this"
    return None


class Server:
    """The test server, from its first use on."""

    def __init__(self, program):
        self.program = program
        self.process = None
        self.authority = None

    def url(self, target):
        if not self.process:
            self.process = subprocess.Popen([self.program.resolve()], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
            self.authority = LISTENING.match(self.process.stdout.readline()).group(1).decode()
        return f"http://{self.authority}{target}"

    def stop(self):
        if self.process:
            self.process.communicate(timeout=60)


def argument(word, server):
    if word.startswith("/"):
        return server.url(word)
    return ROOT / word if (ROOT / word).exists() else word


def output_of(program, words, server):
    with tempfile.TemporaryDirectory() as folder:
        command = [program.resolve(), *(argument(word, server) for word in words)]
        return subprocess.run(command, cwd=folder, env={**os.environ, "TMPDIR": folder}, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, check=True, timeout=60).stdout.decode()


def check_output(page, number, example, words, block, programs, server):
    where = f"{page.relative_to(ROOT)}:{number}"
    program = programs / f"example_{example}"
    if not program.is_file():
        return f"{where}: there is no program {program}"
    printed = output_of(program, words, server)
    if not stands_in(block, printed.splitlines()):
        return f"{where}: {program.name} prints something else:\n{printed}"
    return None


def check_page(page, programs, server):
    prose, blocks = parts(page.read_text(encoding="utf-8"))
    for number, line in prose:
        for link in LINK.findall(re.sub(r"`[^`]*`", "", line)):
            yield check_link(page, number, link)
    for number, mark, block in blocks:
        kind, name, words = mark or (None, None, "")
        if kind == "from":
            yield check_block(page, number, name, block)
        elif kind and programs:
            yield check_output(page, number, name, words.split(), block, programs, server)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--programs", type=pathlib.Path, help="where the examples were built")
    parser.add_argument("--server", type=pathlib.Path, help="the test server, for those that need one")
    arguments = parser.parse_args()
    programs = arguments.programs
    server = Server(arguments.server)
    pages = [p for p in sorted(ROOT.rglob("*.md")) if p.relative_to(ROOT).parts[0] != "build"]
    try:
        found = [problem for page in pages for problem in check_page(page, programs, server) if problem]
    finally:
        server.stop()
    for problem in found:
        print(problem)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
