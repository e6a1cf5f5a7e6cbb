#include "sdk/impl/scene_reader.h"

#include "sdk/impl/scene_builder.h"
#include "sdk/impl/scene_checker.h"
#include "sdk/impl/scene_parser.h"
#include "sdk/impl/utf8.h"

#include "sdk/impl/scene.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

// Tells once per line of bytes that may not stand in a text.
void checkCharacters(std::string_view text, TextErrors& errors) {
    for (u64 at = utf8::firstFault(text); at < text.size() && !errors.full();
         at = utf8::firstFault(text, std::min(text.find('\n', at), text.size()))) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const char* const what = byte < 0x80 ? "The control character" : "The byte";
        const char* const why = byte < 0x80 ? "may not stand here" : "is no UTF-8";
        errors.add(at, String(),
                   String::format("%s 0x%02x %s; in quotes it is written \\x%02x.", what, byte, why,
                                  byte));
    }
}

} // namespace

bool readScene(Scene& scene, std::string_view text, const ReadOptions& options,
               Diagnostics* diagnostics) {
    TextErrors errors(text, std::max<u64>(options.maxErrors, 1));
    SceneTree tree;
    checkCharacters(text, errors);
    SceneParser parser(text, {options.maxDepth, options.maxNodes}, tree, errors);
    parser.parse();
    SceneChecker(tree, scene, errors, parser.namesAreMissing()).check();
    if (!errors.empty()) {
        if (diagnostics) errors.report(options.source, *diagnostics);
        return false;
    }
    SceneBuilder(tree, scene).build();
    return true;
}

} // namespace qv::kelvo_sdk::impl
