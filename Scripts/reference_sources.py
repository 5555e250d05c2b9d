#!/usr/bin/env python3
"""Copies the public headers as Doxygen is to read them: a docstring before a run of constants documents each of them.

    Scripts/reference_sources.py FOLDER

A run is made of declarations that follow each other without a blank line or a comment: enumerators on lines of their
own, constants of one type, static functions without arguments of one type. Lines keep their numbers.
"""

import pathlib
import re
import sys

from layout import documented_headers

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCSTRING = re.compile(r"^\s*///(?!<)")
ENUMERATOR = re.compile(r"^\s*\w+( = [^,;(){}]+)?,?$")
CONSTANT = re.compile(r"^\s*(?:static|inline) (?:static |constexpr |const |inline )*(?P<type>[\w:<>]+(?:\*)?) \w+"
                      r"(?:\(\))?(?: const)?\s*(?:[{;=(,]|$)")
SEVERAL = re.compile(r"^(?P<type>\s*static const \w+) (?P<names>\w+(?:,\s*\w+)+);$", re.DOTALL)


def kind_of(line):
    match = CONSTANT.match(line)
    if match:
        return match.group("type")
    return "enumerator" if ENUMERATOR.match(line) else None


def declaration_end(lines, at):
    """The line after the declaration that begins at `at`."""
    depth = 0
    is_enumerator = ENUMERATOR.match(lines[at])
    while at < len(lines):
        code = lines[at].split("//")[0].rstrip()
        depth += sum(code.count(c) for c in "({") - sum(code.count(c) for c in ")}")
        at += 1
        if depth <= 0 and (is_enumerator or code.endswith((";", "}"))):
            break
    return at


def run_from(lines, at):
    """Where each declaration of the run at `at` begins, and where the run ends."""
    kind, begins = kind_of(lines[at]) if at < len(lines) else None, []
    while kind and at < len(lines) and kind_of(lines[at]) == kind:
        begins.append(at)
        at = declaration_end(lines, at)
    return begins, at


def told_one_by_one(declaration, words):
    """A declaration of several constants as one of each, on as many lines."""
    match = SEVERAL.match("\n".join(declaration))
    if not match:
        return declaration
    names = re.split(r",\s*", match.group("names"))
    text = " ".join(f"{words if at else ''} {match.group('type').strip()} {name};" for at, name in enumerate(names))
    return [text] + [""] * (len(declaration) - 1)


def with_words_for_all(lines):
    result, at = [], 0
    while at < len(lines):
        first = at
        while at < len(lines) and DOCSTRING.match(lines[at]):
            at += 1
        result += lines[first:at]
        if at == first:
            result.append(lines[at])
            at += 1
            continue
        words = "/** " + " ".join(line.strip().removeprefix("///").strip() for line in lines[first:at]) + " */"
        begins, end = run_from(lines, at)
        for number, begin in enumerate(begins):
            behind = begins[number + 1] if number + 1 < len(begins) else end
            declaration = told_one_by_one(lines[begin:behind], words)
            result += [words + " " + declaration[0] if number else declaration[0]] + declaration[1:]
        at = end if begins else at
    return result


def main():
    target = pathlib.Path(sys.argv[1])
    for header in documented_headers():
        place = target / header.relative_to(ROOT)
        place.parent.mkdir(parents=True, exist_ok=True)
        lines = header.read_text(encoding="utf-8").split("\n")
        place.write_text("\n".join(with_words_for_all(lines)), encoding="utf-8")


if __name__ == "__main__":
    main()
