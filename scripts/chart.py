"""Draws charts as SVG with logarithmic scales: horizontal bars, and lines."""
import dataclasses
import math
import xml.etree.ElementTree as ET

# Colours that stand out on a light and on a dark page.
COLOURS = ("#3b82d6", "#d9822b", "#2a9d72", "#c65391", "#8b6fd0", "#a58a1c", "#5b8a9d",
           "#c4544a", "#6f9a2e")
STYLE = """
.paper { fill: #ffffff } .grid { stroke: #d8dee4 } .one { stroke: #57606a; stroke-width: 1.5 }
text { font: 12px system-ui, sans-serif; fill: #24292f }
.title { font-size: 16px; font-weight: 600 }
.quiet { fill: #57606a }
@media (prefers-color-scheme: dark) {
.paper { fill: #0d1117 } .grid { stroke: #30363d } .one { stroke: #8b949e }
text { fill: #e6edf3 } .quiet { fill: #9198a1 } }
"""


class Picture:
    """An SVG picture with a title and a description, which readers that do not see it get."""

    def __init__(self, width, height, title, description):
        self.root = ET.Element("svg", xmlns="http://www.w3.org/2000/svg", role="img",
                               viewBox=f"0 0 {width} {height}", width=str(width),
                               height=str(height))
        for name, words in (("title", title), ("desc", description), ("style", STYLE)):
            ET.SubElement(self.root, name).text = words
        self.add("rect", "paper", width=width, height=height)
        self.text(16, 26, title, "title")
        self.text(16, 46, description, "quiet")

    def add(self, kind, css="", **attributes):
        named = {name.replace("_", "-"): shown(value) for name, value in attributes.items()}
        return ET.SubElement(self.root, kind, {"class": css} if css else {}, **named)

    def text(self, x, y, words, css="", **attributes):
        self.add("text", css, x=x, y=y, **attributes).text = words

    def line(self, x1, y1, x2, y2, css="grid", **attributes):
        self.add("line", css, x1=x1, y1=y1, x2=x2, y2=y2, **attributes)

    def svg(self):
        ET.indent(self.root)
        return ET.tostring(self.root, encoding="unicode") + "\n"


def shown(value):
    return f"{value:.1f}".removesuffix(".0") if isinstance(value, float) else str(value)


@dataclasses.dataclass
class Scale:
    """Places numbers between two places, by their logarithms."""
    least: float
    greatest: float
    start: float
    end: float

    def at(self, number):
        part = math.log10(number / self.least) / math.log10(self.greatest / self.least)
        return float(self.start + part * (self.end - self.start))

    def powers(self):
        """Returns the powers of ten from end to end."""
        first, last = (round(math.log10(end)) for end in (self.least, self.greatest))
        return [10.0**exponent for exponent in range(first, last + 1)]


def scale_of(numbers, start, end):
    """Returns a scale of whole powers of ten that holds all numbers."""
    least = 10.0**math.floor(math.log10(min(numbers)))
    greatest = 10.0**math.ceil(math.log10(max(numbers)))
    return Scale(least, max(greatest, 10 * least), start, end)


def legend(picture, x, y, names):
    for place, name in enumerate(names):
        picture.add("rect", x=x + 170 * place, y=y - 10, width=12, height=12, rx=2,
                    fill=COLOURS[place])
        picture.text(x + 18 + 170 * place, y, name)


# ---- Bars --------------------------------------------------------------------------------------

ROW, TOP = 34, 96


