"""What the reference shows, read from the XML that Doxygen makes of the headers.

Names in a namespace called `detail` are no part of the interface. The members of such a base class are shown as the
members of the class that users name.
"""

import pathlib
import re
import xml.etree.ElementTree as ElementTree

import cpp

KINDS = {"class", "struct", "union", "concept", "enum"}
NAMESPACES = {"corvane", "platform", "velisand", "vantorel"}


def text_of(element):
    return re.sub(r"\s+", " ", "".join(element.itertext())).strip() if element is not None else ""


class Member:
    """A function, constant, alias, enumeration or macro."""

    def __init__(self, element, owner):
        self.element = element
        self.owner = owner
        self.identifier = element.get("id")
        self.kind = element.get("kind")
        self.name = element.findtext("name")
        self.is_static = element.get("static") == "yes"
        self.header = element.find("location").get("file", "").removeprefix("Sources/")
        self.values = element.findall("enumvalue")
        self.brief = element.find("briefdescription")
        self.detailed = element.find("detaileddescription")

    def is_documented(self):
        return bool(text_of(self.brief) or text_of(self.detailed))

    def is_shown(self):
        if self.element.get("prot") == "private" or self.name.startswith("CORVANE_") and self.kind != "define":
            return False
        if self.kind == "friend" and text_of(self.element.find("type")) in ("class", "struct"):
            return False
        if self.kind in ("function", "friend") and self._is_refusal():
            return False
        if not self.is_documented() and self._is_ordinary():
            return False
        return cpp.is_public(self.signature()) and (self.kind == "define" or self.owner.is_ours())

    def is_shown_in_derived(self):
        """The same for a member of a base that users do not name."""
        return self.element.get("prot") == "public" and not self._is_constructor() and not self._is_refusal() and \
            cpp.is_public(self.signature()) and (self.is_documented() or self.kind != "typedef")

    def _is_refusal(self):
        """Whether it is there to be chosen for mistakes, and does not compile."""
        condition = text_of(self.element.find("requiresclause"))
        return text_of(self.brief).startswith("Does not compile") or re.search(r"!\(?\w*detail::", condition) or \
            re.search(r"detail::(No[A-Z]\w+|AnyCallback)", text_of(self.element.find("argsstring")))

    def _is_constructor(self):
        return self.name in (self.owner.short_name, "~" + self.owner.short_name)

    def _is_ordinary(self):
        """Whether it copies, moves or destroys."""
        arguments = self.element.findtext("argsstring") or ""
        own = re.escape(self.owner.short_name)
        takes_own = re.match(rf"\((const )?{own}\s*(<[^()]*>)?\s*&&?\s*\w*\)", arguments)
        return self.name.startswith("~") or (self._is_constructor() or self.name == "operator=") and bool(takes_own)

    def signature(self):
        return cpp.signature(self.element, text_of)

    def group(self):
        if self.kind in ("typedef", "enum"):
            return "Types"
        if self.kind == "variable":
            return "Constants and data"
        if self._is_constructor():
            return "Construction"
        return "Operators" if self.name.startswith("operator") else "Functions"


class Compound:
    """A class, concept, namespace or enumeration."""

    def __init__(self, element):
        self.element = element
        self.identifier = element.get("id")
        self.kind = element.get("kind")
        self.name = element.findtext("compoundname")
        self.short_name = re.sub(r"<.*", "", self.name).rsplit("::", 1)[-1]
        self.brief = element.find("briefdescription")
        self.detailed = element.find("detaileddescription")
        self.header = element.find("location").get("file", "").removeprefix("Sources/") \
            if element.find("location") is not None else ""
        self.members = [Member(member, self) for member in element.findall("sectiondef/memberdef")]
        self.bases = [(text_of(base), base.get("refid")) for base in element.findall("basecompoundref")
                      if base.get("prot") == "public"]
        self.parameters = cpp.template_parameters(element, text_of)

    def parts(self):
        return re.sub(r"<.*", "", self.name).replace("asio_detail", "detail").split("::")

    def is_ours(self):
        """Whether users may name it, and no other library declares it."""
        return self.parts()[0] in NAMESPACES and "detail" not in self.parts()

    def is_type(self):
        return self.kind in KINDS and "<" not in self.name and self.is_ours()

    def namespace(self):
        return "::".join(self.parts()[:-1])

    def topic(self):
        """The folder that the header is in."""
        return str(pathlib.PurePosixPath(self.header).parent)

    def shown_members(self):
        return [member for member in self.members if member.is_shown()]


