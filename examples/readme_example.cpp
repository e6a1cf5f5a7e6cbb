#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv::kelvo_sdk;

int main() {
    const Scene scene = Scene::create();
    const Node lamp = scene.createNode("light", "lamp");
    const Node room = scene.createNode("xform", "room");
    const bool isMade =
        lamp.createInput("radius", AttrType::Real).set(0.5) &&
        lamp.createInput("color", AttrType::Rgba).set(qv::math::Rgbad{1, 0.9, 0.8, 1}) &&
        room.createArray("children", AttrType::Node).append().set(lamp);
    if (!isMade) return 1;

    std::printf("The radius is %g.\n", scene["lamp"]["radius"].get<double>());
    std::printf("%s", scene.text().buf());
}
