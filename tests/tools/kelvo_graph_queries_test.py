#!/usr/bin/env python3
"""The commands that query the graph of nodes: paths, deps and hash.
kelvo_graph_queries_test.py KELVO [...]"""
import random
import re
import resource

from kelvo_tool import SCENE, ToolTest, main, scene, xform


def diamonds(count):
    """Makes a row of diamonds from t0 to t<count>: two routes through each."""
    nodes = []
    for i in range(count):
        nodes += [xform(f"t{i}", f"l{i}", f"r{i}"), xform(f"l{i}", f"t{i + 1}"),
                  xform(f"r{i}", f"t{i + 1}")]
    return scene(*nodes, xform(f"t{count}"))


def placed(name, matrix, *children):
    """Makes a node with a matrix, given as its numbers."""
    return xform(name, *children)[:-1] + f"    Mat4 matrix = ({matrix})\n}}"


def chain(count):
    """Makes a chain of nodes from n0 to n<count>."""
    return scene(*(xform(f"n{i}", f"n{i + 1}") for i in range(count)), xform(f"n{count}"))


# A recursive walk over such a chain needs more stack than there is.
LONG_CHAIN = 20000
SMALL_STACK = 512 << 10


def bound_stack():
    resource.setrlimit(resource.RLIMIT_STACK, (SMALL_STACK, SMALL_STACK))


def reached(edges, start):
    """Returns the nodes that can be reached from a node along edges, which are pairs of nodes."""
    found, left = set(), [start]
    while left:
        node = left.pop()
        new = {b for a, b in edges if a == node} - found
        found |= new
        left += new
    return found - {start}


class CommandLine(ToolTest):
    def test_help_names_the_commands(self):
        text = self.expect(0, "--help")
        for command in ("paths", "deps", "hash"):
            self.assertRegex(text, rf"(?m)^  {command} ")
            self.assertIn("Usage: kelvo " + command, self.expect(0, command, "--help"))

    def test_wrong_calls_are_reported_in_one_line(self):
        calls = (
            (["paths", "a.kns"], "FROM is required"),
            (["paths", "a.kns", "room", "lamp", "--type", "light"], "TO excludes --type"),
            (["paths", "a.kns", "room", "--limit", "0"], "--limit"),
            (["paths", "a.kns", "room", "--limit", "-1"], "--limit"),
            (["paths", "a.kns", "room", "--limit", "5", "--first"], "--limit excludes --first"),
            (["paths", "a.kns", "room", "--count", "--first"], "--first excludes --count"),
            (["paths", "a.kns", "room", "--matrix", "--count"], "--count excludes --matrix"),
            (["deps", "a.kns"], "NODE is required"),
            (["deps", "a.kns", "room", "--tree", "--count"], "--tree excludes --count"),
            (["hash"], "FILE is required"),
            (["hash", "a.kns", "--skip"], "--skip"),
        )
        for arguments, expected in calls:
            with self.subTest(arguments):
                ran = self.run_tool(*arguments)
                self.assertEqual((ran.returncode, ran.stdout), (2, ""))
                self.assertRegex(ran.stderr, r"\Akelvo: [^\n]+\n\Z")
                self.assertIn(expected, ran.stderr)

    def test_unknown_nodes_are_the_calls_fault(self):
        for arguments, expected in (
                (["paths", "rom"], "no node 'rom': did you mean 'room'?"),
                (["paths", "room", "lmp"], "no node 'lmp': did you mean 'lamp'?"),
                (["paths", "room", ""], "no node ''."),
                (["paths", "rom", "lmp"], "no node 'rom': did you mean 'room'?"),
                (["deps", "dsk"], "no node 'dsk': did you mean 'desk'?"),
                (["hash", "elephant"], "no node 'elephant'."),
                (["hash", ""], "no node ''.")):
            with self.subTest(arguments):
                self.expect(2, arguments[0], "a.kns", *arguments[1:], out="",
                            error=f"kelvo: a.kns: {expected}\n")

    def test_files_that_cannot_be_read_are_the_files_fault(self):
        for command in (["paths", "none.kns", "a"], ["deps", "none.kns", "a"],
                        ["hash", "none.kns"]):
            with self.subTest(command):
                self.expect(1, *command, out="",
                            error="kelvo: cannot read 'none.kns': No such file or directory\n")


