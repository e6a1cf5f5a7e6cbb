// Writes a scene to a file, reads it back, and shows what a mistake in the text is answered with.

#include "sdk/kelvo.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

using namespace qv;
using namespace qv::kelvo_sdk;

int main() {
    const Scene scene = Scene::create();
    const Node lamp = scene.createNode("light", "lamp");
    lamp.createInput("radius", AttrType::Real).set(0.1);

    const auto file = std::filesystem::temp_directory_path() / "kelvo_example.kns";
    std::ofstream(file) << scene.text().buf();

    std::ifstream in(file);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    const Scene again = Scene::create();
    const bool read = again.read(String(std::string_view(text)), "example.kns");
    std::filesystem::remove(file);
    std::printf("Read: %s, the radius is %g.\n", read ? "yes" : "no",
                again["lamp"]["radius"].get<double>());
    std::printf("The texts are equal: %s.\n", again.text() == scene.text() ? "yes" : "no");

    Diagnostics errors;
    again.read("kelvo scene 1\nnode light \"key\" {\n    Reel radius = 1\n}\n", "broken.kns",
               &errors);
    for (const Diagnostic& error : errors)
        std::printf("%s\n", error.text().buf());
    std::printf("The scene has %llu node.\n", static_cast<unsigned long long>(again.nodeCount()));
}
