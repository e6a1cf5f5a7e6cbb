#include "tests/laws/oom_world.h"

#include "tests/laws/law_scene.h"
#include "tests/support/scene_text.h"

#include <string>
#include <utility>

namespace qv::tests {

OomWorld::OomWorld() {
    const Scene& s = scene();
    s.addLibrary(kelvo_sdk::LibInfo::standard());
    EXPECT_EQ(errorsOf(std::string(lawScene) + moreText, s), "");
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
    static_cast<void>(takeScene());
}

Scene OomWorld::takeScene() {
    more = {};
    scope.reset();
    input = Input();
    output = Output();
    node = second = Node();
    const Scene scene = std::exchange(m_scene, Scene());
    for (u64 i = 0; i < scene.nodeCount(); ++i)
        scene.node(i)->unsubscribe(&witness);
    for (OomWitness* each : {&witness, &newcomer}) {
        scene.unsubscribe(static_cast<kelvo_sdk::SceneObserver*>(each));
        scene.unsubscribe(static_cast<kelvo_sdk::BatchObserver*>(each));
    }
    return scene;
}

} // namespace qv::tests
