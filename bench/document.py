#!/usr/bin/env python3
"""Turns the benchmarks' figures into docs/performance.md's tables and plots.

usage: document.py FIGURES.csv DOCS_DIRECTORY COMMAND

The tables replace what stands between the markers of the page; the rest of it is written by hand.
The plots are docs/performance_NAME.svg. COMMAND is what made the figures. Says which missed targets the page does not explain.
"""
import collections
import csv
import datetime
import math
import os
import pathlib
import re
import subprocess
import sys

BEGIN, END = "<!-- figures: begin -->", "<!-- figures: end -->"
PLOTS = {
    "look_up": ("Look-up of a string by name, 1 thread", "names"),
    "calls": ("Call of a function without arguments", "registered functions"),
    "load": ("Loading a script", "calls in the script"),
}

Row = collections.namedtuple(
    "Row", "topic group unit name role median least most plot series size")
Target = collections.namedtuple("Target", "topic group unit name against value limit verdict")


def read_figures(path):
    rows, targets = [], []
    with open(path, newline="") as lines:
        for kind, *fields in csv.reader(lines):
            if kind == "row":
                numbers = [float(field) for field in fields[5:8]]
                rows.append(Row(*fields[:5], *numbers, *fields[8:10], float(fields[10])))
            else:
                targets.append(Target(*fields[:5], float(fields[5]), float(fields[6]), fields[7]))
    return rows, targets


# --- Tables ---

def decimal(value):
    return f"{value:,.2f}" if value < 10 else f"{value:,.1f}" if value < 1000 else f"{value:,.0f}"


def ratio(row, rows, role):
    others = [r.median for r in rows
              if (r.topic, r.group, r.role, r.size) == (row.topic, row.group, role, row.size)]
    return f"{row.median / min(others):.2f}" if others else ""


def group_table(group, rows):
    lines = ["", f"**{group[1]}**, {group[2]}", "",
             "| | median | min | max | / floor | / fastest peer |", "|---|--:|--:|--:|--:|--:|"]
    for row in rows:
        if (row.topic, row.group, row.unit) == group:
            name = f"**{row.name}**" if row.role == "*" else row.name
            name += {"floor": " (floor)", "other": " (not compared)"}.get(row.role, "")
            figures = " | ".join(decimal(v) for v in (row.median, row.least, row.most))
            lines.append(f"| {name} | {figures} | {ratio(row, rows, 'floor')} "
                         f"| {ratio(row, rows, 'peer')} |")
    return lines


def target_table(targets):
    lines = ["### Targets", "", "| path | row | figure | target | |", "|---|---|--:|--:|---|"]
    for target in targets:
        if target.against:
            figure = f"{target.value:.2f} x {target.against}"
            limit = f"{target.limit:.2f} x"
        else:
            figure, limit = f"{decimal(target.value)} {target.unit}", decimal(target.limit)
        verdict = "met" if target.verdict == "met" else "**missed**"
        lines.append(f"| {target.group} | {target.name} | {figure} | {limit} | {verdict} |")
    return lines


def all_tables(rows, targets, command):
    lines = machine(command) + [""] + target_table(targets)
    topic = None
    for group in dict.fromkeys((row.topic, row.group, row.unit) for row in rows):
        if group[0] != topic:
            topic = group[0]
            lines += ["", f"### {topic.replace('_', ' ').capitalize()}"]
        lines += group_table(group, rows)
    return lines


def machine(command):
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    memory = re.search(r"MemTotal:\s*(\d+)", pathlib.Path("/proc/meminfo").read_text())
    system = re.search(r'PRETTY_NAME="(.*)"', pathlib.Path("/etc/os-release").read_text())
    compiler = subprocess.run(["g++", "--version"], capture_output=True, text=True, check=True)
    facts = [
        ("machine", f"{cpu[1] if cpu else os.uname().machine}, {os.cpu_count()} processors, "
                    f"{int(memory[1]) / 1024 ** 2:.0f} GiB"),
        ("system", f"{system[1]}, Linux {os.uname().release}"),
        ("busy with other work", f"load average {os.getloadavg()[2]:.1f} over 15 minutes, the "
                                 "benchmarks' own included"),
        ("compiler", compiler.stdout.splitlines()[0] + ", preset `gcc-release`"),
        ("date", datetime.date.today().isoformat()),
        ("command", f"`{command}`"),
    ]
    return ["| | |", "|---|---|"] + [f"| {name} | {value} |" for name, value in facts]


