// Reads outputs; the library evaluates the nodes that compute them.

#include "examples/expect.h"
#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv::kelvo_sdk;

int main() {
    const Scene scene = Scene::create();
    expect(scene.addLibrary(LibInfo::standard()));
    const Node sum = scene.createNode("add", "sum");
    expect(sum["a"].set(40));
    expect(sum["b"].set(2));
    const Node root = scene.createNode("power", "root");
    expect(root["a"].connect(sum.output("result")));
    expect(root["b"].set(0.5));

    for (const Node& node : {sum, root}) {
        for (qv::u64 i = 0; i < node.outputCount(); ++i) {
            const Output output = node.output(i);
            std::printf("%s %s = %g, feeds", output.typeName().buf(), output.path().buf(),
                        output.get<double>());
            for (qv::u64 at = 0; at < output.targetCount(); ++at)
                std::printf(" %s", output.target(at).path().buf());
            std::printf("%s\n", output.targetCount() == 0 ? " nothing" : "");
        }
    }

    // A value that does not convert leaves the variable unchanged.
    int whole = -1;
    const bool fits = root.output("result").read(whole);
    std::printf("As a whole number: %s, %d\n", fits ? "yes" : "no", whole);
}
