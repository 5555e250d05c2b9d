#!/usr/bin/env python3
"""Fails when a public symbol has no documentation, as told by the XML that Doxygen made of the headers.

    Scripts/check_reference.py [build/reference/xml]

Every class, function, constant, alias, concept and macro that users can reach needs a docstring. What Doxygen
lists without one is accepted where the words stand elsewhere:

  - copying, moving, destroying, comparing, and what makes a container (`size`, `begin`, `value_type`), which mean
    what they always mean;
  - further overloads of a function that is documented beside them;
  - a member that redefines a documented one of a base class: a requirement is explained where it is required;
  - constants of one type that follow a documented one on the next lines, and the enumerators of a documented
    enumeration, as long as none of them has words of its own;
  - specialisations of templates, which are documented where the template is.

Macros that a header undefines again are its own business.

Docs/Decisions says why.
"""

import collections
import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parent.parent
WELL_KNOWN = {"operator==", "operator!=", "operator<", "operator<=>", "operator<<", "begin", "end", "size", "isEmpty",
              "value_type", "const_iterator", "hash", "await_ready", "await_suspend", "await_resume",
              "get_return_object", "initial_suspend", "final_suspend", "unhandled_exception"}
TYPES = ("class", "struct", "union", "concept")


def text_of(element, name):
    found = element.find(name)
    return "".join(found.itertext()).strip() if found is not None else ""


def is_documented(element):
    return any(text_of(element, part) for part in ("briefdescription", "detaileddescription", "inbodydescription"))


def place_of(element):
    location = element.find("location")
    if location is None:
        return "?"
    return f"{location.get('file')}:{location.get('line')}"


def lines_of(member):
    """The first line of a declaration, and the last."""
    location = member.find("location")
    first = int(location.get("line"))
    is_here = location.get("bodyfile") == location.get("file")
    return first, max(first, int(location.get("bodyend", first)) if is_here else first)


def is_undefined_again(member):
    """Whether a macro lives in its header only."""
    path = ROOT / place_of(member).partition(":")[0]
    return re.search(rf"^#undef {member.findtext('name')}\b", path.read_text(encoding="utf-8"), re.MULTILINE)


def is_public(member):
    if member.get("kind") == "define":
        return not is_undefined_again(member)
    return member.get("prot") != "private" and not (member.findtext("definition") or "").startswith("template ")


class Compound:
    """A class, namespace or file, with its members and its base classes."""

    def __init__(self, element):
        self.element = element
        self.kind = element.get("kind")
        self.name = element.findtext("compoundname")
        self.bases = [base.get("refid") for base in element.findall("basecompoundref")]
        self.members = [member for member in element.iter("memberdef") if is_public(member)]

    def is_specialisation(self):
        return "<" in self.name

    def documented_names(self):
        return {member.findtext("name") for member in self.members if is_documented(member)}

    def names_in_runs(self):
        """Of constants, or functions without arguments, that follow a documented one of their type."""
        names, described, next_line = set(), None, 0
        for member in sorted(self.members, key=lines_of):
            first, last = lines_of(member)
            kind = (place_of(member).partition(":")[0], text_of(member, "type"))
            if is_documented(member):
                described = kind if member.get("static") == "yes" or member.get("kind") == "variable" else None
            elif described == kind and first <= next_line and not member.findall("param"):
                names.add(member.findtext("name"))
            else:
                described = None
            next_line = last + 1
        return names


def compounds_in(folder):
    index = ElementTree.parse(folder / "index.xml")
    result = {}
    for entry in index.getroot().findall("compound"):
        if entry.get("kind") in (*TYPES, "namespace", "file"):
            element = ElementTree.parse(folder / f"{entry.get('refid')}.xml").getroot().find("compounddef")
            is_inner = "detail" in re.split(r"::|asio_", element.findtext("compoundname"))
            if element.get("prot") not in ("private", "package") and not is_inner:
                result[entry.get("refid")] = Compound(element)
    return result


def inherited_names(compound, compounds):
    names, open_bases = set(), list(compound.bases)
    while open_bases:
        base = compounds.get(open_bases.pop())
        if base:
            names |= base.documented_names()
            open_bases += base.bases
    return names


def means_what_it_always_means(member, compound):
    name = member.findtext("name")
    own_name = re.sub(r"<.*", "", compound.name).rsplit("::", 1)[-1]
    arguments = member.findtext("argsstring") or ""
    if name.startswith("~") or name in WELL_KNOWN:
        return True
    if "=delete" in arguments:
        return True
    parameters = [text_of(parameter, "type") for parameter in member.findall("param")]
    takes_its_own = len(parameters) == 1 and re.fullmatch(
        rf"(const )?{re.escape(own_name)}\s*(<.*>)?\s*(&&?)?", parameters[0])
    return name in (own_name, "operator=") and bool(takes_its_own) or (name == own_name and "=default" in arguments)


def undocumented_values(member):
    """The enumerators that lack words while others have them: all together are told by their enumeration."""
    values = member.findall("enumvalue")
    wordless = [value.findtext("name") for value in values if not is_documented(value)]
    return wordless if len(wordless) < len(values) else []


def undocumented_members(compound, compounds):
    documented = compound.documented_names() | compound.names_in_runs()
    inherited = inherited_names(compound, compounds)
    for member in compound.members:
        if member.get("kind") == "friend" and (member.findtext("type") or "").strip() in ("class", "struct"):
            continue
        if compound.kind == "file" and member.get("kind") != "define":
            continue
        name = member.findtext("name")
        for value in undocumented_values(member):
            yield member, f"{name}::{value}"
        if is_documented(member) or name in documented or name in inherited:
            continue
        if means_what_it_always_means(member, compound):
            continue
        yield member, name + (member.findtext("argsstring") or "")


def undocumented(compounds):
    for compound in compounds.values():
        if compound.is_specialisation():
            continue
        if compound.kind in TYPES and not is_documented(compound.element):
            yield place_of(compound.element), compound.name
        for member, name in undocumented_members(compound, compounds):
            scope = "" if compound.kind == "file" else f"{compound.name}::"
            yield place_of(member), scope + name


def main():
    folder = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else ROOT / "build/reference/xml"
    compounds = compounds_in(folder)
    members = sum(len(compound.members) for compound in compounds.values())
    found = sorted(set(undocumented(compounds)))
    for place, name in found:
        print(f"{place}: {name} is not documented")
    kinds = collections.Counter(compound.kind for compound in compounds.values())
    types = sum(kinds[kind] for kind in TYPES)
    if types == 0 or members == 0:
        sys.exit(f"{folder} holds no reference")
    print(f"{types} types and {members} members, {len(found)} of them not documented")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
