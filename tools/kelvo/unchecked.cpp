#include "tools/kelvo/unchecked.h"

#include "kelvo/sdk/scene_diff.h"
#include "kelvo/sdk/validation.h"
#include "tools/kelvo/libraries.h"

#include <string_view>

namespace qv::kelvo_tool {

using kelvo_sdk::Scene;
using kelvo_sdk::SceneChange;

StringVector markUnchecked(const Scene& scene) {
    StringVector found;
    const Libraries* libraries = librariesInUse();
    const Scene typed = Scene::create();
    if (libraries) libraries->addTo(typed);
    kelvo_sdk::Diagnostics ignored;
    if (!libraries || !typed.read(scene.text(), "the scene", &ignored)) return found;
    kelvo_sdk::SceneDiff marks;
    for (const kelvo_sdk::Finding& finding : kelvo_sdk::validate(typed)) {
        if (std::string_view(finding.rule->id) != "out-of-range") continue;
        found.push_back(finding.message);
        const bool isElement = finding.place.endsWith("]", false);
        marks.add(
            {.subject = isElement ? SceneChange::Subject::Element : SceneChange::Subject::Input,
             .path = finding.place,
             .field = "@unchecked",
             .after = String()});
    }
    const bool isMarked = marks.applyTo(scene);
    for (String& sentence : found)
        sentence = (isMarked ? "kept and marked @unchecked: " : "kept: ") + sentence;
    return found;
}

} // namespace qv::kelvo_tool
