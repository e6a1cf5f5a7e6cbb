#include "render/impl/triangulation.h"

#include "render/impl/stopped.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

using Corners = std::vector<Vec3>;

// Returns the sum of the areas along z, negative for triangles that are turned over.
float signedArea(const Corners& corners, const std::vector<Triangle>& triangles) {
    float sum = 0.0F;
    for (const Triangle& t : triangles)
        sum += cross(corners[t[1]] - corners[t[0]], corners[t[2]] - corners[t[0]]).z / 2.0F;
    return sum;
}

float absoluteArea(const Corners& corners, const std::vector<Triangle>& triangles) {
    float sum = 0.0F;
    for (const Triangle& t : triangles)
        sum += std::abs(signedArea(corners, {t}));
    return sum;
}

TEST(Triangulation, Stop_EndsTheSearchForEars) {
    const Corners arrow{{0, 0, 0}, {2, -1, 0}, {1, 0, 0}, {2, 1, 0}};
    std::vector<Triangle> triangles;
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(triangulate(arrow, triangles, stop.get_token()), Stopped);
}

TEST(Triangulation, Polygon_IsCoveredOnce) {
    const struct {
        const char* note;
        Corners corners;
        float area;
    } cases[] = {
        {"triangle", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, 0.5F},
        {"square", {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, 1.0F},
        {"arrow", {{0, 0, 0}, {2, -1, 0}, {1, 0, 0}, {2, 1, 0}}, 1.0F},
        {"arrow from its notch", {{1, 0, 0}, {2, 1, 0}, {0, 0, 0}, {2, -1, 0}}, 1.0F},
        {"L", {{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}}, 3.0F},
        {"corner in a line", {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {0, 2, 0}}, 2.0F},
        {"clockwise arrow", {{2, 1, 0}, {1, 0, 0}, {2, -1, 0}, {0, 0, 0}}, -1.0F},
    };
    for (const auto& [note, corners, area] : cases) {
        std::vector<Triangle> triangles;
        triangulate(corners, triangles);
        EXPECT_EQ(triangles.size(), corners.size() - 2) << note;
        EXPECT_FLOAT_EQ(signedArea(corners, triangles), area) << note;
        EXPECT_FLOAT_EQ(absoluteArea(corners, triangles), std::abs(area)) << note;
    }
}

TEST(Triangulation, PolygonThatCrossesItself_GivesAllTriangles) {
    const Corners bow{{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}};
    std::vector<Triangle> triangles;
    triangulate(bow, triangles);
    EXPECT_EQ(triangles.size(), 2U);
}

TEST(Triangulation, CombOfManyTeeth_IsCoveredOnce) {
    Corners comb;
    for (u32 i = 0; i < 400; ++i)
        comb.push_back({static_cast<float>(i), i % 2 == 0 ? 1.0F : 3.0F, 0});
    comb.push_back({399, 0, 0});
    comb.push_back({0, 0, 0});
    std::reverse(comb.begin(), comb.end());
    std::vector<Triangle> triangles;
    triangulate(comb, triangles);
    EXPECT_FLOAT_EQ(signedArea(comb, triangles), 798.0F);
    EXPECT_FLOAT_EQ(absoluteArea(comb, triangles), 798.0F);
}

TEST(Triangulation, PolygonNormal_IsTwiceTheArea) {
    const Corners square{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    EXPECT_EQ(polygonNormal(square), (Vec3{0, 0, 2}));
}

} // namespace
} // namespace qv::render::impl
