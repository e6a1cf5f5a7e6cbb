// A client of the installed headers; run.sh checks its output.
#include "kelvo/kelvo.h"

#include <iostream>

extern "C" qv::i64 impl_nodeInstanceCount();

int main() {
    using namespace qv::kelvo_sdk;
    {
        const Scene scene = Scene::create();
        const Node lamp = scene.createNode("light", "lamp1");
        if (!lamp.createInput("radius", AttrType::Real).set(0.5)) return 1;
        std::cout << lamp.name().view() << ": " << lamp["radius"].get<double>()
                  << ", nodes alive: " << impl_nodeInstanceCount() << '\n';
    }
    return impl_nodeInstanceCount() == 0 ? 0 : 1;
}
