// Saves a scene to a file, loads it again, and prints the errors of a faulty text.

#include "examples/expect.h"
#include "kelvo/kelvo.h"

#include <cstdio>
#include <filesystem>

using namespace qv::kelvo_sdk;

int main() {
    const Scene scene = Scene::create();
    const Node lamp = scene.createNode("light", "lamp");
    expect(lamp.createInput("radius", AttrType::Real).set(0.1));

    const auto file = std::filesystem::temp_directory_path() / "kelvo_example.kns";
    const bool saved = saveScene(scene, file);
    const Scene again = Scene::create();
    const bool loaded = loadScene(again, file);
    std::filesystem::remove(file);
    std::printf("Saved: %s, loaded: %s, the radius is %g.\n", saved ? "yes" : "no",
                loaded ? "yes" : "no", again["lamp"]["radius"].get<double>());
    std::printf("The texts are equal: %s.\n", again.text() == scene.text() ? "yes" : "no");

    Diagnostics errors;
    const bool isThere = loadScene(again, "no/such/lamp.kns", &errors);
    const bool isRead = again.read("kelvo scene 1\nnode light \"key\" {\n    Reel radius = 1\n}\n",
                                   "broken.kns", &errors);
    if (!isThere && !isRead)
        for (const Diagnostic& error : errors)
            std::printf("%s\n", error.text().buf());
    std::printf("The scene has %llu node.\n", static_cast<unsigned long long>(again.nodeCount()));
}
