"""The growth of a scan as an SVG that can be read on light and dark paper."""

import math

from figures import median_of

WIDTH, HEIGHT = 720, 380
LEFT, RIGHT, TOP, BOTTOM = 70, 150, 50, 60

STYLE = """
  text { font: 13px sans-serif; fill: #1f2328; }
  .title { font-size: 15px; font-weight: bold; }
  .grid { stroke: #d0d7de; stroke-width: 1; }
  .line { fill: none; stroke-width: 2.5; }
  .bare { stroke: #57606a; } .dot.bare { fill: #57606a; }
  .parse { stroke: #9a6700; } .dot.parse { fill: #9a6700; }
  .engine { stroke: #0969da; } .dot.engine { fill: #0969da; }
  @media (prefers-color-scheme: dark) {
    text { fill: #e6edf3; }
    .grid { stroke: #3d444d; }
    .bare { stroke: #9198a1; } .dot.bare { fill: #9198a1; }
    .parse { stroke: #d29922; } .dot.parse { fill: #d29922; }
    .engine { stroke: #4493f8; } .dot.engine { fill: #4493f8; }
  }
"""
NAMES = {"bare": "bare", "parse": "bare + parse", "engine": "engine"}


def ceiling(value):
    """The next number above that reads well on an axis of four steps."""
    step = 10 ** math.floor(math.log10(value))
    return next(top for top in (step, 2 * step, 4 * step, 8 * step, 10 * step) if top >= value)


def chart(results):
    """Microseconds for each exchange over the number of machines, for sites that differ in nothing
    else: a level line is a time that grows as the site does. Empty without two such sites."""
    found = sorted((result for result in results.all
                    if result["task"] == "measure" and result["transport"] == "http"
                    and result["standIns"] == "real" and result["shape"].startswith("plain-")),
                   key=lambda result: result["machines"])
    if len(found) < 2:
        return ""
    lines = {who: [(result["machines"],
                    1e6 * median_of(result, who, "wall") / result["requests"])
                   for result in found] for who in NAMES}
    return drawing(lines)


def drawing(lines):
    counts = [machines for machines, _ in next(iter(lines.values()))]
    top = ceiling(max(value for points in lines.values() for _, value in points))
    first, last = math.log10(counts[0]), math.log10(counts[-1])

    def x(machines):
        return LEFT + (math.log10(machines) - first) / (last - first) * (WIDTH - LEFT - RIGHT)

    def y(value):
        return HEIGHT - BOTTOM - value / top * (HEIGHT - TOP - BOTTOM)

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" role="img" '
             'aria-label="Time of an exchange over the number of machines">',
             f"<style>{STYLE}</style>",
             f'<text class="title" x="{LEFT}" y="25">Wall time of each exchange of a plain scan, '
             "in microseconds</text>"]
    for step in range(5):
        value = top * step / 4
        parts.append(f'<line class="grid" x1="{LEFT}" x2="{WIDTH - RIGHT}" y1="{y(value):.1f}" '
                     f'y2="{y(value):.1f}"/>')
        parts.append(f'<text x="{LEFT - 8}" y="{y(value) + 4:.1f}" text-anchor="end">{value:g}'
                     "</text>")
    for machines in counts:
        parts.append(f'<text x="{x(machines):.1f}" y="{HEIGHT - BOTTOM + 22}" '
                     f'text-anchor="middle">{machines:,}</text>')
    parts.append(f'<text x="{(LEFT + WIDTH - RIGHT) / 2}" y="{HEIGHT - 12}" text-anchor="middle">'
                 "virtual machines</text>")
    labels = spread([y(points[-1][1]) for points in lines.values()])
    for (who, points), label in zip(lines.items(), labels):
        path = " ".join(f"{x(machines):.1f},{y(value):.1f}" for machines, value in points)
        parts.append(f'<polyline class="line {who}" points="{path}"/>')
        parts += [f'<circle class="dot {who}" cx="{x(machines):.1f}" cy="{y(value):.1f}" r="3.5"/>'
                  for machines, value in points]
        parts.append(f'<text x="{WIDTH - RIGHT + 12}" y="{label + 4:.1f}">{NAMES[who]}</text>')
    return "\n".join(parts + ["</svg>"]) + "\n"


def spread(places, least=16):
    """Moves labels that would lie on each other apart, the lower ones downwards."""
    moved = dict()
    previous = -math.inf
    for at in sorted(range(len(places)), key=lambda index: places[index]):
        previous = moved[at] = max(places[at], previous + least)
    return [moved[at] for at in range(len(places))]
