#pragma once

#include "kelvo/base/types.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace qv::kelvo_tool {

/// Returns the guides for a line of a tree `levels` below the top; `isDone(level)` tells whether
/// the line at that level has no further branches. Deep lines show the number of their level
/// instead of thousands of guides. On a terminal, whose `width` is not 0, guides take at most half
/// of the line.
template<class IsDone>
[[nodiscard]] std::string treeGuides(std::size_t levels, u64 width, const IsDone& isDone) {
    constexpr std::size_t columnsOfGuide = 3;
    const std::size_t deepestGuide =
        width == 0 ? 40 : std::min<std::size_t>(40, width / 2 / columnsOfGuide);
    std::string text;
    for (std::size_t i = 0; i < std::min(levels, deepestGuide); ++i)
        text += isDone(i) ? "   " : "│  ";
    if (levels > deepestGuide) text += "(" + std::to_string(levels) + ") ";
    return text;
}

} // namespace qv::kelvo_tool
