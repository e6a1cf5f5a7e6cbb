#include "tests/laws/oom_world.h"

namespace qv::tests {

OomWorld::OomWorld() {
    const Scene& s = scene();
    EXPECT_EQ(errorsOf(moreText, s), "");
    s.setDirtyStateCached(true);
    s.setEvalCache(1 << 20);
    s.setUndoEnabled(true);
    s.subscribe(static_cast<kelvo_sdk::SceneObserver*>(&witness));
    s.subscribe(static_cast<kelvo_sdk::BatchObserver*>(&witness));
    for (u64 i = 0; i < s.nodeCount(); ++i)
        s.node(i).subscribe(&witness);
    at("a", "r").set(5.0);
    s.createNode("thing", "made");
    s.removeNode(s["made"]);
    at("a", "e[0]").set(7.0);
    s.undo();
    s.undo();
    s.setCheckpoint("here");
}

OomWorld::~OomWorld() {
    endScene();
}

void OomWorld::endScene() {
    scope.reset();
    keeps.clear();
    input = Input();
    output = Output();
    node = second = Node();
    stage.handles.clear();
    if (!stage.scene) return;
    for (u64 i = 0; i < stage.scene.nodeCount(); ++i)
        stage.scene.node(i)->unsubscribe(&witness);
    for (OomWitness* each : {&witness, &newcomer}) {
        stage.scene.unsubscribe(static_cast<kelvo_sdk::SceneObserver*>(each));
        stage.scene.unsubscribe(static_cast<kelvo_sdk::BatchObserver*>(each));
    }
    stage.scene = Scene();
}

} // namespace qv::tests
