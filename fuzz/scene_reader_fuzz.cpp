// Feeds arbitrary bytes to the reader of scene text, in scenes with and without the standard
// library. What it takes must be written, read and written again with the same bytes; what it
// refuses must leave the scene empty.

#include "sdk/impl/lib_info.h"
#include "sdk/impl/standard_library.h"
#include "sdk/kelvo.h"

#include <cstdint>
#include <cstdlib>

namespace {

using namespace qv;

kelvo_sdk::Scene makeScene(bool knowsTypes) {
    const auto scene = kelvo_sdk::Scene::create();
    if (knowsTypes) scene.addLibrary(kelvo_sdk::LibInfo(&kelvo_sdk::impl::standardLibrary()));
    return scene;
}

void check(const String& text, bool knowsTypes) {
    const auto scene = makeScene(knowsTypes);
    kelvo_sdk::Diagnostics errors;
    if (!scene.read(text, "fuzz", &errors)) {
        if (scene.nodeCount() != 0 || errors.empty()) std::abort();
        return;
    }
    const auto again = makeScene(knowsTypes);
    if (!again.read(scene.text(), "fuzz", &errors) || !(again.text() == scene.text())) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const String text(std::string_view(reinterpret_cast<const char*>(data), size));
    check(text, false);
    check(text, true);
    return 0;
}
