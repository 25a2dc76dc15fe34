#!/usr/bin/env python3
"""Draws the landmark layouts and the forehead points from a sample face.

usage: scripts/draw_landmarks.py [path of libmorvik.so]

Writes docs/pictures/landmarks_{std,internal}.svg and the table of the internal layout in
docs/landmarks.md. The internal layout is read from src/face/landmark_layout.cpp and the forehead
comes from the library, so neither can drift from the code.
"""

import cmath
import ctypes
import itertools
import math
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SAMPLE, SIZE = "collins_tilted", (560, 600)
FINE = 100  # the library takes whole pixels; the sample has hundredths

STD_LINES = [  # runs of points; a run that ends where it began is closed
    [*range(0, 33)],
    [*range(33, 38), 67, 66, 65, 64, 33], [*range(38, 43), *range(71, 67, -1), 38],
    [52, 53, 72, 54, 55, 56, 73, 57, 52], [58, 59, 75, 60, 61, 62, 76, 63, 58],
    [*range(43, 47)], [78, 80, 82, *range(47, 52), 83, 81, 79],
    [*range(84, 96), 84], [*range(96, 104), 96],
]
INTERNAL_LINES = [
    [*range(0, 19)], [*range(19, 29), 19], [*range(29, 39), 29], [*range(39, 51), 39],
    [*range(51, 63), 51], [*range(63, 75)], [*range(76, 88), 76], [*range(88, 96), 88],
]


def std_points():
    text = (ROOT / "samples" / f"{SAMPLE}_landmarks106.txt").read_text()
    return [complex(*map(float, line.split(","))) for line in text.split()]


def internal_sources():
    """For each internal point the std points and weights that make it."""
    code = (ROOT / "src/face/landmark_layout.cpp").read_text()

    def block(name):
        body = re.search(name + r"\[[^\]]*\] = \{(.*?)\n *\};", code, re.S).group(1)
        return re.sub("//.*", "", body)

    def rows(name):
        return [[int(n) for n in re.findall(r"\d+", row)] for row in re.findall(r"\{[^}]*\}", block(name))]

    direct = [int(n) for n in re.findall(r"-?\d+", block("s_map2Std"))]
    sources = {i: {std: 1.0} for i, std in enumerate(direct) if std >= 0}
    sources |= {i: {a: 0.5, b: 0.5} for i, a, b in rows("kMidpoints")}
    sources |= {i: {root: 1.0, to: 1.0, base: -1.0} for i, root, to, base in rows("kShifted")}
    assert sorted(sources) == list(range(96))
    return [sources[i] for i in range(96)]


def forehead_points(points, library):
    values = [round(v * FINE) for p in points for v in (p.real, p.imag)]
    given = (ctypes.c_int32 * len(values))(*values)
    out = (ctypes.c_int32 * 22)()
    code = ctypes.CDLL(str(library)).mvk_guess_forehead_landmarks(
        out, given, len(points), *(side * FINE for side in SIZE))
    assert code == 0
    return [complex(out[2 * i], out[2 * i + 1]) / FINE for i in range(11)]


def box_around(p, half_width, half_height):
    return (p.real - half_width, p.imag - half_height, p.real + half_width, p.imag + half_height)


def place_labels(dots, runs):
    """A free place for each label near its dot, away from the lines and from its neighbours."""
    taken = [box_around(p, 5, 5) for p, *_ in dots]
    for a, b in itertools.chain.from_iterable(map(itertools.pairwise, runs)):
        steps = max(1, int(abs(b - a) / 4))
        taken += [box_around(a + (b - a) * k / steps, 1.5, 1.5) for k in range(steps)]
    places = []
    for p, text, *_ in dots:
        near = sorted((q for q, *_ in dots), key=lambda q: abs(q - p))[1:6]
        boxes = [b for b in taken if abs(complex(b[0], b[1]) - p) < 90]
        outward = p - sum(near) / len(near)
        best = None
        for distance, step in itertools.product((15, 20, 26, 33, 41, 50), range(24)):
            direction = cmath.rect(1, step * math.tau / 24)
            centre = p + distance * direction
            box = box_around(centre, 4.2 * len(text), 7.5)
            overlap = sum(max(0, min(box[2], b[2]) - max(box[0], b[0])) *
                          max(0, min(box[3], b[3]) - max(box[1], b[1])) for b in boxes)
            mistakable = max(0, distance - min(abs(centre - q) for q in near))
            away = (direction * outward.conjugate()).real / (abs(outward) + 1e-9)
            cost = 20 * overlap + distance + 5 * mistakable - 6 * away
            if best is None or cost < best[0]:
                best = (cost, centre, box)
        taken.append(best[2])
        places.append(best[1])
    return places


