// The node types that come with the library: lists them, looks at one, and uses them in a scene.

#include "examples/expect.h"
#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv::kelvo_sdk;

int main() {
    const LibInfo library = LibInfo::standard();
    std::printf("Light sources:\n");
    for (qv::u64 i = 0; i < library.typeCount(); ++i) {
        const Node type = library.type(i);
        if (!type.isAbstract() && type.isTypeOf("emitter"))
            std::printf("    %s: %s\n", type.label("en").buf(), type.bases().join(", ").buf());
    }

    const Node spot = library.findType("spotLight");
    std::printf("The first inputs of %s:\n", spot.type().buf());
    for (qv::u64 i = 0; i < 4; ++i)
        std::printf("    %s %s\n", spot.input(i).typeName().buf(), spot.input(i).name().buf());

    // A scene with the library's types creates nodes with all their inputs.
    const Scene scene = Scene::create();
    expect(scene.addLibrary(library));
    const Node lamp = scene.createNode("spotLight", "lamp");
    expect(lamp["intensity"].set(20));
    std::printf("%s", scene.text().buf());
}
