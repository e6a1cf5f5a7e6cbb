// Observes the changes of one node, and of a whole scene.

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
        std::printf("node: %s is %s\n", input.path().buf(), input.asString(false, nullptr).buf());
    }
    void inputConnected(Input input) override {
        std::printf("node: %s connected\n", input.path().buf());
    }
};

class SceneWatcher : public SceneObserver {
public:
    void nodeAdded(interfaces::INode* node) override {
        std::printf("scene: %s added\n", node->name().buf());
    }
    void inputChanged(const interfaces::IInput* input, const impl::AttrData*) override {
        std::printf("scene: %s changed\n", input->path().buf());
    }
    void nodeRemoved(interfaces::INode* node) override {
        std::printf("scene: %s removed\n", node->name().buf());
    }
};

} // namespace

int main() {
    const Scene scene = Scene::create();
    SceneWatcher sceneWatcher;
    NodeWatcher nodeWatcher;
    scene.subscribe(&sceneWatcher);
    const Node lamp = scene.createNode("light", "lamp");
    lamp.subscribe(&nodeWatcher);

    lamp.createInput("radius", AttrType::Real).set(0.5);
    lamp["radius"].set(0.5); // An equal value is no change.
    scene.renameNode(lamp, "spot");
    scene.removeNode(lamp);

    lamp.unsubscribe(&nodeWatcher);
    scene.unsubscribe(&sceneWatcher);
}
