#include "tools/import/material_keys.h"

#include <gtest/gtest.h>

namespace qv::model_import {
namespace {

TEST(MaterialKey, ThatIsKnown_HasANameAndAKind) {
    const MaterialKey* key = findMaterialKey("$clr.diffuse");
    ASSERT_NE(key, nullptr);
    EXPECT_STREQ(key->name, "diffuse");
    EXPECT_EQ(key->type, kelvo_sdk::AttrType::Rgba);
    EXPECT_EQ(findMaterialKey("$CLR.DIFFUSE"), key);
}

TEST(MaterialKey, ThatIsUnknown_IsNotFound) {
    EXPECT_EQ(findMaterialKey("$mat.blend.mirror.use"), nullptr);
    EXPECT_EQ(findMaterialKey("$tex.file"), nullptr);
    EXPECT_EQ(findTextureKey("$clr.diffuse"), nullptr);
}

TEST(MaterialInputName, OfUnknownKeys_IsAnIdentifier) {
    const struct {
        const char* key;
        const char* expected;
    } rows[] = {
        {"$mat.blend.mirror.use", "blend_mirror_use"},
        {"$raw.DiffuseColor|file", "raw_DiffuseColor_file"},
        {"?bg.global", "bg_global"},
        {"$mat.", "property"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(materialInputName(row.key), row.expected) << row.key;
}

TEST(TextureSlot, OfAUseAndLayer_IsTheirInput) {
    const struct {
        u32 use, layer;
        const char* expected;
    } rows[] = {
        {1, 0, "diffuseTexture"}, {1, 2, "diffuseTexture2"}, {12, 0, "baseColorTexture"},
        {0, 0, "texture"},        {99, 1, "otherTexture1"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(textureSlot(row.use, row.layer), row.expected);
}

} // namespace
} // namespace qv::model_import
