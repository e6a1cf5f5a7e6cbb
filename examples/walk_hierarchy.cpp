// Walks a hierarchy of transforms: every node below a parent, and the place of each in the world.

#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv;
using namespace qv::kelvo_sdk;

namespace {

Node makeTransform(const Scene& scene, const char* name, double x) {
    const Node node = scene.createNode("xform", name);
    math::Mat4d matrix = math::Mat4d::identity;
    matrix[3][0] = x;
    node.createInput("matrix", AttrType::Mat4).set(matrix);
    node.createArray("children", AttrType::Node);
    return node;
}

// Points are rows: a child's matrix comes first, its parent's after it.
void walk(const Node& node, const math::Mat4d& above, int depth) {
    const math::Mat4d place = node["matrix"].get<math::Mat4d>() * above;
    std::printf("%*s%s stands at x = %g\n", depth * 2, "", node.name().buf(), place[3][0]);
    const Input children = node["children"];
    for (u64 i = 0; i < children.inputCount(); ++i)
        walk(children.input(i).asNode(false, nullptr), place, depth + 1);
}

} // namespace

int main() {
    const Scene scene = Scene::create();
    const Node room = makeTransform(scene, "room", 1);
    const Node table = makeTransform(scene, "table", 10);
    const Node lamp = makeTransform(scene, "lamp", 100);
    table->parentTo(room.get());
    lamp->parentTo(table.get());
    makeTransform(scene, "chair", 5)->parentTo(room.get());

    walk(room, math::Mat4d::identity, 0);
    std::printf("The lamp is child number %lld of the table.\n",
                static_cast<long long>(lamp.indexIn(table)));
}
