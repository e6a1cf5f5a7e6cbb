// A separate program: its calls of malloc are redirected to functions that fail on command.

#include "kelvo/kelvo.h"
#include "tests/laws/oom_memory.h"

#include <gtest/gtest.h>

#include <functional>

namespace qv::kelvo_sdk {
namespace {

using tests::OomMemory;

struct CountsBatches : BatchObserver {
    void sceneChanged(const SceneChanges&) override { ++count; }
    int count = 0;
};

// A node whose output six inputs of the other node read.
class BatchesWithoutMemory : public testing::Test {
protected:
    struct World {
        World() {
            source.createOutput("result", AttrType::Real);
            for (const char* name : {"p", "q", "r", "s", "t", "u"})
                reader.createInput(name, AttrType::Real).connect(source.output("result"));
            scene.setUndoEnabled(true);
            scene.subscribe(&batches);
        }
        ~World() { scene.unsubscribe(&batches); }

        Scene scene = Scene::create();
        Node source = scene.createNode("thing", "source");
        Node reader = scene.createNode("thing", "reader");
        CountsBatches batches;
    };

    // Returns whether the edit succeeds when allocations fail, the first of them `which`.
    static bool isDone(World& world, const std::function<void(const World&)>& edit, u64 which) {
        OomMemory::arm(OomMemory::Fails::FromThen, which);
        bool isDone = true;
        try {
            edit(world);
        } catch (const std::bad_alloc&) {
            isDone = false;
        }
        OomMemory::disarm();
        return isDone;
    }

    // Makes the edit fail at each allocation until it succeeds, which tells one batch.
    static void expectSilentFailures(const std::function<void(const World&)>& edit) {
        for (u64 which = 1;; ++which) {
            World world;
            const bool isEnd = isDone(world, edit, which);
            ASSERT_EQ(world.batches.count, isEnd ? 1 : 0) << "allocation " << which;
            if (isEnd) break;
        }
    }
};

TEST_F(BatchesWithoutMemory, RemovalOfAnOutputThatFails_TellsNothing) {
    expectSilentFailures([](const World& world) { world.source->removeOutput(u64(0)); });
}

TEST_F(BatchesWithoutMemory, ClearedInputsThatComeBack_TellNothing) {
    expectSilentFailures([](const World& world) { world.reader->clearInputs(); });
}

} // namespace
} // namespace qv::kelvo_sdk
