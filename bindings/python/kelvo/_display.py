"""How scenes, nodes and findings show themselves in notebooks. Everything that comes from a scene
is escaped."""
from __future__ import annotations

from collections.abc import Iterable, Sequence
from html import escape

from kelvo._kelvo import Node, Scene
from kelvo._scene import Findings

LIMIT = 50
"""A table shows this many rows, and says how many there are."""


def _table(caption: str, head: Sequence[str], rows: Iterable[Sequence[str]], count: int) -> str:
    cells = "".join(f"<th style='text-align:left'>{escape(name)}</th>" for name in head)
    body = "".join("<tr>" + "".join(f"<td style='text-align:left'>{escape(cell)}</td>"
                                    for cell in row) + "</tr>" for row in rows)
    more = f"<p>{count - LIMIT} more</p>" if count > LIMIT else ""
    return (f"<table><caption>{escape(caption)}</caption><thead><tr>{cells}</tr></thead>"
            f"<tbody>{body}</tbody></table>{more}")


def _short(text: str) -> str:
    return text if len(text) <= 60 else text[:57] + "..."


def scene_html(self: Scene) -> str:
    """Returns a table of the nodes."""
    count = len(self)
    rows = [(node.name, node.type, str(len(node))) for node in self[:LIMIT]]
    return _table(f"Scene of {count} nodes", ("node", "type", "inputs"), rows, count)


def node_html(self: Node) -> str:
    """Returns a table of the inputs with their values."""
    rows = []
    for one in self.inputs[:LIMIT]:
        source = one.source
        text = _short(one.text())
        value = f"{text} <- {source.path}" if source else text
        rows.append((one.name, one.kind, value, one.unit))
    return _table(f"{self.type} {self.name}", ("input", "kind", "value", "unit"), rows, len(self))


def findings_html(self: Findings) -> str:
    """Returns a table of the findings."""
    rows = [(one.severity, one.rule.id, one.place, one.message, one.fix_text or "")
            for one in self[:LIMIT]]
    head = ("severity", "rule", "place", "message", "fix")
    return _table(f"{len(self)} findings", head, rows, len(self))


def _links(node: Node) -> list[Node]:
    """Returns the nodes that an input of the node links or connects to, each once."""
    found: list[Node] = []
    pending = list(node.inputs)
    while pending:
        one = pending.pop(0)
        source = one.source
        other = source.node if source else one.stored if one.kind == "Node" else None
        if isinstance(other, Node) and other.scene == node.scene and other not in found:
            found.append(other)
        pending.extend(one.inputs)
    return found


def _box(x: int, y: int, node: Node) -> str:
    name, kind = escape(_short(node.name)), escape(_short(node.type))
    return (f"<rect x='{x}' y='{y}' width='150' height='36' rx='5' fill='#eef3f8' "
            "stroke='#4a7fb5'/>"
            f"<text x='{x + 8}' y='{y + 15}' font-size='12' fill='#1c2b3a'>{name}</text>"
            f"<text x='{x + 8}' y='{y + 29}' font-size='10' fill='#5a6b7a'>{kind}</text>")


def _columns(links: dict[Node, list[Node]]) -> dict[Node, int]:
    """Returns the column of each node: one more than that of the nodes that depend on it."""
    columns = {node: 0 for node in links}
    for _ in range(min(len(columns), 12)):
        for node, others in links.items():
            for other in others:
                if other in columns and columns[other] <= columns[node] < 12:
                    columns[other] = columns[node] + 1
    return columns


class Graph:
    """Nodes with lines to those that they depend on, shown as a picture."""

    def __init__(self, nodes: Iterable[Node]) -> None:
        self.nodes = list(nodes)

    def _repr_svg_(self) -> str:
        return _picture(self.nodes[:LIMIT])


def _picture(nodes: Sequence[Node]) -> str:
    links = {node: _links(node) for node in nodes}
    places: dict[Node, tuple[int, int]] = {}
    rows: dict[int, int] = {}
    for node, column in _columns(links).items():
        row = rows.get(column, 0)
        rows[column] = row + 1
        places[node] = (10 + column * 200, 10 + row * 50)
    width = 170 + 200 * max(rows, default=0)
    height = 20 + 50 * max(rows.values(), default=1)
    lines = [f"<line x1='{places[a][0] + 150}' y1='{places[a][1] + 18}' x2='{places[b][0]}' "
             f"y2='{places[b][1] + 18}' stroke='#8aa0b4'/>"
             for a, others in links.items() for b in others if b in places]
    boxes = [_box(x, y, node) for node, (x, y) in places.items()]
    return (f"<svg xmlns='http://www.w3.org/2000/svg' width='{width}' height='{height}' "
            f"font-family='sans-serif'>{''.join(lines)}{''.join(boxes)}</svg>")


def graph(self: Scene, nodes: Iterable[Node] | None = None) -> Graph:
    """Returns the graph of some nodes, by default all, which shows itself as a picture."""
    return Graph(self.nodes if nodes is None else nodes)


def scene_svg(self: Scene) -> str:
    """Returns the picture of the graph."""
    return _picture(self[:LIMIT])


def node_svg(self: Node) -> str | None:
    """Returns the icon of the type; None without one."""
    return self.svg_icon() or None


def complete() -> None:
    """Adds the functions of this module to the classes."""
    setattr(Scene, "graph", graph)
    setattr(Scene, "_repr_html_", scene_html)
    setattr(Scene, "_repr_svg_", scene_svg)
    setattr(Node, "_repr_html_", node_html)
    setattr(Node, "_repr_svg_", node_svg)
    setattr(Findings, "_repr_html_", findings_html)
