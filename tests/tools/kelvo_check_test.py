#!/usr/bin/env python3
"""The command `kelvo check`. kelvo_check_test.py KELVO [unittest ...]"""
import json
import os
import pathlib
import re
import stat
import unittest

from kelvo_tool import SCENE, ToolTest, main, scene, xform

LEAF = 'node wood "leaf" {\n}'
SOUND_SCENE = scene(xform("room", "lamp"), 'node pointLight "lamp" {\n}')
SOUND_TOLD = "sound.kns: 2 nodes, 0 errors, 0 warnings\n"
# Two warnings with a fix, and two without.
MESSY = scene(xform("top", "null", "sub", "sub"), xform("sub", "top"), LEAF)
MESSY_TOLD = (
    "kelvo: warning: {0}: node 'top': element [0] of 'children' links to no node. [empty-child]\n"
    "kelvo: warning: {0}: node 'top': element [2] of 'children' links to 'sub' again. "
    "[repeated-child]\n")
CYCLE_TOLD = ("kelvo: warning: {0}: node 'sub' has 'top' as a child, which it is itself below. "
              "[child-cycle]\n")
LEAF_TOLD = ("kelvo: warning: {0}: node 'leaf': no library knows its type 'wood'; its inputs and "
             "outputs were not checked. [unknown-type]\n")
LEFT_TOLD = LEAF_TOLD + CYCLE_TOLD
MESH = ('node mesh "m" {\n    Buffer<Pos3f> positions = [(0 0 0) (1 0 0)]\n'
        '    Buffer<Vec3f> normals = [(0 0 1)]\n}')


class CheckTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.write("sound.kns", SOUND_SCENE)

    def write(self, name, text):
        (self.folder / name).write_text(text)
        return name

    def read(self, name):
        return (self.folder / name).read_text()

    def report(self, status, *arguments, given=None):
        return json.loads(self.expect(status, "check", *arguments, given=given))


class Text(CheckTest):
    def test_all_findings_are_reported_with_their_rules(self):
        self.write("m.kns", MESSY)
        self.expect(0, "check", "m.kns", out="m.kns: 3 nodes, 0 errors, 4 warnings\n",
                    error=(MESSY_TOLD + LEFT_TOLD).format("m.kns"))

    def test_severity_is_the_least_that_is_reported(self):
        self.write("m.kns", MESSY + 'node add "sum" {\n}\n')
        note = ("kelvo: note: m.kns: node 'sum': nothing reads its outputs or links to it. "
                "[unused-node]\n")
        self.expect(0, "check", "m.kns", "--severity", "note",
                    out="m.kns: 4 nodes, 0 errors, 4 warnings, 1 note\n",
                    error=(MESSY_TOLD + LEAF_TOLD).format("m.kns") + note
                    + CYCLE_TOLD.format("m.kns"))
        self.expect(0, "check", "m.kns", "--severity", "error",
                    out="m.kns: 4 nodes, 0 errors, 4 warnings\n")

    def test_errors_decide_on_the_status(self):
        self.write("mesh.kns", scene(MESH))
        ran = self.run_tool("check", "mesh.kns")
        self.assertEqual((ran.returncode, ran.stdout),
                         (1, "mesh.kns: 1 node, 1 error, 0 warnings\n"))
        self.assertIn("[mesh-mismatch]\n", ran.stderr)
        self.assertNotIn("warning", ran.stderr)

    def test_several_files_are_checked_each(self):
        self.write("mesh.kns", scene(MESH))
        ran = self.run_tool("check", "sound.kns", "none.kns", "mesh.kns", "sound.kns")
        self.assertEqual(ran.returncode, 1)
        self.assertEqual(ran.stdout,
                         SOUND_TOLD + "mesh.kns: 1 node, 1 error, 0 warnings\n" + SOUND_TOLD)
        self.assertIn("kelvo: cannot read 'none.kns': No such file or directory\n", ran.stderr)
        self.expect(0, "check", "sound.kns", "sound.kns", out=SOUND_TOLD * 2)

    def test_types_are_those_of_the_libraries_in_use(self):
        self.write("my.knd", "kelvo types 1\n\ntype lamp {\n    Real size = 1\n}\n")
        text = self.write("l.kns", scene('node lmap "l" {\n}',
                                         'node lamp "k" {\n    Int size = 1\n}',
                                         'node emitter "e" {\n}'))
        ran = self.run_tool("check", text, "--library", "my.knd")
        self.assertEqual(ran.returncode, 1)
        self.assertEqual(ran.stderr, (
            "kelvo: warning: l.kns: node 'l': no library knows its type 'lmap': did you mean "
            "'lamp'? [misspelled-type]\n"
            "kelvo: warning: l.kns: input 'k.size' is of kind Int: type 'lamp' defines Real. "
            "[other-kind]\n"
            "kelvo: l.kns: node 'e' is of type 'emitter', which is only a base of others. "
            "[abstract-type]\n"))

    def test_wrong_words_are_the_command_lines_fault(self):
        for option, word, expected in (
                ("--severity", "warnings", "unknown severity 'warnings': did you mean 'warning'?"),
                ("--format", "xml", "unknown format 'xml'."),
                ("--format", "jsn", "unknown format 'jsn': did you mean 'json'?")):
            with self.subTest(word):
                self.expect(2, "check", "a.kns", option, word, out="", error=f"kelvo: {expected}\n")
        ran = self.run_tool("check")
        self.assertEqual((ran.returncode, ran.stdout), (2, ""))


