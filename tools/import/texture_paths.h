#pragma once

#include "tools/import/import_options.h"

#include <string_view>

namespace qv::model_import {

/// A texture file that a model names.
struct TextureFile {
    /// As the scene gets it.
    String path;
    bool isThere = false;
};

/// Finds the files that a model in `modelFolder` names, and says how a scene calls them.
class TextureFiles {
public:
    TextureFiles(String modelFolder, const ImportOptions& options);

    /// Looks where the model says, then beside the model: paths often come from other machines.
    /// What is nowhere keeps the path that it should have.
    [[nodiscard]] TextureFile find(std::string_view inModel) const;

private:
    [[nodiscard]] String inScene(const String& file, bool isRelative) const;

    String m_modelFolder;
    String m_sceneFolder;
    TexturePaths m_kind;
};

/// Returns the path of a file from the root, without ".." on the way.
[[nodiscard]] String absolutePath(const String& file);

/// Returns the path of a file as seen from a folder, whether they are there or not. Both may be
/// relative to the current folder.
[[nodiscard]] String pathFrom(const String& folder, const String& file);

} // namespace qv::model_import