def bars(title, description, rows, names):
    """Draws {row: {key: ratio}} as bars that begin at 1; `names` is {key: its name in the
    legend}."""
    height = TOP + ROW * len(rows) + 40
    picture = Picture(860, height, title, description)
    scale = scale_of([ratio for of_row in rows.values() for ratio in of_row.values()] + [1],
                     270, 800)
    legend(picture, 16, 72, names.values())
    for power in scale.powers():
        x = scale.at(power)
        picture.line(x, TOP - 8, x, height - 34, "one" if power == 1 else "grid")
        picture.text(x, height - 16, f"{power:.10f}".rstrip("0").rstrip("."), "quiet",
                     text_anchor="middle")
    for place, (row, of_row) in enumerate(rows.items()):
        y = TOP + ROW * place
        picture.text(16, y + 18, row)
        for key, ratio in of_row.items():
            bar(picture, scale, ratio, y, list(names).index(key))
    return picture.svg()


def bar(picture, scale, ratio, y, place):
    left, right = sorted((scale.at(ratio), scale.at(1)))
    y += 2 + 13 * place
    picture.add("rect", x=left, y=y, width=max(right - left, 1.0), height=11, rx=2,
                fill=COLOURS[place])
    picture.text(right + 5, y + 10, two_digits(ratio), "quiet")


def two_digits(number):
    """Returns a number with two significant digits, without an exponent."""
    return f"{number:.{max(0, 1 - math.floor(math.log10(number)))}f}"


# ---- Lines -------------------------------------------------------------------------------------

def lines(title, description, series, x_name, unit_text):
    """Draws {label: [(count, value), ...]}; `unit_text` gives the text of a value."""
    picture = Picture(860, 560, title, description)
    points = [point for line in series.values() for point in line]
    across = scale_of([count for count, _ in points], 80, 620)
    up = scale_of([value for _, value in points], 500, 80)
    for power in across.powers():
        picture.line(across.at(power), up.end, across.at(power), up.start)
        picture.text(across.at(power), 520, f"{power:,.0f}", "quiet", text_anchor="middle")
    for power in up.powers():
        picture.line(across.start, up.at(power), across.end, up.at(power))
        picture.text(72, up.at(power) + 4, unit_text(power), "quiet", text_anchor="end")
    picture.text(350, 544, x_name, "quiet", text_anchor="middle")
    guide(picture, across, up)
    for colour, line in zip(COLOURS, series.values()):
        polyline(picture, [(across.at(x), up.at(y)) for x, y in line], colour)
    label_ends(picture, across, up, series)
    return picture.svg()


def guide(picture, across, up):
    """Draws a line that grows in proportion, as far as the picture goes."""
    growth = min(across.greatest / across.least, up.greatest / up.least)
    x, y = across.at(across.least * growth), up.at(up.least * growth)
    picture.line(across.start, up.start, x, y, "one", stroke_dasharray="6 5")
    picture.text(x - 8, y + 52, "in proportion", "quiet", text_anchor="end")


def polyline(picture, points, colour):
    path = " ".join(f"{shown(x)},{shown(y)}" for x, y in points)
    picture.add("polyline", points=path, fill="none", stroke=colour, stroke_width=2)
    for x, y in points:
        picture.add("circle", cx=x, cy=y, r=3, fill=colour)


def label_ends(picture, across, up, series):
    """Writes each label on the right at the height of its line's end, moved where two would
    overlap."""
    ends = sorted((up.at(line[-1][1]), across.at(line[-1][0]), label, colour)
                  for (label, line), colour in zip(series.items(), COLOURS))
    heights = spread([y for y, *_ in ends], 16, up.start)
    for place, (y, x, label, colour) in zip(heights, ends):
        picture.add("polyline", points=f"{shown(x + 5)},{shown(y)} 634,{shown(place)}", fill="none",
                    stroke=colour, stroke_dasharray="2 3")
        picture.text(640.0, place + 4, label, style=f"fill: {colour}")


def spread(places, distance, last):
    """Moves sorted places apart until neighbours have the distance and none is beyond the last."""
    moved = []
    for place in places:
        moved.append(max(place, moved[-1] + distance) if moved else place)
    limit = last
    for index in reversed(range(len(moved))):
        moved[index] = min(moved[index], limit)
        limit = moved[index] - distance
    return moved