def draw(name, title, points, lines, computed, forehead):
    first, last = points[lines[0][0]], points[lines[0][-1]]
    upright = 900 / abs(last - first) * abs(last - first) / (last - first)
    place = lambda p: (p - (first + last) / 2) * upright
    points, forehead = [place(p) for p in points], [place(p) for p in forehead]
    corner = complex(min(p.real for p in points) - 60, min(p.imag for p in forehead) - 110)
    points, forehead = [p - corner for p in points], [p - corner for p in forehead]
    width = max(p.real for p in points) + 60
    height = max(p.imag for p in points) + 50

    merged = {}
    for i, p in enumerate(points):
        merged.setdefault(p, []).append(i)
    dots = [(p, " ".join(map(str, i)), "computed" if i[0] in computed else "given")
            for p, i in merged.items()]
    dots += [(p, str(i), "forehead") for i, p in enumerate(forehead)]

    path = lambda run: " ".join(f"{p.real:.1f},{p.imag:.1f}" for p in run)
    svg = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:.0f} {height:.0f}" '
           f'width="{width:.0f}" height="{height:.0f}" font-family="sans-serif" font-size="14">',
           '<style>polyline{fill:none;stroke:#c3cad3;stroke-width:1.5}'
           'line{stroke:#9aa5b1;stroke-width:.7}text{text-anchor:middle;dominant-baseline:central}'
           '.given{fill:#1f4e9c}.computed{fill:#fff;stroke:#1f4e9c;stroke-width:1.5}'
           '.forehead{fill:#c0392b}text.computed{fill:#1f4e9c;stroke:none}'
           '.title{font-size:22px;text-anchor:start;fill:#222}'
           '.legend{text-anchor:start;font-size:15px;fill:#222}</style>',
           f'<rect width="100%" height="100%" fill="#fff"/><text class="title" x="24" y="30">{title}</text>']
    legend = [("given", "landmark"), ("computed", "computed from several std points"),
              ("forehead", "predicted forehead, index in the result")]
    for row, (kind, text) in enumerate(entry for entry in legend if entry[0] != "computed" or computed):
        y = 58 + 22 * row
        svg.append(f'<circle class="{kind}" cx="31" cy="{y}" r="4"/><text class="legend" x="44" y="{y}">{text}</text>')
    runs = [[points[i] for i in line] for line in lines] + [forehead]
    for run in runs:
        svg.append(f'<polyline points="{path(run)}"/>')
    labels = place_labels(dots, runs)
    for (p, _, _), at in zip(dots, labels):
        if abs(at - p) > 16:
            end = at - (at - p) / abs(at - p) * 8
            svg.append(f'<line x1="{p.real:.1f}" y1="{p.imag:.1f}" x2="{end.real:.1f}" y2="{end.imag:.1f}"/>')
    for (p, text, kind), at in zip(dots, labels):
        svg.append(f'<circle class="{kind}" cx="{p.real:.1f}" cy="{p.imag:.1f}" r="3.5"/>'
                   f'<text class="{kind}" x="{at.real:.1f}" y="{at.imag:.1f}">{text}</text>')
    (ROOT / "docs/pictures" / name).write_text("\n".join(svg) + "\n</svg>\n")


def describe(source):
    if len(source) == 1:
        return str(*source)
    if len(source) == 2:
        return "({} + {}) / 2".format(*source)
    return "{} + {} − {}".format(*source)


def write_table(sources):
    columns, rows = 4, 24
    lines = ["|" + " internal | std |" * columns, "|" + "---|---|" * columns]
    for row in range(rows):
        cells = (row + rows * column for column in range(columns))
        lines.append("|" + "".join(f" {i} | {describe(sources[i])} |" for i in cells))
    page = ROOT / "docs/landmarks.md"
    begin, end = "<!-- table -->\n", "<!-- end of table -->"
    page.write_text(re.sub(f"{begin}.*?{end}", begin + "\n".join(lines) + "\n" + end, page.read_text(), flags=re.S))


def main():
    library = sys.argv[1] if len(sys.argv) > 1 else ROOT / "build/release/libmorvik.so"
    std, sources = std_points(), internal_sources()
    internal = [sum(std[j] * weight for j, weight in source.items()) for source in sources]
    forehead = forehead_points(std, library)
    again = forehead_points(internal, library)
    assert max(abs(p - q) for p, q in zip(forehead, again)) < 0.2  # the table is the library's
    draw("landmarks_std.svg", "std layout, 106 points", std, STD_LINES, set(), forehead)
    draw("landmarks_internal.svg", "internal layout, 96 points", internal, INTERNAL_LINES,
         {i for i, source in enumerate(sources) if len(source) > 1}, forehead)
    write_table(sources)


if __name__ == "__main__":
    main()
