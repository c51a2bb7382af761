"""Draws time against the number of file systems, both logarithmic, as an SVG."""

import math

WIDTH, HEIGHT = 810, 480
LEFT, RIGHT, TOP, BOTTOM = 70, 280, 40, 50
COLOURS = ("#1b6ca8", "#c0392b", "#1e8449", "#8e44ad", "#b9770e", "#117a65", "#566573", "#d35400",
           "#2e4053", "#7d6608", "#a04000", "#4a235a", "#ff1493", "#00aa00", "#00bcd4", "#000000")


def draw(title, series, path):
    """series: {name: {size: microseconds}}."""
    sizes = sorted({size for points in series.values() for size in points})
    times = [time for points in series.values() for time in points.values()]
    low, high = math.floor(math.log10(min(times))), math.ceil(math.log10(max(times)))

    def x(size):
        share = math.log10(size / sizes[0]) / math.log10(sizes[-1] / sizes[0])
        return LEFT + share * (WIDTH - LEFT - RIGHT)

    def y(time):
        return HEIGHT - BOTTOM - (math.log10(time) - low) / (high - low) * (HEIGHT - TOP - BOTTOM)

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
             'font-family="sans-serif" font-size="12">',
             f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
             f'<text x="{LEFT}" y="22" font-size="15">{title}</text>',
             *_grid(sizes, range(low, high + 1), x, y)]
    for (name, points), (label_y, colour) in zip(series.items(), _labels(series, y)):
        line = " ".join(f"{x(size):.1f},{y(time):.1f}" for size, time in sorted(points.items()))
        parts.append(f'<polyline points="{line}" fill="none" stroke="{colour}" stroke-width="2"/>')
        parts.append(f'<text x="{WIDTH - RIGHT + 10}" y="{label_y:.1f}" fill="{colour}">{name}</text>')
    parts.append("</svg>\n")
    path.write_text("\n".join(parts), encoding="utf-8")


def _grid(sizes, decades, x, y):
    bottom = HEIGHT - BOTTOM
    for size in sizes:
        yield (f'<line x1="{x(size):.1f}" y1="{TOP}" x2="{x(size):.1f}" y2="{bottom}" stroke="#ddd"/>'
               f'<text x="{x(size):.1f}" y="{bottom + 18}" text-anchor="middle">{size:,}</text>')
    for decade in decades:
        height = y(10.0 ** decade)
        yield (f'<line x1="{LEFT}" y1="{height:.1f}" x2="{WIDTH - RIGHT}" y2="{height:.1f}" stroke="#ddd"/>'
               f'<text x="{LEFT - 8}" y="{height + 4:.1f}" text-anchor="end">{_duration(decade)}</text>')
    yield f'<text x="{(LEFT + WIDTH - RIGHT) / 2}" y="{HEIGHT - 10}" text-anchor="middle">file systems</text>'


def _duration(decade):
    microseconds = 10.0 ** decade
    for unit, size in (("s", 1e6), ("ms", 1e3), ("µs", 1)):
        if microseconds >= size:
            return f"{microseconds / size:g} {unit}"
    return f"{microseconds:g} µs"


def _labels(series, y):
    """A place for each name beside the end of its line, none upon another; in the order of series."""
    ends = [y(points[max(points)]) for points in series.values()]
    places = [0.0] * len(ends)
    free = TOP
    for index in sorted(range(len(ends)), key=lambda i: ends[i]):
        free = places[index] = max(ends[index] + 4, free)
        free += 14
    return [(place, COLOURS[index % len(COLOURS)]) for index, place in enumerate(places)]
