#!/usr/bin/env python3
"""Draws what the benchmarks printed: one SVG for exchanges, transfers of files, and JSON each.

    Scripts/plot_bench.py TABLES.txt FOLDER

The figures that a picture was drawn from are left beside it, as NAME.dat, for gnuplot.
"""

import collections
import pathlib
import re
import subprocess
import sys

TITLE = re.compile(r"^(?P<title>\S.*?)(?:, (?P<server>own server|nginx|nghttpd)| in documents.*|, \d+ bytes), \d+ rounds$")
ROW = re.compile(r"^  (?P<name>\S.*?) {2,}(?P<figure>[\d.]+)(?P<rest>.*)$")
RATIOS = re.compile(r"rate (?P<rate>[\d.]+).*?CPU (?P<cpu>[\d.]+)")
BLUE, ORANGE, GREY = "#3b6fb6", "#d98c3f", "#8a97a6"

STYLE = """
set terminal svg size {width},{height} font "Helvetica,12" background "white"
set output "{output}"
set title "{title}" font ",14"
set style fill solid 0.9 noborder
set border 3 lc rgb "#5b6b7b"
set grid x lc rgb "#e3e8ee"
set xtics nomirror textcolor rgb "#5b6b7b"
set ytics nomirror textcolor rgb "#333333"
set xlabel "{unit}" textcolor rgb "#5b6b7b"
set key outside bottom center horizontal
set lmargin {margin}
set xrange [0:*]
set yrange [-0.7:{top}]
"""

Row = collections.namedtuple("Row", "title server name figure rate cpu")


def rows_of(text):
    title = server = None
    for line in text.splitlines():
        match = TITLE.match(line)
        if match:
            title, server = match["title"], match["server"]
        elif not line.strip():
            title = None
        match = ROW.match(line) if title else None
        if match:
            ratios = RATIOS.search(match["rest"])
            yield Row(title, server, match["name"], float(match["figure"]), *((float(ratios["rate"]), float(
                ratios["cpu"])) if ratios else (None, None)))


class Bars:
    """Horizontal bars: one line for each label, one bar in it for each series."""

    def __init__(self, title, unit, series, mark=None):
        self.title, self.unit, self.series, self.mark = title, unit, series, mark
        self.labels, self.values = [], []

    def add(self, label, values):
        self.labels.append(label)
        self.values.append(values)

    def draw(self, folder, name):
        if not self.labels:
            return None
        data = folder / f"{name}.dat"
        data.write_text("".join("\t".join([f'"{label}"', *(f"{value:g}" if value is not None else "NaN"
                                                           for value in values)]) + "\n"
                                for label, values in zip(reversed(self.labels), reversed(self.values))))
        picture = folder / f"{name}.svg"
        thickness = 0.8 / len(self.series)
        plots = []
        for at, (series, colour) in enumerate(zip(self.series, (BLUE, ORANGE, GREY))):
            middle = 0.4 - thickness * (at + 0.5)
            box = f"({middle:.3f}+$0-{thickness / 2:.3f}):({middle:.3f}+$0+{thickness / 2:.3f})"
            plots.append(f'"{data}" using (0):0:(0):{at + 2}:{box}:ytic(1) with boxxyerror lc rgb "{colour}" '
                         f'title "{series if len(self.series) > 1 else ""}"')
        script = STYLE.format(width=860, height=110 + 30 * len(self.labels) * max(1, len(self.series) * 0.7),
                              output=picture, title=self.title, unit=self.unit,
                              margin=max(map(len, self.labels)) * 0.95, top=len(self.labels) - 0.3)
        if self.mark:
            script += f'set arrow from {self.mark},graph 0 to {self.mark},graph 1 nohead lc rgb "#333333" dt 2\n'
        subprocess.run(["gnuplot"], input=script + "plot " + ", \\\n  ".join(plots) + "\n", text=True, check=True)
        return picture


def exchanges(rows):
    bars = Bars("Corvane beside libcurl", "Corvane / libcurl (OpenSSL for new connections)",
                ["rate, more is better", "CPU time, less is better"], mark=1)
    for row in rows:
        if row.name.startswith("Corvane") and row.rate is not None and "file" not in row.title:
            form = " get()" if "get()" in row.name else ""
            title = re.sub(r"^Small GETs(, | )|, kept in memory$|, with the system.*$", "", row.title)
            title = re.sub(r"client and server on (one core|a core each)", r"on \1", title)
            title = title.replace("2,000 GETs at a server that answers after 100 ms,", "answered after 100 ms,")
            bars.add(f"{title}{form}, {row.server.split()[0]}", (row.rate, row.cpu))
    return bars


def transfers(rows):
    bars = Bars("Transfers of 256 MiB", "MiB/s", ["rate"])
    for row in rows:
        if row.title.startswith("A file of") and "observed" not in row.name:
            bars.add(f"{row.title.rsplit(' ', 1)[-1]}, {row.server.split()[0]}: {row.name}", (row.figure,))
    return bars


def json(rows, kind):
    wanted = [row for row in rows if row.title.startswith(f"JSON, {kind}")]
    titles = list(dict.fromkeys(row.title for row in wanted))[:3]
    bars = Bars(f"JSON, {kind}", "MB/s", [title.removeprefix(f"JSON, {kind}").strip(", ") or "large"
                                          for title in titles])
    for name in dict.fromkeys(row.name for row in wanted):
        bars.add(name, tuple(next((row.figure for row in wanted if (row.title, row.name) == (title, name)), None)
                             for title in titles))
    return bars


def main():
    tables, folder = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    rows = list(rows_of(tables.read_text(encoding="utf-8")))
    pictures = {"exchanges": exchanges(rows), "transfers": transfers(rows), "json-decode": json(rows, "decode"),
                "json-encode": json(rows, "encode")}
    drawn = [picture for name, bars in pictures.items() if (picture := bars.draw(folder, name))]
    if not drawn:
        sys.exit(f"{tables} holds no figures")
    print("\n".join(f"drawn: {picture}" for picture in drawn), file=sys.stderr)


if __name__ == "__main__":
    main()
