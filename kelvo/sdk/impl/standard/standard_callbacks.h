#pragma once

#include "kelvo/sdk/interfaces/node_callbacks.h"

namespace qv::kelvo_sdk::impl {

class LibInfo;

/// Callbacks of the standard library's types, by group. Where arithmetic has no result, as in
/// division by zero, the help text of the type states the result.

/// One type for each kind of value; its node returns its input.
void addConstantCallbacks(LibInfo& library);
/// Adding, dividing, rounding and other arithmetic with numbers.
void addArithmeticCallbacks(LibInfo& library);
/// Mixing and limiting numbers, and mapping them from one range to another.
void addRangeCallbacks(LibInfo& library);
/// Dot and cross products, lengths; vectors composed of numbers and split into them.
void addVectorCallbacks(LibInfo& library);
void addColorCallbacks(LibInfo& library);
void addMatrixCallbacks(LibInfo& library);
void addNoiseCallbacks(LibInfo& library);
/// Nodes that change the inputs of others.
void addModifierCallbacks(LibInfo& library);

/// Registers a type that only evaluates.
void addEvaluation(LibInfo& library, const char* type, interfaces::NodeEvalFn eval);

} // namespace qv::kelvo_sdk::impl
