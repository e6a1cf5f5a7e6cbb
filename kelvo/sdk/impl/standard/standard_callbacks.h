#pragma once

#include "kelvo/sdk/interfaces/node_callbacks.h"

namespace qv::kelvo_sdk::impl {

class LibInfo;

// Callbacks of the standard library's types, group by group. Division by zero and the like have a
// stated answer, in the help text of the type.

/// One type for each kind of value, which it hands on.
void addConstantCallbacks(LibInfo& library);
/// Numbers added, divided, rounded.
void addArithmeticCallbacks(LibInfo& library);
/// Numbers mixed, limited and brought from one range to another.
void addRangeCallbacks(LibInfo& library);
/// Dot and cross products, lengths; tuples made of numbers and taken apart.
void addVectorCallbacks(LibInfo& library);
void addColorCallbacks(LibInfo& library);
void addMatrixCallbacks(LibInfo& library);
void addNoiseCallbacks(LibInfo& library);
/// Nodes that change the inputs of others.
void addModifierCallbacks(LibInfo& library);

/// Registers a type that does nothing but evaluate.
void addEvaluation(LibInfo& library, const char* type, interfaces::NodeEvalFn eval);

} // namespace qv::kelvo_sdk::impl
