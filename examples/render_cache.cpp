// A renderer that keeps its pictures by deep hash renders only the lamps that look different.
#include "examples/expect.h"

#include <cstdio>
#include <string>
#include <unordered_map>

using namespace qv::kelvo_sdk;

namespace {

class Renderer {
public:
    void show(const Snapshot& snapshot, const char* title) {
        std::printf("%s:\n", title);
        for (const SnapshotNode& node : snapshot.nodes())
            if (node.isTypeOf("pointLight")) std::printf("  %s\n", pictureOf(node).c_str());
    }

private:
    /// Renders the node only if neither it nor anything that it depends on was seen like this.
    const std::string& pictureOf(const SnapshotNode& node) {
        std::string& picture = m_pictures[node.deepHash()];
        if (!picture.empty()) return picture;
        std::printf("  rendering %s\n", node.name().buf());
        picture = std::string(node.name().view()) + " in " +
                  node["filter"].linked()["color"].get<qv::String>().buf();
        return picture;
    }

    std::unordered_map<qv::u64, std::string> m_pictures;
};

} // namespace

int main() {
    const Scene scene = Scene::create();
    expect(scene.setUndoEnabled(true));
    const Node warm = scene.createNode("filter", "warm"), cold = scene.createNode("filter", "cold");
    for (const Node& filter : {warm, cold})
        expect(filter.createInput("color", AttrType::String).set(filter.name()));
    for (const Node& filter : {warm, warm, cold})
        expect(scene.createNode("pointLight", "lamp")
                   .createInput("filter", AttrType::Node)
                   .set(filter));

    Renderer renderer;
    const Snapshot first = scene.snapshot();
    renderer.show(first, "At first");
    expect(warm["color"].set("orange"));
    const Snapshot second = scene.snapshot();
    renderer.show(second, "With another color");
    const SnapshotWhy reasons = why(first, second, second["lamp1"]);
    for (const WhyChain& chain : reasons.chains())
        std::printf("  because of %s\n", chain.inputs[0].after.path().buf());
    expect(scene.undo());
    renderer.show(scene.snapshot(), "After undo");
}