class Paths(ToolTest):
    def test_paths_to_every_node_reached(self):
        given = scene(xform("a", "b", "c"), xform("b", "d"), xform("c", "d"), xform("d"))
        self.expect(0, "paths", "-", "A", given=given, out="a/b\na/b/d\na/c\na/c/d\n")

    def test_paths_to_a_node(self):
        given = scene(xform("a", "b", "d"), xform("b", "d"), xform("d"))
        self.expect(0, "paths", "-", "a", "D", given=given, out="a/b/d\na/d\n")

    def test_paths_to_types(self):
        for types, expected in ((["light"], "room/lamp\n"), (["wood", "mesh"], "room/desk\n"),
                                (["mesh", "light"], "room/lamp\nroom/desk\n")):
            with self.subTest(types):
                self.expect(0, "paths", "a.kns", "room", "--type", *types, out=expected)

    def test_paths_to_types_by_bases_that_libraries_alone_know(self):
        (self.folder / "my.knd").write_text("kelvo types 1\n\ntype glow : emitter {\n}\n")
        given = scene(xform("r", "p", "g"), 'node pointLight "p" {', "}", 'node glow "g" {', "}")
        for wanted, more, expected in (
                ("emitter", [], "r/p\n"), ("object", [], "r/p\n"),
                ("emitter", ["--library", "my.knd"], "r/p\nr/g\n"),
                ("object", ["--library", "my.knd"], "r/p\nr/g\n")):
            with self.subTest((wanted, more)):
                self.expect(0, "paths", "-", "r", "--type", wanted, *more, given=given,
                            out=expected)

    def test_matrices_along_a_path_are_multiplied_from_its_end(self):
        moved = "1 0 0 0  0 1 0 0  0 0 1 0  1 2 3 1"
        doubled = "2 0 0 0  0 2 0 0  0 0 2 0  0 0 0 1"
        both = "2 0 0 0  0 2 0 0  0 0 2 0"
        for outer, inner, expected in ((moved, doubled, f"({both}  1 2 3 1)"),
                                       (doubled, moved, f"({both}  2 4 6 1)")):
            with self.subTest(outer):
                given = scene(placed("a", outer, "b"), placed("b", inner, "c"),
                              'node light "c" {\n}')
                self.expect(0, "paths", "-", "a", "--matrix", given=given,
                            out=f"a/b {expected}\na/b/c {expected}\n")

    def test_all_goes_through_links_and_connections(self):
        self.expect(0, "paths", "a.kns", "room", "wood", "--all",
                    out="room/lamp/desk/wood\nroom/desk/wood\n")
        self.expect(0, "paths", "a.kns", "lamp", "--all", out="lamp/desk\nlamp/desk/wood\n")

    def test_nothing_found_is_reported(self):
        through = "through children (--all follows every link).\n"
        for arguments, expected in (
                (["room", "wood"], f"no path leads from 'room' to 'wood' {through}"),
                (["room", "room", "--all"], "no path leads from 'room' to 'room'.\n"),
                (["lamp"], f"no path leads from 'lamp' to any node {through}"),
                (["wood", "--all", "--first"], "no path leads from 'wood' to any node.\n"),
                (["room", "--type", "a", "b"],
                 f"no path leads from 'room' to a node of type 'a' or 'b' {through}")):
            with self.subTest(arguments):
                self.expect(1, "paths", "a.kns", *arguments, out="",
                            error=f"kelvo: a.kns: {expected}")

    def test_counting_nothing_prints_a_number_too(self):
        self.expect(1, "paths", "a.kns", "wood", "--all", "--count", out="0\n",
                    error="kelvo: a.kns: no path leads from 'wood' to any node.\n")

    def test_the_first_path_alone(self):
        self.expect(0, "paths", "-", "t0", "t2", "--first", given=diamonds(2),
                    out="t0/l0/t1/l1/t2\n")

    def test_a_limit_tells_how_many_there_are(self):
        self.expect(0, "paths", "-", "t0", "t2", "--limit", 3, given=diamonds(2),
                    out="t0/l0/t1/l1/t2\nt0/l0/t1/r1/t2\nt0/r0/t1/l1/t2\n",
                    error="kelvo: standard input: 3 of 4 paths are shown (see --limit).\n")
        text = self.expect(0, "paths", "-", "t0", "t2", "--limit", 4, given=diamonds(2))
        self.assertEqual(text.count("\n"), 4)

    def test_paths_without_number_are_cut(self):
        given = diamonds(64)
        text = self.expect(0, "paths", "-", "t0", "t64", given=given,
                           error="kelvo: standard input: 1000 of at least 18446744073709551615 "
                                 "paths are shown (see --limit).\n")
        self.assertEqual(len(set(text.splitlines())), 1000)
        self.expect(0, "paths", "-", "t0", "t64", "--count", given=given,
                    out="at least 18446744073709551615\n")
        self.expect(0, "paths", "-", "t0", "t63", "--count", given=given,
                    out="9223372036854775808\n")

    def test_a_high_limit_tells_how_many_there_are(self):
        ran = self.run_tool("paths", "-", "t0", "t17", "--limit", 100001, given=diamonds(17))
        self.assertEqual(ran.returncode, 0)
        self.assertEqual(ran.stdout.count("\n"), 100001)
        self.assertEqual(ran.stderr, "kelvo: standard input: 100001 of 131072 paths are shown "
                                     "(see --limit).\n")

    def test_paths_are_counted(self):
        for count in (1, 2, 10):
            with self.subTest(count):
                self.expect(0, "paths", "-", "t0", f"t{count}", "--count", given=diamonds(count),
                            out=f"{2 ** count}\n")

    def test_cycles_end(self):
        given = scene(xform("a", "b"), xform("b", "a", "b"))
        self.expect(0, "paths", "-", "a", given=given, out="a/b\n")

    def test_a_path_as_long_as_the_scene_is_found(self):
        count = LONG_CHAIN
        self.expect(0, "paths", "-", "n0", f"n{count}", given=chain(count),
                    out="/".join(f"n{i}" for i in range(count + 1)) + "\n",
                    preexec_fn=bound_stack)


