// Definition text: an accepted text is written, read and written again with the same bytes, and its
// nodes survive a round trip through scene text; a refused text leaves the library empty.
#include "fuzz/scene_laws.h"
#include "fuzz/targets.h"

namespace qv::fuzz {

namespace {

using kelvo_sdk::LibInfo;
using kelvo_sdk::Scene;

Scene sceneWith(const LibInfo& library) {
    const Scene scene = Scene::create();
    require(scene.addLibrary(library), "a scene takes a library");
    return scene;
}

void checkNodes(const LibInfo& library) {
    constexpr u64 most = 100;
    const Scene scene = sceneWith(library);
    for (u64 i = 0; i < library.typeCount() && i < most; ++i) {
        const kelvo_sdk::Node type = library.type(i);
        if (type.isAbstract()) continue;
        const kelvo_sdk::Node node = scene.createNode(type.type(), "n");
        require(static_cast<bool>(node), "a node is made of each type");
        require(!node->htmlHelp(true, String()).isEmpty(), "each type has a help page");
    }
    require(scene.verify().empty(), "nodes of defined types verify");
    const Scene again = sceneWith(library);
    require(again.read(scene.text(), "again"), "nodes of defined types are read back");
    require(again.text() == scene.text(), "nodes of defined types read back to the same bytes");
}

} // namespace

void runDefinitionText(std::string_view input) {
    const LibInfo library = LibInfo::create();
    kelvo_sdk::Diagnostics found;
    const bool isRead = library.readDefinitions(String(input), "fuzz", &found);
    require(isRead == found.empty(), "a text is read, or its faults are told");
    requirePlaces(found, input);
    require(isRead || library.typeCount() == 0, "a text with faults defines nothing");
    if (!isRead) return;
    const LibInfo again = LibInfo::create();
    require(again.readDefinitions(library.definitionText(), "again"),
            "the text of a library is read");
    require(again.definitionText() == library.definitionText(),
            "the text of a library reads back to the same bytes");
    checkNodes(library);
}

} // namespace qv::fuzz
