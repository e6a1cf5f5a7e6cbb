#pragma once

#include "kelvo/sdk/element_type.h"
#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/result.h"

#include <ranges>

namespace qv::kelvo_sdk {

/// Copies elements into the result of an eval callback that is asked for a buffer output: `out` is
/// what the callback was called with. Fails, with nothing changed, when the output's elements are
/// of another type.
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