class Unchecked(CheckTest):
    """Attributes that no type defines are reported, and fail with --strict."""
    ODD = ('node pointLight "l" {\n    Real intensitty = 2\n    Object _meta {\n'
           '        Real any = 1\n    }\n    output Real more\n}')
    ODD_TOLD = (
        "kelvo: note: m.kns: input 'l.intensitty': type 'pointLight' does not define it: did you "
        "mean 'intensity'? [unknown-attribute]\n"
        "kelvo: note: m.kns: output 'l.more': type 'pointLight' does not define it; it was not "
        "checked. [unknown-attribute]\n")

    def test_unknown_types_fail_a_strict_check(self):
        self.write("m.kns", scene(LEAF))
        told = {"out": "m.kns: 1 node, 0 errors, 1 warning\n", "error": LEAF_TOLD.format("m.kns")}
        self.expect(0, "check", "m.kns", **told)
        self.expect(1, "check", "m.kns", "--strict", **told)
        self.expect(1, "check", "m.kns", "--strict", "--severity", "error", **told)

    def test_unknown_attributes_are_counted_and_fail_a_strict_check(self):
        self.write("m.kns", scene(self.ODD))
        self.expect(0, "check", "m.kns", out="m.kns: 1 node, 0 errors, 0 warnings, 2 not checked\n")
        self.expect(1, "check", "m.kns", "--strict", out="m.kns: 1 node, 0 errors, 0 warnings\n",
                    error=self.ODD_TOLD)
        self.assertIn(self.ODD_TOLD, self.run_tool("check", "m.kns", "--severity", "note").stderr)

    def test_any_warning_fails_a_strict_check(self):
        self.write("m.kns", scene(xform("top", "null")))
        self.assertEqual(self.run_tool("check", "m.kns", "--strict").returncode, 1)
        self.expect(0, "check", "m.kns", "--strict", "--fix", out=(
            "m.kns: fixed: node 'top': element [0] of 'children' links to no node. [empty-child]\n"
            "m.kns: 1 node, 0 errors, 0 warnings, 1 fixed\n"))

    def test_sound_scenes_pass_a_strict_check(self):
        self.expect(0, "check", "sound.kns", "--strict", out=SOUND_TOLD)

    def test_one_file_that_fails_is_enough(self):
        self.write("m.kns", scene(LEAF))
        self.assertEqual(self.run_tool("check", "m.kns", "sound.kns", "--strict").returncode, 1)

    def test_notes_of_other_kinds_do_not_fail(self):
        self.write("m.kns", scene('node add "sum" {\n}'))
        self.expect(0, "check", "m.kns", "--strict", out="m.kns: 1 node, 0 errors, 0 warnings\n")

    def test_reports_hold_what_made_them_fail(self):
        self.write("m.kns", scene(self.ODD))
        self.assertEqual(self.report(0, "m.kns", "--format", "json")["files"][0]["findings"], [])
        findings = self.report(1, "m.kns", "--strict", "--format", "json")["files"][0]["findings"]
        self.assertEqual([finding["place"] for finding in findings], ["l.intensitty", "l.more"])


