#!/usr/bin/env python3
"""Writes docs/benchmarks.md and its charts from the figures that scripts/bench.sh took: scripts/bench-report.py FIGURES

FIGURES has a line for each figure: group, size, competitor and value, separated by tabs. The document's text is
scripts/bench-report.md.in; the functions that its lines {{...}} call are those of Report below.
"""
import argparse
import collections
import itertools
import os
import pathlib
import platform
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENT = ROOT / "docs" / "benchmarks.md"
CHARTS = ROOT / "docs" / "benchmarks"
# The competitors that are the module itself: the thick line of a chart, whichever row they are in.
MODULE = {"module", "VariableMap", "PackAllVariables", "packet codec and maps", "SetVariableInt64, changed",
          "DoInit without the survey"}


def read_figures(file):
    """The groups: competitors in the file's order, each with its values by size."""
    groups = collections.defaultdict(lambda: collections.defaultdict(dict))
    for number, line in enumerate(file, 1):
        fields = line.rstrip("\n").split("\t")
        if len(fields) != 4:
            raise ValueError(f"line {number} has {len(fields)} fields instead of 4")
        group, size, competitor, value = fields
        groups[group][competitor][float(size)] = float(value)
    return groups


def short_size(size):
    for unit, name in ((1e6, " M"), (1e3, " K")):
        if size >= unit:
            return f"{size / unit + 1e-9:.0f}{name}"
    return f"{size:.0f}" if size else ""


def short_value(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}"


def package_version(name):
    found = subprocess.run(["dpkg-query", "--show", "--showformat=${Version}", name], capture_output=True, text=True)
    return found.stdout or "unknown"


# The module's line has one colour in every chart; the others stay readable on white and to colour-blind eyes.
MODULE_COLOUR = "dark-violet"
PEER_COLOURS = ["#009e73", "#0072b2", "#d55e00", "#56b4e9", "#8a6d00", "#cc79a7"]


def plot(file, title, commands):
    """Runs gnuplot. Its SVG calls itself "Gnuplot": it gets the chart's title, which screen readers read out."""
    with tempfile.TemporaryDirectory() as folder:
        script = pathlib.Path(folder) / "plot"
        script.write_text("\n".join([f"set output '{file}'", f"set title '{title}' noenhanced"] + commands) + "\n")
        subprocess.run(["gnuplot", str(script)], check=True)
    text = file.read_text()
    file.write_text(re.sub(r"<title>Gnuplot</title>", f"<title>{title}</title>", text, count=1))


def terminal(height):
    return f"set terminal svg noenhanced size 800,{height} dynamic background rgb 'white' font 'sans-serif,13'"


