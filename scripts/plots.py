"""The tables of docs/benchmarks.md as plots: SVG that takes its colours from the page's style."""

import html
import math
import re

# Rows whose growth is shown, with a shorter name. A copy is the least that an operation of its kind
# can take: what the memory allows.
GROWTH = {
    "copy packed RGB24": "copy, 3 bytes a pixel",
    "GRAY <- RGB24": "to gray",
    "turn 90 RGB24": "turn by 90°",
    "NV21 <- RGB24": "to a camera frame",
    "fill holes, photographer": "fill holes",
    "morphology, photographer, amount 8": "morphology, 8",
    "outline, photographer, mode 1, expand 12, smooth 3": "outline",
}
NUMBER = re.compile(r"^[\d.]+$")


def rows(text, *columns):
    """The cells of these columns, of the tables that have them all."""
    names = []
    for line in text.splitlines():
        if not line.startswith("|"):
            names = []
            continue
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        names = names or cells
        chosen = [cells[names.index(column)] for column in columns] if set(columns) <= set(names) else []
        if chosen and NUMBER.match(chosen[-1]):
            yield chosen


def pixels(size):
    width, height = size.split("x")
    return int(width) * int(height)


def svg(width, height, title, parts):
    return (f'<figure class="plot"><svg viewBox="0 0 {width} {height}" role="img" aria-label="{html.escape(title)}">'
            + "".join(parts) + f"</svg><figcaption>{html.escape(title)}</figcaption></figure>")


def text(x, y, words, kind="", anchor="start"):
    return f'<text x="{x:.1f}" y="{y:.1f}" class="{kind}" text-anchor="{anchor}">{html.escape(words)}</text>'


def line(x0, y0, x1, y1, kind="grid"):
    return f'<line x1="{x0:.1f}" y1="{y0:.1f}" x2="{x1:.1f}" y2="{y1:.1f}" class="{kind}"/>'


def ratios(readme):
    """Bars of the README's table: how many times faster than the peer, on a logarithmic axis."""
    table = list(rows(readme, "operation", "compared with", "ratio"))
    left, right, step, top = 345, 720, 28, 30
    most = max(float(row[-1]) for row in table)
    least = min(0.5, 0.8 * min(float(row[-1]) for row in table))
    scale = (right - left) / math.log10(most / least)
    at = lambda ratio: left + scale * math.log10(ratio / least)  # noqa: E731
    height = top + step * len(table) + 10
    parts = []
    for mark in (1, 2, 5, 10, 20, 50, 100, 200):
        if mark <= most:
            parts += [line(at(mark), top - 6, at(mark), height - 8, "one" if mark == 1 else "grid"),
                      text(at(mark), top - 12, f"{mark}×", "axis", "middle")]
    for i, (operation, peer, ratio) in enumerate(table):
        y, value = top + i * step, float(ratio)
        x, end = sorted((at(1), at(value)))
        parts.append(f'<rect x="{x:.1f}" y="{y + 3}" width="{max(end - x, 1):.1f}" height="{step - 9}" rx="3" '
                     f'class="{"bar" if value >= 1 else "bar slow"}"><title>{html.escape(operation)}: {ratio}</title></rect>')
        parts += [text(left - 30, y + 11, operation, "name", "end"), text(left - 30, y + 21, peer, "peer", "end"),
                  text(end + 5, y + 15, ratio, "axis")]
    return svg(780, height, "Times faster than the calls one would make instead; 1 is the same time", parts)


def growth(benchmarks):
    """Microseconds against pixels, both logarithmic."""
    series = {name: {} for name in GROWTH}
    for operation, size, us in rows(benchmarks, "operation", "size", "Morvik, us"):
        if operation in series:
            series[operation].setdefault(pixels(size), float(us))
    series = {name: sorted(points.items()) for name, points in series.items() if len(points) > 1}
    width, height, left, bottom, right = 780, 430, 60, 390, 600
    every = [point for points in series.values() for point in points]
    low_x, high_x = (math.log10(f(p for p, _ in every)) for f in (min, max))
    low_y, high_y = math.floor(math.log10(min(us for _, us in every))), math.ceil(math.log10(max(us for _, us in every)))
    at_x = lambda count: left + (math.log10(count) - low_x) / (high_x - low_x) * (right - left)  # noqa: E731
    at_y = lambda us: bottom - (math.log10(us) - low_y) / (high_y - low_y) * (bottom - 20)  # noqa: E731
    parts = []
    for power in range(low_y, high_y + 1):
        words = f"{10**power} µs" if power < 3 else f"{10 ** (power - 3)} ms"
        parts += [line(left, at_y(10**power), right, at_y(10**power)), text(left - 6, at_y(10**power) + 4, words, "axis", "end")]
    for count in sorted({p for p, _ in every}):
        parts += [line(at_x(count), 20, at_x(count), bottom), text(at_x(count), bottom + 18, f"{count / 1e6:.2g} Mpx", "axis", "middle")]
    names = []
    for i, (name, points) in enumerate(series.items()):
        path = " ".join(f"{at_x(p):.1f},{at_y(us):.1f}" for p, us in points)
        kind = "floor" if name.startswith("copy") else f"series s{i}"
        parts.append(f'<polyline points="{path}" class="{kind}"/>')
        names.append([at_y(points[-1][1]) + 4, GROWTH[name], f"label s{i}" if kind != "floor" else "peer"])
    names.sort()
    for i, (y, words, kind) in enumerate(names):  # none over another
        y = names[i][0] = max(y, names[i - 1][0] + 15) if i else y
        parts.append(text(right + 8, y, words, kind))
    return svg(width, height, "Time against the size of the picture; dashed: a copy, which is what the memory allows", parts)


def memory(benchmarks):
    """Bytes on the heap a pixel, beside the peer's, of what needs any."""
    wanted = {}
    columns = ("operation", "size", "peer", "peak, KB", "peer's peak, KB")
    for operation, size, peer, peak, peer_peak in rows(benchmarks, *columns):
        if size == "1920x1080" and float(peer_peak) > 1000 and peer in ("as written", "libyuv"):
            wanted.setdefault(operation.split(",")[0], (operation, float(peak), float(peer_peak)))
    left, right, step, top = 300, 720, 34, 14
    height = top + step * len(wanted) + 10
    per_pixel = 1024 / pixels("1920x1080")
    most = max(max(own, other) for _, own, other in wanted.values()) * per_pixel
    parts = []
    for i, (operation, own, other) in enumerate(wanted.values()):
        y = top + i * step
        parts.append(text(left - 10, y + 16, operation, "name", "end"))
        for value, offset, kind in ((own * per_pixel, 2, "bar"), (other * per_pixel, 14, "bar other")):
            wide = (right - left) * value / most
            parts += [f'<rect x="{left}" y="{y + offset}" width="{max(wide, 1):.1f}" height="10" rx="2" class="{kind}"/>',
                      text(left + wide + 5, y + offset + 9, f"{value:.2f}", "axis")]
    return svg(780, height, "Bytes held on the heap for each pixel, 1920 x 1080: Morvik, below the calls it replaces", parts)


def all_plots(readme, benchmarks):
    return ratios(readme) + growth(benchmarks) + memory(benchmarks)
