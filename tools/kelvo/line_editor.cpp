#include "tools/kelvo/line_editor.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#ifdef KELVO_HAS_EDITLINE
#include <clocale>

#include <histedit.h>
#else
#include "tools/kelvo/files.h"

#include <unistd.h>
#endif

namespace qv::kelvo_tool {

#ifdef KELVO_HAS_EDITLINE

namespace {

// Returns the longest common start of the texts.
std::string_view commonStart(const std::vector<std::string>& texts) {
    std::string_view start = texts.front();
    for (const std::string& text : texts)
        while (!text.starts_with(start))
            start.remove_suffix(1);
    return start;
}

void listTexts(const std::vector<std::string>& texts) {
    std::string lines = "\n";
    std::size_t column = 0;
    for (const std::string& text : texts) {
        if (column != 0 && column + text.size() + 2 > 80) {
            lines += '\n';
            column = 0;
        }
        lines += text + "  ";
        column += text.size() + 2;
    }
    lines += '\n';
    (void)std::fwrite(lines.data(), 1, lines.size(), stdout);
    (void)std::fflush(stdout);
}

} // namespace

struct LineEditor::State {
    const char* prompt;
    Completer completer;
    bool isInterrupted = false;
    EditLine* editor = nullptr;
    History* history = nullptr;
};

namespace {

LineEditor::State& stateOf(EditLine* editor) {
    void* state = nullptr;
    ::el_get(editor, EL_CLIENTDATA, &state);
    return *static_cast<LineEditor::State*>(state);
}

const char* promptOf(EditLine* editor) {
    return stateOf(editor).prompt;
}

// Makes the interrupt key end the line rather than the program. A signal between two keys would be
// noticed late.
unsigned char interruptLine(EditLine* editor, int) {
    stateOf(editor).isInterrupted = true;
    return CC_EOF;
}

unsigned char completeWord(EditLine* editor, int) {
    const LineInfo* info = ::el_line(editor);
    const std::string_view line(info->buffer,
                                static_cast<std::size_t>(info->cursor - info->buffer));
    const Completion found = stateOf(editor).completer(line);
    if (found.texts.empty()) return CC_ERROR;
    std::string text(commonStart(found.texts));
    const std::string before(line.substr(line.size() - found.length));
    // Also covers candidates that differ from the word in case alone.
    if (found.texts.size() > 1 && text.size() <= before.size()) {
        listTexts(found.texts);
        return CC_REDISPLAY;
    }
    if (found.texts.size() == 1 && text.back() != '.' && text.back() != '[' && text.back() != '<')
        text += ' ';
    ::el_deletestr(editor, static_cast<int>(found.length));
    return ::el_insertstr(editor, text.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
}

} // namespace

LineEditor::LineEditor(const char* prompt, Completer completer)
    : m_state(std::make_unique<State>(State{prompt, std::move(completer)})) {
    // Characters beyond ASCII need the encoding of the terminal.
    (void)std::setlocale(LC_CTYPE, "");
    m_state->history = ::history_init();
    HistEvent event;
    ::history(m_state->history, &event, H_SETSIZE, 1000);
    ::history(m_state->history, &event, H_SETUNIQUE, 1);
    m_state->editor = ::el_init("kelvo", stdin, stdout, stderr);
    EditLine* const editor = m_state->editor;
    if (!editor) return;
    ::el_set(editor, EL_CLIENTDATA, m_state.get());
    ::el_set(editor, EL_PROMPT, &promptOf);
    ::el_set(editor, EL_EDITOR, "emacs");
    ::el_set(editor, EL_HIST, &::history, m_state->history);
    ::el_set(editor, EL_ADDFN, "kelvo-complete", "Completes the word", &completeWord);
    ::el_set(editor, EL_ADDFN, "kelvo-interrupt", "Drops the line", &interruptLine);
    ::el_set(editor, EL_SETTY, "-d", "-isig", nullptr);
    ::el_set(editor, EL_BIND, "^C", "kelvo-interrupt", nullptr);
    ::el_set(editor, EL_BIND, "^I", "kelvo-complete", nullptr);
}

LineEditor::~LineEditor() {
    if (m_state->editor) ::el_end(m_state->editor);
    if (m_state->history) ::history_end(m_state->history);
}

LineEditor::Outcome LineEditor::read(std::string& line) {
    if (!m_state->editor) return Outcome::End;
    int length = 0;
    const char* text = ::el_gets(m_state->editor, &length);
    if (std::exchange(m_state->isInterrupted, false)) {
        ::el_reset(m_state->editor);
        (void)std::fputc('\n', stdout);
        (void)std::fflush(stdout);
        return Outcome::Interrupted;
    }
    if (!text || length <= 0) return Outcome::End;
    line.assign(text, static_cast<std::size_t>(length));
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.pop_back();
    HistEvent event;
    if (!line.empty()) ::history(m_state->history, &event, H_ENTER, line.c_str());
    return Outcome::Line;
}

#else

struct LineEditor::State {
    const char* prompt;
};

LineEditor::LineEditor(const char* prompt, Completer)
    : m_state(std::make_unique<State>(State{prompt})) {}

LineEditor::~LineEditor() = default;

LineEditor::Outcome LineEditor::read(std::string& line) {
    (void)writeAll(STDOUT_FILENO, m_state->prompt);
    line.clear();
    std::clearerr(stdin);
    for (;;) {
        const int c = std::fgetc(stdin);
        if (c == EOF) return line.empty() ? Outcome::End : Outcome::Line;
        if (c == '\n') return Outcome::Line;
        line += static_cast<char>(c);
    }
}

#endif

} // namespace qv::kelvo_tool
