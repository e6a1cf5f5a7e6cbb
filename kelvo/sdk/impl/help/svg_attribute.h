#pragma once

#include <string_view>

namespace qv::kelvo_sdk::impl {

/// The decision on an attribute of an icon.
enum class SvgVerdict { Kept, LeftOut, Refused };

/// Judges an attribute that declares no namespace: keeps the attributes that drawings consist of
/// and leaves out meaningless ones. Refuses an attribute that runs or loads something, covers the
/// page or names an address.
[[nodiscard]] SvgVerdict judgeSvgAttribute(std::string_view name, std::string_view value);

} // namespace qv::kelvo_sdk::impl
