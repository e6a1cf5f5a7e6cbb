#include "fuzz/scene_laws.h"

#include "fuzz/targets.h"

#include <algorithm>

namespace qv::fuzz {

kelvo_sdk::Scene newScene(bool knowsTypes) {
    const auto scene = kelvo_sdk::Scene::create();
    if (knowsTypes)
        require(scene.addLibrary(kelvo_sdk::LibInfo::standard()), "a scene takes a library");
    return scene;
}

void requireSound(const kelvo_sdk::Scene& scene, bool knowsTypes) {
    require(scene.verify().empty(), "a scene verifies");
    const String text = scene.text();
    const auto again = newScene(knowsTypes);
    require(again.read(text, "again"), "the text of a scene is read");
    require(again.verify().empty(), "a scene that is read back verifies");
    require(again.text() == text, "the text of a scene reads back to the same bytes");
}

void requirePlaces(const kelvo_sdk::Diagnostics& found, std::string_view text) {
    const auto lines = static_cast<u64>(std::ranges::count(text, '\n')) + 1;
    require(found.size() <= 20, "at most 20 findings are told");
    for (const kelvo_sdk::Diagnostic& each : found) {
        require(!each.message.isEmpty(), "a finding says something");
        require(each.line <= lines, "a finding is on a line of the text");
        require((each.line == 0) == (each.column == 0), "a finding has a line and a column");
        require(each.message.view().find('\n') == std::string_view::npos, "a finding is one line");
    }
}

} // namespace qv::fuzz
