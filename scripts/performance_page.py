#!/usr/bin/env python3
"""Draws the pictures of docs/performance.md and writes its tables, from bench/ratios.json and
bench/figures.json: performance_page.py [--check] [ROOT]

--check changes nothing; status 1 when a picture or a table is not up to date."""
import pathlib
import sys

import benchmarks
import chart
import performance_rows
import ratios
from benchmarks import BenchmarkError, bytes_text, time_text

HOME = pathlib.Path(__file__).resolve().parents[1]
PAGE = "docs/performance.md"
PICTURES = "docs/pictures"
LARGE_COUNTERS = ("build_ns", "build_kernel_ns", "walk_ns", "end_ns")
PEERS = {"coin": "Coin", "osg": "OpenSceneGraph"}


def read_figures(root):
    contents = benchmarks.read_json(root / "bench/figures.json", performance_rows.REMEDY)
    figures = contents.get("rows") if isinstance(contents, dict) else None
    if not ratios.is_table(figures):
        raise BenchmarkError(f'bench/figures.json has no table "rows". '
                             f"Record it anew with {performance_rows.REMEDY}")
    return figures


def figure(figures, row, counter="ns"):
    try:
        return figures[row][counter]
    except KeyError as error:
        raise BenchmarkError(f'bench/figures.json has no "{counter}" of {row}. '
                             f"Record it anew with {performance_rows.REMEDY}") from error


# ---- Pictures ----------------------------------------------------------------------------------

def ratios_picture(recorded):
    rows = {row: recorded[row] for row in sorted(recorded, key=benchmarks.by_size)}
    return chart.bars("Time of this library divided by that of a peer",
                      "Bars to the left of 1 are faster, bars to the right slower. "
                      "The row memory_node_10_inputs compares bytes.", rows, PEERS)


def points(figures, line):
    """Returns (size, nanoseconds) for the sizes that were measured; the largest may be missing."""
    measured = [(size, figures[row][line.counter] * (size if line.per_node else 1))
                for size, row in line.rows() if line.counter in figures.get(row, {})]
    if len(measured) < len(line.sizes) - 1:
        figure(figures, line.rows()[len(measured)][1], line.counter)
    return measured


def growth_picture(figures, growing, title, x_name):
    series = {line.label: points(figures, line) for line in growing}
    return chart.lines(title, "Both scales are logarithmic. Lines as steep as the dashed one grow "
                       "in proportion, level lines are constant.", series, x_name, time_text)


def pictures(recorded, figures):
    """Returns {file: its contents}."""
    return {
        "ratios.svg": ratios_picture(recorded),
        "growth-scene.svg": growth_picture(figures, performance_rows.SCENE_LINES,
                                           "Time of an operation over a whole scene",
                                           "nodes in the scene"),
        "growth-node.svg": growth_picture(figures, performance_rows.NODE_LINES,
                                          "Time of an operation on one node",
                                          "inputs, elements or children of the node"),
    }


# ---- Tables ------------------------------------------------------------------------------------

def costs_table(figures):
    lines = ["| operation | time | grows with |", "|---|---:|---|"]
    for subject, costs in performance_rows.COSTS:
        lines.append(f"| **{subject}** | | |")
        lines += [f"| {cost.operation} | {time_text(figure(figures, cost.row) / cost.count)} | "
                  f"{cost.grows} |" for cost in costs]
    return lines


def large_table(figures):
    lines = ["| nodes | build, a node | the kernel's part | first walk, a node | destroy, a node "
             "| greatest memory |", "|---:|---:|---:|---:|---:|---:|"]
    for size in performance_rows.MORE:
        row = f"{performance_rows.LARGE}/{size}"
        if row not in figures:
            continue
        times = [time_text(figure(figures, row, counter)) for counter in LARGE_COUNTERS]
        memory = bytes_text(figure(figures, row, "peak_gib") * 2**30)
        lines.append(f"| {size:,} | {' | '.join(times)} | {memory} |")
    return lines


def memory_table(figures):
    node = figure(figures, "memory_node_10_inputs", "heap_bytes_per_node")
    lines = ["| part | bytes |", "|---|---:|", f"| a node with 10 inputs | {node:,.0f} |"]
    for counter, words in (("input", "an input with a number"),
                           ("element", "a number in an array")):
        size = figure(figures, "memory_input", f"heap_bytes_per_{counter}")
        lines.append(f"| {words} | {size:.0f} |")
    number = figure(figures, "memory_graph/tree/10", "graph_bytes_per_node")
    lines.append(f"| its part in the compact graph | {number:.0f} |")
    for row, words in (("tree/10", "a child in a tree of 10 children per node"),
                       ("links/3", "a link, 3 per node"),
                       ("children/3", "a child, 3 per node, each child of 3 parents"),
                       ("connections/3", "a connection, 3 per node")):
        link = figure(figures, f"memory_graph/{row}", "graph_bytes_per_link")
        lines.append(f"| in the compact graph: {words} | {link:.0f} |")
    part = max(figure(figures, row, "graph_percent") for row in performance_rows.GRAPH_ROWS)
    lines.append(f"| the compact graph in these scenes, at most | {part:.2g} % of the scene |")
    return lines


def tables(figures):
    """Returns {name of the marks: lines between them}."""
    return {"costs": costs_table(figures), "large scenes": large_table(figures),
            "memory": memory_table(figures)}


def with_table(text, name, lines):
    """Replaces the lines between the marks of a table."""
    begin, end = f"<!-- {name}: begin -->\n", f"<!-- {name}: end -->"
    if text.count(begin) != 1 or text.count(end) != 1:
        raise BenchmarkError(f'{PAGE} has no marks "{begin.strip()}" and "{end}"')
    before, rest = text.split(begin)
    return before + begin + "\n".join(lines) + "\n" + end + rest.split(end)[1]


# ---- Files -------------------------------------------------------------------------------------

def contents(root):
    """Returns {file: its contents, drawn and written anew}."""
    figures = read_figures(root)
    drawn = {f"{PICTURES}/{name}": svg
             for name, svg in pictures(ratios.read(root / "bench/ratios.json"), figures).items()}
    text = (root / PAGE).read_text(encoding="utf-8")
    for name, lines in tables(figures).items():
        text = with_table(text, name, lines)
    return drawn | {PAGE: text}


def out_of_date(root, files):
    return [name for name, text in files.items()
            if not (root / name).exists() or (root / name).read_text(encoding="utf-8") != text]


def write(root, files):
    (root / PICTURES).mkdir(exist_ok=True)
    for name, text in files.items():
        (root / name).write_text(text, encoding="utf-8")
        print(f"Wrote {name}")


def main(arguments):
    is_check = "--check" in arguments
    rest = [each for each in arguments if each != "--check"]
    root = pathlib.Path(rest[0]) if rest else HOME
    try:
        files = contents(root)
    except BenchmarkError as error:
        print(error)
        return 1
    if not is_check:
        write(root, files)
        return 0
    old = out_of_date(root, files)
    for name in old:
        print(f"{name} is not up to date; run scripts/performance_page.py")
    return 1 if old else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
