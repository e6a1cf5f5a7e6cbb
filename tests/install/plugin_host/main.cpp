// Loads plug-ins and uses the types of the example: plugin_host PATH...
// What it prints is checked by plugin.sh.
#include "sdk/kelvo.h"
#include "tools/plugins/plugins.h"

#include <iostream>

extern "C" qv::i64 impl_nodeInstanceCount();

namespace {

using namespace qv::kelvo_sdk;

void evaluate(const Scene& scene) {
    const Node spring = scene.createNode("spring", "spring1");
    const Node jitter = scene.createNode("jitter", "jitter1");
    jitter["strength"].set(2);
    spring["offset"].connect(jitter.findOutput("value"));
    const Node reader = scene.createNode("reader", "reader1");
    const Input offset = reader.createInput("offset", AttrType::Real);
    offset.connect(spring.findOutput("value"));
    std::cout << "at 0 s: " << offset.get<double>();
    spring["time"].set(1);
    std::cout << ", at 1 s: " << offset.get<double>();
    std::cout << ", label: " << spring->label("en").view() << '\n';
}

} // namespace

int main(int count, char** arguments) {
    const std::vector<qv::String> paths(arguments + 1, arguments + count);
    {
        const Scene scene = Scene::create();
        for (const auto& plugin : qv::kelvo_plugins::loadPlugins(
                 paths, [](const qv::String& message) { std::cerr << message.view() << '\n'; })) {
            std::cout << plugin.name.view() << ": " << plugin.library->typeCount() << " types\n";
            scene.addLibrary(plugin.library.get());
        }
        if (scene.hasType("spring")) evaluate(scene);
    }
    return impl_nodeInstanceCount() == 0 ? 0 : 1;
}
