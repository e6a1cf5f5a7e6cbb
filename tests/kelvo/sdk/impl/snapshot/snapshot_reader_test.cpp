#include "kelvo/sdk/snapshot_reader.h"

#include "kelvo/sdk/scene.h"
#include "tests/support/library_text.h"
#include "tests/support/log_capture.h"
#include "tests/support/random_scene.h"
#include "tests/support/snapshot_dump.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

using tests::SnapshotDump;

String textOf(const std::string& text) {
    return String(std::string_view(text));
}

std::string textOf(const Diagnostics& found) {
    std::string text;
    for (const Diagnostic& each : found)
        text += std::string(each.text().view()) + "\n";
    return text;
}

// Reads a text into a snapshot and into a scene; both have to say the same.
void expectSame(const std::string& text, bool isPartial = false,
                const std::vector<LibInfo>& libraries = {}) {
    Diagnostics ofScene;
    const Scene scene = Scene::create();
    for (const LibInfo& library : libraries)
        ASSERT_TRUE(scene.addLibrary(library));
    const ReadReport report = scene.read(textOf(text), "text", {.isPartial = isPartial}, &ofScene);
    for (const u32 threads : {1U, 3U}) {
        Diagnostics found;
        const SnapshotReport made = readSnapshot(
            text, "text", {.isPartial = isPartial, .threads = threads, .libraries = libraries},
            &found);
        ASSERT_EQ(textOf(found), textOf(ofScene));
        ASSERT_EQ(static_cast<bool>(made.isRead), static_cast<bool>(report.isRead));
        ASSERT_EQ(made.gapCount, report.gapCount);
        if (!made.isRead) continue;
        ASSERT_EQ(made.snapshot.text(), scene.text());
        const Snapshot expected = scene.snapshot();
        ASSERT_EQ(SnapshotDump::of(made.snapshot), SnapshotDump::of(expected));
        ASSERT_EQ(made.snapshot.hash(), expected.hash());
        for (u64 i = 0; i < expected.nodeCount(); ++i)
            ASSERT_EQ(made.snapshot.node(i).deepHash(), expected.node(i).deepHash());
    }
}

// Nodes of every kind, enough of them for several threads.
std::string longText(int nodes) {
    std::string text = "kelvo scene 1\n\n";
    for (int i = 0; i < nodes; ++i) {
        const std::string name = "n" + std::to_string(i);
        text += "node t \"" + name + "\" {\n    Real x = " + std::to_string(i) +
                "\n    String text = \"the text of " + name + "\"\n    Array<Node> all = [n0, n" +
                std::to_string(nodes - 1 - i) + "]\n";
        if (i > 0) text += "    Real y = 0 <- n" + std::to_string(i - 1) + ".out  # chain\n";
        text += "    output Real out\n}\n";
    }
    return text;
}

TEST(SnapshotReader, ANode_HasNameTypeAndValues) {
    const SnapshotReport report =
        readSnapshot("node lamp : light \"a\" {\n    Real power = 2\n}\n", "text");
    ASSERT_TRUE(report.isRead);
    const SnapshotNode node = report.snapshot["a"];
    EXPECT_EQ(node.type(), String("lamp"));
    EXPECT_TRUE(node.isTypeOf("light"));
    EXPECT_EQ(node["power"].get<double>(), 2.0);
    EXPECT_EQ(report.snapshot.nodeCount(), 1U);
    EXPECT_EQ(report.gapCount, 0U);
}

TEST(SnapshotReader, LinksAndConnections_LeadToNodes) {
    const SnapshotReport report =
        readSnapshot("node t \"a\" {\n    Node n = B\n    Array<Real> l = [1, 2 <- b.P]\n}\n"
                     "node t \"b\" {\n    output Real o\n    output Real p\n}\n",
                     "text");
    ASSERT_TRUE(report.isRead);
    const SnapshotNode a = report.snapshot["a"], b = report.snapshot["b"];
    EXPECT_EQ(a["n"].linked(), b);
    EXPECT_EQ(a.inputAt("l[1]").source().node(), b);
    EXPECT_EQ(a.inputAt("l[1]").source().name(), String("p"));
    EXPECT_TRUE(a.inputAt("l[0]").source().isEmpty());
    EXPECT_EQ(a.dependencies().size(), 1U);
}

TEST(SnapshotReader, AFaultyText_GivesTheErrorsOfAScene) {
    for (const char* text :
         {"node t \"a\" {\n    Reel x = 1\n    Node n = gone\n}\nnode t \"A\" {\n}\n", "nude",
          "kelvo scene 2\n", "node t \"a\" {\n    Real x = 1 <- a.o\n    output Real o\n}\n",
          "node t \"a\" {\n    Real x = 1 <- b.o\n}\nnode t \"b\" {\n    output Node o\n}\n",
          "node t \"a\" {\n    Real x = \xff\n", "", "# alone\n"}) {
        expectSame(text);
        expectSame(text, true);
    }
}

