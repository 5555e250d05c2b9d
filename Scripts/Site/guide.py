"""What the pages of the guide say about types: where each is explained, and the code that shows it."""

import collections
import html
import re
import textwrap

HEADING = re.compile(r'<h([1-3]) id="([^"]*)">(.*?)</h\1>', re.DOTALL)
BLOCK = re.compile(r'<div class="codehilite">.*?</div>', re.DOTALL)
TAG = re.compile(r"<[^>]*>")
NAME = re.compile(r"\b[A-Z]\w{2,}\b")
PERMALINK = re.compile(r'<a class="headerlink".*?</a>', re.DOTALL)
LINKED = re.compile(r"(<a [^>]*>.*?</a>|<h\d.*?</h\d>|<pre.*?</pre>)|<code>([^<]*)</code>", re.DOTALL)
LONGEST_EXAMPLE = 30
# Code as short as this shows a call, but not what it is about.
SHORT_EXAMPLE = 3

Section = collections.namedtuple("Section", "page url title heading content")
Place = collections.namedtuple("Place", "title heading url count")


def plain(content):
    return re.sub(r"\s+", " ", html.unescape(TAG.sub("", PERMALINK.sub("", content)))).strip()


def sections(title, url, content):
    """The parts of a page between its headings."""
    marks = list(HEADING.finditer(content))
    ends = [mark.start() for mark in marks[1:]] + [len(content)]
    for index, (mark, end) in enumerate(zip(marks, ends)):
        anchor = "" if index == 0 else "#" + mark[2]
        yield Section(url, url + anchor, title, plain(mark[3]), content[mark.end() : end])


class Guide:
    """Is given the sections of the pages that explain, in the order of the navigation."""

    def __init__(self):
        self.places = collections.defaultdict(list)
        self.examples = collections.defaultdict(list)
        self.programs = collections.defaultdict(list)

    def add(self, section):
        words = collections.Counter(NAME.findall(plain(" ".join(re.findall(r"<code>.*?</code>", section.content)))))
        for block in BLOCK.findall(section.content):
            text = html.unescape(TAG.sub("", block))
            words.update(set(NAME.findall(text)))
            if 'class="cp"' in block or ";" in text:
                self._add_example(block, text, section)
        words.update({name: 5 for name in NAME.findall(section.heading)})
        for name, count in words.items():
            self.places[name].append(Place(section.title, section.heading, section.url, count))

    def _add_example(self, block, text, section):
        lines = len(text.strip().splitlines())
        for name in set(NAME.findall(text)) if lines <= LONGEST_EXAMPLE else ():
            self.examples[name].append((lines, block, section))

    def add_program(self, path, text, highlighted):
        """The paragraphs of an example's source, for types that no page shows."""
        for paragraph in re.split(r"\n\s*\n", text):
            lines = paragraph.strip("\n").splitlines()
            if not lines or len(lines) > LONGEST_EXAMPLE or lines[0].startswith("#include"):
                continue
            section = Section(path, path, path, path, "")
            for name in set(NAME.findall(re.sub(r"//.*|\"[^\"]*\"", "", paragraph))):
                self.programs[name].append((len(lines), textwrap.dedent(paragraph), section, highlighted))

    def places_of(self, name):
        """The three sections that say most about a type, one of each page, the best first."""
        best = {}
        for place in sorted(self.places[name], key=lambda each: -each.count):
            best.setdefault(place.title, place)
        return list(best.values())[:3]

    def example_of(self, name):
        """The shortest compiled code that uses the type, if it is not too short, and its section."""
        found = min(self.examples[name], key=lambda each: (each[0] < SHORT_EXAMPLE, each[0]), default=None)
        if found:
            return found[1], found[2]
        programs = [each for each in self.programs[name] if each[0] >= SHORT_EXAMPLE] or self.programs[name]
        found = min(programs, key=lambda each: each[0], default=None)
        return found and (found[3](found[1]), found[2])


def with_links(content, url_named):
    """The page with each type that it names linked to the reference."""

    def linked(match):
        if match[1]:
            return match[0]
        url = url_named(html.unescape(match[2]))
        return f'<a class="name" href="{html.escape(url)}">{match[0]}</a>' if url else match[0]

    return LINKED.sub(linked, content)
