#!/usr/bin/python3
"""Compares the public interface with the dump of it that is kept in Docs/API, so that no change of it is an accident.

    Scripts/check_api.py                        fails, and shows the difference, when the interface has changed
    Scripts/check_api.py --update               writes the dump anew
    Scripts/check_api.py --symbols LIBRARY.so   the same for the symbols that a shared library exports

The dump has a file for each layer or component, a section for each public header, and a line for each declaration that
users can name: with templates and their constraints, bases, default arguments, enumerators with their values, members,
friends, macros. Left out are Internal and Detail folders, namespaces named detail, private members, and bodies of functions.
It is made with Clang's parser (python3-clang-19), and reads as the headers do, whatever their line breaks.
"""

import argparse
import difflib
import pathlib
import re
import subprocess
import sys

from layout import ADAPTER_LAYERS, documented_headers

try:
    from clang import cindex
except ImportError:
    sys.exit("check_api: python3-clang-19 is needed; Scripts/setup.sh checks installs it")

ROOT = pathlib.Path(__file__).resolve().parent.parent
HIDDEN = re.compile(r"(^|_)detail$")
KIND = cindex.CursorKind
CLASSES = {KIND.CLASS_DECL, KIND.STRUCT_DECL, KIND.UNION_DECL, KIND.CLASS_TEMPLATE,
           KIND.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION}
FUNCTIONS = {KIND.CXX_METHOD, KIND.CONSTRUCTOR, KIND.DESTRUCTOR, KIND.CONVERSION_FUNCTION, KIND.FUNCTION_TEMPLATE}
BODIES = {KIND.COMPOUND_STMT, KIND.CXX_TRY_STMT}
TOO_MANY_ERRORS = 20


class LibraryMissing(Exception):
    pass


class Header:
    """The tokens of a header, without comments."""

    def __init__(self, unit, path):
        self.path = path
        self.text = path.read_bytes()
        extent = cindex.SourceRange.from_locations(
            cindex.SourceLocation.from_offset(unit, unit.get_file(str(path)), 0),
            cindex.SourceLocation.from_offset(unit, unit.get_file(str(path)), len(self.text)))
        self.tokens = [(token.extent.start.offset, token.extent.end.offset, token.spelling)
                       for token in unit.get_tokens(extent=extent) if token.kind != cindex.TokenKind.COMMENT]

    def between(self, start, end):
        return [token for token in self.tokens if start <= token[0] < end]


def joined(header, tokens, defined=None):
    """The text of tokens as it was written, but for comments, line breaks, and blanks inside of brackets."""
    parts, last = [], None
    for start, end, spelling in tokens:
        if spelling == "CORVANE_API" and start != defined:
            continue  # the exported symbols tell who has it
        if last is not None and header.text[last:start].strip(b" \t") != b"":
            parts.append(" ")  # a line break or a comment
        elif last is not None and start > last:
            parts.append(" ")
        parts.append(spelling)
        last = end
    text = re.sub(r" +", " ", "".join(parts)).strip()
    return re.sub(r"(?<=[(\[]) |(?<=\w<) | (?=[)\],;])", "", text)


def qualified_name(head):
    """The name of a class, with what is before its last `::` and its arguments, in the text before its braces."""
    depth, begin = 0, 0
    for match in re.finditer(r"[<(\[]|[>)\]]|\b(?:class|struct|union)\b", head):
        text = match.group()
        depth += (text in "<([") - (text in ">)]")
        if len(text) > 1 and depth == 0:
            begin = match.end()
    name = re.sub(r"\[\[.*?\]\]", "", head[begin:])
    return re.split(r"(?<!:):(?!:)| final\b", name)[0].strip()


def without_initialisers(tokens):
    """A constructor's head: what stands before the colon outside of brackets."""
    depth = 0
    for index, (_, _, spelling) in enumerate(tokens):
        depth += spelling in "([{" if len(spelling) == 1 else 0
        depth -= spelling in ")]}" if len(spelling) == 1 else 0
        if spelling == ":" and depth == 0:
            return tokens[:index]
    return tokens


def body_of(cursor):
    return next((child for child in cursor.get_children() if child.kind in BODIES), None)


