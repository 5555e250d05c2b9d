"""The pages of the reference: one for each type, one for each namespace, and the list of all."""

import html
import re

import cpp
from model import text_of
from words import Writer

KEYWORDS = set("template class typename struct const constexpr noexcept explicit static virtual using enum requires auto "
               "void bool int double char unsigned default delete override final operator".split())
TOKEN = re.compile(r"(?:\w+::)*\w+|\W")
GROUPS = ("Construction", "Sending", "Functions", "Constants and data", "Types", "Operators")
# Pages of the guide for types that no page of it names, by the folder of the header.
TOPICS = {
    "Corvane/Authentication": ("Authentication", "Docs/Authentication.html"),
    "Corvane/Behaviours": ("Behaviours", "Docs/Behaviours.html"),
    "Corvane/DebugOutput": ("Debugging", "Docs/Debugging.html"),
    "Corvane/Errors": ("Responses and errors", "Docs/ResponsesAndErrors.html"),
    "Corvane/Insight": ("Metrics and traces", "Docs/Metrics.html"),
    "Corvane/Responses": ("Responses and errors", "Docs/ResponsesAndErrors.html"),
    "Corvane/Streaming": ("Streaming", "Docs/Streaming.html"),
    "Corvane/Transfers": ("Transfers", "Docs/Transfers.html"),
    "Corvane/Transport": ("Client configuration", "Docs/ClientConfiguration.html"),
    "Corvane": ("Requests", "Docs/Requests.html"),
    "CorvaneTesting": ("Testing", "Docs/Testing.html"),
    "CorvaneAsio": ("Event loops", "Docs/EventLoops.html"),
    "CorvaneGLib": ("Event loops", "Docs/EventLoops.html"),
    "CorvaneQt": ("Event loops", "Docs/EventLoops.html"),
    "Platform/Dispatch": ("Threads and locks", "Docs/Threads.html"),
    "Platform/Foundation/JSON": ("JSON", "Docs/JSON.html"),
    "Platform/Security": ("Trust", "Docs/Trust.html"),
    "Platform": ("Architecture", "Docs/Architecture.html"),
    "Vantorel": ("Debugging", "Docs/Debugging.html"),
    "Velisand": ("Coroutines", "Docs/Coroutines.html"),
}


def topic_of(folder):
    while folder and folder not in TOPICS:
        folder = folder.rpartition("/")[0]
    return TOPICS[folder]


class Names:
    """Where the reference describes a name; all its pages lie in one folder."""

    def __init__(self, reference):
        self.pages, self.identifiers, self.short = {}, {}, {}
        for compound in [*reference.namespaces, *reference.types]:
            page = compound.name.replace("::", ".") + ".html"
            self.pages[compound.name] = page
            self.identifiers[compound.identifier] = page
            for member in compound.shown_members():
                self.pages[f"{compound.name}::{member.name}"] = f"{page}#{anchor(member.name)}"
                self.identifiers.setdefault(member.identifier, f"{page}#{anchor(member.name)}")
            for value in compound.element.findall("enumvalue"):
                self.identifiers[value.get("id")] = page
        for compound in reversed(reference.types):
            self.short.setdefault(compound.short_name, []).append(self.pages[compound.name])
        for macro in reference.macros:
            self.pages[macro.name] = f"macros.html#{macro.name}"
            self.identifiers[macro.identifier] = f"macros.html#{macro.name}"

    def url_of(self, identifier):
        return self.identifiers.get(identifier)

    def url_named(self, text):
        """For a name as code has it: with or without its namespace, arguments of templates, and parentheses."""
        name = re.sub(r"[<({].*", "", text, flags=re.DOTALL).strip()
        if not re.fullmatch(r"\w+(::\w+)*", name):
            return None
        for scope in ("", "corvane::", "platform::", "velisand::", "vantorel::", "corvane::testkit::"):
            if scope + name in self.pages and (scope or "::" in name) and not self._is_plain_word(name):
                return self.pages[scope + name]
        known = self.short.get(name, [])
        return known[0] if len(known) == 1 else None

    @staticmethod
    def _is_plain_word(name):
        """Names of functions and namespaces are words of prose, too."""
        return "::" not in name and name[0].islower()


def anchor(name):
    plain = re.sub(r"[^\w]+", "-", name).strip("-")
    return plain or "operator"


def group_of(member, user):
    """Requests are made to be sent, so what sends them is told first, on the page of each."""
    return "Sending" if user and member.name == "send" else member.group()


