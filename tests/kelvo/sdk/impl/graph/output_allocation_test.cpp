// In a separate program, whose calls of malloc and realloc can be made to fail.

#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/scene_listener.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

#include <new>

namespace qv::kelvo_sdk {
namespace {

using tests::OomMemory;

// Without memory, observers learn of each connection as it ends.
TEST(OutputOutOfMemory, Removal_TakesThatAnObserverDisconnectsTheOtherReaders) {
    struct Disconnecter : SceneListener {
        void outputRemoved(Output) override { OomMemory::arm(OomMemory::Fails::FromThen, 1); }
        void inputConnected(Input input, Output, Output) override {
            OomMemory::disarm();
            ++calls;
            Node reader(input.node());
            for (const Input& each : reader.inputs())
                static_cast<void>(each.disconnect());
        }
        int calls = 0;
    } observer;
    const Scene scene = Scene::create();
    const Node source = scene.createNode("t", "source"), reader = scene.createNode("t", "reader");
    const Output output = source.createOutput("o", AttrType::Real);
    for (const char* name : {"a", "b", "c"})
        EXPECT_TRUE(reader.createInput(name, AttrType::Real).connect(output));
    EXPECT_TRUE(scene.subscribe(&observer));
    EXPECT_TRUE(source.removeOutput("o"));
    EXPECT_TRUE(scene.unsubscribe(&observer));
    EXPECT_EQ(observer.calls, 3);
    EXPECT_EQ(output.targetCount(), 0u);
    EXPECT_TRUE(scene.verify().empty());
}

// Returns how many outputs a node has after one that was made is undone, or its removal redone,
// while memory runs out at the given allocation; `hasFailed` tells whether it did.
u64 outputsAfter(bool isRedo, u64 which, bool& hasFailed) {
    const Scene scene = Scene::create();
    const Node source = scene.createNode("t", "source");
    EXPECT_TRUE(scene.setUndoEnabled(true));
    const Output output = source.createOutput("o", AttrType::Real);
    if (isRedo) {
        EXPECT_TRUE(source->removeOutput("o"));
        EXPECT_TRUE(scene.undo());
    }
    OomMemory::arm(OomMemory::Fails::FromThen, which);
    try {
        static_cast<void>(isRedo ? scene->redo() : scene->undo());
    } catch (const std::bad_alloc&) {
        hasFailed = true;
    }
    OomMemory::disarm();
    return source.outputCount();
}

TEST(OutputOutOfMemory, UndoAndRedoThatFail_LeaveTheOutputOnItsNode) {
    for (const bool isRedo : {false, true})
        for (u64 which = 1; which < 10; ++which) {
            bool hasFailed = false;
            const u64 outputs = outputsAfter(isRedo, which, hasFailed);
            EXPECT_EQ(outputs, hasFailed ? 1u : 0u) << isRedo << " " << which;
        }
}

} // namespace
} // namespace qv::kelvo_sdk
