#pragma once

#include "kelvo/sdk/node.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace qv::tests {

/// Expects that a text gives a snapshot of its own the same nodes and errors as a new scene. Nodes
/// that callbacks of a library initialised or modified are different.
inline void expectSameSnapshot(std::string_view text, const kelvo_sdk::Scene& scene,
                               const kelvo_sdk::Diagnostics& errors) {
    kelvo_sdk::SnapshotReadOptions options;
    for (u64 i = 0; i < scene.libraryCount(); ++i)
        options.libraries.push_back(scene.library(i));
    kelvo_sdk::Diagnostics found;
    const auto report = kelvo_sdk::readSnapshot(text, "text", options, &found);
    EXPECT_EQ(found.size(), errors.size()) << text;
    for (u64 i = 0; i < std::min(found.size(), errors.size()); ++i)
        EXPECT_EQ(found[i].text(), errors[i].text());
    EXPECT_EQ(report.isRead, errors.empty());
    for (const kelvo_sdk::Node& node : scene.nodes())
        if (node->hasNodeInit() || node.hasInput("modifiers")) return;
    EXPECT_EQ(report.snapshot.text(), report.isRead ? scene.text() : String());
}

/// Returns the errors of a text: "line:column: message" each, "in 'node'" if the error names one.
[[nodiscard]] inline std::string errorsOf(std::string_view text, const kelvo_sdk::Scene& scene) {
    kelvo_sdk::Diagnostics errors;
    const bool isNew = scene.text() == kelvo_sdk::Scene::create().text();
    const bool isRead = scene.read(String(text), "text", &errors);
    EXPECT_EQ(isRead, errors.empty());
    if (isNew) expectSameSnapshot(text, scene, errors);
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

/// Returns the text of a scene, which is that of its snapshot too.
[[nodiscard]] inline std::string textOf(const kelvo_sdk::Scene& scene) {
    std::string text(scene.text().view());
    EXPECT_EQ(scene.snapshot().text().view(), text);
    return text;
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
