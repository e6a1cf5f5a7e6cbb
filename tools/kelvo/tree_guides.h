#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

namespace qv::kelvo_tool {

/// Returns what stands in front of a line of a tree that is `levels` below the top;
/// `isDone(level)` tells whether no further branch comes from the line at that level. A line that
/// begins with thousands of guides helps nobody: deep ones tell their level instead.
template<class IsDone>
[[nodiscard]] std::string treeGuides(std::size_t levels, const IsDone& isDone) {
    constexpr std::size_t deepestGuide = 40;
    std::string text;
    for (std::size_t i = 0; i < std::min(levels, deepestGuide); ++i)
        text += isDone(i) ? "   " : "│  ";
    if (levels > deepestGuide) text += "(" + std::to_string(levels) + ") ";
    return text;
}

} // namespace qv::kelvo_tool