class Deps(ToolTest):
    def test_what_a_node_depends_on_is_listed(self):
        self.expect(0, "deps", "a.kns", "Room", out="""\
lamp (light) through room.children[0]
desk (mesh) through room.children[1] and 1 more
wood (wood) through desk.color <- wood.color
""")

    def test_what_depends_on_a_node_is_listed(self):
        self.expect(0, "deps", "a.kns", "wood", "--downstream", out="""\
desk (mesh) through desk.color <- wood.color
room (xform) through room.children[1] and 1 more
lamp (light) through lamp.target
""")

    def test_downstream_does_not_turn_round(self):
        given = scene('node t "s" {\n    output Real x\n}',
                      'node t "other" {\n    output Real x\n}',
                      'node t "r" {\n    Real a = 0 <- s.x\n    Real b = 0 <- other.x\n}')
        self.expect(0, "deps", "-", "s", "--downstream", given=given,
                    out="r (t) through r.a <- s.x\n")
        self.expect(0, "deps", "-", "r", given=given,
                    out="s (t) through r.a <- s.x\nother (t) through r.b <- other.x\n")

    def test_what_arrays_and_objects_hold_counts(self):
        given = scene('node t "a" {\n    Object o {\n        Object p {\n'
                      '            Array<Node> links = [null, b]\n        }\n    }\n}',
                      'node t "b" {\n}')
        line = "through a.o.p.links[1]\n"
        self.expect(0, "deps", "-", "a", given=given, out="b (t) " + line)
        self.expect(0, "deps", "-", "b", "--downstream", given=given, out="a (t) " + line)

    def test_a_tree_shows_each_node_once(self):
        self.expect(0, "deps", "a.kns", "room", "--tree", out="""\
room (xform)
├─ lamp (light) through room.children[0]
│  └─ desk (mesh) through lamp.target
│     └─ wood (wood) through desk.color <- wood.color
└─ desk (mesh) through room.children[1] shown above
""")

    def test_a_tree_downstream(self):
        self.expect(0, "deps", "a.kns", "wood", "--downstream", "--tree", out="""\
wood (wood)
└─ desk (mesh) through desk.color <- wood.color
   ├─ room (xform) through room.children[1]
   └─ lamp (light) through lamp.target
      └─ room (xform) through room.children[0] shown above
""")

    def test_links_between_the_same_nodes_are_one_branch(self):
        given = scene(xform("a", "b", "b", "b"), xform("b"))
        self.expect(0, "deps", "-", "a", "--tree", given=given,
                    out="a (xform)\n└─ b (xform) through a.children[0] and 2 more\n")
        self.expect(0, "deps", "-", "b", "--downstream", given=given,
                    out="a (xform) through a.children[0] and 2 more\n")

    def test_cycles_end_and_leave_the_node_out(self):
        given = scene(xform("a", "a", "b"), xform("b", "a"))
        for way in ((), ("--downstream",)):
            with self.subTest(way):
                self.expect(0, "deps", "-", "a", "--count", *way, given=given, out="1\n")
        self.expect(0, "deps", "-", "a", given=given, out="b (xform) through a.children[1]\n")
        self.expect(0, "deps", "-", "a", "--tree", given=given, out="""\
a (xform)
├─ a (xform) through a.children[0] shown above
└─ b (xform) through a.children[1]
   └─ a (xform) through b.children[0] shown above
""")

    def test_random_graphs_agree_with_a_slow_model(self):
        names = [f"n{i}" for i in range(12)]
        for seed in range(15):
            chance = random.Random(seed)
            edges = {tuple(chance.choices(names, k=2)) for _ in range(chance.randint(5, 20))}
            connected = {(b, a) for a, b in edges if b < a and chance.random() < 0.5}
            given = scene(*(self.node(name, edges - {(a, b) for b, a in connected}, connected)
                            for name in names))
            start = chance.choice(names)
            for way, ends in (((), edges), (("--downstream",), {(b, a) for a, b in edges})):
                with self.subTest((seed, way)):
                    lines = self.expect(0, "deps", "-", start, *way, given=given).splitlines()
                    self.assertEqual(sorted(line.split()[0] for line in lines),
                                     sorted(reached(ends, start)))

    @staticmethod
    def node(name, links, connected):
        lines = [f"    Node l_{b} = {b}" for a, b in sorted(links) if a == name]
        lines += [f"    Real c_{b} = 0 <- {b}.x" for b, a in sorted(connected) if a == name]
        return "\n".join([f'node t "{name}" {{', *lines, "    output Real x", "}"])

    def test_nodes_are_counted(self):
        for node, way, expected in (("room", [], 3), ("wood", [], 0), ("room", ["--downstream"], 0),
                                    ("wood", ["--downstream"], 3)):
            with self.subTest((node, way)):
                self.expect(0, "deps", "a.kns", node, "--count", *way, out=f"{expected}\n")

    def test_no_dependencies_are_no_fault(self):
        self.expect(0, "deps", "a.kns", "wood", out="")
        self.expect(0, "deps", "a.kns", "wood", "--tree", out="wood (wood)\n")

    def test_a_chain_as_long_as_the_scene_is_walked(self):
        count = LONG_CHAIN
        self.file.write_text(chain(count))
        for start, way, last in (("n0", [], f"n{count}"), (f"n{count}", ["--downstream"], "n0")):
            with self.subTest(way):
                lines = self.expect(0, "deps", "a.kns", start, *way,
                                    preexec_fn=bound_stack).splitlines()
                self.assertEqual(len(lines), count)
                self.assertTrue(lines[-1].startswith(last + " (xform) through "), lines[-1])
                lines = self.expect(0, "deps", "a.kns", start, "--tree", *way,
                                    preexec_fn=bound_stack).splitlines()
                self.assertEqual(len(lines), count + 1)
                self.assertIn(last + " (xform) through ", lines[-1])
                self.assertLess(max(map(len, lines)), 200)


