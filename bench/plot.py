#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""plot.py growth.json docs/growth.svg: draws the results of growth.py, without other packages."""

import json
import math
import pathlib
import sys

WIDTH, HEIGHT = 430, 320  # size of a panel in pixels
LEFT, RIGHT, TOP, BOTTOM = 64, 24, 30, 44  # margins of a panel; the legend is below the top margin
KEY = 14  # height of a line of the legend
COLOURS = {8: "#1f6fb4", 16: "#c8511b"}


class Axis:
    """A linear or logarithmic scale from values to pixels."""

    def __init__(self, values, pixels, logarithmic):
        self.logarithmic = logarithmic
        low, high = min(values), max(values)
        if logarithmic:
            low, high = math.floor(math.log10(low)), math.ceil(math.log10(high))
            self.ticks = [10.0**e for e in range(low, high + 1, max(1, (high - low) // 6))]
        else:
            step = 10 ** math.floor(math.log10(high)) / 2
            low, high = 0, math.ceil(high * 1.05 / step) * step
            while high / step > 6:
                step *= 2
            self.ticks = [i * step for i in range(int(high / step) + 1)]
        self.low, self.high, self.pixels = low, max(high, low + 1e-12), pixels

    def __call__(self, value):
        at = math.log10(value) if self.logarithmic else value
        start, end = self.pixels
        return start + (at - self.low) / (self.high - self.low) * (end - start)

    def label(self, tick):
        return short(tick) if self.logarithmic else f"{tick:g}"


def short(value):
    """A value with a unit prefix."""
    for limit, unit in ((1e9, " G"), (1e6, " M"), (1e3, " k"), (1, ""), (1e-3, " m"), (1e-6, " µ"), (1e-9, " n")):
        if value >= limit * 0.999:
            return f"{value / limit:.3g}{unit}"
    return f"{value:.1g}"


def text(x, y, words, anchor="middle", extra=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{extra}>{words}</text>'


def line(x, y, style):
    """Lines from the first to the second point of each pair."""
    return f'<line x1="{x[0]:.1f}" x2="{x[1]:.1f}" y1="{y[0]:.1f}" y2="{y[1]:.1f}" {style}/>'


def panel(place, title, x_title, series, logarithmic_x, logarithmic_y):
    """Draws a panel; each of `series` has a name, bits, dashes and points."""
    column, row = place
    x0, y0 = column * WIDTH, row * HEIGHT
    points = [point for _, _, _, curve in series for point in curve]
    x = Axis([p[0] for p in points], (x0 + LEFT, x0 + WIDTH - RIGHT), logarithmic_x)
    y = Axis([p[1] for p in points], (y0 + HEIGHT - BOTTOM, y0 + TOP + KEY * len(series)), logarithmic_y)
    parts = [text(x0 + LEFT, y0 + 18, title, "start", ' font-weight="bold"')]
    parts.append(text(x0 + (LEFT + WIDTH - RIGHT) / 2, y0 + HEIGHT - 8, x_title))
    for tick in y.ticks:
        parts.append(line(x.pixels, (y(tick), y(tick)), 'class="grid"'))
        parts.append(text(x0 + LEFT - 6, y(tick) + 4, y.label(tick), "end"))
    for tick in x.ticks:
        parts.append(line((x(tick), x(tick)), y.pixels, 'class="grid"'))
        parts.append(text(x(tick), y0 + HEIGHT - BOTTOM + 16, x.label(tick)))
    for index, (name, bits, dashes, curve) in enumerate(series):
        path = " ".join(f"{x(a):.1f},{y(b):.1f}" for a, b in curve)
        style = f'stroke="{COLOURS[bits]}"' + (f' stroke-dasharray="{dashes}"' if dashes else "")
        parts.append(f'<polyline points="{path}" fill="none" stroke-width="1.6" {style}/>')
        for a, b in curve:
            parts.append(f'<circle cx="{x(a):.1f}" cy="{y(b):.1f}" r="2.2" fill="{COLOURS[bits]}"/>')
        key = y0 + TOP + KEY * (index + 0.3)
        parts.append(line((x0 + LEFT + 8, x0 + LEFT + 34), (key - 4, key - 4), f'stroke-width="1.6" {style}'))
        parts.append(text(x0 + LEFT + 40, key, name, "start"))
    return parts


def lines(rows, what, value):
    """Bits and points of each line for the measurement `what`."""
    for bits in (8, 16):
        points = [(row["n"], value(row)) for row in rows if row["what"] == what and row["bits"] == bits]
        if points:
            yield bits, sorted(points)


def draw(rows):
    def series(what, value, name="{} bit", dashes=""):
        return [(name.format(bits), bits, dashes, points) for bits, points in lines(rows, what, value)]

    def seconds(row):
        return row["seconds"]

    def nanoseconds(row):
        return row["seconds"] * 1e9

    def megabytes(row):
        return row["bytes"] / 1e6

    calls = series("pixels", seconds, "a call, {} bit") + series("file", seconds, "a file, {} bit", "5 3")
    memory = series("file", lambda row: row["bytes"], "a file, {} bit: the process", "5 3")
    memory += series("pixels", lambda row: max(row["bytes"], 1), "a call, {} bit: the heap (0 drawn as 1)")
    builds = series("setintent", lambda row: row["seconds"] * 1e3, "SetIntent, {} bit")
    builds += series("setprofile", lambda row: row["seconds"] * 1e3, "new engine, SetProfile, {} bit", "5 3")
    heap = series("setprofile", megabytes, "new engine, SetProfile, {} bit", "5 3")
    heap += series("setintent", megabytes, "SetIntent, in addition, {} bit")
    axis = "grid points per axis of the profile"
    parts = panel((0, 0), "Seconds against pixels", "pixels", calls, True, True)
    parts += panel((1, 0), "Peak memory in bytes against pixels", "pixels", memory, True, True)
    parts += panel((0, 1), "Milliseconds per build", axis, builds, False, False)
    parts += panel((1, 1), "Peak heap in megabytes", axis, heap, False, False)
    converted = series("convert", nanoseconds, "{} bit")
    parts += panel((0, 2), "Nanoseconds per pixel", axis, converted, False, False)
    each = series("pixels", lambda row: row["seconds"] / row["n"] * 1e9, "{} bit")
    parts += panel((1, 2), "Nanoseconds per pixel against pixels per call", "pixels", each, True, False)
    head = (
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {2 * WIDTH} {3 * HEIGHT}" width="{2 * WIDTH}" '
        f'height="{3 * HEIGHT}" font-family="sans-serif" font-size="11">\n'
        "<style>.grid { stroke: #ddd; stroke-width: 1 }</style>\n"
        f'<rect width="{2 * WIDTH}" height="{3 * HEIGHT}" fill="#fff"/>\n'
    )
    return head + "\n".join(parts) + "\n</svg>\n"


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: plot.py GROWTH.json OUT.svg")
    rows = json.loads(pathlib.Path(sys.argv[1]).read_text())
    pathlib.Path(sys.argv[2]).write_text(draw(rows))


if __name__ == "__main__":
    main()
