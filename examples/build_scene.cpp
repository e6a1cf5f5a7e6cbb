// Builds a scene of typed nodes: values of several kinds, an array, an object and a buffer.

#include "examples/expect.h"
#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv::kelvo_sdk;

int main() {
    const Scene scene = Scene::create();

    const Node desk = scene.createNode("mesh", "desk");
    const qv::math::PosT<3, float> corners[] = {{{0, 0, 0}}, {{1, 0, 0}}, {{1, 1, 0}}};
    expect(desk.createInput("positions", AttrType::Buffer).setBuffer(corners));
    expect(desk.createInput("visible", AttrType::Bool).set(true));

    const Input weights = desk.createArray("weights", AttrType::Real);
    for (const double weight : {0.25, 0.5, 0.25})
        expect(weights.append().set(weight));

    const Input wood = desk.createInput("wood", AttrType::Object);
    expect(wood.createInput("kind", AttrType::String).set("oak"));
    expect(wood.createInput("rings", AttrType::Int).set(120));

    // A taken name gets the next free number; a value that does not convert is refused, with the
    // reason.
    const Node second = scene.createNode("mesh", "desk");
    std::printf("The second desk is called %s.\n", second.name().buf());
    std::printf("%s\n", wood["rings"].set("many").message().buf());
    std::printf("%s", scene.text().buf());
}
