// Makes a library from definition text, prints the errors of a faulty text, and writes the library
// as text again.

#include "examples/expect.h"
#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv::kelvo_sdk;

int main() {
    const LibInfo library = LibInfo::create();
    expect(library.readDefinitions(R"(
type fan : object {
    Real speed = 2 @min 0 @unit "1/s"
    Int blades = 3
}
)",
                                   "fans.knd", nullptr, LibInfo::standard()));
    std::printf("%s", library.definitionText().buf());

    // A text with an error adds nothing.
    Diagnostics errors;
    if (!library.readDefinitions("type duct : fan {\n    Reel length = 1\n}\n"
                                 "type grid : fann {\n}\n",
                                 "ducts.knd", &errors))
        for (const Diagnostic& error : errors)
            std::printf("%s\n", error.text().buf());

    const Scene scene = Scene::create();
    expect(scene.addLibrary(library));
    const Node fan = scene.createNode("fan", "fan");
    std::printf("%llu type; '%s' has %llu inputs, those of its base among them.\n",
                static_cast<unsigned long long>(library.typeCount()), fan.name().buf(),
                static_cast<unsigned long long>(fan.inputCount()));
}
