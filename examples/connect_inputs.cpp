// Connects inputs to outputs: kinds are converted; loops and kinds that do not convert are refused
// with a warning.

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
    // Warnings go to standard output here, so that they stand among the rest.
    qv::setLogHandler(
        [](qv::LogLevel, const char* message, void*) { std::printf("warning: %s\n", message); });

    const Scene scene = Scene::create();
    const Node a = makeNode(scene, "a");
    const Node b = makeNode(scene, "b");
    const Node c = makeNode(scene, "c");
    b["in"].connect(a.output("out"));
    c["in"].connect(b.output("out"));
    std::printf("c.in reads %s.\n", c["in"].source().path().buf());

    a["in"].connect(c.output("out"));
    b.createInput("matrix", AttrType::Mat4).connect(a.output("out"));

    scene.removeNode(b);
    std::printf("Without b, c.in reads %s.\n", c["in"].source() ? "something" : "nothing");
    std::printf("a.out feeds %llu inputs.\n",
                static_cast<unsigned long long>(a.output("out").targetCount()));
}
