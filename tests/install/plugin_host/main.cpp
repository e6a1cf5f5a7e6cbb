// Loads plug-ins and uses the types of the example: plugin_host PATH... plugin.sh checks the
// output.
#include "kelvo/kelvo.h"
#include "kelvo/plugins/plugins.h"

#include <cstdlib>
#include <iostream>

extern "C" qv::i64 impl_nodeInstanceCount();

namespace {

using namespace qv::kelvo_sdk;

void expect(const Result& result) {
    if (result) return;
    std::cerr << result.message().view() << '\n';
    std::exit(1);
}

void evaluate(const Scene& scene) {
    const Node spring = scene.createNode("spring", "spring1");
    const Node jitter = scene.createNode("jitter", "jitter1");
    expect(jitter["strength"].set(2));
    expect(spring["offset"].connect(jitter.output("value")));
    const Node reader = scene.createNode("reader", "reader1");
    const Input offset = reader.createInput("offset", AttrType::Real);
    expect(offset.connect(spring.output("value")));
    std::cout << "at 0 s: " << offset.get<double>();
    expect(spring["time"].set(1));
    std::cout << ", at 1 s: " << offset.get<double>();
    std::cout << ", label: " << spring->label("en").view() << '\n';
}

int use(const std::vector<qv::String>& paths) {
    int failures = 0;
    const auto complain = [&failures](const qv::String& message, qv::kelvo_plugins::Origin) {
        std::cerr << message.view() << '\n';
        ++failures;
    };
    const Scene scene = Scene::create();
    for (const auto& plugin : qv::kelvo_plugins::loadPlugins(paths, complain)) {
        std::cout << plugin.name.view() << ": " << plugin.library.typeCount() << " types\n";
        expect(scene.addLibrary(plugin.library));
    }
    if (failures == 0) evaluate(scene);
    return failures;
}

} // namespace

int main(int count, char** arguments) {
    const std::vector<qv::String> paths(arguments + 1, arguments + count);
    // Creates the standard library first: its definitions are nodes too, and stay alive.
    (void)LibInfo::standard();
    const qv::i64 before = impl_nodeInstanceCount();
    const int failures = use(paths);
    if (impl_nodeInstanceCount() == before) return failures;
    std::cerr << "nodes are left\n";
    return 100;
}
