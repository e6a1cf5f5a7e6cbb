// Definition text and scene text that were accepted are written so that they read back equal: every
// kind with every annotation and values of every kind, alone and in random combinations.

#include "tests/support/library_text.h"
#include "tests/support/node_dump.h"

#include <random>

namespace qv::kelvo_sdk {
namespace {

using tests::emptyLibrary;
using tests::Library;
using tests::NodeDump;

constexpr const char* kKinds[] = {
    "Null",         "Bool",          "Int",           "UInt",          "Real",
    "Vec2",         "Vec3",          "Vec4",          "Pos2",          "Pos3",
    "Quat",         "Rgba",          "Mat3",          "String",        "Node",
    "Buffer",       "Buffer<Int32>", "Buffer<Pos2f>", "Buffer<Pos3f>", "Buffer<String>",
    "Buffer<Null>", "Array<Real>",   "Array<Node>",   "Array<Null>",   "Array<Buffer>",
    "Array<Array>", "Array<Object>", "Array<String>", "Mat4",          "Buffer<UInt8>"};

constexpr const char* kValues[] = {
    "",
    "null",
    "true",
    "0",
    "-1",
    "2.5",
    "nan",
    "inf",
    "\"\"",
    "\"a\"",
    "(0 0)",
    "(1 2)",
    "(1 2 3)",
    "(0 0 0)",
    "(1 2 3 4)",
    "(0 0 0 1)",
    "(1 0 0  0 1 0  0 0 1)",
    "(1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)",
    "[]",
    "[1 2]",
    "[(1 2)]",
    "[(1 2 3)]",
    "[\"a\"]",
    "[1, 2]",
    "[null]",
    "[\"a\", \"b\"]",
    "[[1 2], []]",
    "[Buffer<Pos2f> [], Buffer<Pos3f> [(1 2 3)]]",
    "[Buffer<Int32> [1] @type Int32]",
    "[Array<Real> [1], Array<Array> []]",
    "[{\n    Real r = 1 @min 0\n}, {\n}]",
    "[1 @default 2, 3 @max 4]",
    "[1 @unchecked, 2 @silent, 3 @readonly]",
};

constexpr const char* kNoteNames[] = {"@default", "@min", "@max", "@type"};
constexpr const char* kTypes[] = {"Null", "Pos2f", "Pos3f", "Int32", "String", "Real"};
constexpr const char* kFlags[] = {"@silent",
                                  "@announced",
                                  "@readonly",
                                  "@unchecked",
                                  "@own",
                                  "@again",
                                  "@unit \"m\"",
                                  "@choices []",
                                  "@choices [1, 2]",
                                  "@choices [null]",
                                  "@choices [\"a\", Int 3]",
                                  "@label \"en\" \"A\"",
                                  "@help \"de\" \"B\" @help \"de\" \"C\"",
                                  "@stashed null",
                                  "@stashed 1"};

std::string inType(const std::string& line) {
    return "kelvo types 1\n\ntype a {\n    " + line + "\n}\n";
}
std::string inNode(const std::string& line) {
    return "kelvo scene 1\n\nnode a \"a\" {\n    " + line + "\n}\n";
}

Library accepted(const std::string& text) {
    Library library = emptyLibrary();
    Diagnostics errors;
    return library->readDefinitions(text.c_str(), "types.knd", &errors, nullptr) ? library
                                                                                 : Library();
}

// Tells whether the line is accepted; an accepted line must read back.
bool readsBackInType(const std::string& line) {
    const Library first = accepted(inType(line));
    if (!first) return false;
    const std::string written(first->definitionText().view());
    const Library second = accepted(written);
    EXPECT_TRUE(second) << line << "\n" << written;
    if (!second) return true;
    EXPECT_EQ(second->definitionText().view(), written) << line;
    EXPECT_EQ(NodeDump::of(*second->type(0)), NodeDump::of(*first->type(0))) << line;
    return true;
}

bool readsBackInNode(const std::string& line) {
    Diagnostics errors;
    const Scene first = Scene::create();
    if (!first.read(inNode(line).c_str(), "text", &errors)) return false;
    const String written = first.text();
    const Scene second = Scene::create();
    const bool isRead = second.read(written, "text", &errors);
    EXPECT_TRUE(isRead) << line << "\n" << written.view();
    if (!isRead) return true;
    EXPECT_EQ(second.text().view(), written.view()) << line;
    EXPECT_EQ(NodeDump::of(second), NodeDump::of(first)) << line;
    return true;
}

void expectReadsBack(const std::string& line, u64& types, u64& nodes) {
    types += readsBackInType(line) ? 1 : 0;
    nodes += readsBackInNode(line) ? 1 : 0;
}

std::string lineOf(const std::string& kind, const std::string& value) {
    if (kind == "Object") return kind + " x " + value;
    return kind + " x" + (value.empty() ? "" : " = " + value);
}

TEST(TextReadBack, BufferOfAnotherTypeThanItIsBoundTo_IsRefusedAtItsPlace) {
    for (const char* elements : {"[]", "[(1 2)]"})
        EXPECT_EQ(tests::libraryErrors(
                      inType("Buffer<Pos2f> points = " + std::string(elements) + " @type Pos3f")),
                  "4:19: in 'a': The buffer 'points' holds elements of type Pos2f but is bound to "
                  "type Pos3f.");
}

TEST(TextReadBack, EveryKindWithEveryValueAndNote) {
    u64 types = 0;
    u64 nodes = 0;
    for (const std::string kind : kKinds) {
        for (const std::string value : kValues) {
            const std::string line = lineOf(kind, value);
            expectReadsBack(line, types, nodes);
            for (const std::string type : kTypes)
                expectReadsBack(line + " @type " + type, types, nodes);
        }
        for (const std::string flag : kFlags)
            expectReadsBack(lineOf(kind, "") + " " + flag, types, nodes);
    }
    EXPECT_GT(types, 500u);
    EXPECT_GT(nodes, 500u);
}

TEST(TextReadBack, EveryKindWithNotesOfEveryKind) {
    u64 types = 0;
    u64 nodes = 0;
    for (const std::string kind : kKinds) {
        for (const std::string other : kKinds) {
            for (const std::string value :
                 {"", "null", "0", "2.5", "\"\"", "(0 0)", "[]", "[1 2]"}) {
                for (const std::string note : {"@default", "@min", "@choices ["}) {
                    const std::string end = note.ends_with('[') ? "]" : "";
                    expectReadsBack(lineOf(kind, "") + " " + note + " " + other + " " + value + end,
                                    types, nodes);
                }
            }
        }
    }
    EXPECT_GT(types, 500u);
    EXPECT_GT(nodes, 500u);
}

TEST(TextReadBack, RandomLines) {
    std::mt19937 random(11);
    const auto pick = [&](const auto& list) {
        return std::string(list[random() % std::size(list)]);
    };
    u64 types = 0;
    u64 nodes = 0;
    for (u64 i = 0; i < 6'000; ++i) {
        std::string line = lineOf(pick(kKinds), pick(kValues));
        for (u64 notes = random() % 4; notes != 0; --notes) {
            const std::string name = pick(kNoteNames);
            if (random() % 2 == 0)
                line += " " + pick(kFlags);
            else
                line += " " + name + " " + (name == "@type" ? pick(kTypes) : pick(kValues));
        }
        expectReadsBack(line, types, nodes);
    }
    EXPECT_GT(types, 100u);
    EXPECT_GT(nodes, 100u);
}

} // namespace
} // namespace qv::kelvo_sdk
