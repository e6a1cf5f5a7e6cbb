#pragma once

#include "kelvo/base/types.h"

namespace qv::kelvo_sdk::impl {

/// The text of `kelvo/sdk/impl/standard/standard.knd`, made part of the program when that is built;
/// in pieces because compilers need not take longer ones.
extern const char* const standardTextPieces[];
extern const u64 standardTextPieceCount;

} // namespace qv::kelvo_sdk::impl
