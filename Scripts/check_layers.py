#!/usr/bin/env python3
"""Proves the architecture from the #include lines.

    Scripts/check_layers.py [ROOT]

The rules, each also told by the message of its breach:
  - A layer includes only itself and what stands below it.
  - A third-party library is met only where the table below says.
  - A public header (outside of Internal/ and of internal folders) includes no Internal header, no third-party header, and none of
    the heavy standard headers. An adapter includes the library that it is for; nothing includes an adapter.
  - A public header declares something outside of detail namespaces, unless it is in a Detail folder; one that is
    there does not.
  - Nothing but an optional folder itself includes what is in it.
  - Headers do not include each other in a circle, nor do the folders of a layer, sources included.
  - File names are unique in the tree.
  - Every included file of this project exists, and is named by its path from the include root.
"""

import pathlib
import re
import sys

from layout import ADAPTER_LAYERS, ADAPTERS, is_internal

LAYERS = ["Platform", "Velisand", "Vantorel", "Corvane"]
LAYERS_WITH_FOLDERS = ["Platform", "Corvane"]
# They stand on the layers side by side: each knows all of them, and none of the others.
SIDE_LAYERS = ["CorvaneTesting", *ADAPTER_LAYERS]

# Library, the includes that mean it, and the paths under Sources where it may be met.
THIRD_PARTIES = [
    ("libcurl", r"curl/", []),
    ("libpsl", r"libpsl\.h$", [r"Platform/Loading/Internal/"]),
    ("libidn2", r"idn2\.h$", [r"Platform/Foundation/Internal/"]),
    (
        "OpenSSL",
        r"openssl/",
        [
            r"Platform/Security/Internal/",
            r"Platform/Networking/",
            r"CorvaneTesting/.*\.cpp$",
            r"CorvaneTesting/Internal/",
        ],
    ),
    ("nghttp2", r"nghttp2/", [r"Platform/Networking/HTTP2/"]),
    (
        "zlib",
        r"z(lib|conf)\.h$",
        [
            r"Corvane/ContentEncoding/Internal/",
            r"Platform/Loading/Internal/",
            r"Platform/Imaging/Internal/",
            r"CorvaneTesting/.*\.cpp$",
        ],
    ),
    ("libpng", r"png(conf)?\.h$", [r"Platform/Imaging/Internal/"]),
    ("libjpeg", r"j(peglib|error|morecfg|config)\.h$", [r"Platform/Imaging/Internal/"]),
    ("spdlog", r"(spdlog|fmt)/", [r"Vantorel/.*\.cpp$"]),
    ("Boost", r"boost/", [r".*\.cpp$", r".*/Internal/.*"]),
    ("Asio", r"asio(/|\.hpp$)", []),
    ("Qt", r"Qt[A-Z]", []),
    ("GLib", r"glib(\.h$|/)", []),
    ("nlohmann", r"nlohmann/", [r".*\.cpp$"]),
    ("simdjson", r"simdjson", [r".*\.cpp$", r".*/Internal/"]),
    ("GoogleTest", r"g(test|mock)/", []),
]

# Folders that are libraries of their own: the library does without them.
OPTIONAL_FOLDERS = ["Platform/Imaging"]

# Each costs every file that includes it more than what it gives there is worth.
HEAVY = set(
    "iostream sstream iomanip regex filesystem mutex condition_variable thread future algorithm ranges map "
    "unordered_map".split()
)
# Ours that cost as much: for sources, Internal headers and adapters.
OUR_HEAVY = {"Platform/Detail/Locking.hpp"}

# What is no declaration. Strings and characters come first, as they may hold what looks like a comment.
QUOTED = re.compile(r'R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'|//[^\n]*|/\*.*?\*/', re.DOTALL)
DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n\\]|\\.)*$", re.MULTILINE | re.DOTALL)
NAMESPACE = re.compile(r"\s*(?:inline\s+)?namespace\s+([\w:]+)\s*$")
HIDDEN = re.compile(r"(?:^|::|_)detail$")
FORWARD = re.compile(r"(?:class|struct|enum class)\s+[\w:]+(?:\s*:\s*[\w:]+)?$")

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


class File:
    def __init__(self, root, path):
        self.path = path.relative_to(root).as_posix()
        self.layer = self.path.split("/")[0]
        self.is_internal = is_internal(self.path)
        self.is_header = path.suffix == ".hpp"
        self.is_public = self.is_header and not self.is_internal
        self.is_detail = "/Detail/" in self.path
        self.text = path.read_text(encoding="utf-8")
        self.includes = []
        for number, line in enumerate(self.text.splitlines(), 1):
            match = INCLUDE.match(line)
            if match:
                self.includes.append((number, match.group(1) == '"', match.group(2)))


def declarations(text):
    """What a header declares, each as whether a detail namespace holds it; forward declarations are left out."""
    text = DIRECTIVE.sub("", QUOTED.sub(lambda found: "" if found[0].startswith("/") else '""', text))
    enclosing, statement = [], ""
    for token in re.findall(r"[{};]|[^{};]+", text):
        is_hidden = any(HIDDEN.search(name) for name in enclosing)
        if token == "{":
            namespace = NAMESPACE.match(statement)
            if not namespace and "{" not in enclosing:
                yield is_hidden
            enclosing.append(namespace[1] if namespace else "{")
        elif token == "}" and enclosing:
            enclosing.pop()
        elif token == ";" and statement.strip() and "{" not in enclosing and not FORWARD.match(statement.strip()):
            yield is_hidden
        statement = token if token not in "{};" and token.strip() else ""