class Report:
    """What the lines {{name | argument | ...}} of the template stand for."""

    def __init__(self, groups):
        self.groups = groups

    def group(self, name):
        if name not in self.groups:
            raise ValueError(f'there are no figures of the group "{name}"')
        return self.groups[name]

    def table(self, name, head, ratios="ratios"):
        """A row for each competitor, a column for each size; after each value its ratio to the first row."""
        rows = self.group(name)
        sizes = list(dict.fromkeys(size for values in rows.values() for size in values))
        first = next(iter(rows.values()))
        lines = ["| " + " | ".join([head] + [short_size(size) for size in sizes]) + " |", "|---|" + "--:|" * len(sizes)]
        for competitor, values in rows.items():
            cells = [competitor]
            for size in sizes:
                cell = short_value(values[size]) if size in values else ""
                if cell and ratios == "ratios" and values is not first and first.get(size, 0) > 0:
                    cell += f" ({values[size] / first[size]:.2f})"
                cells.append(cell)
            lines.append("| " + " | ".join(cells) + " |")
        return "\n".join(lines)

    def chart(self, name, title, x_label, y_label):
        """Cost against size, both logarithmic: a line for each competitor, thick for the module, dashed for a floor."""
        rows = self.group(name)
        sizes = [size for values in rows.values() for size in values]
        commands = [terminal(480), f"set xlabel '{x_label}'", f"set ylabel '{y_label}'", "set logscale xy", "set grid",
                    "set key outside right top", "set format x '%.0s%c'", "set format y '%.12g'", f"set xrange [{min(sizes)}:{max(sizes)}]"]
        series = []
        colours = itertools.cycle(PEER_COLOURS)
        for number, (competitor, values) in enumerate(rows.items(), 1):
            points = "\n".join(f"{size} {value}" for size, value in sorted(values.items()))
            commands.append(f"$series{number} << END\n{points}\nEND")
            style = "with linespoints pointtype 7 pointsize 0.5"
            if competitor.startswith("floor:"):
                style = "with lines dashtype 2 linecolor rgb 'gray40'"
            elif competitor in MODULE:
                style += f" linewidth 3 linecolor rgb '{MODULE_COLOUR}'"
            else:
                style += f" linecolor rgb '{next(colours)}'"
            series.append(f"$series{number} using 1:2 {style} title '{competitor}'")
        plot(CHARTS / f"{name}.svg", title, commands + ["plot " + ", ".join(series)])
        return f"![{title}](benchmarks/{name}.svg)"

    def bars(self, name, title, y_label):
        """A bar with its figure for each row of a group without sizes."""
        rows = self.group(name)
        values = {competitor: next(iter(sizes.values())) for competitor, sizes in rows.items()}
        points = "\n".join(f'{number} {value} "{competitor.replace(" ", chr(92) + "n")}" "{short_value(value)}"'
                           for number, (competitor, value) in enumerate(values.items()))
        commands = [terminal(360), f"set ylabel '{y_label}'", "set style fill solid 0.6", "set boxwidth 0.6", "set grid y",
                    f"set yrange [0:{max(values.values()) * 1.25}]", "unset key", "set bmargin 6", f"$bars << END\n{points}\nEND",
                    "plot $bars using 1:2:xticlabels(3) with boxes linecolor rgb '" + MODULE_COLOUR + "', "
                    "$bars using 1:2:4 with labels offset 0,0.7"]
        plot(CHARTS / f"{name}.svg", title, commands)
        return f"![{title}](benchmarks/{name}.svg)"

    def figure(self, name, form=".0f"):
        """The one figure of a group."""
        return format(next(iter(next(iter(self.group(name).values())).values())), form)

    def leads(self, name, parsers):
        """For each size of a group, how much longer the best peer takes than the module, and what the document is called."""
        rows = self.group(name)
        for size, own in rows["module"].items():
            peers = [values[size] for competitor, values in rows.items() if competitor != "module" and
                     not competitor.startswith("floor:") and ("kept" if "kept" in competitor else "new") in parsers]
            yield min(peers) / own, size, f"{name.removeprefix('load-')}, {short_size(size)} bytes"

    def worst_shape(self):
        """The documents on which the module's lead over the best peer is smallest: with a new parser, and with a kept one."""
        names = [group for group in self.groups if re.match(r"load(-(?!linear|memory)|$)", group)]
        (new, _, new_where), (kept, _, kept_where) = [min(lead for name in names for lead in self.leads(name, [parser]))
                                                      for parser in ("new", "kept")]
        return (f"**Worst shape:** the best peer with a new parser takes {new:.2f} times as long as the module ({new_where}), "
                f"the best peer with a kept one {kept:.2f} times ({kept_where}).")

    def lead(self, names, parsers, least_size="0"):
        """The range of the lead over the best peer with such parsers, in groups and from a size on."""
        leads = [lead for name in names.split() for lead, size, _ in self.leads(name, parsers.split()) if size >= float(least_size)]
        return f"{min(leads):.2f} to {max(leads):.2f}"

    def byte_costs(self, name):
        """The smallest and the largest byte_cost of the peers of a group."""
        costs = [self.byte_cost(name, competitor) for competitor in self.group(name)
                 if competitor != "module" and not competitor.startswith("floor:")]
        return f"{min(costs)} to {max(costs)}"

    def packing_ratio(self):
        """Packing, as a multiple of a copy of the packet and one mutex pair."""
        rows = self.group("pack")
        ratios = [own / (rows["floor: a copy of the packet"][size] + rows["floor: a bare mutex pair"][size])
                  for size, own in rows["PackAllVariables"].items()]
        return f"{min(ratios):.2f} to {max(ratios):.2f}"

    def ratio(self, name, competitor):
        """A competitor's ratio to the first row, or its range over all sizes."""
        rows = self.group(name)
        first = next(iter(rows.values()))
        ratios = [value / first[size] for size, value in rows[competitor].items()]
        if len(ratios) == 1:
            return f"{ratios[0]:.1f}"
        return f"{min(ratios):.1f} to {max(ratios):.1f}"

    def byte_cost(self, name, competitor):
        """What a byte costs at the largest size of a group, as a multiple of the next smaller one."""
        (small, own_small), (large, own_large) = sorted(self.group(name)[competitor].items())[-2:]
        return f"{own_large / large / (own_small / small):.2f}"

    def bound(self, name, competitor, floor):
        """As ratio(), if the first row took only as long as a floor."""
        rows = self.group(name)
        ratios = [rows[competitor][size] / value for size, value in rows[floor].items()]
        return f"{min(ratios):.1f} to {max(ratios):.1f}"

    def unpack_bound(self):
        """How much faster than the best peer with the same maps unpacking would be if the codec cost nothing."""
        rows = self.group("unpack")
        own, codec = rows["packet codec and maps"], rows["packet codec without the maps"]
        bounds = [min(rows["msgpack-c"][size], rows["cereal"][size]) / (own[size] - codec[size]) for size in own]
        return f"{min(bounds):.2f} to {max(bounds):.2f}"

    def version(self, package):
        return package_version(package)

    def processor(self):
        models = [line.split(":", 1)[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name")]
        return models[0] if models else "unknown processor"

    def processors(self):
        return str(os.cpu_count())

    def linux(self):
        return platform.release().split("-")[0]

    def compiler(self):
        return subprocess.run(["x86_64-w64-mingw32-g++-posix", "-dumpfullversion"], capture_output=True, text=True,
                              check=True).stdout.strip()


def fill(template, report):
    def call(match):
        name, *arguments = [part.strip() for part in match.group(1).split("|")]
        return getattr(report, name)(*arguments)

    return re.sub(r"\{\{(.+?)\}\}", call, template)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter,
                                     allow_abbrev=False)
    parser.add_argument("figures", type=argparse.FileType("r", encoding="utf-8"))
    options = parser.parse_args()
    CHARTS.mkdir(exist_ok=True)
    try:
        template = (ROOT / "scripts" / "bench-report.md.in").read_text(encoding="utf-8")
        DOCUMENT.write_text(fill(template, Report(read_figures(options.figures))), encoding="utf-8")
    except ValueError as fault:
        sys.exit(f"bench-report.py: {options.figures.name}: {fault}.")


if __name__ == "__main__":
    main()
