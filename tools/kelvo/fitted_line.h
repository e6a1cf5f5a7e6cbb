#pragma once

#include "kelvo/base/string_io.h"
#include "tools/kelvo/stream_look.h"

#include <string>
#include <vector>

namespace qv::kelvo_tool {

/// The kind of a piece of output, which decides its colour, and which is shortened first.
enum class Tone { Plain, Name, Kind, Value, Note, Error, Warning };

struct LinePiece {
    Tone tone;
    std::string text;
};

/// Appends the pieces of a line, without its end. On a terminal that is too narrow for it the
/// longest values are shortened, with "…" at their ends; what is too long even then goes on in
/// further lines, further in.
void appendFitted(StringIO& out, std::vector<LinePiece> pieces, const StreamLook& look);

} // namespace qv::kelvo_tool
