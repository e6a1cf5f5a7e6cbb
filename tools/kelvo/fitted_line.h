#pragma once

#include "kelvo/base/string_io.h"
#include "tools/kelvo/stream_look.h"

#include <string>
#include <vector>

namespace qv::kelvo_tool {

/// The kind of a piece of output, which decides its colour and the order of shortening.
enum class Tone { Plain, Name, Kind, Value, Note, Error, Warning };

struct LinePiece {
    Tone tone;
    std::string text;
};

/// Appends the pieces of a line, without its end. On a terminal too narrow for the line, shortens
/// the longest values and marks them with "…"; if that is not enough, continues on further,
/// indented lines.
void appendFitted(StringIO& out, std::vector<LinePiece> pieces, const StreamLook& look);

} // namespace qv::kelvo_tool