class Fix(CheckTest):
    def test_what_can_be_fixed_is_and_the_rest_reported(self):
        self.write("m.kns", MESSY)
        self.expect(0, "check", "m.kns", "--fix", out=(
            "m.kns: fixed: node 'top': element [0] of 'children' links to no node. [empty-child]\n"
            "m.kns: fixed: node 'top': element [2] of 'children' links to 'sub' again. "
            "[repeated-child]\n"
            "m.kns: 3 nodes, 0 errors, 2 warnings, 2 fixed\n"), error=LEFT_TOLD.format("m.kns"))
        self.assertEqual(self.read("m.kns"), MESSY.replace("null, sub, sub", "sub"))

    def test_fixing_twice_finds_nothing_to_fix(self):
        self.write("m.kns", MESSY)
        self.run_tool("check", "m.kns", "--fix")
        before = self.read("m.kns")
        self.assertIn(" 0 fixed\n", self.run_tool("check", "m.kns", "--fix").stdout)
        self.assertEqual(self.read("m.kns"), before)

    def test_nothing_else_changes(self):
        messy = SCENE.replace("[lamp, desk]", "[lamp, null, desk]  # those")
        self.write("m.kns", messy)
        self.expect(0, "check", "m.kns", "--fix", "--severity", "warning", out=(
            "m.kns: fixed: node 'room': element [1] of 'children' links to no node. [empty-child]\n"
            "m.kns: 4 nodes, 0 errors, 1 warning, 1 fixed\n"),
            error=LEAF_TOLD.replace("leaf", "wood").format("m.kns"))
        self.assertEqual(self.read("m.kns"),
                         messy.replace("null, ", "").replace("  # those", " # those"))

    def test_values_come_into_range(self):
        text = scene('node gizmo "l" {\n    Int i = 12 @unchecked @max 9\n}')
        self.write("m.kns", text)
        self.expect(0, "check", "m.kns", "--fix", out=(
            "m.kns: fixed: input 'l.i': the value 12 is above the maximum 9. [out-of-range]\n"
            "m.kns: 1 node, 0 errors, 1 warning, 1 fixed\n"),
            error=LEAF_TOLD.replace("leaf", "l").replace("wood", "gizmo").format("m.kns"))
        self.assertEqual(self.read("m.kns"), text.replace("12 @unchecked", "9"))

    def test_missing_inputs_come_from_the_type(self):
        self.write("m.kns", scene('node pointLight "l" @own {\n    Real radius = 1\n}'))
        ran = self.run_tool("check", "m.kns", "--fix")
        self.assertEqual((ran.returncode, ran.stderr), (0, ""))
        self.assertIn("fixed: input 'l.intensity' is missing: type 'pointLight' defines it. "
                      "[missing-input]\n", ran.stdout)
        self.expect(0, "get", "m.kns", "l.intensity", out="1\n")
        self.expect(0, "check", "m.kns", out="m.kns: 1 node, 0 errors, 0 warnings\n")

    def test_files_without_fixes_are_not_touched(self):
        file = self.folder / "sound.kns"
        os.utime(file, (1000, 1000))
        file.chmod(0o444)
        self.expect(0, "check", "sound.kns", "--fix",
                    out="sound.kns: 2 nodes, 0 errors, 0 warnings, 0 fixed\n")
        self.assertEqual(file.stat().st_mtime, 1000)
        self.write("m.kns", MESSY)
        self.run_tool("check", "m.kns", "--fix", "--severity", "error")
        self.assertEqual(self.read("m.kns"), MESSY)

    def test_permissions_are_kept_and_nothing_is_left_over(self):
        self.write("m.kns", MESSY)
        (self.folder / "m.kns").chmod(0o640)
        self.run_tool("check", "m.kns", "--fix")
        self.assertEqual(stat.S_IMODE((self.folder / "m.kns").stat().st_mode), 0o640)
        self.assertEqual(self.names(), ["a.kns", "m.kns", "sound.kns"])

    @unittest.skipIf(os.geteuid() == 0, "nothing is forbidden to the superuser")
    def test_folders_that_cannot_be_written_to(self):
        self.write("m.kns", MESSY)
        self.folder.chmod(0o555)
        self.addCleanup(self.folder.chmod, 0o755)
        ran = self.run_tool("check", "m.kns", "--fix")
        self.assertEqual((ran.returncode, ran.stdout), (1, ""))
        self.assertEqual(self.read("m.kns"), MESSY)

    def test_links_that_lead_nowhere_are_reported(self):
        folder = self.folder / "real"
        folder.mkdir()
        (folder / "m.kns").write_text(MESSY)
        (self.folder / "link.kns").symlink_to("real/m.kns")
        self.assertEqual(self.run_tool("check", "link.kns", "--fix").returncode, 0)
        self.assertTrue((self.folder / "link.kns").is_symlink())
        self.assertNotEqual(self.read("real/m.kns"), MESSY)

    def test_the_standard_streams_serve_as_a_filter(self):
        self.expect(0, "check", "-", "--fix", given=MESSY,
                    out=MESSY.replace("null, sub, sub", "sub"), error=(
            "kelvo: standard input: fixed: node 'top': element [0] of 'children' links to no node. "
            "[empty-child]\n"
            "kelvo: standard input: fixed: node 'top': element [2] of 'children' links to 'sub' "
            "again. [repeated-child]\n" + LEFT_TOLD.format("standard input") +
            "kelvo: standard input: 3 nodes, 0 errors, 2 warnings, 2 fixed\n"))
        self.expect(0, "check", "-", "--fix", given=SOUND_SCENE, out=SOUND_SCENE, error=(
            "kelvo: standard input: 2 nodes, 0 errors, 0 warnings, 0 fixed\n"))
        self.expect(2, "check", "-", "--fix", "--format", "json", given=MESSY, out="", error=(
            "kelvo: --fix writes the scene from '-' to the standard output: choose --format "
            "text.\n"))

    def test_text_that_is_no_scene_stays(self):
        self.write("m.kns", "node {\n")
        ran = self.run_tool("check", "m.kns", "--fix")
        self.assertEqual((ran.returncode, ran.stdout), (1, ""))
        self.assertEqual(self.read("m.kns"), "node {\n")


