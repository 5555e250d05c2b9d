"""Declarations as users read them: spaced as in the sources, and without the names that are no part of the interface.
"""

import re

# What stands in the headers, and what it means to users.
MEANINGS = {
    "detail::ResponseOf": "{}::Response",
    "detail::CompletionOf": "{}::Completion",
    "detail::BodyOf": "{}::Result::Body",
    "detail::RequestOf": "{}::value_type",
    "detail::TypedBatchRun": "HTTPBatchRun<{}>",
    "detail::Held": "{}",
    "detail::ValueIn": "{}::Value",
    "detail::ValueInRange": "{}::value_type::Value",
    "detail::ListOf": "ListOf<{}>",
}
BATCH = re.compile(r"(?:typename )?HTTPBatchRun<[^<>]*>::(Update|Completion)")
LIST = re.compile(r"(?:typename )?ListOf<([^<>]*)>::Type")


def end_of_brackets(text, at):
    """The index after the bracket that closes the one at `at`."""
    depth = 0
    for index in range(at, len(text)):
        if text[index] in "<(":
            depth += 1
        elif text[index] in ">)" and text[index - 1] != "-":
            depth -= 1
            if depth == 0:
                return index + 1
    return len(text)


def split(text):
    """The parts between the commas that stand in no brackets."""
    parts, depth, begin = [], 0, 0
    for index, character in enumerate(text):
        if character in "<({":
            depth += 1
        elif character in ">)}":
            depth -= 1
        elif character == "," and depth == 0:
            parts.append(text[begin:index].strip())
            begin = index + 1
    return [part for part in (*parts, text[begin:].strip()) if part]


def arguments(text):
    """The template arguments of a type."""
    at = text.find("<")
    return split(text[at + 1 : end_of_brackets(text, at) - 1]) if at >= 0 else []


def substituted(text, values):
    if not values:
        return text
    names = "|".join(re.escape(name) for name in values)
    return re.sub(rf"(?<!::)\b({names})\b", lambda match: values[match[1]], text)


def spaced(text):
    text = re.sub(r"\s+", " ", text).strip()
    text = re.sub(r"< +", "<", re.sub(r" +>", ">", text))
    text = re.sub(r" (&&?|\*+)(\.\.\.)? ?(?=[\w,)>]|$)", lambda found: f"{found[1]}{found[2] or ''} ", text)
    text = re.sub(r"([&*.]) +(?=[,)>])", r"\1", text)
    text = re.sub(r"(\w)=(?=[\w{:])", r"\1 = ", text)
    return text.replace("( ", "(").strip()


def with_meanings(text):
    """The text with what users know in place of the helpers of the headers."""
    for name, meaning in sorted(MEANINGS.items(), key=lambda item: -len(item[0])):
        while True:
            found = re.search(rf"\b{name}<", text)
            if not found:
                break
            end = end_of_brackets(text, found.end() - 1)
            text = text[: found.start()] + meaning.format(text[found.end() : end - 1]) + text[end:]
    text = LIST.sub(r"std::vector<\1>", BATCH.sub(r"\1", text))
    text = re.sub(r"\b(?:typename )?(?:Base|Mixin)::(\w+)", r"\1", text)
    return re.sub(r"noexcept\(\w*detail::.*?\)\)", "noexcept", text)


def is_public(text):
    return not re.search(r"\b\w*detail::|\bInternal::", text)


def template_parameters(element, text_of):
    names = []
    for parameter in element.findall("templateparamlist/param"):
        name = parameter.findtext("declname") or text_of(parameter.find("type")).split(" ")[-1]
        names.append(name.lstrip("."))
    return names


def template_head(element, text_of):
    """`template <class T>`, without constraints that users cannot name."""
    head = element.find("templateparamlist")
    if head is None:
        return ""
    parts = []
    for parameter in head.findall("param"):
        kind, default = spaced(text_of(parameter.find("type"))), spaced(text_of(parameter.find("defval")))
        kind = kind if is_public(kind) else "class" + ("..." if kind.endswith("...") else "")
        name = parameter.findtext("declname") or ""
        shown = f"{kind} {name}".strip()
        parts.append(f"{shown} = {default}" if default and is_public(default) else shown)
    return f"template <{', '.join(parts)}>\n"


def requirement(element, text_of):
    condition = spaced(text_of(element.find("requiresclause")))
    return f"\n  requires {condition}" if condition and is_public(condition) else ""


def broken(text, name):
    """Long parameter lists on lines of their own."""
    if len(text) <= 96 or "(" not in text:
        return text
    at = text.find(name + "(")
    at = at + len(name) if at >= 0 else text.find("(")
    end = end_of_brackets(text, at)
    parts = split(text[at + 1 : end - 1])
    return f"{text[: at + 1]}\n    " + ",\n    ".join(parts) + text[end - 1 :] if parts else text


def signature(element, text_of):
    kind, name = element.get("kind"), element.findtext("name")
    result = with_meanings(spaced(text_of(element.find("type"))))
    tail = with_meanings(spaced(element.findtext("argsstring") or ""))
    if kind == "define":
        parameters = [text_of(each) for each in element.findall("param/defname")]
        return f"#define {name}" + (f"({', '.join(parameters)})" if parameters else "")
    if kind == "enum":
        return f"enum class {name}"
    head = template_head(element, text_of)
    if kind == "typedef":
        return f"{head}using {name}" + (f" = {result}{tail}" if is_public(result + tail) else "")
    words = []
    if element.get("explicit") == "yes":
        words.append("explicit")
    if element.get("static") == "yes" and kind != "friend":
        words.append("static")
    if element.get("virt") in ("virtual", "pure-virtual") and "override" not in tail:
        words.append("virtual")
    result = result.replace("CORVANE_API", "").replace("friend ", "").strip()
    start = " ".join([*words, *([result] if result else [])])
    start = start if not start or start.endswith(("operator",)) else start + " "
    if kind == "variable":
        first = spaced(text_of(element.find("initializer")))
        shown = first if len(first) < 60 and is_public(first) else ""
        return f"{head}{start}{name}{tail}{' ' if shown and not shown.startswith('{') else ''}{shown}"
    return head + broken(f"{start}{name}{tail}", name) + requirement(element, text_of)


def declaration_of_concept(element):
    """A concept's own text names helpers in places; then its parameters are all that is shown."""
    text = "".join(element.find("initializer").itertext()).strip()
    head, _, rest = text.partition("concept ")
    name, _, condition = rest.partition("=")
    name = name.strip().rsplit("::", 1)[-1]
    head = re.sub(r"\s+", " ", head).strip()
    shown = f"{head}\nconcept {name} = {condition.strip()}"
    return shown if is_public(shown) else f"{head if is_public(head) else 'template <class T>'}\nconcept {name}"