class Pages:
    def __init__(self, reference, guide):
        self.reference, self.guide = reference, guide
        self.names = Names(reference)
        self.writer = Writer(self.names.url_of, self.names.url_named)
        self.without_example = []

    def url(self, compound):
        return self.names.pages[compound.name]

    def signature(self, text, name=""):
        """A declaration in HTML, its types linked."""
        parts = []
        for token in TOKEN.findall(text):
            shown = html.escape(token, quote=False)
            url = self.names.url_named(token) if token[0].isupper() or "::" in token else None
            if token in KEYWORDS:
                parts.append(f'<span class="k">{shown}</span>')
            elif token == name:
                parts.append(f"<b>{shown}</b>")
            else:
                parts.append(self.writer.link(url, shown))
        return "".join(parts)

    def entry(self, member, user=None):
        explained = self.reference.explanation_of(member, user) if user else member
        first, rest = self.writer.description(explained.element)
        values = [{"name": value.findtext("name"), "words": " ".join(self.writer.description(value))}
                  for value in member.values]
        return {"signature": self.signature(member.signature(), member.name), "first": first, "rest": rest,
                "cases": values, "is_protected": member.element.get("prot") == "protected"}

    def overloads(self, members, user=None):
        """Entries by name, in the order of the header."""
        by_name = {}
        for member in members:
            by_name.setdefault(member.name, []).append(self.entry(member, user))
        return [{"name": name, "anchor": anchor(name), "entries": entries} for name, entries in by_name.items()]

    def groups(self, members, user=None):
        for title in GROUPS:
            found = [member for member in members if group_of(member, user) == title]
            if found:
                yield {"title": title, "members": self.overloads(found, user)}

    def inherited(self, compound):
        base, members = compound
        page = self.url(base) if base.name in self.names.pages else None
        return {"name": base.short_name, "url": page, "anchor": "from-" + base.short_name,
                "members": self.overloads(members)}

    def declaration(self, compound):
        if compound.kind == "concept":
            return self.signature(cpp.declaration_of_concept(compound.element), compound.short_name)
        if compound.kind == "enum":
            return self.signature(f"enum class {compound.short_name}", compound.short_name)
        head = cpp.template_head(compound.element, text_of)
        bases = list(dict.fromkeys(self.reference.named_bases_of(compound)))
        final = " final" if compound.element.get("final") == "yes" else ""
        tail = "\n  : " + ",\n    ".join(bases) if bases else ""
        return self.signature(f"{head}{compound.kind} {compound.short_name}{final}{tail}", compound.short_name)

    def places(self, compound):
        found = self.guide.places_of(compound.short_name)
        if found:
            return [{"title": place.title, "heading": place.heading, "url": place.url} for place in found]
        title, url = topic_of(compound.topic())
        return [{"title": title, "heading": title, "url": url}]

    def type(self, compound):
        first, rest = self.writer.description(compound.element)
        own, inherited = self.reference.members_of(compound) if compound.kind not in ("enum", "concept") else ([], [])
        own += [member for _, members in inherited for member in members if member.name == "send"]
        inherited = [(base, [member for member in members if member.name != "send"]) for base, members in inherited]
        example = None if "codehilite" in rest else self.guide.example_of(compound.short_name)
        if "codehilite" not in rest and not example:
            self.without_example.append(compound.name)
        values = [{"name": value.findtext("name"), "words": " ".join(self.writer.description(value))}
                  for value in compound.element.findall("enumvalue")]
        siblings = [{"name": each.name.removeprefix(compound.namespace() + "::"), "url": self.url(each), "is_here": each is compound}
                    for each in self.reference.types
                    if each.topic() == compound.topic() and each.namespace() == compound.namespace()]
        outer = self.reference.by_name.get(compound.namespace())
        return {"name": compound.name.rpartition("::")[2], "namespace": compound.namespace(),
                "namespace_url": self.url(outer) if outer and outer.name in self.names.pages else "index.html",
                "topic": compound.topic(), "header": compound.header, "kind": compound.kind, "first": first,
                "rest": rest, "example": example, "places": self.places(compound), "cases": values,
                "declaration": self.declaration(compound), "groups": list(self.groups(own, compound)),
                "inherited": [self.inherited(each) for each in inherited if each[1]], "siblings": siblings}

    def topics(self, types):
        result = {}
        for each in types:
            first, _ = self.writer.description(each.element)
            result.setdefault(each.topic(), []).append({"name": each.short_name, "url": self.url(each), "first": first})
        return sorted(result.items())

    def namespace(self, compound):
        first, rest = self.writer.description(compound.element)
        members = [member for member in compound.shown_members() if member.kind != "enum"]
        types = [each for each in self.reference.types if each.namespace() == compound.name]
        return {"name": compound.name, "first": first, "rest": rest, "topics": self.topics(types),
                "groups": list(self.groups(members))}

    def macros(self):
        return {"name": "Macros", "first": "What the headers define for the preprocessor.", "rest": "", "topics": [],
                "groups": [{"title": "Macros", "members": self.overloads(self.reference.macros)}]}

    def overview(self):
        _, rest = self.writer.description(self.reference.introduction)
        spaces = [{"name": each.name, "url": self.url(each),
                   "topics": self.topics([one for one in self.reference.types if one.namespace() == each.name])}
                  for each in self.reference.namespaces]
        return {"rest": rest, "namespaces": [each for each in spaces if each["topics"]]}
