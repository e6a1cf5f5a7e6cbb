// Connects inputs to outputs: kinds are converted; loops and kinds that do not convert are refused
// with a reason.

#include "examples/expect.h"
#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv::kelvo_sdk;

namespace {

Node makeNode(const Scene& scene, const char* name) {
    const Node node = scene.createNode("mix", name);
    node.createInput("in", AttrType::Real);
    node.createOutput("out", AttrType::Real);
    return node;
}

} // namespace

int main() {
    // The results say the same as the warnings.
    qv::setLogHandler([](qv::LogLevel, const char*, void*) {});

    const Scene scene = Scene::create();
    const Node a = makeNode(scene, "a");
    const Node b = makeNode(scene, "b");
    const Node c = makeNode(scene, "c");
    expect(b["in"].connect(a.output("out")));
    expect(c["in"].connect(b.output("out")));
    std::printf("c.in reads %s.\n", c["in"].source().path().buf());

    const Result isLoop = a["in"].connect(c.output("out"));
    const Result isMisfit = b.createInput("matrix", AttrType::Mat4).connect(a.output("out"));
    std::printf("%s\n%s\n", isLoop.message().buf(), isMisfit.message().buf());

    expect(scene.removeNode(b));
    std::printf("Without b, c.in reads %s.\n", c["in"].source() ? "something" : "nothing");
    std::printf("a.out feeds %llu inputs.\n",
                static_cast<unsigned long long>(a.output("out").targetCount()));
}
