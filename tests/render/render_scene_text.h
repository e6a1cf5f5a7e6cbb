#pragma once

#include "kelvo/sdk/snapshot_reader.h"

#include <gtest/gtest.h>

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

} // namespace qv::render::tests
