#pragma once

#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::interfaces {

/// Callbacks by which a node library gives a type its behaviour. `data` is the node's user data,
/// which the callbacks own: init and free write it, and free must set it to null.
///
/// An exception from init, prep, eval or modify is logged and counts as false, except
/// `std::bad_alloc`, which reaches the caller.
using NodeInitFn = bool (*)(INode* node, void** data);
/// The library itself never calls prep; a renderer calls it by `nodePrep` before it evaluates
/// outputs.
using NodePrepFn = bool (*)(INode* node, void* data);
/// Writes the value of the evaluated output to `out`, an object of the C++ type of the output's
/// kind.
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