class Dump:
    """Collects the lines of each header."""

    def __init__(self, unit, headers):
        self.headers = {str(path): Header(unit, path) for path in headers}
        self.lines = {str(path): [] for path in headers}
        for cursor in unit.cursor.get_children():
            self.visit(cursor, "")

    def header_of(self, cursor):
        place = cursor.location.file
        return self.headers.get(place.name) if place else None

    def add(self, header, scope, text):
        self.lines[str(header.path)].append(f"{scope or '(global)'}: {text}")

    def visit(self, cursor, scope):
        header = self.header_of(cursor)
        if not header:
            return
        kind = cursor.kind
        if kind in (KIND.NAMESPACE, KIND.LINKAGE_SPEC):
            if not HIDDEN.search(cursor.spelling):
                inner = f"{scope}::{cursor.spelling}".strip(":") if kind == KIND.NAMESPACE else scope
                for child in cursor.get_children():
                    self.visit(child, inner)
        elif kind == KIND.MACRO_DEFINITION:
            self.visit_macro(cursor, header)
        elif kind == KIND.ENUM_DECL:
            self.visit_enumeration(cursor, header, scope)
        elif kind in CLASSES:
            self.visit_class(cursor, header, scope)
        elif kind not in (KIND.INCLUSION_DIRECTIVE, KIND.MACRO_INSTANTIATION, KIND.STATIC_ASSERT):
            self.visit_other(cursor, header, scope)

    def visit_macro(self, cursor, header):
        tokens = header.between(cursor.extent.start.offset, cursor.extent.end.offset)
        undefined = re.search(rb"#\s*undef\s+" + cursor.spelling.encode() + rb"\b", header.text)
        if tokens and not undefined:
            self.add(header, "", "#define " + joined(header, tokens, tokens[0][0]))

    def head(self, cursor, header):
        """What stands before the braces of a class or an enumeration, and where the braces begin."""
        tokens = header.between(cursor.extent.start.offset, cursor.extent.end.offset)
        depth = 0
        for index, (_, _, spelling) in enumerate(tokens):
            depth += (spelling == "(") - (spelling == ")")
            if spelling == "{" and depth == 0 and not self.is_requirement(tokens, index):
                return joined(header, tokens[:index]), tokens[index][0]
        return joined(header, tokens), cursor.extent.end.offset

    @staticmethod
    def is_requirement(tokens, index):
        """Whether the brace opens a requires-expression in the constraint of a template."""
        before = [spelling for _, _, spelling in tokens[:index]]
        if before and before[-1] == "requires":
            return True
        if before and before[-1] == ")":
            depth = 0
            for place in range(len(before) - 1, -1, -1):
                depth += (before[place] == ")") - (before[place] == "(")
                if depth == 0:
                    return place > 0 and before[place - 1] == "requires"
        return False

    def visit_enumeration(self, cursor, header, scope):
        if not cursor.is_definition():
            return
        self.add(header, scope, self.access(cursor) + self.head(cursor, header)[0])
        inner = f"{scope}::{cursor.spelling}" if cursor.spelling else scope
        constants = [child for child in cursor.get_children() if child.kind == KIND.ENUM_CONSTANT_DECL]
        in_template = len(constants) > 1 and len({constant.enum_value for constant in constants}) == 1
        for place, child in enumerate(constants):
            # Clang does not count the enumerators of a template.
            value = f"(number {place})" if in_template else f"= {child.enum_value}"
            self.add(header, inner, f"{child.spelling} {value}")

    @staticmethod
    def access(cursor):
        return "protected: " if cursor.access_specifier == cindex.AccessSpecifier.PROTECTED else ""

    @staticmethod
    def is_hidden(cursor):
        return cursor.access_specifier == cindex.AccessSpecifier.PRIVATE

    def visit_class(self, cursor, header, scope):
        if not cursor.is_definition() or HIDDEN.search(cursor.spelling):
            return
        head, braces = self.head(cursor, header)
        self.add(header, scope, self.access(cursor) + head)
        inner = f"{scope}::{qualified_name(head) or '(unnamed)'}".removeprefix("::")
        for child in cursor.get_children():
            if child.extent.start.offset < braces or child.kind == KIND.CXX_ACCESS_SPEC_DECL:
                continue
            if child.kind == KIND.FRIEND_DECL:
                self.visit_friend(child, header, inner)
            elif child.kind.is_declaration() and not self.is_hidden(child):
                self.visit(child, inner)

    def visit_friend(self, cursor, header, scope):
        """Functions that are declared as friends are found by their arguments; friends that are classes concern nobody."""
        function = next((child for child in cursor.get_children()
                         if child.kind in (KIND.FUNCTION_DECL, KIND.FUNCTION_TEMPLATE)), None)
        if function:
            self.visit_other(function, header, scope, start=cursor.extent.start.offset)

    def visit_other(self, cursor, header, scope, start=None):
        start = cursor.extent.start.offset if start is None else start
        end = cursor.extent.end.offset
        tokens = header.between(start, end)
        if not tokens or [spelling for _, _, spelling in tokens[:2]] == ["extern", "template"]:
            return  # an instance that is compiled elsewhere is no declaration of its own
        if cursor.kind in FUNCTIONS and cursor.semantic_parent != cursor.lexical_parent and start == cursor.extent.start.offset:
            return  # the body of a member, which was declared in its class
        body = body_of(cursor)
        if body:
            tokens = without_initialisers(header.between(start, body.extent.start.offset))
        text = joined(header, tokens)
        self.add(header, scope, self.access(cursor) + text + self.deduced(cursor, text))

    @staticmethod
    def deduced(cursor, text):
        """The type that a function's body makes, which its head does not say."""
        if cursor.kind not in (KIND.FUNCTION_DECL, KIND.CXX_METHOD) or "->" in text:
            return ""
        if not re.match(r"((friend|static|constexpr|inline|virtual|\[\[.*?\]\]) )*(auto|decltype ?\(auto\))[ &*]", text):
            return ""
        deduced = cursor.result_type.get_canonical().spelling
        return "" if "auto" in deduced else f" -> {deduced}"


