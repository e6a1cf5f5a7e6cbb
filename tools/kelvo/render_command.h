#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/string_vector.h"
#include "tools/kelvo/message.h"
#include "tools/kelvo/terminal.h"

namespace qv::kelvo_tool {

struct RenderOptions {
    String file;
    String outFile;
    String size = "1280x720";
    u64 samples = 64;
    String seconds;
    String noise;
    String camera;
    u64 threads = 0;
    StringVector layers;
};

using RenderAction = Status (*)(const RenderOptions& options, Terminal& out);

/// Sets the action of the command render. By default the process becomes the program kelvo-render
/// beside it: the libraries that it needs take long to load, which other commands should not pay.
void setRenderAction(RenderAction action) noexcept;

/// The action of the program kelvo-render.
[[nodiscard]] Status renderScene(const RenderOptions& options, Terminal& out);

} // namespace qv::kelvo_tool
