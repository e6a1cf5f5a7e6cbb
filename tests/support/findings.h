#pragma once

#include "kelvo/sdk/validation.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace qv::tests {

inline constexpr const char* findingTypes = R"(kelvo types 1

type object @abstract {
    String name = ""
}
type box : object {
    Real size = 1 @min 0 @max 9
    Object shade {
        Array<Int> steps = [1, 2]
        Real bias = 0.5
    }
    Buffer<Pos3f> points = []
    output Real volume
    output Buffer<Pos3f> corners
}
type paint : object {
    String finish = "matt" @choices ["matt", "gloss"]
    Array<Node> modifiers = []
}
)";

/// Returns a scene with the types above, read from a text without errors.
[[nodiscard]] inline kelvo_sdk::Scene sceneWithTypes(std::string_view text) {
    const auto scene = kelvo_sdk::Scene::create();
    const auto library = kelvo_sdk::LibInfo::create();
    EXPECT_TRUE(library.readDefinitions(findingTypes, "types.knd"));
    EXPECT_TRUE(scene.addLibrary(library));
    EXPECT_EQ(errorsOf(text, scene), "") << text;
    return scene;
}

/// Returns the libraries of a scene.
[[nodiscard]] inline std::vector<kelvo_sdk::LibInfo> librariesOf(const kelvo_sdk::Scene& scene) {
    std::vector<kelvo_sdk::LibInfo> libraries;
    for (u64 i = 0; i < scene.libraryCount(); ++i)
        libraries.push_back(scene.library(i));
    return libraries;
}

[[nodiscard]] inline String fixOf(const kelvo_sdk::Finding& finding) {
    return finding.fix.get() ? finding.fix->text() : String();
}
[[nodiscard]] inline String fixOf(const kelvo_sdk::SnapshotFinding& finding) {
    return finding.fix;
}

/// Returns the findings, of live nodes or of a snapshot, "rule: place: message (fix)" line by line.
template<typename AnyFindings>
[[nodiscard]] std::string told(const AnyFindings& findings) {
    std::string text;
    for (const auto& finding : findings) {
        if (!text.empty()) text += '\n';
        text += std::string(finding.rule->id) + ": " + finding.place.buf() + ": " +
                finding.message.buf();
        if (!fixOf(finding).isEmpty()) text += std::string(" (") + fixOf(finding).buf() + ")";
    }
    return text;
}

[[nodiscard]] inline std::string foundInLiveNodes(const kelvo_sdk::Scene& scene) {
    return told(kelvo_sdk::validate(scene));
}

/// Returns the findings in a scene after comparing them with those in its snapshot.
[[nodiscard]] inline std::string found(const kelvo_sdk::Scene& scene) {
    const std::string live = foundInLiveNodes(scene);
    EXPECT_EQ(told(kelvo_sdk::validate(scene.snapshot(), {.libraries = librariesOf(scene)})), live);
    return live;
}

} // namespace qv::tests
