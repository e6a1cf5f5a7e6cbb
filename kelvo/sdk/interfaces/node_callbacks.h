#pragma once

#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::interfaces {

/// Callbacks by which a node library gives a type its behaviour. `data` is the node's user data,
/// which they own: init and free write it, free must set it to null.
///
/// An exception from init, prep, eval or modify is logged and counts as false, but for
/// `std::bad_alloc`, which reaches the caller.
using NodeInitFn = bool (*)(INode* node, void** data);
/// Nothing in the library calls prep: a renderer does, by `nodePrep`, before it asks for outputs.
using NodePrepFn = bool (*)(INode* node, void* data);
/// Writes the value of the output asked for to `out`, an object of the output kind's C++ type.
using NodeEvalFn = bool (*)(EvalCtx* ctx, void* out);
using NodeModifyFn = bool (*)(INode* node, INode* other);
using NodeFreeFn = bool (*)(INode* node, void** data);
using NodeChangedFn = void (*)(IInput* input);

/// The callbacks of one node type; any may be null.
struct NodeCallbacks {
    NodeInitFn init = nullptr;
    NodePrepFn prep = nullptr;
    NodeEvalFn eval = nullptr;
    NodeModifyFn modify = nullptr;
    NodeFreeFn free = nullptr;
    NodeChangedFn changed = nullptr;
};

} // namespace qv::kelvo_sdk::interfaces
