"""The rows of benchmarks that docs/performance.md shows: in its tables, and as lines of growth."""
import dataclasses

REMEDY = "scripts/bench --figures"
ABOUT = ("The figures of docs/performance.md: nanoseconds of processor time, bytes and per cent, "
         f"by benchmark. Written by {REMEDY}.")
# The ends of the names of those counters of benchmarks that are recorded.
COUNTERS = ("_ns", "_per_node", "_per_link", "_per_input", "_per_element", "_percent", "_gib")


@dataclasses.dataclass(frozen=True)
class Cost:
    """A row of the table of costs. `count` is the number of operations that the benchmark counts as
    one."""
    operation: str
    row: str
    grows: str
    count: int = 1


@dataclasses.dataclass(frozen=True)
class Line:
    """A line of a picture: the time of `stem`/N, or its counter, for each N."""
    label: str
    stem: str
    sizes: tuple
    counter: str = "ns"
    # The counter is a time per node, not per operation.
    per_node: bool = False

    def rows(self):
        return [(size, f"{self.stem}/{size}") for size in self.sizes]


COSTS = (
    ("Values", (
        Cost("read a value", "get_value_float", "constant"),
        Cost("set a number", "set_value_float", "constant"),
        Cost("set a number with 1 observer", "set_value_float_notify/1", "observers"),
        Cost("set a number with 8 observers", "set_value_float_notify/8", "observers"),
        Cost("set a text of 38 bytes", "set_value_string", "length of the text"),
        Cost("set a number, with undo", "undo_set_value/record", "constant"),
        Cost("undo or redo it", "undo_set_value/undo_redo", "what changed", 2),
        Cost("connect an input and disconnect it", "connect_disconnect",
             "chains of connections"),
    )),
    ("Look-up", (
        Cost("find one of 8 inputs by a name in the source code", "lookup_attr_by_name/8",
             "constant"),
        Cost("find one of 8 inputs by a kept name", "lookup_attr_by_name_interned/8", "constant"),
        Cost("find one of 128 inputs by a kept name", "lookup_attr_by_name_interned/128",
             "constant"),
        Cost("find one of 8 inputs and get a handle", "lookup_attr_handle/8", "constant"),
        Cost("find one of 8 inputs by a new String", "lookup_attr_by_new_string/8",
             "length of the name"),
        Cost("find an input by a path of 4 steps", "find_by_path_depth/4", "steps"),
        Cost("find nodes by a pattern among 10,000", "find_by_pattern/10000", "inputs searched"),
        Cost("position of the last of 10,000 children", "index_in/10000", "constant"),
    )),
    ("Nodes", (
        Cost("create and destroy an empty node", "create_destroy_node", "constant"),
        Cost("create and destroy a node, adding 10 inputs", "create_node_10_inputs",
             "inputs of the node"),
        Cost("create and remove a node of a type with 10 inputs", "create_node_from_definition/10",
             "inputs of the node"),
        Cost("copy a node of 10 inputs into the scene and remove it", "clone_node_in_scene",
             "inputs of the node"),
    )),
    ("Graph", (
        Cost("list a hierarchy of 10,000 nodes", "traverse_hierarchy/10000", "nodes listed"),
        Cost("list 10,000 dependencies", "dependency_collect/10000", "nodes listed"),
        Cost("find a path among 10,000 nodes", "node_path_search/10000", "nodes searched"),
        Cost("evaluate a chain of 1000 nodes", "eval_chain_cold/1000", "nodes evaluated"),
        Cost("the same, from a cache of results", "eval_chain_cached/1000", "constant"),
    )),
    ("Dirty state and hashes", (
        Cost("ask 10,000 dependencies for changes", "dirty_query_deep/10000", "nodes asked"),
        Cost("set a value and ask, with cached dirty states", "dirty_query_cached/10000",
             "nodes that become dirty"),
        Cost("hash a node whose inputs did not change", "hash_node_unchanged",
             "inputs of the node"),
        Cost("hash a node after a change of one of 10 inputs", "hash_node_one_changed",
             "inputs of the node"),
    )),
    ("Text", (
        Cost("write 1000 nodes of 10 inputs", "serialize_scene/1000", "length of the text"),
        Cost("read them into a scene", "parse_scene/1000", "length of the text"),
    )),
)

# Ends at 100,000 nodes of ten inputs, because a million would take 20 GB.
NODES = (100, 1000, 10_000, 100_000)
MORE = (*NODES, 1_000_000)
LARGE = "scene_build_walk_end"

SCENE_LINES = (
    Line("build nodes of 1 input", LARGE, MORE, "build_ns", True),
    Line("destroy them", LARGE, MORE, "end_ns", True),
    Line("first walk over them", LARGE, MORE, "walk_ns", True),
    Line("list a hierarchy again", "traverse_hierarchy", NODES),
    Line("list dependencies again", "dependency_collect", NODES),
    Line("find by a pattern", "find_by_pattern", NODES),
    Line("write text", "serialize_scene", NODES),
    Line("read text", "parse_scene", NODES),
    Line("set and ask, cached", "dirty_query_cached", NODES),
)

NODE_LINES = (
    Line("append elements", "growth_append", MORE),
    Line("undo the appending", "growth_append/undo", (10_000, 100_000, 1_000_000)),
    Line("remove all inputs", "growth_clear_inputs", MORE),
    Line("find the last child", "index_in", NODES),
    Line("find an input by a kept name", "lookup_attr_by_name_interned",
         (1000, 10_000, 100_000, 1_000_000)),
)

GRAPH_ROWS = ("memory_graph/tree/10", "memory_graph/links/3", "memory_graph/children/3",
              "memory_graph/connections/3")
MEMORY_ROWS = ("memory_node_10_inputs", "memory_input", *GRAPH_ROWS)


def all_rows():
    """Returns the names of all rows that the page needs."""
    rows = {cost.row for _, costs in COSTS for cost in costs} | set(MEMORY_ROWS)
    for line in (*SCENE_LINES, *NODE_LINES):
        rows |= {row for _, row in line.rows()}
    return rows
