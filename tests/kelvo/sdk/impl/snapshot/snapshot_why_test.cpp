#include "kelvo/sdk/snapshot_why.h"

#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace qv::kelvo_sdk {
namespace {

std::string textOf(const InputChange& change) {
    static constexpr std::pair<InputPart, const char*> parts[] = {
        {InputPart::Value, "value"},       {InputPart::Link, "link"},
        {InputPart::Connection, "source"}, {InputPart::Elements, "elements"},
        {InputPart::Order, "order"},       {InputPart::Name, "name"},
        {InputPart::Type, "type"},         {InputPart::Marks, "marks"},
        {InputPart::Added, "added"},       {InputPart::Removed, "removed"}};
    std::string text((change.after ? change.after : change.before).path().view());
    for (const auto& [part, name] : parts)
        if (change.has(part)) text += std::string(" ") + name;
    return text;
}

// Returns the chains as "a b: x value; a: link link; ".
std::string textOf(const SnapshotWhy& why) {
    std::string text;
    for (const WhyChain& chain : why.chains()) {
        for (const SnapshotNode& node : chain.nodes)
            text += std::string(node.name().view()) + " ";
        text += chain.before ? chain.after ? ":" : "removed" : "added";
        text += chain.isRenamed ? " renamed" : "";
        text += chain.isTypeChanged ? " retyped" : "";
        for (const InputChange& input : chain.inputs)
            text += " " + textOf(input);
        text += "; ";
    }
    return text + (why.isComplete() ? "" : "and more");
}

// Nodes "a" to "e"; "a" depends on "b" and "c", these on "d".
class SnapshotWhyTest : public testing::Test {
protected:
    SnapshotWhyTest() { fill(m_scene); }
    static void fill(const Scene& scene) {
        for (const char* name : {"a", "b", "c", "d", "e"}) {
            const Node node = scene.createNode("thing", name);
            node.createInput("x", AttrType::Real);
            node.createInput("y", AttrType::Real);
            node.createArray("links", AttrType::Node);
            static_cast<void>(node.createOutput("o", AttrType::Real));
            static_cast<void>(node.createOutput("p", AttrType::Real));
        }
        const auto link = [&](const char* from, const char* to) {
            scene[from]["links"].append().set(scene[to]);
        };
        link("a", "b");
        link("a", "c");
        scene["b"]["x"].connect(scene["d"].output("o"));
        link("c", "d");
    }
    /// Returns why the hash of "a" differs after an edit.
    std::string after(const std::function<void()>& edit, const char* node = "a") {
        const Snapshot before = m_scene.snapshot();
        edit();
        const Snapshot now = m_scene.snapshot();
        return textOf(why(before, now, now[node] ? now[node] : before[node]));
    }
    Node node(const char* name) { return m_scene[name]; }
    Scene m_scene = Scene::create();
};

TEST_F(SnapshotWhyTest, Why_OfEqualHashes_IsNothing) {
    EXPECT_EQ(after([] {}), "");
    EXPECT_EQ(after([&] { node("e")["x"].set(1.0); }), "");
    EXPECT_EQ(after([&] { node("a")["x"].set(1.0); }, "b"), "");
    EXPECT_TRUE(why(Snapshot(), Snapshot(), SnapshotNode()).isEmpty());
}

TEST_F(SnapshotWhyTest, Why_LeadsToTheInputsThatDiffer) {
    EXPECT_EQ(after([&] { node("a")["x"].set(1.0); }), "a : x value; ");
    EXPECT_EQ(after([&] { node("c")["x"].set(1.0); }), "a c : x value; ");
    EXPECT_EQ(after([&] { node("b")["x"].connect(node("d").output("p")); }), "a b : x source; ");
    EXPECT_EQ(after([&] { node("b").removeInput("y"); }), "a b : y removed; ");
    EXPECT_EQ(after([&] { node("b").rename("f"); }), "a f : renamed; ");
    EXPECT_EQ(after([&] { static_cast<void>(node("d").createOutput("q", AttrType::Real)); }),
              "a f d : retyped; ");
}

TEST_F(SnapshotWhyTest, Chains_AreTheShortestOnesInTheOrderOfTheInputs) {
    EXPECT_EQ(after([&] {
                  node("d")["x"].set(1.0);
                  node("c")["y"].set(1.0);
                  node("b")["y"].set(1.0);
              }),
              "a b : y value; a c : y value; a b d : x value; ");
}

TEST_F(SnapshotWhyTest, Chains_BeyondTheLimit_AreLeftOut) {
    const Snapshot before = m_scene.snapshot();
    for (const char* name : {"b", "c", "d"})
        node(name)["y"].set(1.0);
    const Snapshot now = m_scene.snapshot();
    EXPECT_EQ(textOf(why(before, now, now["a"], 2)), "a b : y value; a c : y value; and more");
    EXPECT_EQ(why(before, now, now["a"], 3).chains().size(), 3u);
    EXPECT_TRUE(why(before, now, now["a"], 3).isComplete());
}

TEST_F(SnapshotWhyTest, Why_ThroughANewLink_EndsAtTheLink) {
    EXPECT_EQ(after([&] {
                  node("e")["x"].set(1.0);
                  node("c")["links"].append().set(node("e"));
              }),
              "a c : links elements; ");
    EXPECT_EQ(after([&] { m_scene.removeNode(node("d")); }),
              "a b : x source; a c : links[0] link; ");
}

TEST_F(SnapshotWhyTest, Why_OfANodeThatOneSnapshotLacks_IsTheNode) {
    EXPECT_EQ(after([&] { m_scene.createNode("thing", "new"); }, "new"), "new added; ");
    EXPECT_EQ(after([&] { m_scene.removeNode(node("new")); }, "new"), "new removed; ");
}

TEST_F(SnapshotWhyTest, Why_InACycle_Ends) {
    node("d")["links"].append().set(node("a"));
    EXPECT_EQ(after([&] { node("d")["x"].set(1.0); }), "a b d : x value; ");
    EXPECT_EQ(after([&] { node("a")["x"].set(1.0); }, "d"), "d a : x value; ");
}

TEST_F(SnapshotWhyTest, Why_BetweenTwoScenes_MatchesNodesByName) {
    const Scene other = Scene::create();
    other.createNode("thing", "first");
    fill(other);
    const Snapshot mine = m_scene.snapshot();
    EXPECT_TRUE(why(mine, other.snapshot(), mine["a"]).isEmpty());
    other["d"]["y"].set(1.0);
    other["b"]["x"].connect(other["d"].output("p"));
    other["c"]["links"].input(0).set(other["first"]);
    const Snapshot theirs = other.snapshot();
    EXPECT_EQ(textOf(why(mine, theirs, theirs["a"])),
              "a b : x source; a c : links[0] link; a b d : y value; ");
    EXPECT_EQ(textOf(why(mine, theirs, mine["a"])), textOf(why(mine, theirs, theirs["a"])));
    EXPECT_EQ(textOf(why(mine, theirs, theirs["first"])), "first added; ");
    EXPECT_EQ(textOf(why(theirs, mine, theirs["first"])), "first removed; ");
}

TEST_F(SnapshotWhyTest, Why_OfAnElementOfAnArray_NamesIt) {
    const Input list = node("d").createArray("list", AttrType::Real);
    for (int i = 0; i < 3; ++i)
        list.append();
    const Scene other = Scene::create();
    ASSERT_TRUE(other.read(m_scene.text(), "text"));
    other["d"]["list"].input(1).set(5.0);
    const Snapshot mine = m_scene.snapshot(), theirs = other.snapshot();
    EXPECT_EQ(textOf(why(mine, theirs, theirs["a"])), "a b d : list[1] value; ");
    EXPECT_EQ(after([&] { list.input(2).set(3.0); }), "a b d : list[2] value; ");
}

TEST_F(SnapshotWhyTest, Why_KeepsItsSnapshots) {
    const auto found = [&] {
        const Snapshot before = m_scene.snapshot();
        node("d")["x"].set(1.0);
        const Snapshot now = m_scene.snapshot();
        return why(before, now, now["a"]);
    }();
    m_scene.reset();
    ASSERT_EQ(found.chains().size(), 1u);
    EXPECT_EQ(found.chains()[0].inputs[0].before.get<double>(), 0.0);
    EXPECT_EQ(found.chains()[0].inputs[0].after.get<double>(), 1.0);
}

} // namespace
} // namespace qv::kelvo_sdk
