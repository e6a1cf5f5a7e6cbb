#pragma once

#include "tools/kelvo/edit_completion.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace qv::kelvo_tool {

/// Reads lines from the standard input. On a terminal, lines can be edited, the arrow keys recall
/// earlier lines, and TAB completes; a tool built without an editing library reads plain lines.
class LineEditor {
public:
    using Completer = std::function<Completion(std::string_view line)>;
    enum class Outcome { Line, Interrupted, End };

    /// `prompt` must outlive the editor.
    LineEditor(const char* prompt, Completer completer);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    /// Reads a line, without its line break.
    [[nodiscard]] Outcome read(std::string& line);

    struct State;

private:
    std::unique_ptr<State> m_state;
};

} // namespace qv::kelvo_tool
