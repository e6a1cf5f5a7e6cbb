#include "kelvo/kelvo.h"

#include <cstdio>

using namespace qv::kelvo_sdk;

int main() {
    const Scene scene = Scene::create();
    const Node lamp = scene.createNode("light", "lamp");
    lamp.createInput("radius", AttrType::Real).set(0.5);
    lamp.createInput("color", AttrType::Rgba).set(qv::math::Rgbad{1, 0.9, 0.8, 1});

    const Node room = scene.createNode("xform", "room");
    room.createArray("children", AttrType::Node).append().set(lamp);

    std::printf("The radius is %g.\n", scene["lamp"]["radius"].get<double>());
    std::printf("%s", scene.text().buf());
}
