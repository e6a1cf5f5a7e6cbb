#pragma once

#include "tools/import/import_options.h"
#include "tools/import/import_report.h"
#include "tools/import/names.h"
#include "tools/import/texture_paths.h"

#include "kelvo/base/string_io.h"

#include <assimp/scene.h>

#include <string_view>
#include <unordered_map>
#include <vector>

// State that the parts of an import share. The types of assimp begin with "ai".
namespace qv::model_import {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;
using kelvo_sdk::Node;
using kelvo_sdk::Scene;

struct ImportContext {
    const aiScene& model;
    /// The part of assimp that read the model, as "glTF2 Importer".
    std::string_view reader;
    Scene scene;
    Report& report;
    const ImportOptions& options;
    /// Up axis and unit of the model.
    Space space;
    Names names;
    TextureFiles textureFiles;
    /// By number in the model; handles of items that are left out are empty.
    std::vector<Node> meshes;
    std::vector<Node> materials;
    /// By path in the scene; by number for textures inside the model.
    std::unordered_map<String, Node> textures;
    /// The nodes of the hierarchy, parents first, each with its source.
    struct Placed {
        const aiNode* source;
        Node xform;
    };
    std::vector<Placed> placed;
    /// The nodes at the top of the hierarchy.
    std::vector<Node> tops;
    /// By name in the model: the first node with that name in the hierarchy.
    std::unordered_map<String, Node> xforms;
};

[[nodiscard]] inline std::string_view viewOf(const aiString& text) noexcept {
    return {text.data, text.length};
}

/// Creates a node named after `original`, its name in the model, which goes into "name" if it
/// differs.
[[nodiscard]] Node createNamed(ImportContext& context, const char* type, std::string_view original);

/// Links `child` below `parent`, if there is one.
void addChild(const Node& parent, const Node& child);

/// Links a camera or light into the hierarchy: below the node of its name, else below the first
/// node.
void placeByName(ImportContext& context, const Node& node, const aiString& name);

/// Creates a new input of the node and sets it.
template<typename T>
void addInput(const Node& node, const String& name, AttrType type, const T& value) {
    // Nothing is said of a new input that could refuse a value of its kind.
    (void)node.createInput(name, type).set(value);
}

/// Creates a buffer input from `count` elements at `data`; creates nothing if `count` is 0.
void addBuffer(const Node& node, const String& name, DataType type, const void* data, u64 count);

// The parts of an import, in the order in which they run.
void importHierarchy(ImportContext& context);
void importMeshes(ImportContext& context);
void importMaterials(ImportContext& context);
void importUnusedTextures(ImportContext& context);
void importCameras(ImportContext& context);
void importLights(ImportContext& context);
void listLeftOut(ImportContext& context);
void importSpace(ImportContext& context);

/// Adds the metadata of a node, or of the model itself, as members of an object input.
void importMetadata(ImportContext& context, const Node& node, const char* input,
                    const aiMetadata* metadata);

/// Returns the texture of a path in the model, creating it on first use.
[[nodiscard]] Node textureAt(ImportContext& context, std::string_view path);

} // namespace qv::model_import
