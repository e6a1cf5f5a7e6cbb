// Observes the changes of one node, and of a whole scene.

#include "examples/expect.h"
#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv;
using namespace qv::kelvo_sdk;

namespace {

class NodeWatcher : public NodeObserver {
public:
    void nodeRemoved() override { std::puts("node: removed"); }
    void nodeRenamed(String name) override { std::printf("node: now called %s\n", name.buf()); }
    void nodeConverted(Node) override {}
    void inputChanged(Input input) override {
        std::printf("node: %s is %s\n", input.path().buf(), input.asString(false).buf());
    }
    void inputConnected(Input input) override {
        std::printf("node: %s connected\n", input.path().buf());
    }
};

class SceneWatcher : public SceneListener {
public:
    void nodeAdded(Node node) override { std::printf("scene: %s added\n", node.name().buf()); }
    void inputChanged(Input input, Input previous) override {
        std::printf("scene: %s changed from %s\n", input.path().buf(), previous.asString().buf());
    }
    void nodeRemoved(Node node) override { std::printf("scene: %s removed\n", node.name().buf()); }
};

} // namespace

int main() {
    const Scene scene = Scene::create();
    SceneWatcher sceneWatcher;
    NodeWatcher nodeWatcher;
    expect(scene.subscribe(&sceneWatcher));
    const Node lamp = scene.createNode("light", "lamp");
    expect(lamp.subscribe(&nodeWatcher));

    expect(lamp.createInput("radius", AttrType::Real).set(0.5));
    expect(lamp["radius"].set(0.5)); // An equal value is no change.
    expect(scene.renameNode(lamp, "spot"));
    expect(scene.removeNode(lamp));

    expect(lamp.unsubscribe(&nodeWatcher));
    expect(scene.unsubscribe(&sceneWatcher));
}
