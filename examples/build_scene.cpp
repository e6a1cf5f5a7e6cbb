// Builds a scene of typed nodes: values of several kinds, an array, an object and a buffer.

#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv::kelvo_sdk;

int main() {
    const Scene scene = Scene::create();

    const Node desk = scene.createNode("mesh", "desk");
    const qv::math::PosT<3, float> corners[] = {{{0, 0, 0}}, {{1, 0, 0}}, {{1, 1, 0}}};
    desk.createInput("positions", AttrType::Buffer).setBuffer(corners);
    desk.createInput("visible", AttrType::Bool).set(true);

    const Input weights = desk.createArray("weights", AttrType::Real);
    for (const double weight : {0.25, 0.5, 0.25})
        weights.append().set(weight);

    const Input wood = desk.createInput("wood", AttrType::Object);
    wood.createInput("kind", AttrType::String).set("oak");
    wood.createInput("rings", AttrType::Int).set(120);

    // A name in use gets the next free number; a value that does not convert is refused.
    const Node second = scene.createNode("mesh", "desk");
    std::printf("The second desk is called %s.\n", second.name().buf());
    std::printf("Rings set to a text: %s.\n", wood["rings"].set("many") ? "yes" : "no");
    std::printf("%s", scene.text().buf());
}
