#pragma once

#include "kelvo/base/string_io.h"
#include "tools/kelvo/graph_icons.h"
#include "tools/kelvo/graph_model.h"

namespace qv::kelvo_tool {

/// Icons in a drawing, in files named "icon-N" plus `ending`.
struct DrawnIcons {
    GraphIcons* icons;
    const char* ending;
};

/// Writes a graph as DOT, with a legend, and with its icons if it has any.
void writeDot(const SceneGraph& graph, const DrawnIcons& icons, StringIO& out);

} // namespace qv::kelvo_tool
