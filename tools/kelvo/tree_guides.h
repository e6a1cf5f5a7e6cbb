#pragma once

#include "kelvo/base/types.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace qv::kelvo_tool {

/// Returns what stands in front of a line of a tree that is `levels` below the top;
/// `isDone(level)` tells whether no further branch comes from the line at that level. A line that
/// begins with thousands of guides helps nobody: deep ones tell their level instead. On a terminal,
/// whose `width` is not 0, the guides leave half of the line.
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
