// A node that left the scene and is held is edited by its holder, which no step records: undo goes
// on with what still fits.
#include "sdk/impl/node.h"
#include "sdk/scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

TEST(UndoOutside, InputRemovedWhileTheNodeIsOut) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node node = scene.createNode("t", "x");
    node.createInput("q", AttrType::Real);
    scene.removeNode(node);
    node.removeInput("q");
    while (scene.undo()) {
    }
    while (scene.redo()) {
    }
    EXPECT_TRUE(scene.verify().empty());
}

TEST(UndoOutside, OutputRemovedWhileTheNodeIsOut) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node node = scene.createNode("t", "x");
    node.createOutput("q", AttrType::Real);
    scene.removeNode(node);
    node->removeOutput("q");
    while (scene.undo()) {
    }
    while (scene.redo()) {
    }
    EXPECT_TRUE(scene.verify().empty());
}

TEST(UndoOutside, ConnectedOutputRemovedWhileTheNodeIsOut) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node node = scene.createNode("t", "x");
    const Input input = scene.createNode("t", "y").createInput("in", AttrType::Real);
    input->connect(node->createOutput("q", AttrType::Real));
    scene.removeNode(node);
    node->removeOutput("q");
    scene.undo();
    EXPECT_EQ(input->source(), nullptr);
    EXPECT_TRUE(scene.verify().empty());
}

TEST(UndoOutside, InputRemovedFromTheNodeThatWasConverted) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node before = scene.createNode("t", "x");
    const Scene::UndoScope scope(scene, "do", "undo");
    before.createInput("q", AttrType::Real);
    before.convertTo("u");
    before.removeInput("q");
    scope.cancel();
    EXPECT_TRUE(scene.verify().empty());
}

TEST(UndoOutside, SourceOnANodeThatTheStepAloneHolds_ComesBack) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Input input = scene.createNode("t", "x").createInput("in", AttrType::Real);
    const auto first = RefersTo<impl::Node>::adopt(new impl::Node(nullptr, "t", "first"));
    auto second = RefersTo<impl::Node>::adopt(new impl::Node(nullptr, "t", "second"));
    input->connect(first->createOutput("out", AttrType::Real));
    input->connect(second->createOutput("out", AttrType::Real));
    scene.undo();
    second.reset();
    EXPECT_TRUE(scene.redo());
    ASSERT_TRUE(input.source());
    EXPECT_EQ(input.source().path(), "second.out");
}

} // namespace
} // namespace qv::kelvo_sdk
