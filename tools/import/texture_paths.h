#pragma once

#include "tools/import/import_options.h"

#include <unordered_map>

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
    /// Then both again without regard to case. A file that is nowhere keeps the path it should
    /// have.
    [[nodiscard]] TextureFile find(const String& inModel);

private:
    [[nodiscard]] TextureFile look(const String& path) const;
    [[nodiscard]] String inScene(const String& file, bool isRelative) const;

    String m_modelFolder;
    String m_sceneFolder;
    TexturePaths m_kind;
    // By path in the model: many materials may name one file.
    std::unordered_map<String, TextureFile> m_found;
};

/// Returns the path of a file from the root, without ".." on the way.
[[nodiscard]] String absolutePath(const String& file);

/// Returns the path of a file as seen from a folder, whether they are there or not. Both may be
/// relative to the current folder.
[[nodiscard]] String pathFrom(const String& folder, const String& file);

} // namespace qv::model_import
