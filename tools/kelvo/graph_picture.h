#pragma once

#include "tools/kelvo/graph_model.h"

namespace qv::kelvo_tool {

/// Kinds of pictures, made by Graphviz.
enum class PictureKind { Svg, Png };

/// Draws a graph; an SVG picture needs no other files. Warns of parts that are left out. False with
/// a sentence in `error`.
[[nodiscard]] bool drawPicture(const SceneGraph& graph, PictureKind kind, bool withIcons,
                               String& picture, String& error);

} // namespace qv::kelvo_tool
