"""The words of docstrings, from Doxygen's XML to HTML."""

import html
import re

import markdown.extensions.codehilite as codehilite

CHARACTERS = {"ndash": "–", "mdash": "—", "lsquo": "‘", "rsquo": "’", "ldquo": "“", "rdquo": "”", "hellip": "…",
              "nonbreakablespace": " ", "zwj": "", "times": "×", "le": "≤", "ge": "≥", "sp": " "}
TAGS = {"para": "p", "bold": "strong", "emphasis": "em", "itemizedlist": "ul", "orderedlist": "ol", "listitem": "li",
        "table": "table", "row": "tr", "superscript": "sup", "subscript": "sub", "blockquote": "blockquote"}
BLOCKS = {"table", "itemizedlist", "orderedlist", "verbatim", "programlisting", "blockquote", "simplesect",
          "parameterlist"}


def code_block(text, language="cpp"):
    return codehilite.CodeHilite(text.strip("\n"), lang=language, guess_lang=False).hilite()


class Writer:
    """Writes descriptions; `url_of` tells where the reference describes an identifier, or None, and `url_named` where it
    describes a name in code."""

    def __init__(self, url_of, url_named):
        self.url_of = url_of
        self.url_named = url_named

    def inline(self, element):
        return html.escape(element.text or "", quote=False) + "".join(
            self.node(child) + html.escape(child.tail or "", quote=False) for child in element)

    def node(self, element):
        tag = element.tag
        if tag in CHARACTERS:
            return CHARACTERS[tag]
        if tag == "para":
            return self.paragraph(element)
        if tag == "computeroutput":
            return self.code(element)
        if tag == "ref":
            return self.link(self.url_of(element.get("refid")), self.inline(element))
        if tag == "ulink":
            return self.link(element.get("url"), self.inline(element))
        if tag == "entry":
            name = "th" if element.get("thead") == "yes" else "td"
            return f"<{name}>{self.flat(element)}</{name}>"
        if tag == "verbatim":
            return code_block(element.text or "")
        if tag == "programlisting":
            return code_block("\n".join("".join(self.plain(line)) for line in element.findall("codeline")))
        if tag in TAGS:
            return f"<{TAGS[tag]}>{self.flat(element) if tag == 'listitem' else self.inline(element)}</{TAGS[tag]}>"
        raise ValueError(f"the reference knows no way to show <{tag}>")

    def code(self, element):
        text = "".join(self.plain(element))
        ref = element.find("ref")
        url = self.url_of(ref.get("refid")) if ref is not None else None
        return self.link(url or self.url_named(text), f"<code>{html.escape(text, quote=False)}</code>")

    def plain(self, element):
        yield element.text or ""
        for child in element:
            yield CHARACTERS.get(child.tag, "")
            yield from self.plain(child)
            yield child.tail or ""

    @staticmethod
    def link(url, text):
        return f'<a href="{html.escape(url)}">{text}</a>' if url else text

    def flat(self, element):
        """The contents of a cell or an item: a single paragraph is not marked as such."""
        children = list(element)
        if len(children) == 1 and children[0].tag == "para" and not any(each.tag in BLOCKS for each in children[0]):
            return self.inline(children[0]).strip()
        return self.inline(element).strip()

    def paragraph(self, element):
        """Doxygen puts lists, tables and code into paragraphs, HTML does not."""
        result, words = [], html.escape(element.text or "", quote=False)
        for child in element:
            if child.tag in BLOCKS:
                result += [f"<p>{words.strip()}</p>" if words.strip() else "", self.node(child)]
                words = ""
            else:
                words += self.node(child)
            words += html.escape(child.tail or "", quote=False)
        return "".join(result) + (f"<p>{words.strip()}</p>" if words.strip() else "")

    def description(self, element):
        """The HTML of a whole docstring, and of its first sentence."""
        brief = element.find("briefdescription")
        first = self.flat(brief) if brief is not None else ""
        detailed = element.find("detaileddescription")
        rest = self.inline(detailed).strip() if detailed is not None else ""
        return re.sub(r"^<p>|</p>$", "", first), rest
