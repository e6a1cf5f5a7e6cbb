#include "kelvo/sdk/impl/scene_text/scene_reader.h"

#include "kelvo/sdk/impl/scene_text/partial_reader.h"
#include "kelvo/sdk/impl/scene_text/scene_binder.h"
#include "kelvo/sdk/impl/scene_text/scene_builder.h"
#include "kelvo/sdk/impl/scene_text/scene_checker.h"
#include "kelvo/sdk/impl/scene_text/scene_parser.h"

#include "kelvo/sdk/impl/graph/scene.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

bool readPartly(Scene& scene, std::string_view text, const ReadOptions& options,
                Diagnostics* diagnostics, const TakeTree& take) {
    PartialReader reader(scene, text, options);
    if (!reader.read()) return false;
    if (diagnostics) reader.report(*diagnostics);
    if (options.gapCount) *options.gapCount = reader.gapCount();
    take(reader.tree());
    return true;
}

} // namespace

bool readTree(Scene& scene, std::string_view text, const ReadOptions& options,
              Diagnostics* diagnostics, const TakeTree& take) {
    TextErrors errors(text, std::max<u64>(options.maxErrors, 1));
    SceneTree tree;
    errors.addFaultyBytes();
    SceneParser parser(text,
                       {options.maxDepth, options.maxNodes, options.threads, options.pieceSize},
                       tree, errors);
    parser.parse();
    if (!scene.libraries().empty()) SceneBinder(tree, scene).bind();
    SceneChecker(tree, scene, errors, parser.namesAreMissing()).check();
    if (errors.empty()) {
        take(tree);
        return true;
    }
    if (options.isPartial && readPartly(scene, text, options, diagnostics, take)) return true;
    if (diagnostics) errors.report(options.source, *diagnostics);
    return false;
}

bool readScene(Scene& scene, std::string_view text, const ReadOptions& options,
               Diagnostics* diagnostics) {
    return readTree(scene, text, options, diagnostics,
                    [&](SceneTree& tree) { SceneBuilder(tree, scene, options.threads).build(); });
}

} // namespace qv::kelvo_sdk::impl
