#pragma once

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::impl {

class Scene;

/// Appends the node as scene text without a header line. `changedOnly` omits inputs at their
/// default; `withDependencies` puts the nodes of the scene that it depends on in front, in the
/// order of their dependencies. Null appends nothing. docs/scene-text.md has the grammar.
QV_EXPORT void serialize(const interfaces::INode* node, StringIO& out, bool changedOnly,
                         bool withDependencies);

/// Appends the whole scene as text, with the header line. Uses at most `threads` threads; 0 stands
/// for as many as the machine runs at once. The text is the same for any number.
void serializeScene(const Scene& scene, StringIO& out, u32 threads = 0);

} // namespace qv::kelvo_sdk::impl
