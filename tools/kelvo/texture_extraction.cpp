#include "tools/kelvo/texture_extraction.h"

#include "kelvo/base/ascii.h"
#include "kelvo/base/path.h"
#include "tools/import/texture_paths.h"
#include "tools/kelvo/files.h"

#include <algorithm>
#include <filesystem>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::Node;
using kelvo_sdk::Result;

// Models are untrusted: an extension must not lead out of the folder.
bool isPlain(std::string_view ext) {
    return ext.size() > 1 && ext.size() <= 9 && ext[0] == '.' &&
           std::all_of(ext.begin() + 1, ext.end(),
                       [](char c) { return ascii::isLetter(c) || ascii::isDigit(c); });
}

String fileNameOf(const Node& node) {
    const String ext = node["ext"].get<String>();
    return isPlain(ext.view()) ? node.name() + ext : node.name() + ".bin";
}

} // namespace

bool extractTextures(const kelvo_sdk::Scene& scene, const String& folder, const String& sceneFolder,
                     bool areAbsolute, String& error) {
    for (u64 i = 0; i < scene.nodeCount(); ++i) {
        const Node node = scene.node(i);
        if (node.type() != "texture" || !node->hasInput("data", AttrType::Buffer)) continue;
        std::error_code problem;
        std::filesystem::create_directories(folder.buf(), problem);
        const String file = Path::join(folder, fileNameOf(node));
        const auto bytes = node["data"].buffer<u8>();
        const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        if (!writeFile(file, text, error)) return false;
        const Result isMoved =
            node.setPath(areAbsolute ? model_import::absolutePath(file)
                                     : model_import::pathFrom(sceneFolder, file));
        const Result isDone = isMoved ? node.removeInput("data") : isMoved;
        if (!isDone) {
            error = isDone.message();
            return false;
        }
    }
    return true;
}

} // namespace qv::kelvo_tool