class Enumeration(Compound):
    """An enumeration of a namespace has a page, as a class has."""

    def __init__(self, element, namespace):
        self.element = element
        self.identifier = element.get("id")
        self.kind = "enum"
        self.short_name = element.findtext("name")
        self.name = f"{namespace.name}::{self.short_name}"
        self.brief = element.find("briefdescription")
        self.detailed = element.find("detaileddescription")
        self.header = element.find("location").get("file").removeprefix("Sources/")
        self.members, self.bases, self.parameters = [], [], []
        self.values = element.findall("enumvalue")


class Reference:
    """All that Doxygen found."""

    def __init__(self, folder):
        self.compounds, self.enumerations, self.macros = {}, [], []
        for entry in ElementTree.parse(folder / "index.xml").getroot().findall("compound"):
            if entry.get("kind") not in ("dir", "page"):
                root = ElementTree.parse(folder / f"{entry.get('refid')}.xml").getroot()
                self._add(Compound(root.find("compounddef")))
        self.introduction = ElementTree.parse(folder / "indexpage.xml").getroot().find("compounddef")
        self.by_name = {re.sub(r"<.*", "", compound.name): compound for compound in reversed(self.compounds.values())}
        self.types = sorted([compound for compound in self.compounds.values() if compound.is_type()
                             and self._is_reachable(compound)] + self.enumerations, key=lambda each: each.name.lower())
        self.namespaces = [each for each in self.compounds.values() if each.kind == "namespace" and each.is_ours()]

    def _add(self, compound):
        if compound.kind == "file":
            self.macros += [member for member in compound.members if member.kind == "define" and self._lasts(member)]
            return
        if compound.element.get("prot") in ("private", "package"):
            return
        self.compounds[compound.identifier] = compound
        if compound.kind == "namespace" and compound.is_ours():
            self.enumerations += [Enumeration(member.element, compound) for member in compound.members
                                  if member.kind == "enum"]

    @staticmethod
    def _lasts(macro):
        text = (pathlib.Path("Sources") / macro.header).read_text(encoding="utf-8")
        return macro.is_documented() and not re.search(rf"^#undef {macro.name}\b", text, re.MULTILINE)

    def _is_reachable(self, compound):
        """Whether users can name it: what is nested in a private class cannot be reached."""
        outer = self.by_name.get(compound.namespace())
        return bool(text_of(compound.brief)) and (outer is not None or "::" not in compound.name)

    def bases_of(self, compound, arguments=None):
        """The bases, nearest first, each with its parameters replaced by arguments: (text, compound or None)."""
        for text, identifier in compound.bases:
            text = cpp.substituted(text, arguments or {})
            base = self.compounds.get(identifier) or self._named(text, compound)
            yield text, base
            if base:
                yield from self.bases_of(base, dict(zip(base.parameters, cpp.arguments(text))))

    def _named(self, text, user):
        name = re.sub(r"<.*", "", text).strip()
        scopes = user.parts()[:-1]
        for size in range(len(scopes), -1, -1):
            found = self.by_name.get("::".join([*scopes[:size], name]))
            if found:
                return found
        return None

    def explanation_of(self, member, compound):
        """The member that has the words: itself, an overload, or what it redefines in a base."""
        if member.is_documented() or member.group() == "Construction":
            return member
        for _, base in self.bases_of(compound):
            for other in base.members if base else ():
                if other.name == member.name and other.is_documented():
                    return other
        return member

    def named_bases_of(self, compound, arguments=None):
        """The nearest bases that users name, as they are written in a declaration."""
        for text, identifier in compound.bases:
            text = cpp.spaced(cpp.substituted(text, arguments or {}))
            base = self.compounds.get(identifier) or self._named(text, compound)
            if base and "detail" in base.parts():
                yield from self.named_bases_of(base, dict(zip(base.parameters, cpp.arguments(text))))
            elif cpp.is_public(text):
                yield text.removeprefix(compound.namespace() + "::")

    def members_of(self, compound):
        """Own members, with those of bases that users do not name; then (base, members) for each other base."""
        own, inherited, seen, shown = compound.shown_members(), [], set(), set()
        seen |= {member.name for member in own if member.name != "send"}
        for _, base in self.bases_of(compound):
            if not base or base.identifier in shown:
                continue
            shown.add(base.identifier)
            is_hidden = "detail" in base.parts()
            found = [member for member in base.members
                     if member.name not in seen and not member.name.startswith("~") and member.name != base.short_name
                     and (member.is_shown_in_derived() if is_hidden else member.is_shown())]
            seen |= {member.name for member in found if member.name != "send"}
            if is_hidden:
                own += found
            elif found:
                inherited.append((base, found))
        return own, inherited
