#include "tools/kelvo/edit_prompt.h"

#include "tools/kelvo/edit_completion.h"
#include "tools/kelvo/line_editor.h"

#include <string>
#include <vector>

namespace qv::kelvo_tool {

namespace {

/// The dialogue at the prompt.
class Prompt {
public:
    explicit Prompt(EditSession& session)
        : m_session(session), m_editor("kelvo> ", [&session](std::string_view line) {
              return complete(session, line);
          }) {}

    Status run() {
        m_session.out().write("help lists the commands, TAB completes them.").endLine();
        while (!m_isLeft && flush()) {
            std::string line;
            const LineEditor::Outcome outcome = m_editor.read(line);
            if (outcome == LineEditor::Outcome::End) {
                m_session.out().endLine();
                leave();
            } else if (outcome == LineEditor::Outcome::Line) {
                take(String(std::string_view(line)));
            }
        }
        return flush() ? Status::Ok : Status::Fault;
    }

private:
    // The first failed command skips the rest of the line; the commands before it stay as steps.
    void take(const String& line) {
        std::vector<Edit> edits;
        EditError error;
        if (!parseEdits(line, edits, error)) return tell(error);
        for (const Edit& edit : edits) {
            if (edit.name() == "quit!" && edit.words.size() == 1) {
                m_isLeft = true;
                return;
            }
            if (edit.name() == "quit" && edit.words.size() == 1) {
                leave();
                return;
            }
            m_wasRefused = false;
            if (!m_session.run(edit, error)) return tell(error);
        }
    }

    void tell(const EditError& error) {
        (void)flush();
        complain(String(std::string_view(std::to_string(error.column))) + ": " + error.message);
    }

    void leave() {
        m_isLeft = m_wasRefused || m_session.scene().isSaved();
        m_wasRefused = true;
        if (m_isLeft) return;
        m_session.out()
            .write("There are changes that are not saved: save, or leave with quit again or quit!.")
            .endLine();
    }

    bool flush() {
        String error;
        if (m_session.out().isClosed()) return false;
        if (m_session.out().flush(error)) return true;
        complain(error);
        return false;
    }

    EditSession& m_session;
    LineEditor m_editor;
    bool m_isLeft = false;
    bool m_wasRefused = false;
};

} // namespace

Status runPrompt(EditSession& session) {
    return Prompt(session).run();
}

} // namespace qv::kelvo_tool
