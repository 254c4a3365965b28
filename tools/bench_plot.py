"""Growth over size as an SVG picture: a panel for each comparison, the sizes by their logarithm, the
figures from zero up."""

import math
from xml.sax.saxutils import escape

COLUMNS = 3
WIDTH, HEIGHT = 300, 190                      # of a panel
LEFT, RIGHT, TOP, BOTTOM = 52, 14, 30, 36     # of its frame
OURS, OTHERS, FRAME, TEXT = "#0b5fa5", "#b3541e", "#c8c8c8", "#333333"


def shown(value):
    for factor, letter in ((1e9, "G"), (1e6, "M"), (1e3, "k")):
        if value >= factor:
            return f"{value / factor:.3g}{letter}"
    return f"{value:.3g}"


def round_above(value):
    """The next of 1, 2, 2.5 and 5 times a power of ten."""
    power = 10 ** math.floor(math.log10(value))
    return next(step * power for step in (1, 2, 2.5, 5, 10) if step * power >= value)


def text(x, y, words, anchor="middle", colour=TEXT, size=11):
    return (f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" fill="{colour}" '
            f'font-size="{size}">{escape(words)}</text>')


def line(points, colour):
    path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
    dots = "".join(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="2.5" fill="{colour}"/>' for x, y in points)
    return f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="1.8"/>{dots}'


def panel(at_x, at_y, data):
    sizes = data["sizes"]
    top = round_above(max(data["ours"] + data["others"]))
    low, high = math.log10(sizes[0]), math.log10(sizes[-1])
    across, up = WIDTH - LEFT - RIGHT, HEIGHT - TOP - BOTTOM

    def place(size, value):
        share = (math.log10(size) - low) / (high - low) if high > low else 0.5
        return at_x + LEFT + across * share, at_y + TOP + up * (1 - value / top)

    drawn = [text(at_x + WIDTH / 2, at_y + 18, data["title"], size=12)]
    for value in (0, top / 2, top):
        _, y = place(sizes[0], value)
        drawn.append(f'<line x1="{at_x + LEFT}" y1="{y:.1f}" x2="{at_x + WIDTH - RIGHT}" y2="{y:.1f}" '
                     f'stroke="{FRAME}"/>')
        drawn.append(text(at_x + LEFT - 5, y + 4, shown(value), anchor="end"))
    for size in sizes:
        x, y = place(size, 0)
        drawn.append(text(x, y + 15, shown(size)))
    drawn.append(text(at_x + LEFT + across / 2, at_y + HEIGHT - 6, data["across"]))
    for values, colour in ((data["others"], OTHERS), (data["ours"], OURS)):
        if values:
            drawn.append(line([place(size, value) for size, value in zip(sizes, values)], colour))
    return "\n".join(drawn)


def draw(panels):
    rows = math.ceil(len(panels) / COLUMNS)
    width, height = COLUMNS * WIDTH, rows * HEIGHT + 24
    drawn = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
        'font-family="sans-serif">',
        f'<rect width="{width}" height="{height}" fill="#ffffff"/>',
        text(width / 2 - 10, 16, "the reactors", anchor="end", colour=OURS, size=12),
        text(width / 2 + 10, 16, "beside them", anchor="start", colour=OTHERS, size=12)]
    for number, data in enumerate(panels):
        drawn.append(panel(number % COLUMNS * WIDTH, number // COLUMNS * HEIGHT + 24, data))
    return "\n".join(drawn) + "\n</svg>\n"
