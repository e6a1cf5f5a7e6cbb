#include "sdk/impl/scene_reader.h"

#include "sdk/impl/scene_binder.h"
#include "sdk/impl/scene_builder.h"
#include "sdk/impl/scene_checker.h"
#include "sdk/impl/scene_parser.h"

#include "sdk/impl/scene.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

bool readScene(Scene& scene, std::string_view text, const ReadOptions& options,
               Diagnostics* diagnostics) {
    TextErrors errors(text, std::max<u64>(options.maxErrors, 1));
    SceneTree tree;
    errors.addFaultyBytes();
    SceneParser parser(text, {options.maxDepth, options.maxNodes}, tree, errors);
    parser.parse();
    if (!scene.libraries().empty()) SceneBinder(tree, scene).bind();
    SceneChecker(tree, scene, errors, parser.namesAreMissing()).check();
    if (!errors.empty()) {
        if (diagnostics) errors.report(options.source, *diagnostics);
        return false;
    }
    SceneBuilder(tree, scene).build();
    return true;
}

} // namespace qv::kelvo_sdk::impl
