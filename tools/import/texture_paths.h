#pragma once

#include "tools/import/import_options.h"

#include <unordered_map>

namespace qv::model_import {

/// A texture file named by a model.
struct TextureFile {
    /// The path as the scene gets it.
    String path;
    bool isThere = false;
};

/// Finds the texture files of a model in `modelFolder`, and chooses their paths in the scene.
class TextureFiles {
public:
    TextureFiles(String modelFolder, const ImportOptions& options);

    /// Looks at the path in the model, then beside the model, as paths often come from other
    /// machines; then at both again without regard to case. A file that is not found gets the path
    /// where the model expects it.
    [[nodiscard]] TextureFile find(const String& inModel);

private:
    [[nodiscard]] TextureFile look(const String& path) const;
    [[nodiscard]] String inScene(const String& file, bool isRelative) const;

    String m_modelFolder;
    String m_sceneFolder;
    TexturePaths m_kind;
    // By path in the model, as many materials may name one file.
    std::unordered_map<String, TextureFile> m_found;
};

/// Returns the absolute path of a file, without ".." in it.
[[nodiscard]] String absolutePath(const String& file);

/// Returns the path of a file relative to a folder; neither has to exist. Both may be relative to
/// the current folder.
[[nodiscard]] String pathFrom(const String& folder, const String& file);

} // namespace qv::model_import
