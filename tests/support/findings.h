#pragma once

#include "kelvo/sdk/validation.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

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

/// Returns the findings, "rule: place: message (fix)" line by line.
[[nodiscard]] inline std::string told(const kelvo_sdk::Findings& findings) {
    std::string text;
    for (const kelvo_sdk::Finding& finding : findings) {
        if (!text.empty()) text += '\n';
        text += std::string(finding.rule->id) + ": " + finding.place.buf() + ": " +
                finding.message.buf();
        if (finding.fix.get()) text += std::string(" (") + finding.fix->text().buf() + ")";
    }
    return text;
}

[[nodiscard]] inline std::string found(const kelvo_sdk::Scene& scene) {
    return told(kelvo_sdk::validate(scene));
}

} // namespace qv::tests
