#!/usr/bin/env python3
"""scripts/abi on small libraries made for the test: changes that break programs are named."""
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

CMAKE = """cmake_minimum_required(VERSION 3.20)
project(Small VERSION %s LANGUAGES CXX)
add_library(kelvo_sdk SHARED small.cpp)
target_compile_features(kelvo_sdk PRIVATE cxx_std_20)
target_include_directories(kelvo_sdk PRIVATE "${PROJECT_SOURCE_DIR}")
"""
INTERFACE = """#pragma once
namespace qv::kelvo_sdk::interfaces {
class IThing {
public:
    virtual int first() = 0;
    virtual int second(int at) const = 0;
%sprotected:
    ~IThing() = default;
};
} // namespace qv::kelvo_sdk::interfaces
"""
HEADER = """#pragma once
#include "kelvo/sdk/interfaces/i_thing.h"
struct Size {
    int width;
%s};
%s"""
SOURCE = """#include "kelvo/sdk/small.h"
%s
int use(qv::kelvo_sdk::interfaces::IThing* thing) { return thing->first(); }
"""
FUNCTIONS = "int wide(const Size& size);\n"
BODIES = "int wide(const Size& size) { return size.width; }\n"


class Abi(unittest.TestCase):
    def setUp(self):
        self.tree = pathlib.Path(tempfile.mkdtemp(prefix="abi"))
        self.addCleanup(shutil.rmtree, self.tree)
        shutil.copytree(ROOT / "scripts", self.tree / "scripts",
                        ignore=shutil.ignore_patterns("__pycache__"))
        for folder in ("kelvo/base", "kelvo/sdk/interfaces", "tests/install"):
            (self.tree / folder).mkdir(parents=True)
        (self.tree / "kelvo/base/types.h").write_text("#pragma once\n", encoding="utf-8")
        self.write()
        self.run_in("scripts/abi", "--record")

    def write(self, version="1.0.0", virtual="", member="", functions=FUNCTIONS, bodies=BODIES):
        for file, text in (("CMakeLists.txt", CMAKE % version),
                           ("kelvo/sdk/interfaces/i_thing.h", INTERFACE % virtual),
                           ("kelvo/sdk/small.h", HEADER % (member, functions)),
                           ("small.cpp", SOURCE % bodies)):
            (self.tree / file).write_text(text, encoding="utf-8")

    def run_in(self, *command):
        return subprocess.run([str(self.tree / command[0]), *command[1:]], text=True, timeout=300,
                              cwd=self.tree, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, check=False)

    def tag(self):
        for command in (("init", "-q"), ("add", "-A"),
                        ("-c", "user.name=A", "-c", "user.email=a@b", "commit", "-qm", "One"),
                        ("tag", "v1.0.0")):
            subprocess.run(["git", *command], cwd=self.tree, check=True)

    def expect(self, status, *told):
        ran = self.run_in("scripts/abi")
        self.assertEqual(ran.returncode, status, ran.stdout)
        for text in told:
            self.assertIn(text, ran.stdout)

    def insert_virtual(self):
        header = self.tree / "kelvo/sdk/interfaces/i_thing.h"
        text = header.read_text(encoding="utf-8")
        header.write_text(text.replace("    virtual int second",
                                       "    virtual int between() = 0;\n    virtual int second"),
                          encoding="utf-8")

    def test_without_a_tag_the_table_counts(self):
        self.expect(0, "There is no tag v* to compare the library with",
                    "2 virtual functions, 0 changed, 0 added")

    def test_virtual_function_inserted_is_named(self):
        self.insert_virtual()
        self.expect(1, "IThing, table 0, slot 1: 'int interfaces::IThing::second(int) const' is "
                       "'int interfaces::IThing::between()' now")

    def test_virtual_function_appended_passes(self):
        self.write(virtual="    virtual int third() = 0;\n")
        self.expect(0, "2 virtual functions, 0 changed, 1 added")

    def test_virtual_function_gone_is_named(self):
        header = self.tree / "kelvo/sdk/interfaces/i_thing.h"
        text = header.read_text(encoding="utf-8")
        header.write_text(text.replace("    virtual int second(int at) const = 0;\n", ""),
                          encoding="utf-8")
        self.expect(1, "slot 1: 'int interfaces::IThing::second(int) const' is gone")

    def test_major_version_may_break_the_table(self):
        self.write(version="2.0.0")
        self.insert_virtual()
        self.expect(0, "Major version 2 may break what 1 promised.")

    def test_library_that_is_the_same_passes(self):
        self.tag()
        self.expect(0, "Programs built with v1.0.0 go on working")

    def test_function_removed_is_named(self):
        self.tag()
        self.write(functions="", bodies="")
        self.expect(1, "wide(const Size&)", "break: that takes a new major version")

    def test_function_added_passes(self):
        self.tag()
        self.write(functions=FUNCTIONS + "int more();\n",
                   bodies=BODIES + "int more() { return 1; }\n")
        self.expect(0, "go on working")

    def test_member_added_to_a_class_is_named(self):
        self.tag()
        self.write(member="    int height;\n")
        self.expect(1, "'int height'", "break: that takes a new major version")

    def test_major_version_may_break_the_library(self):
        self.tag()
        self.write(version="2.0.0", functions="", bodies="")
        self.expect(0, "Major version 2 may break what v1.0.0 promised")

    def test_wrong_call_shows_the_usage(self):
        ran = self.run_in("scripts/abi", "--all")
        self.assertEqual(ran.returncode, 2)
        self.assertIn("usage: scripts/abi [--record]", ran.stdout)


if __name__ == "__main__":
    unittest.main()