TEST(SnapshotReader, AFailure_SaysTheFirstErrorAndHasNoSnapshot) {
    tests::LogCapture log;
    const SnapshotReport report = readSnapshot("node t \"a\" {\n    Reel x\n}\n", "room.kns");
    EXPECT_FALSE(report.isRead);
    EXPECT_FALSE(report.snapshot);
    EXPECT_NE(report.isRead.message().view().find("room.kns:2:5"), std::string_view::npos);
    EXPECT_NE(log.text().find("Reel"), std::string::npos);
}

TEST(SnapshotReader, Libraries_DefineWhatTextOmits) {
    const LibInfo library(
        tests::libraryOf(
            "type light {\n    Real angle = 1\n    Object o {\n        Array<Int> l = [1, "
            "2]\n        Int z = 3\n    }\n    output Real first\n}\n"
            "type lamp : light @internal {\n    Real power = 5 @max 10\n    Node target\n"
            "    output Real watts\n}\n")
            .get());
    for (const char* lines :
         {"", "Real power = 6", "Real power = 50", "Real power = 50 @unchecked", "Real power",
          "Object o {\n Int z = 4\n}", "Object o {\n Array<Int> l = [5]\n}", "output Int extra",
          "output Real watts", "Int power = 3", "Real more = 1\nReal power = 5",
          "Real power = 1 @own", "Object o {\n} @own", "Node target = a", "# comment"}) {
        const std::string body = std::string(lines) + "\n}\n";
        expectSame("node lamp \"a\" {\n" + body, false, {library});
        expectSame("node lamp : x \"a\" {\n" + body, false, {library});
        expectSame("node lamp \"a\" @own {\n" + body, false, {library});
        expectSame("node other \"a\" {\n" + body, false, {library});
    }
}

TEST(SnapshotReader, ALongText_IsTheSameForAnyNumberOfThreads) {
    expectSame(longText(8000));
}

TEST(SnapshotReader, ALongFaultyText_GivesTheErrorsOfAScene) {
    const std::string text = longText(6000);
    for (const char* bad : {"node t \"n17\" {\n}\n", "node t \"x\" {\n    Node n = gone\n}\n",
                            "node t \"x\" {\n    Real r = 0 <- n3.gone\n}\n",
                            "node t \"x\" {\n    Real r = 1 <- x.o\n    output Real o\n}\n",
                            "node t \"x\" {\n    Vec3 r = (0 0 0) <- n3.out\n}\n", "nude\n"}) {
        expectSame(text + bad);
        expectSame(bad + text.substr(text.find("node")));
        expectSame(text + bad, true);
    }
}

TEST(SnapshotReader, ALongTextWithAnnotations_IsTheSame) {
    const std::string text = longText(5000);
    expectSame(text + "node t \"x\" {\n    Node n = n1 @stashed n2 @default n3 @choices [n1, n4]\n"
                      "}\n\n# end\n");
    expectSame("# top\n" + text + "node t \"x\" {\n    Node n = null @stashed n2\n}\n");
}

TEST(SnapshotReader, ALoopOverPieces_IsAnError) {
    std::string text = longText(6000);
    const std::string first = "node t \"n0\" {\n";
    text.insert(text.find(first) + first.size(), "    Real y = 0 <- n5999.out\n");
    expectSame(text);
}

TEST(SnapshotReader, RandomScenes_AreTheSame) {
    tests::RandomScene random(11);
    for (int i = 0; i < 500; ++i) {
        random.edit();
        expectSame(random.text());
        if (testing::Test::HasFatalFailure()) return;
    }
}

TEST(SnapshotReader, ASnapshotOfText_IsReadIntoAScene) {
    const std::string text = longText(50) + "\n# end\n";
    const SnapshotReport report = readSnapshot(text, "text");
    const Scene scene = Scene::create();
    ASSERT_TRUE(scene.read(report.snapshot));
    EXPECT_EQ(scene.text(), report.snapshot.text());
    EXPECT_FALSE(Scene().read(report.snapshot));
    EXPECT_FALSE(scene.read(Snapshot()));
    EXPECT_EQ(scene.nodeCount(), 50U);
}

TEST(SnapshotReader, ATextOfManyNodes_CanBeComparedWithAnother) {
    const Snapshot a = readSnapshot("node t \"a\" {\n}\n", "a").snapshot;
    const Snapshot b = readSnapshot("node t \"a\" {\n}\n", "b").snapshot;
    EXPECT_EQ(a.text(), b.text());
    EXPECT_FALSE(a["a"].isUnchangedFrom(b["a"]));
}

} // namespace
} // namespace qv::kelvo_sdk