def flags_of(package):
    if not package:
        return []
    answer = subprocess.run(["pkg-config", "--cflags", package], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    return answer.stdout.split()


def parse(sources, headers, *flags):
    text = "".join(f'#include "{header}"\n' for header in headers)
    arguments = ["-x", "c++", "-std=c++20", f"-I{sources}", "-ferror-limit=0", *flags]
    unit = cindex.Index.create().parse("public.cpp", args=arguments, unsaved_files=[("public.cpp", text)],
                                       options=cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)
    errors = [str(problem) for problem in unit.diagnostics if problem.severity >= cindex.Diagnostic.Error]
    missing = next((error for error in errors if "file not found" in error), None)
    if missing:
        raise LibraryMissing(missing)
    if errors:
        sys.exit("\n".join(errors[:TOO_MANY_ERRORS] + ["check_api: the public headers do not compile with Clang"]))
    return unit


def text_of(sources, headers, unit):
    """The sections of some headers."""
    lines = Dump(unit, headers).lines
    sections = (f"# {path.relative_to(sources)}\n" + "".join(line + "\n" for line in lines[str(path)]) for path in headers)
    return "\n".join(sections)


def dump(sources):
    """The text of each file of the dump by its name; None for an adapter whose library is not there."""
    folders = {}
    for path in documented_headers(sources):
        folders.setdefault(path.relative_to(sources).parts[0], []).append(path)
    library = {folder: headers for folder, headers in folders.items() if folder not in ADAPTER_LAYERS}
    if not library:
        sys.exit(f"check_api: there are no public headers in {sources}")
    try:
        unit = parse(sources, [path for headers in library.values() for path in headers])
    except LibraryMissing as missing:
        sys.exit(f"check_api: {missing}; Scripts/setup.sh build checks installs what is needed")
    texts = {f"{folder}.txt": text_of(sources, headers, unit) for folder, headers in library.items()}
    for folder in folders.keys() - library.keys():
        try:
            unit = parse(sources, folders[folder], *flags_of(ADAPTER_LAYERS[folder]))
            texts[f"{folder}.txt"] = text_of(sources, folders[folder], unit)
        except LibraryMissing as missing:
            print(f"check_api: {folder} is not checked: {missing}", file=sys.stderr)
            texts[f"{folder}.txt"] = None
    return texts


def exported_symbols(library):
    """Functions, data and virtual tables; what compilers emit or leave out as they optimise is left out."""
    listed = subprocess.run(["nm", "--dynamic", "--defined-only", "--demangle", "--format=posix", library], check=True,
                            stdout=subprocess.PIPE, text=True).stdout
    found = re.findall(r"^(.+?)(?:@@\S+)? ([A-Za-z]) [0-9a-f]+(?: [0-9a-f]*)?$", listed, re.MULTILINE)
    symbols = {name for name, kind in found if kind in "TDBR" or kind == "V" and name.startswith("vtable for ")}
    if not symbols:
        sys.exit(f"check_api: {library} exports nothing")
    return "".join(name + "\n" for name in sorted(symbols))


def compare(folder, texts, stale):
    """Prints the differences between the dump that is kept and the texts; tells whether there are none."""
    same = True
    for name in sorted(name for name in texts.keys() | stale if texts.get(name, "") is not None):
        kept = (folder / name).read_text() if (folder / name).is_file() else ""
        difference = list(difflib.unified_diff(kept.splitlines(), texts.get(name, "").splitlines(),
                                               f"{name}, as it is kept", f"{name}, as it is now", lineterm="", n=1))
        same = same and not difference
        for line in difference:
            print(line)
    return same


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--update", action="store_true", help="write the dump anew")
    parser.add_argument("--symbols", metavar="LIBRARY", nargs="+", help="the symbols of shared libraries instead of the headers")
    parser.add_argument("--sources", type=pathlib.Path, default=ROOT / "Sources")
    parser.add_argument("--dump", type=pathlib.Path, default=ROOT / "Docs" / "API")
    arguments = parser.parse_args()
    if arguments.symbols:
        names = [re.sub(r"\.so.*$", "", pathlib.Path(library).name) + ".symbols.txt" for library in arguments.symbols]
        texts = dict(zip(names, map(exported_symbols, arguments.symbols)))
        stale = set()
    else:
        texts = dump(arguments.sources.resolve())
        kept = {path.name for path in arguments.dump.glob("*.txt")}
        stale = {name for name in kept if not name.endswith(".symbols.txt")} - texts.keys()
    if arguments.update:
        arguments.dump.mkdir(parents=True, exist_ok=True)
        for name in stale:
            (arguments.dump / name).unlink()
        for name, text in texts.items():
            if text is not None:
                (arguments.dump / name).write_text(text)
    elif not compare(arguments.dump, texts, stale):
        again = " ".join(["--update"] + (["--symbols", *arguments.symbols] if arguments.symbols else []))
        sys.exit("\ncheck_api: the public interface has changed. If that is meant, tell users about it in CHANGELOG.md, run\n"
                 f"    Scripts/check_api.py {again}\nand commit Docs/API with the change. If not, take the change back.")


if __name__ == "__main__":
    main()
