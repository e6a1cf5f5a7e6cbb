#pragma once

#include "kelvo/sdk/diagnostic.h"

#include <string_view>

namespace qv::kelvo_sdk::impl {

class Scene;

struct ReadOptions {
    /// The name of the text in errors, such as that of its file.
    String source = "text";
    /// Reading goes on after an error until there are so many; at least 1.
    u32 maxErrors = 20;
    /// How deep arrays and objects may be nested, and how many nodes there may be.
    u32 maxDepth = 200;
    u64 maxNodes = 1'000'000;
    /// Builds what can be read of a text with errors, and keeps the rest in the comments.
    bool isPartial = false;
    /// Set to the number of gaps when that is given.
    u64* gapCount = nullptr;
};

/// Adds what a scene text describes, whole or not at all: false, and what is wrong appended to
/// `diagnostics` when that is given, leaves the scene as it was. Nodes whose name is taken get a
/// number, which what the text says of them follows. Names that the text does not have may be those
/// of nodes of the scene. docs/scene-text.md has the grammar.
///
/// The text is borrowed and may come from anywhere: time and memory stay in proportion to its
/// length.
bool readScene(Scene& scene, std::string_view text, const ReadOptions& options,
               Diagnostics* diagnostics);

} // namespace qv::kelvo_sdk::impl
