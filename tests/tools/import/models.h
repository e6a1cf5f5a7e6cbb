#pragma once

#include "tools/import/model_import.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

// Finds the models of Debian's package assimp-testmodels, and queries imported ones.
namespace qv::model_import::testing {

using namespace kelvo_sdk;

inline const std::filesystem::path kModels = KELVO_MODELS;

inline std::string enginePath() {
    return kModels / "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb";
}

/// An imported model in its own scene.
struct Imported {
    explicit Imported(const std::string& file, const ImportOptions& options = {})
        : isDone(importModel(scene, file.c_str(), report, options)) {}

    [[nodiscard]] std::vector<Node> ofType(const char* type) const {
        std::vector<Node> found;
        for (u64 i = 0; i < scene.nodeCount(); ++i) {
            if (scene.node(i).type() == type) found.push_back(scene.node(i));
        }
        return found;
    }
    /// Returns the first node with that name in the model; empty if there is none.
    [[nodiscard]] Node named(const char* type, const char* name) const {
        for (const Node& node : ofType(type)) {
            const bool isKept = node->hasInput(String("name"), AttrType::String);
            if (isKept ? node["name"].get<String>() == name : node.name() == name) return node;
        }
        return {};
    }
    [[nodiscard]] u64 leftOut(const char* what) const {
        for (const LeftOut& item : report.leftOut) {
            if (item.what == what) return item.count;
        }
        return 0;
    }

    Scene scene = Scene::create();
    Report report;
    bool isDone;
};

/// Returns the files below a directory, sorted by name.
inline std::vector<std::filesystem::path> filesBelow(const std::filesystem::path& directory) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace qv::model_import::testing