# --- Plots ---

WIDTH, HEIGHT, LEFT, TOP, RIGHT, BOTTOM = 760, 420, 70, 40, 250, 50
COLOURS = ["#c0392b", "#7f8c8d", "#2980b9", "#27ae60", "#8e44ad", "#d68910"]


class Axis:
    """A logarithmic axis over whole decades."""

    def __init__(self, values, start, end):
        self.first = math.floor(math.log10(min(values)) + 1e-9)
        self.last = max(math.ceil(math.log10(max(values)) - 1e-9), self.first + 1)
        self.start, self.end = start, end

    def at(self, value):
        share = (math.log10(value) - self.first) / (self.last - self.first)
        return self.start + share * (self.end - self.start)

    def ticks(self):
        return [10.0 ** power for power in range(self.first, self.last + 1)]


def text(x, y, content, anchor="start", size=12):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-size="{size}">{content}</text>'


def grid(x_axis, y_axis):
    shapes = []
    for tick in x_axis.ticks():
        x = x_axis.at(tick)
        shapes += [f'<path d="M{x:.1f} {TOP}V{HEIGHT - BOTTOM}" stroke="#ddd"/>',
                   text(x, HEIGHT - BOTTOM + 18, f"{tick:,g}" if tick < 1e6 else "1,000,000",
                        "middle")]
    for tick in y_axis.ticks():
        y = y_axis.at(tick)
        shapes += [f'<path d="M{LEFT} {y:.1f}H{WIDTH - RIGHT}" stroke="#ddd"/>',
                   text(LEFT - 6, y + 4, f"{tick:,g}", "end")]
    return shapes


def line(number, name, points):
    colour = COLOURS[number % len(COLOURS)]
    path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
    y = TOP + 12 + 20 * number
    return ([f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>']
            + [f'<circle cx="{px:.1f}" cy="{py:.1f}" r="3" fill="{colour}"/>' for px, py in points]
            + [f'<path d="M{WIDTH - RIGHT + 15} {y - 4}h18" stroke="{colour}" stroke-width="2"/>',
               text(WIDTH - RIGHT + 38, y, name)])


def plot(title, x_label, rows):
    x_axis = Axis([row.size for row in rows], LEFT, WIDTH - RIGHT)
    y_axis = Axis([row.median for row in rows], HEIGHT - BOTTOM, TOP)
    shapes = grid(x_axis, y_axis)
    for number, series in enumerate(dict.fromkeys(row.series for row in rows)):
        points = sorted((x_axis.at(r.size), y_axis.at(r.median)) for r in rows if r.series == series)
        shapes += line(number, series, points)
    shapes += [text(LEFT, 22, f"{title} [{rows[0].unit}]", size=14),
               text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 12, x_label, "middle")]
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" '
                      'font-family="sans-serif">',
                      '<rect width="100%" height="100%" fill="white"/>', *shapes, "</svg>", ""])


# --- The page ---

def unexplained(page, targets):
    """Missed targets without a line "- **group, row**: why" behind the figures."""
    by_hand = " ".join(page.split(END)[1].split())
    missed = dict.fromkeys(f"{t.group}, {t.name}" for t in targets if t.verdict != "met")
    return [name for name in missed if f"**{name}**" not in by_hand]


def main(figures, docs, command):
    docs = pathlib.Path(docs)
    rows, targets = read_figures(figures)
    page_path = docs / "performance.md"
    page = page_path.read_text()
    head, rest = page.split(BEGIN)
    tables = "\n".join(all_tables(rows, targets, command))
    page_path.write_text(f"{head}{BEGIN}\n{tables}\n{END}{rest.split(END)[1]}")
    for name, (title, x_label) in PLOTS.items():
        plotted = [row for row in rows if row.plot == name]
        if plotted:
            (docs / f"performance_{name}.svg").write_text(plot(title, x_label, plotted))
    for name in unexplained(page, targets):
        print(f"missed, and {page_path} does not say why: {name}", file=sys.stderr)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
