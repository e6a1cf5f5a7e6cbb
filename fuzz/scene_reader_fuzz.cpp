// Feeds arbitrary bytes to the reader of scene text. What it takes must be written, read and
// written again with the same bytes; what it refuses must leave the scene empty.

#include "sdk/kelvo.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qv;
    const String text(std::string_view(reinterpret_cast<const char*>(data), size));
    const auto scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Diagnostics errors;
    if (!scene.read(text, "fuzz", &errors)) {
        if (scene.nodeCount() != 0 || errors.empty()) std::abort();
        return 0;
    }
    const auto again = kelvo_sdk::Scene::create();
    if (!again.read(scene.text(), "fuzz", &errors) || !(again.text() == scene.text())) std::abort();
    return 0;
}
