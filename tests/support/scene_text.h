#pragma once

#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace qv::tests {

/// Returns the errors of a text: "line:column: message" each, "in 'node'" if the error names one.
[[nodiscard]] inline std::string errorsOf(std::string_view text, const kelvo_sdk::Scene& scene) {
    kelvo_sdk::Diagnostics errors;
    const bool isRead = scene.read(String(text), "text", &errors);
    EXPECT_EQ(isRead, errors.empty());
    std::string lines;
    for (const kelvo_sdk::Diagnostic& error : errors) {
        if (!lines.empty()) lines += '\n';
        lines += std::to_string(error.line) + ":" + std::to_string(error.column) + ": ";
        if (!error.node.isEmpty()) lines += std::string("in '") + error.node.buf() + "': ";
        lines += error.message.view();
    }
    return lines;
}

[[nodiscard]] inline std::string errorsOf(std::string_view text) {
    return errorsOf(text, kelvo_sdk::Scene::create());
}

/// Returns a scene read from a text without errors.
[[nodiscard]] inline kelvo_sdk::Scene sceneOf(std::string_view text) {
    const auto scene = kelvo_sdk::Scene::create();
    EXPECT_EQ(errorsOf(text, scene), "") << text;
    return scene;
}

[[nodiscard]] inline std::string textOf(const kelvo_sdk::Scene& scene) {
    return std::string(scene.text().view());
}

/// Returns a text read and written again.
[[nodiscard]] inline std::string rewritten(std::string_view text) {
    return textOf(sceneOf(text));
}

/// Returns the text of a scene with one node "n" of type "t" that has these lines, each without its
/// indentation.
[[nodiscard]] inline std::string nodeText(std::string_view lines) {
    std::string text = "kelvo scene 1\n\nnode t \"n\" {\n";
    while (!lines.empty()) {
        const std::string_view line = lines.substr(0, lines.find('\n'));
        text += "    " + std::string(line) + "\n";
        lines.remove_prefix(std::min(line.size() + 1, lines.size()));
    }
    return text + "}\n";
}

} // namespace qv::tests