def check_detail(file):
    if not file.is_public:
        return
    found = set(declarations(file.text))
    if file.is_detail and False in found:
        yield f"{file.path}: what is in a Detail folder must be declared in a detail namespace"
    if not file.is_detail and found == {True}:
        yield f"{file.path}: a header that declares nothing outside of detail namespaces belongs in a Detail folder"


def check_layers(file, line, name):
    layer = name.split("/")[0]
    if layer == file.layer:
        return None
    if layer in SIDE_LAYERS and file.layer in SIDE_LAYERS:
        return f"{file.path}:{line}: {file.layer} stands beside {layer} and must not include <{name}>"
    if file.layer in SIDE_LAYERS:
        return None
    if layer in SIDE_LAYERS or LAYERS.index(layer) > LAYERS.index(file.layer):
        return f"{file.path}:{line}: {file.layer} stands below {layer} and must not include <{name}>"


def check_third_parties(file, line, name):
    for library, pattern, places in THIRD_PARTIES:
        if not re.match(pattern, name):
            continue
        if ADAPTERS.get(file.path, ("",))[0] == library:
            return None
        if file.is_public:
            return f"{file.path}:{line}: a public header must not include {library} <{name}>"
        if not any(re.match(place, file.path) for place in places):
            return f"{file.path}:{line}: {library} <{name}> may be included only in {' or '.join(places) or 'adapters'}"


def check_adapters(file, line, name):
    if name in ADAPTERS:
        return f"{file.path}:{line}: <{name}> is an adapter, which only its users include"


def check_optional_folders(file, line, name):
    if folder(name) in OPTIONAL_FOLDERS and folder(file.path) != folder(name):
        return f"{file.path}:{line}: <{name}> is in a library of its own, which the others do without"


def check_public(file, line, name):
    if not file.is_public:
        return None
    if is_internal(name):
        return f"{file.path}:{line}: a public header must not include the internal <{name}>"
    # What an adapter adapts to includes these itself.
    if name in HEAVY | OUR_HEAVY and file.layer not in ADAPTER_LAYERS and file.path not in OUR_HEAVY:
        return f"{file.path}:{line}: a public header must not include <{name}>, which is slow to compile"


def check_file(file, files):
    for line, quoted, name in file.includes:
        ours = name.split("/")[0] in LAYERS + SIDE_LAYERS
        if ours and name not in files:
            yield f"{file.path}:{line}: there is no file {name}"
        elif quoted and not ours:
            yield f'{file.path}:{line}: "{name}" must be named by its path from the include root'
        checks = [check_third_parties, check_adapters, check_optional_folders, check_public] + ([check_layers] if ours else [])
        yield from filter(None, (check(file, line, name) for check in checks))


def check_names(files):
    seen = {}
    for path in sorted(files):
        name = path.split("/")[-1]
        if name in seen:
            yield f"{path}: the name is taken by {seen[name]}; file names are unique in the tree"
        seen[name] = path


def cycles(graph):
    """Each circle once, found by a depth-first walk."""
    done, trail = set(), []

    def walk(node):
        if node in trail:
            yield trail[trail.index(node) :] + [node]
            return
        if node in done:
            return
        trail.append(node)
        for following in sorted(graph.get(node, ())):
            yield from walk(following)
        trail.pop()
        done.add(node)

    for node in sorted(graph):
        yield from walk(node)


def folder(path):
    """The folder below the layer; a header directly in the layer counts as a folder of its own, with its source. Layers without
    further folders count as one."""
    if path.split("/")[0] not in LAYERS_WITH_FOLDERS:
        return path.split("/")[0]
    return "/".join(path.split("/")[:2]).removesuffix(".hpp").removesuffix(".cpp")


def check_circles(files):
    headers = {}
    folders = {}
    for file in files.values():
        ours = [name for _, _, name in file.includes if name in files and name != file.path]
        if file.is_header:
            headers[file.path] = set(ours)
        for name in ours:
            if folder(name) != folder(file.path):
                folders.setdefault(folder(file.path), set()).add(folder(name))
    for circle in cycles(headers):
        yield "headers include each other: " + " -> ".join(circle)
    for circle in cycles(folders):
        yield "folders include each other: " + " -> ".join(circle)


def problems(root):
    """All breaches of the rules below `root`, the include root."""
    paths = (p for layer in LAYERS + SIDE_LAYERS for s in ("*.hpp", "*.cpp", "*.inc") for p in (root / layer).rglob(s))
    files = {file.path: file for file in (File(root, path) for path in sorted(paths))}
    if not files:
        return [f"{root}: there are no files to check"]
    found = [problem for file in files.values() for check in (check_file(file, files), check_detail(file)) for problem in check]
    return found + list(check_names(files)) + list(check_circles(files))


def main():
    here = pathlib.Path(__file__).resolve().parent.parent / "Sources"
    root = pathlib.Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else here
    found = problems(root)
    for problem in found:
        print(problem)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