class Hash(ToolTest):
    def hashes(self, text, *arguments):
        """Returns the printed hash of each node, and of the scene as "hash:"."""
        lines = self.expect(0, "hash", "-", *arguments, given=text).splitlines()
        known = {}
        for line in lines:
            found = re.fullmatch(r"([0-9a-f]{16})  (\w+)|hash: ([0-9a-f]{16})", line)
            known[found[2] or "hash:"] = found[1] or found[3]
        return known

    def test_nodes_come_in_the_order_of_the_scene_and_the_scene_last(self):
        self.assertEqual(list(self.hashes(SCENE)), ["room", "lamp", "wood", "desk", "hash:"])

    def test_the_scenes_hash_is_that_of_stats(self):
        stats = self.expect(0, "stats", "a.kns").splitlines()[-1]
        self.assertEqual(self.expect(0, "hash", "a.kns").splitlines()[-1], stats)

    def test_a_node_alone_is_its_hash(self):
        self.expect(0, "hash", "a.kns", "LAMP", out=self.hashes(SCENE)["lamp"] + "\n")

    def test_a_change_shows_in_its_node_and_the_scene(self):
        before = self.hashes(SCENE)
        after = self.hashes(SCENE.replace("radius = 0.5", "radius = 0.25"))
        self.assertEqual([name for name in before if before[name] != after[name]],
                         ["lamp", "hash:"])
        self.assertEqual(before, self.hashes(SCENE.replace("# metres", "# m")))

    def test_the_order_of_nodes_shows_in_the_scene_alone(self):
        before = self.hashes(scene(xform("a"), xform("b")))
        after = self.hashes(scene(xform("b"), xform("a")))
        self.assertEqual((before["a"], before["b"]), (after["a"], after["b"]))
        self.assertNotEqual(before["hash:"], after["hash:"])

    def test_skipped_types_count_as_nothing(self):
        bare = scene(xform("a"), 'node wood "w" {\n}')
        more = scene('node light "l" {\n}', xform("a", "l"), 'node wood "w" {\n    Int x = 1\n}')
        self.assertNotEqual(self.hashes(bare)["hash:"], self.hashes(more)["hash:"])
        skipped = self.hashes(more, "--skip", "light", "wood")
        self.assertEqual(list(skipped), ["a", "hash:"])
        linked = scene('node light "l" {\n    Int x = 1\n}', xform("a", "l"))
        self.assertEqual(skipped, self.hashes(linked, "--skip", "light"))
        self.expect(0, "hash", "-", "l", "--skip", "light", given=more, out="0" * 16 + "\n")

    def test_types_are_skipped_by_bases_that_libraries_alone_know(self):
        given = scene('node pointLight "l" {\n}', 'node wood "w" {\n}')
        self.assertEqual(self.hashes(given, "--skip", "emitter"),
                         self.hashes(given, "--skip", "pointLight"))
        self.assertEqual(list(self.hashes(given, "--skip", "emitter")), ["w", "hash:"])

    def test_names_can_be_left_out(self):
        one = scene(xform("a", "b"), xform("b"))
        other = scene(xform("c", "d"), xform("d"))
        self.assertNotEqual(self.hashes(one)["hash:"], self.hashes(other)["hash:"])
        left = self.hashes(one, "--ignore-names")
        right = self.hashes(other, "--ignore-names")
        self.assertEqual([left[key] for key in ("a", "b", "hash:")],
                         [right[key] for key in ("c", "d", "hash:")])
        self.assertNotEqual(left, self.hashes(scene(xform("a"), xform("b")), "--ignore-names"))

    def test_an_empty_scene_has_a_hash(self):
        self.expect(0, "hash", "-", given="kelvo scene 1\n", out="hash: " + "0" * 16 + "\n")


if __name__ == "__main__":
    main()
