#include "tools/import/vertex_joining.h"

#include <assimp/mesh.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace qv::model_import {
namespace {

using Faces = std::vector<std::vector<u32>>;

std::unique_ptr<aiMesh> meshOf(const std::vector<aiVector3D>& positions, const Faces& faces) {
    auto mesh = std::make_unique<aiMesh>();
    mesh->mNumVertices = static_cast<u32>(positions.size());
    mesh->mVertices = new aiVector3D[positions.size()];
    std::copy(positions.begin(), positions.end(), mesh->mVertices);
    mesh->mNumFaces = static_cast<u32>(faces.size());
    mesh->mFaces = new aiFace[faces.size()];
    for (u64 i = 0; i < faces.size(); ++i) {
        mesh->mFaces[i].mNumIndices = static_cast<u32>(faces[i].size());
        mesh->mFaces[i].mIndices = new u32[faces[i].size()];
        std::copy(faces[i].begin(), faces[i].end(), mesh->mFaces[i].mIndices);
    }
    return mesh;
}

// Makes two triangles with a common edge, with a vertex for each corner.
std::unique_ptr<aiMesh> twoTriangles() {
    return meshOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 0}},
                  {{0, 1, 2}, {3, 4, 5}});
}

TEST(JoinVertices, OfEqualPositions_KeepsTheFirst) {
    const VertexChoice choice = joinVertices(*twoTriangles());
    EXPECT_EQ(choice.kept, (std::vector<u32>{0, 1, 2, 5}));
    EXPECT_EQ(choice.numbers, (std::vector<u32>{0, 1, 2, 2, 1, 3}));
    EXPECT_EQ(choice.numberOf(4), 1u);
}

TEST(JoinVertices, WithOtherNormals_StaySeparate) {
    const auto mesh = twoTriangles();
    mesh->mNormals = new aiVector3D[6];
    std::fill_n(mesh->mNormals, 6, aiVector3D(0, 0, 1));
    mesh->mNormals[3] = aiVector3D(0, 1, 0);
    EXPECT_EQ(joinVertices(*mesh).kept, (std::vector<u32>{0, 1, 2, 3, 5}));
}

TEST(JoinVertices, AtATextureSeam_StaySeparate) {
    const auto mesh = twoTriangles();
    mesh->mNumUVComponents[1] = 2;
    mesh->mTextureCoords[1] = new aiVector3D[6];
    mesh->mTextureCoords[1][4] = aiVector3D(0.5f, 0, 0);
    EXPECT_EQ(joinVertices(*mesh).kept, (std::vector<u32>{0, 1, 2, 4, 5}));
}

TEST(JoinVertices, WithOtherColors_StaySeparate) {
    const auto mesh = twoTriangles();
    mesh->mColors[0] = new aiColor4D[6];
    mesh->mColors[0][3].a = 0.25f;
    EXPECT_EQ(joinVertices(*mesh).kept, (std::vector<u32>{0, 1, 2, 3, 5}));
}

TEST(JoinVertices, ThatDifferByABit_StaySeparate) {
    const auto mesh = twoTriangles();
    mesh->mVertices[3].x = -0.0f;
    EXPECT_EQ(joinVertices(*mesh).kept, (std::vector<u32>{0, 1, 2, 3, 5}));
}

TEST(JoinVertices, InAMeshThatSharesSome_AreTheModelsOwn) {
    const auto mesh = meshOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}}, {{0, 1, 2}, {3, 1, 2}});
    const VertexChoice choice = joinVertices(*mesh);
    EXPECT_TRUE(choice.kept.empty());
    EXPECT_EQ(choice.numberOf(3), 3u);
}

TEST(JoinVertices, OfPointsWithoutFaces_StaySeparate) {
    EXPECT_TRUE(joinVertices(*meshOf({{0, 0, 0}, {0, 0, 0}}, {})).kept.empty());
    EXPECT_TRUE(joinVertices(*meshOf({}, {})).kept.empty());
}

} // namespace
} // namespace qv::model_import
