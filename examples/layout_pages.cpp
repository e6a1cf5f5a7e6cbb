// The pages on which a definition arranges the inputs of a node, as an editor shows them.

#include "examples/expect.h"
#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv::kelvo_sdk;

int main() {
    const Scene scene = Scene::create();
    expect(scene.addLibrary(LibInfo::standard()));
    const Node lamp = scene.createNode("light", "lamp");

    for (const LayoutPage& page : lamp.layoutPages("en")) {
        std::printf("[%s]\n", page.label.buf());
        for (const LayoutGroup& group : page.groups) {
            if (!group.name.isEmpty()) std::printf("  %s\n", group.label.buf());
            for (const Input& input : group.inputs)
                std::printf("    %s (%s)\n", input.label("en").buf(), input.typeName().buf());
        }
    }
}
