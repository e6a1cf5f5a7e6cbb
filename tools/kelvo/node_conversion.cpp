#include "tools/kelvo/node_conversion.h"

#include "kelvo/sdk/scene_diff.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/versions.h"

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Node;
using kelvo_sdk::Scene;
using kelvo_sdk::SceneChange;
using kelvo_sdk::SceneDiff;

// The same scene with what its text leaves to the types of its nodes.
bool readWithTypes(const String& text, const Scene& typed, String& error) {
    const Libraries* libraries = librariesInUse();
    if (!libraries) return false;
    libraries->addTo(typed);
    kelvo_sdk::Diagnostics found;
    if (typed.read(text, "the scene with the types of its nodes", &found)) return true;
    if (!found.empty()) error = found[0].text();
    return false;
}

bool isOf(const SceneChange& change, const String& node) {
    return change.path.substr(0, change.path.find('.')).equals(node);
}

// Adds the change of one node, in its place: whatever refers to its name goes on to do so.
void addExchange(const Scene& scene, const Node& before, const Node& after, SceneDiff& diff) {
    std::optional<String> behind;
    for (u64 i = 0; i < scene.nodeCount() && scene.node(i).get() != before.get(); ++i)
        behind = scene.node(i).name();
    const auto text = [](const Node& node) {
        const String lines = node->serialize(false, false);
        return lines.substr(0, lines.size() - 1);
    };
    diff.add(
        {.action = SceneChange::Action::Remove, .path = before.name(), .before = text(before)});
    diff.add({.action = SceneChange::Action::Add,
              .path = before.name(),
              .after = text(after),
              .behind = behind});
}

} // namespace

bool convertNode(const Scene& scene, const Node& node, const String& type,
                 kelvo_sdk::ConversionLosses& losses, String& error) {
    if (knowsTypes(scene)) return node.convertTo(type, &losses).get() != nullptr;
    const Scene before = Scene::create();
    const Scene after = Scene::create();
    const String text = scene.text();
    if (!readWithTypes(text, before, error) || !readWithTypes(text, after, error)) return false;
    const Node converted = after.findNode(node.name()).convertTo(type, &losses);
    if (!converted.get()) return false;
    SceneDiff diff;
    const SceneDiff made = SceneDiff::between(before, after, {}, &error);
    for (const SceneChange& change : made.changes())
        if (!isOf(change, node.name())) diff.add(change);
    addExchange(scene, node, converted, diff);
    return diff.applyTo(scene, error);
}

} // namespace qv::kelvo_tool
