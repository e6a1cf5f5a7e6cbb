#pragma once

#include <string_view>

namespace qv::kelvo_sdk::impl {

/// The decision on an attribute of an icon.
enum class SvgVerdict { Kept, LeftOut, Refused };

/// Judges an attribute that is no declaration of a namespace: drawings keep what they are made of,
/// and lose what means nothing. Refused is what runs, loads, covers a page or names an address.
[[nodiscard]] SvgVerdict judgeSvgAttribute(std::string_view name, std::string_view value);

} // namespace qv::kelvo_sdk::impl
