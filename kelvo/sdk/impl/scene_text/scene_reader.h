#pragma once

#include "kelvo/sdk/diagnostic.h"

#include <functional>
#include <string_view>

namespace qv::kelvo_sdk::impl {

class Scene;
struct SceneTree;

struct ReadOptions {
    /// Name of the text in errors, such as its file name.
    String source = "text";
    /// Reading stops after this many errors; at least 1.
    u32 maxErrors = 20;
    /// The greatest depth of arrays and objects, and the greatest number of nodes.
    u32 maxDepth = 200;
    u64 maxNodes = 1'000'000;
    /// Builds the parts of a text that have no errors, and keeps the rest in the comments.
    bool isPartial = false;
    /// Refuses a partial text without a readable node.
    bool needsNode = true;
    /// The threads that read; 0 for as many as the machine runs at once. Scene, errors and
    /// notifications are the same for any number.
    u32 threads = 0;
    /// See `ParseLimits`.
    u64 pieceSize = 1 << 17;
    /// Receives the number of gaps if not null.
    u64* gapCount = nullptr;
};

/// Adds the nodes of a scene text, all or none: on failure returns false, leaves the scene
/// unchanged and appends the errors to `diagnostics` if not null. A node whose name is taken gets a
/// number, and references in the text follow it. Names that the text does not have may be nodes of
/// the scene. docs/scene-text.md has the grammar.
///
/// Borrows the text, which may come from untrusted sources: time and memory are proportional to its
/// length.
bool readScene(Scene& scene, std::string_view text, const ReadOptions& options,
               Diagnostics* diagnostics);

/// Takes a tree that was read and has no errors.
using TakeTree = std::function<void(SceneTree&)>;

/// Reads a text as `readScene` does, and passes its checked tree on instead of building nodes of
/// it. Returns false when it passed none. The scene has the libraries and other nodes.
bool readTree(Scene& scene, std::string_view text, const ReadOptions& options,
              Diagnostics* diagnostics, const TakeTree& take);

} // namespace qv::kelvo_sdk::impl