class Json(CheckTest):
    def test_findings_are_reported_whole(self):
        self.write("m.kns", MESSY)
        file, = self.report(0, "m.kns", "--format", "json")["files"]
        self.assertEqual([file[key] for key in ("file", "nodes", "errors", "warnings", "notes")],
                         ["m.kns", 3, 0, 4, 0])
        self.assertEqual(file["findings"][0], {
            "rule": "empty-child", "severity": "warning", "node": "top",
            "place": "top.children[0]",
            "message": "node 'top': element [0] of 'children' links to no node.",
            "fix": "remove element [0]", "isFixed": False})
        self.assertEqual([found["rule"] for found in file["findings"]],
                         ["empty-child", "repeated-child", "unknown-type", "child-cycle"])
        self.assertIsNone(file["findings"][3]["fix"])

    def test_fixed_ones_are_marked(self):
        self.write("m.kns", MESSY)
        file, = self.report(0, "m.kns", "--format", "json", "--fix")["files"]
        self.assertEqual([(found["rule"], found["isFixed"]) for found in file["findings"]],
                         [("empty-child", True), ("repeated-child", True),
                          ("unknown-type", False), ("child-cycle", False)])
        self.assertEqual(file["warnings"], 2)

    def test_unreadable_files_are_findings(self):
        self.write("m.kns", SCENE.replace("Real radius", "Reel radius"))
        files = self.report(1, "m.kns", "none.kns", "a.kns", "--format", "json")["files"]
        self.assertEqual([(file["file"], file["errors"]) for file in files],
                         [("m.kns", 1), ("none.kns", 1), ("a.kns", 0)])
        found, = files[0]["findings"]
        self.assertEqual((found["rule"], found["severity"], found["node"], found["line"]),
                         ("unreadable", "error", "lamp", 10))
        self.assertIn("did you mean 'Real'?", found["message"])
        self.assertGreater(found["column"], 0)
        found, = files[1]["findings"]
        self.assertEqual(found["message"],
                         "cannot read 'none.kns': No such file or directory")
        self.assertNotIn("line", found)

    def test_nothing_found_is_a_list_without_members(self):
        file, = self.report(0, "-", "--format", "json", given="kelvo scene 1\n")["files"]
        self.assertEqual((file["file"], file["nodes"], file["findings"]),
                         ("standard input", 0, []))

    def test_any_text_may_stand_in_a_message(self):
        value = '\\"\\\\\\n\\t\\x01\\xff\u00e4'
        text = scene(f'node gizmo "l" {{\n    String s = "{value}" @unchecked @choices ["a"]\n}}')
        file, = self.report(0, "-", "--format", "json", given=text)["files"]
        message, = [found["message"] for found in file["findings"]
                    if found["rule"] == "out-of-range"]
        self.assertIn("\u00e4", message)
        self.write("\u00e4 \"1\".kns", text)
        file, = self.report(0, "\u00e4 \"1\".kns", "--format", "json")["files"]
        self.assertEqual(file["file"], "\u00e4 \"1\".kns")


