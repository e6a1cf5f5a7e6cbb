#pragma once

#include "tools/kelvo/edit_completion.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace qv::kelvo_tool {

/// Reads lines from the standard input. On a terminal they can be edited, those before are at the
/// arrow keys, and TAB completes; where the tool was built without a library for that, they are
/// plain ones.
class LineEditor {
public:
    using Completer = std::function<Completion(std::string_view line)>;
    enum class Outcome { Line, Interrupted, End };

    /// `prompt` has to live as long.
    LineEditor(const char* prompt, Completer completer);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    /// Reads a line, without its end.
    [[nodiscard]] Outcome read(std::string& line);

    struct State;

private:
    std::unique_ptr<State> m_state;
};

} // namespace qv::kelvo_tool
