#pragma once

#include "kelvo/base/string_io.h"
#include "kelvo/base/workers.h"
#include "kelvo/sdk/impl/value/buffer.h"

namespace qv::kelvo_sdk::impl {

/// Appends a number so that it reads back to the same bits, those of a NaN included.
void writeReal(double value, StringIO& out);
void writeReal(float value, StringIO& out);

/// Appends a buffer as its elements in brackets: "[1 2]", "[(0 0 0) (1 0 0)]". The workers write
/// pieces of a long one; the text is the same for any number of them.
void writeBuffer(const Buffer& buffer, StringIO& out, const Workers& workers);

} // namespace qv::kelvo_sdk::impl
