#include "kelvo/sdk/snapshot_delta.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>

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
    return text + "; ";
}

std::string textOf(const SnapshotDelta& delta) {
    std::string text;
    for (const SnapshotNode& node : delta.removed())
        text += "-" + std::string(node.name().view()) + " ";
    for (const SnapshotNode& node : delta.added())
        text += "+" + std::string(node.name().view()) + " ";
    for (const NodeChange& change : delta.changed()) {
        text += std::string(change.after.name().view()) + (change.isRenamed ? " renamed" : "") +
                (change.isTypeChanged ? " retyped: " : ": ");
        for (const InputChange& input : change.inputs)
            text += textOf(input);
    }
    return text + (delta.isOrderChanged() ? "order" : "");
}

class SnapshotDeltaTest : public testing::Test {
protected:
    SnapshotDeltaTest() {
        for (const char* name : {"a", "b", "c"}) {
            const Node made = m_scene.createNode("thing", name);
            made.createInput("x", AttrType::Real);
        }
    }
    // Returns what an edit changes.
    std::string after(const std::function<void()>& edit) {
        const Snapshot before = m_scene.snapshot();
        edit();
        return textOf(delta(before, m_scene.snapshot()));
    }
    Node node(const char* name) { return m_scene[name]; }

    Scene m_scene = Scene::create();
};

TEST_F(SnapshotDeltaTest, Delta_WithoutChanges_IsEmpty) {
    EXPECT_EQ(after([] {}), "");
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_TRUE(delta(snapshot, snapshot).isEmpty());
}

TEST_F(SnapshotDeltaTest, Delta_OfAValueSetBack_IsEmpty) {
    EXPECT_EQ(after([&] {
                  node("a")["x"].set(1.0);
                  node("a")["x"].set(0.0);
                  node("b").setDirty(true);
              }),
              "");
}

TEST_F(SnapshotDeltaTest, Delta_OfEachEdit_NamesThePart) {
    const std::pair<const char*, std::function<void()>> edits[] = {
        {"a: x value; ", [&] { node("a")["x"].set(3.0); }},
        {"+d ", [&] { m_scene.createNode("thing", "d"); }},
        {"-d ", [&] { m_scene.removeNode(node("d")); }},
        {"z renamed: ", [&] { node("a").rename("z"); }},
        {"b: link added; ", [&] { node("b").createInput("link", AttrType::Node); }},
        {"b: link link; ", [&] { node("b")["link"].set(node("c")); }},
        {"c retyped: ", [&] { node("c").createOutput("o", AttrType::Real); }},
        {"b: x source; ", [&] { node("b")["x"].connect(node("c").output("o")); }},
        {"b: x source; ", [&] { node("b")["x"].disconnect(); }},
        {"b: y name; ", [&] { node("b")["x"].rename("y"); }},
        {"b: y removed; ", [&] { node("b").removeInput("y"); }},
        {"b: list added; ", [&] { node("b").createArray("list", AttrType::Int); }},
        {"b: list elements; ", [&] { node("b")["list"].append(); }},
        {"b: list[0] value; ", [&] { node("b")["list"].input(0).set(3); }},
        {"z retyped: ", [&] { node("z").convertTo("lamp"); }},
        {"order", [&] { m_scene.moveNode(node("c"), 0); }},
    };
    for (const auto& [expected, edit] : edits)
        EXPECT_EQ(after(edit), expected);
}

TEST_F(SnapshotDeltaTest, Delta_InsideAnObject_NamesTheMember) {
    const Input object = node("a").createInput("o", AttrType::Object);
    object.createInput("m", AttrType::Int);
    EXPECT_EQ(after([&] { node("a").inputAt("o.m").set(2); }), "a: o.m value; ");
}

TEST_F(SnapshotDeltaTest, Delta_Backwards_IsTheReverse) {
    const Snapshot before = m_scene.snapshot();
    m_scene.createNode("thing", "d");
    m_scene.removeNode(node("b"));
    EXPECT_EQ(textOf(delta(m_scene.snapshot(), before)), "-d +b order");
}

TEST_F(SnapshotDeltaTest, Delta_FromNothingOrAnotherScene_AddsAll) {
    EXPECT_EQ(textOf(delta({}, m_scene.snapshot())), "+a +b +c ");
    const Scene other = Scene::create();
    other.createNode("thing", "z");
    EXPECT_EQ(textOf(delta(other.snapshot(), m_scene.snapshot())), "-z +a +b +c ");
    EXPECT_TRUE(delta({}, {}).isEmpty());
}

TEST_F(SnapshotDeltaTest, Delta_KeepsItsSnapshotsAlive) {
    Snapshot before = m_scene.snapshot();
    node("a")["x"].set(4.0);
    Snapshot now = m_scene.snapshot();
    const SnapshotDelta found = delta(before, now);
    before.reset();
    now.reset();
    m_scene.reset();
    ASSERT_EQ(found.changed().size(), 1U);
    EXPECT_EQ(found.changed()[0].before["x"].get<double>(), 0.0);
    EXPECT_EQ(found.changed()[0].after["x"].get<double>(), 4.0);
}

TEST_F(SnapshotDeltaTest, Delta_Copied_HasInputsOfItsOwn) {
    const Snapshot before = m_scene.snapshot();
    node("a")["x"].set(1.0);
    node("b")["x"].set(2.0);
    std::optional<SnapshotDelta> first(delta(before, m_scene.snapshot()));
    SnapshotDelta copy = *first, assigned = delta(before, before);
    assigned = copy;
    EXPECT_NE(copy.changed()[1].inputs.data(), first->changed()[1].inputs.data());
    first.reset();
    EXPECT_EQ(textOf(copy), "a: x value; b: x value; ");
    EXPECT_EQ(textOf(assigned), textOf(copy));
    const SnapshotDelta moved = std::move(copy);
    EXPECT_EQ(textOf(moved), textOf(assigned));
}

// Removed and restored between the two snapshots, the node is one that both have.
TEST_F(SnapshotDeltaTest, Delta_OfANodeThatCameBackBehindANewOne_SaysThatTheOrderChanged) {
    m_scene.setUndoEnabled(true);
    const Snapshot before = m_scene.snapshot();
    m_scene.removeNode(node("c"));
    static_cast<void>(m_scene.snapshot());
    m_scene.undo();
    m_scene.createNode("thing", "d");
    m_scene.moveNode(node("c"), 3);
    EXPECT_EQ(textOf(delta(before, m_scene.snapshot())), "+d order");
}

TEST_F(SnapshotDeltaTest, Delta_OfAMarkOnAnElement_NamesTheElement) {
    const Input list = node("a").createArray("list", AttrType::Real);
    for (int i = 0; i < 3; ++i)
        list.append();
    EXPECT_EQ(after([&] { impl::implOf(list.input(1).get())->setReadOnly(true); }),
              "a: list[1] marks; ");
}

} // namespace
} // namespace qv::kelvo_sdk