class Sarif(CheckTest):
    """Checks the rules of version 2.1.0 of the format, as far as the tool uses it."""

    def log(self, status, *arguments, given=None):
        log = self.report(status, *arguments, "--format", "sarif", given=given)
        self.check_log(log)
        return log["runs"][0]

    def check_keys(self, part, required, optional=()):
        self.assertLessEqual(set(required), set(part))
        self.assertLessEqual(set(part), set(required) | set(optional))

    def check_log(self, log):
        self.check_keys(log, ("$schema", "version", "runs"))
        self.assertEqual(log["version"], "2.1.0")
        self.assertTrue(log["$schema"].endswith("sarif-2.1.0.json"))
        run, = log["runs"]
        self.check_keys(run, ("tool", "invocations", "artifacts", "results"))
        self.check_driver(run["tool"]["driver"])
        for invocation in run["invocations"]:
            self.check_keys(invocation, ("executionSuccessful",))
            self.assertIsInstance(invocation["executionSuccessful"], bool)
        for artifact in run["artifacts"]:
            self.check_uri(artifact["location"])
        for result in run["results"]:
            self.check_result(result, run["tool"]["driver"]["rules"])

    def check_driver(self, driver):
        self.check_keys(driver, ("name", "version", "rules"))
        self.assertEqual(driver["name"], "kelvo")
        ids = [rule["id"] for rule in driver["rules"]]
        self.assertEqual(len(ids), len(set(ids)))
        for rule in driver["rules"]:
            self.check_keys(rule, ("id", "shortDescription", "defaultConfiguration"), ("help",))
            self.check_keys(rule["shortDescription"], ("text",))
            self.assertIn(rule["defaultConfiguration"]["level"], ("note", "warning", "error"))

    def check_uri(self, location):
        self.check_keys(location, ("uri",))
        self.assertRegex(location["uri"],
                         r"\A(file:///)?[A-Za-z0-9._~/-]([A-Za-z0-9._~/-]|%[0-9A-F]{2})*\Z")

    def check_result(self, result, rules):
        self.check_keys(result, ("ruleId", "ruleIndex", "level", "message", "locations"))
        self.assertEqual(rules[result["ruleIndex"]]["id"], result["ruleId"])
        self.assertEqual(rules[result["ruleIndex"]]["defaultConfiguration"]["level"],
                         result["level"])
        self.assertTrue(result["message"]["text"])
        location, = result["locations"]
        self.check_keys(location, (), ("physicalLocation", "logicalLocations"))
        for place in location.get("logicalLocations", ()):
            self.check_keys(place, ("fullyQualifiedName",))
        if "physicalLocation" not in location:
            return
        physical = location["physicalLocation"]
        self.check_keys(physical, ("artifactLocation",), ("region",))
        self.check_uri(physical["artifactLocation"])
        if "region" in physical:
            self.check_keys(physical["region"], ("startLine", "startColumn"))
            self.assertGreaterEqual(min(physical["region"].values()), 1)

    def test_results_name_rule_place_and_file(self):
        self.write("m.kns", MESSY)
        run = self.log(0, "m.kns", "a.kns")
        self.assertEqual([result["ruleId"] for result in run["results"]][:4],
                         ["empty-child", "repeated-child", "unknown-type", "child-cycle"])
        first = run["results"][0]
        self.assertEqual(first["level"], "warning")
        self.assertEqual(first["locations"], [{
            "physicalLocation": {"artifactLocation": {"uri": "m.kns"}},
            "logicalLocations": [{"fullyQualifiedName": "top.children[0]"}]}])
        self.assertEqual([artifact["location"]["uri"] for artifact in run["artifacts"]],
                         ["m.kns", "a.kns"])
        self.assertEqual(run["invocations"], [{"executionSuccessful": True}])

    def test_rules_are_those_of_the_documentation(self):
        document = pathlib.Path(__file__).parents[2] / "docs" / "validation.md"
        rows = re.findall(r"(?m)^\| `([a-z-]+)` \| (note|warning|error) \|", document.read_text())
        rules = self.log(0, "a.kns")["tool"]["driver"]["rules"]
        self.assertEqual([(rule["id"], rule["defaultConfiguration"]["level"]) for rule in rules],
                         rows + [("unreadable", "error")])

    def test_a_sound_scene_has_no_results(self):
        self.assertEqual(self.log(0, "sound.kns")["results"], [])

    def test_faults_of_a_text_have_line_and_column(self):
        self.write("m.kns", SCENE.replace("Real radius", "Reel radius"))
        result, = self.log(1, "m.kns")["results"]
        self.assertEqual(result["ruleId"], "unreadable")
        region = result["locations"][0]["physicalLocation"]["region"]
        self.assertEqual((region["startLine"], region["startColumn"]), (10, 5))

    def test_files_that_cannot_be_read_show_in_the_run(self):
        run = self.log(1, "none.kns")
        self.assertEqual(run["invocations"], [{"executionSuccessful": False}])
        self.assertEqual([result["ruleId"] for result in run["results"]], ["unreadable"])

    def test_names_of_files_become_uris(self):
        name = self.write("a b#1%\u00e4.kns", MESSY)
        run = self.log(0, name, str(self.folder / "a.kns"))
        self.assertEqual(run["artifacts"][0]["location"]["uri"], "a%20b%231%25%C3%A4.kns")
        self.assertEqual(run["artifacts"][1]["location"]["uri"],
                         (self.folder / "a.kns").as_uri())

    def test_the_standard_input_is_no_artifact(self):
        run = self.log(0, "-", given=MESSY)
        self.assertEqual(run["artifacts"], [])
        self.assertEqual(set(run["results"][0]["locations"][0]), {"logicalLocations"})

    def test_what_was_fixed_is_no_result(self):
        self.write("m.kns", MESSY)
        run = self.log(0, "m.kns", "--fix")
        self.assertEqual([result["ruleId"] for result in run["results"]],
                         ["unknown-type", "child-cycle"])


if __name__ == "__main__":
    main()
