#pragma once

#include "kelvo/sdk/element_type.h"
#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/result.h"

#include <ranges>

namespace qv::kelvo_sdk {

/// Copies elements into the result of an eval callback that evaluates a buffer output; `out` is the
/// pointer that the callback was given. Fails, and changes nothing, when the output has another
/// element type.
QV_EXPORT Result setBufferResult(void* out, interfaces::BufferView elements);

/// The same for an array, vector or span.
template<std::ranges::contiguous_range R>
Result setBufferResult(void* out, const R& elements) {
    constexpr DataType type = elementTypeOf<std::ranges::range_value_t<R>>;
    static_assert(type != DataType::Null, "no element type stands for this C++ type");
    return setBufferResult(out, interfaces::BufferView{type, std::ranges::data(elements),
                                                       std::ranges::size(elements)});
}

} // namespace qv::kelvo_sdk
