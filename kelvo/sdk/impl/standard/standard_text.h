#pragma once

#include "kelvo/base/types.h"

namespace qv::kelvo_sdk::impl {

/// The text of `kelvo/sdk/impl/standard/standard.knd`, compiled into the program; in pieces because
/// compilers limit the length of a literal.
extern const char* const standardTextPieces[];
extern const u64 standardTextPieceCount;

} // namespace qv::kelvo_sdk::impl
