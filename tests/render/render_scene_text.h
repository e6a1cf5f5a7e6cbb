#pragma once

#include "kelvo/sdk/snapshot_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>
#include <vector>

namespace qv::render::tests {

/// Returns the snapshot of a scene text; empty, with a failure, when it has errors.
inline kelvo_sdk::Snapshot snapshotOf(std::string_view text) {
    kelvo_sdk::SnapshotReport report = kelvo_sdk::readSnapshot(text, "scene.kns");
    EXPECT_TRUE(report.isRead) << report.isRead.message().buf();
    return report.snapshot;
}

/// Returns the lines "node: text" of findings.
template<class Findings>
std::vector<std::string> textsOf(const Findings& findings) {
    std::vector<std::string> texts;
    for (const auto& finding : findings)
        texts.push_back(std::string(finding.node.view()) + ": " + finding.text.buf());
    return texts;
}

using Texts = std::vector<std::string>;

/// A square from -1 to 1 in the plane of x and y, facing z.
inline const std::string square = R"(
node mesh "square" {
    Buffer<Pos3f> positions = [(-1 -1 0) (1 -1 0) (1 1 0) (-1 1 0)]
    Buffer<UInt32> indices = [0 1 2 3]
    Buffer<UInt32> faceCounts = [4]
}
)";

/// A ball of radius 1 around the origin, with exact normals at its vertices.
inline std::string ball(const std::string& material) {
    constexpr int rows = 48, columns = 96;
    std::string positions, indices;
    for (int j = 0; j <= rows; ++j)
        for (int i = 0; i <= columns; ++i) {
            const double polar = std::numbers::pi * j / rows;
            const double angle = 2.0 * std::numbers::pi * i / columns;
            char text[100];
            std::snprintf(text, sizeof text, "(%.9g %.9g %.9g) ", std::sin(polar) * std::sin(angle),
                          std::cos(polar), std::sin(polar) * std::cos(angle));
            positions += text;
            if (j == rows || i == columns) continue;
            const int at = j * (columns + 1) + i, below = at + columns + 1;
            const auto add = [&](int a, int b, int c) {
                for (const int corner : {a, b, c})
                    indices += std::to_string(corner) + " ";
            };
            // At the poles one of the two triangles has no area.
            if (j + 1 < rows) add(at, below, below + 1);
            if (j > 0) add(at, below + 1, at + 1);
        }
    return "node mesh \"ball\" {\n    Buffer<Pos3f> positions = [" + positions +
           "]\n    Buffer<Vec3f> normals = [" + positions + "]\n    Buffer<UInt32> indices = [" +
           indices + "]\n    Node material = m\n}\nnode material \"m\" {\n" + material + "}\n";
}

/// A material that only scatters light evenly, of albedo 0.8.
inline const std::string chalk = "    Real ior = 1\n    Real roughness = 1\n";

/// A camera at z = 5 that sees from -1 to 1 without perspective.
inline const std::string flatCamera = R"(
node camera "eye" {
    Pos3 position = (0 0 5)
    Real orthographicWidth = 2
}
)";

} // namespace qv::render::tests
