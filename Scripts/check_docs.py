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
server, and a path of this tree is that file. Where its output names the server, the page says 127.0.0.1:8080; where it
has a UUID, the page may show any.

What a page says about the code can be held to it, too:

    <!-- names every Case of Sources/Corvane/Errors/HTTPResponseError.hpp -->     an enumeration, or a namespace or
                                                                                 class with constants
    <!-- names every error of Sources -->                                        the classes of errors
    <!-- rows end with what the code says -->
    <!-- messages of Sources Tools -->                                           texts of these folders

Between the first mark and the next heading each of the names has to stand as `code`. In the table after the second,
the last cell of each row holds `code` and a link to the file in which it stands like that. In the table after the third,
the first cell of each row holds messages as `code`, with "…" for what differs: the rest stands in string literals.
"""

import argparse
import itertools
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import textwrap
import urllib.parse

from layout import installed_headers

ROOT = pathlib.Path(__file__).resolve().parent.parent
MARK = re.compile(r"^<!-- (from|output of) (\S+)((?: \S+)*) -->$")
LISTENING = re.compile(rb"listening on (\S+)")
LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)")
PLAIN_ANCHOR = re.compile(r"[a-z0-9_]+(-[a-z0-9_]+)*")  # GitHub and mkdocs make the same of its heading
FENCE = re.compile(r"^\s*```")
COMPLETE = re.compile(r"^<!-- names every (\w+) of (\S+) -->$")
ROWS = "<!-- rows end with what the code says -->"
MESSAGES = re.compile(r"^<!-- messages of ([\w/ ]+) -->$")
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
ROW = re.compile(r"`([^`]+)` \[[^\]]*\]\(([^)\s]+)\) \|$")
UUID = re.compile(r"[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}")


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


def links(prose):
    """The targets of links, with the number of the line in which each link begins. A link may be split over lines."""
    text = re.sub(r"`[^`\n]*`", "", "\n".join(line for _, line in prose))
    for match in LINK.finditer(text):
        yield prose[text.count("\n", 0, match.start())][0], match[1]


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
    if anchor and path.suffix == ".md" and not PLAIN_ANCHOR.fullmatch(anchor):
        return f"{where}: #{anchor} is called something else on the site"
    return None


def check_block(page, number, source, block):
    where = f"{page.relative_to(ROOT)}:{number}"
    if not (ROOT / source).is_file():
        return f"{where}: the code is said to be from {source}, which does not exist"
    if not stands_in(block, (ROOT / source).read_text(encoding="utf-8").splitlines()):
        return f"{where}: the code does not stand in {source} like this"
    return None


def names_in(kind, source):
    """The enumerators of the enumeration `kind`, or the constants of the namespace or class of that name."""
    text = re.sub(r"//.*", "", (ROOT / source).read_text(encoding="utf-8"))
    found = re.search(rf"enum class {kind}\b[^{{;]*{{([^}}]*)}}", text)
    if found:
        return re.findall(r"(\w+)(?: = [^,]*)?(?:,|\s*$)", found[1])
    found = re.search(rf"(?:namespace|class|struct)[^;{{]*\b{kind}\b[^;{{]*{{", text)
    body = text[found.end() :] if found else ""
    return re.findall(r"(?:inline constexpr [\w:]+(?: const)?\*?|static " + kind + r") (\w+)(?: =|\(\))", body)


def errors_in(folder):
    headers = [path for path in installed_headers(ROOT / "Sources") if path.is_relative_to(ROOT / folder)]
    bases = r"(?:velisand::AppError|platform::CustomErrorBase|CustomErrorBase)<"
    return [name for path in headers for name in re.findall(
        rf"^class (?:\w+_API )?(\w+) final\s*: public {bases}", path.read_text(encoding="utf-8"), re.MULTILINE)]


def check_names(page, number, kind, source, section):
    where = f"{page.relative_to(ROOT)}:{number}"
    if (ROOT / source).is_dir():
        names = errors_in(source)
    else:
        names = names_in(kind, source) if (ROOT / source).is_file() else []
    if not names:
        return f"{where}: {source} has no {kind} with names"
    missing = [name for name in names if not re.search(rf"`(?:\w+::)*{name}(?:\(\))?`", section)]
    return f"{where}: not named here, of {kind}: {', '.join(missing)}" if missing else None


def check_rows(page, begin, rows):
    """The rows of a table, with its head and the line below it."""
    for number, row in enumerate(rows[2:], begin + 2):
        where = f"{page.relative_to(ROOT)}:{number}"
        match = ROW.search(row)
        if not match:
            yield f"{where}: the row does not end with `code` and a link to its file"
            continue
        file = page.parent / match[2]
        if not file.is_file() or match[1] not in file.read_text(encoding="utf-8"):
            yield f"{where}: `{match[1]}` does not stand in {match[2]}"


def literals_in(folders):
    """The string literals of the folders; those that follow each other are one."""
    files = [path for folder in folders for path in sorted((ROOT / folder).rglob("*.[ch]pp"))]
    texts = (re.sub(r'"\s*\n\s*"', "", path.read_text(encoding="utf-8")) for path in files)
    return [found.replace('\\"', '"') for text in texts for found in LITERAL.findall(text)]


def check_messages(page, begin, folders, rows):
    literals = literals_in(folders)
    for number, row in enumerate(rows[2:], begin + 2):
        messages = re.findall(r"`([^`]+)`", row.split(" | ")[0])
        if not messages:
            yield f"{page.relative_to(ROOT)}:{number}: the row does not begin with a message as `code`"
        for piece in (piece.strip() for message in messages for piece in message.split("…")):
            if not any(piece in literal for literal in literals):
                yield f"{page.relative_to(ROOT)}:{number}: no message of {', '.join(folders)} has \"{piece}\""


def table_in(rest):
    """The rows of the table that the lines begin with, after blank ones, and how many of those there are."""
    blank = next((at for at, line in enumerate(rest) if line), 0)
    return list(itertools.takewhile(lambda line: line.startswith("|"), rest[blank:])), blank


def check_claims(page, text):
    lines = text.splitlines()
    for number, line in enumerate(lines, 1):
        rest = lines[number:]
        match = COMPLETE.match(line.strip())
        if match:
            section = itertools.takewhile(lambda other: not other.startswith("#"), rest)
            yield check_names(page, number, *match.groups(), "\n".join(section))
            continue
        messages = MESSAGES.match(line.strip())
        if not messages and line.strip() != ROWS:
            continue
        table, blank = table_in(rest)
        if len(table) < 3:
            yield f"{page.relative_to(ROOT)}:{number}: there is no table after the mark"
        elif messages:
            yield from check_messages(page, number + blank + 1, messages[1].split(), table)
        else:
            yield from check_rows(page, number + blank + 1, table)


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
        environment = {**os.environ, "TMPDIR": folder, "LC_ALL": "C", "LANGUAGE": ""}
        run = subprocess.run(command, cwd=folder, env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                             timeout=60)
        if run.returncode:
            sys.exit(f"{program.name} ended with status {run.returncode}:\n{run.stderr.decode(errors='replace')}")
        printed = run.stdout.decode()
        return printed.replace(server.authority, "127.0.0.1:8080") if server.authority else printed


def check_output(page, number, example, words, block, programs, server):
    where = f"{page.relative_to(ROOT)}:{number}"
    program = programs / f"example_{example}"
    if not program.is_file():
        return f"{where}: there is no program {program}"
    printed = output_of(program, words, server)
    if not stands_in([UUID.sub("UUID", line) for line in block], UUID.sub("UUID", printed).splitlines()):
        return f"{where}: {program.name} prints something else:\n{printed}"
    return None


def check_page(page, programs, server, without=()):
    text = page.read_text(encoding="utf-8")
    yield from check_claims(page, text)
    prose, blocks = parts(text)
    for number, link in links(prose):
        yield check_link(page, number, link)
    for number, mark, block in blocks:
        kind, name, words = mark or (None, None, "")
        if kind == "from":
            yield check_block(page, number, name, block)
        elif kind and programs and name not in without:
            yield check_output(page, number, name, words.split(), block, programs, server)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--programs", type=pathlib.Path, help="where the examples were built")
    parser.add_argument("--server", type=pathlib.Path, help="the test server, for those that need one")
    parser.add_argument("--without", nargs="*", default=[], metavar="NAME", help="examples that were not built")
    arguments = parser.parse_args()
    programs = arguments.programs
    server = Server(arguments.server)
    pages = [p for p in sorted(ROOT.rglob("*.md")) if p.relative_to(ROOT).parts[0] != "build"]
    try:
        found = [problem for page in pages for problem in check_page(page, programs, server, arguments.without)
                 if problem]
    finally:
        server.stop()
    for problem in found:
        print(problem)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
