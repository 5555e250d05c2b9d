"""Pictures of figures, made of the tables of a page, so that a picture cannot say something else than its table.

    <!-- bars of Performance.md: ROW: first column as NAME -->     the row of a table that begins with ROW, a bar for
                                                                   each figure; the name of the first may be said
    <!-- ratios of Performance.md: ROW -->                         the same without the first figure, which is no ratio
    <!-- rows of Comparison.md: ROW; ROW -->                       rows of a table, as a table
"""

import html
import pathlib
import re

MARK = re.compile(r"^<!-- (bars|ratios|rows) of (\S+\.md): (.+?)(?:: first column as (\w+))? -->$", re.MULTILINE)
NUMBER = re.compile(r"^\d[\d,]*(\.\d+)?")


def cells(line):
    return [cell.strip() for cell in line.strip().strip("|").split("|")]


def row_of(text, name):
    """The heads and the cells of a row."""
    heads = []
    for line, following in zip(text.splitlines(), text.splitlines()[1:] + [""]):
        if line.startswith("|") and re.fullmatch(r"[|:\- ]+", following):
            heads = cells(line)
        elif line.startswith("|") and cells(line)[0] == name:
            return heads, cells(line)
    raise ValueError(f"no table has the row {name!r}")


def figures(text, name, first=None):
    heads, found = row_of(text, name)
    pairs = [(head, NUMBER.match(cell)) for head, cell in zip(heads[1:], found[1:]) if head != "goal"]
    result = [(head, match[0]) for head, match in pairs if match]
    if len(result) < 2:
        raise ValueError(f"the row {name!r} has no figures to compare")
    return [(first or result[0][0], result[0][1]), *result[1:]]


def drawn(rows, is_own):
    longest = max(float(value.replace(",", "")) for _, value in rows)
    lines = []
    for name, value in rows:
        share = max(0.6, 100 * float(value.replace(",", "")) / longest)
        kind = ' class="own"' if is_own or name == "Corvane" else ""
        lines.append(f'<tr{kind}><th scope="row">{html.escape(name)}</th>'
                     f'<td><span class="bar" style="width:{share:.1f}%"></span></td><td>{value}</td></tr>')
    return '<table class="bars">' + "".join(lines) + "</table>"


def excerpt(text, names):
    """A table of these rows, in Markdown."""
    rows = [row_of(text, name) for name in names]
    lines = [rows[0][0], ["---"] * len(rows[0][0]), *(found for _, found in rows)]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def with_bars(text, folder):
    """The page with pictures in place of its marks."""

    def picture(match):
        kind, page, row, first = match.groups()
        tables = (pathlib.Path(folder) / page).read_text(encoding="utf-8")
        if kind == "rows":
            return excerpt(tables, row.split("; "))
        found = figures(tables, row, first)
        return drawn(found[1:], True) if kind == "ratios" else drawn(found, False)

    return MARK.sub(picture, text)
