#pragma once

#include "kelvo/sdk/result.h"
#include "render/picture.h"

#include <vector>

namespace qv::render {

/// The other pictures that an EXR file may have.
enum class Layer : u32 { Albedo, Normal, Depth, Node };

struct PictureFile {
    String path;
    /// Only for an EXR file.
    std::vector<Layer> layers;
    /// Stored as "kelvo:scene" in the metadata, unless empty.
    String sceneHash;
};

/// Fails when the extension is none of ".exr" and ".png", or layers have no place in the file.
[[nodiscard]] kelvo_sdk::Result checkPictureFile(const PictureFile& file);

/// Writes a picture: linear light as floats with the extension ".exr", or 8 bits encoded as sRGB
/// with ".png". The file is replaced in one step: on failure the old one stays.
[[nodiscard]] kelvo_sdk::Result writePicture(const Picture& picture, const PictureFile& file);

} // namespace qv::render
