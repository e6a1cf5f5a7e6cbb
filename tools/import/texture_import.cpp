#include "tools/import/import_context.h"

#include "kelvo/base/path.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <tuple>

namespace qv::model_import {

namespace {

// Readers store pixels in the order blue, green, red, opacity.
void addPixels(const Node& node, const aiTexture& texture) {
    std::vector<math::Rgba8> pixels(u64{texture.mWidth} * texture.mHeight);
    std::transform(texture.pcData, texture.pcData + pixels.size(), pixels.begin(),
                   [](const aiTexel& t) {
                       return math::Rgba8{{t.r, t.g, t.b, t.a}};
                   });
    addInput(node, "width", AttrType::UInt, texture.mWidth);
    addInput(node, "height", AttrType::UInt, texture.mHeight);
    addBuffer(node, "pixels", DataType::Rgba8, pixels.data(), pixels.size());
}

// An image file inside the model keeps its bytes.
Node createEmbedded(ImportContext& context, const aiTexture& texture) {
    const Path path(String(viewOf(texture.mFilename)), true);
    Node node = createNamed(context, "texture", path.file(false).view());
    const std::string_view hint(texture.achFormatHint,
                                strnlen(texture.achFormatHint, sizeof texture.achFormatHint));
    const bool isFile = texture.mHeight == 0;
    addInput(node, "dir", AttrType::String, "");
    addInput(node, "file", AttrType::String, path.file(false));
    addInput(node, "ext", AttrType::String,
             !path.ext(true).isEmpty() || hint.empty() || !isFile ? path.ext(true)
                                                                  : String('.') + hint);
    if (!texture.pcData) return node;
    if (isFile)
        addBuffer(node, "data", DataType::Byte, texture.pcData, texture.mWidth);
    else
        addPixels(node, texture);
    return node;
}

Node createFile(ImportContext& context, const TextureFile& file) {
    const Path path(file.path);
    Node node = createNamed(context, "texture", path.file(false).view());
    addInput(node, "dir", AttrType::String, path.dir());
    addInput(node, "file", AttrType::String, path.file(false));
    addInput(node, "ext", AttrType::String, path.ext(true));
    if (!file.isThere) context.report.missingTextures.add(file.path, 1);
    return node;
}

const aiTexture* embeddedAt(const aiScene& model, std::string_view path) {
    u32 index = 0;
    if (path.starts_with('*')) {
        const auto [end, error] =
            std::from_chars(path.data() + 1, path.data() + path.size(), index);
        const bool fits = error == std::errc() && index < model.mNumTextures;
        return fits ? model.mTextures[index] : nullptr;
    }
    return model.GetEmbeddedTexture(String(path).buf());
}

// Returns the number of a texture inside the model, whatever name materials use for it.
String keyOf(const aiScene& model, const aiTexture& texture) {
    u32 index = 0;
    while (model.mTextures[index] != &texture)
        ++index;
    return String::format("*%u", index);
}

} // namespace

Node textureAt(ImportContext& context, std::string_view path) {
    const aiTexture* embedded = embeddedAt(context.model, path);
    const TextureFile file = embedded ? TextureFile() : context.textureFiles.find(String(path));
    const String key = embedded ? keyOf(context.model, *embedded) : file.path;
    auto [entry, isNew] = context.textures.try_emplace(key);
    if (isNew)
        entry->second = embedded ? createEmbedded(context, *embedded) : createFile(context, file);
    return entry->second;
}

void importUnusedTextures(ImportContext& context) {
    for (u32 i = 0; i < context.model.mNumTextures; ++i) {
        if (context.model.mTextures[i])
            std::ignore = textureAt(context, String::format("*%u", i).view());
    }
}

} // namespace qv::model_import
