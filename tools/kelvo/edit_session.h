#pragma once

#include "kelvo/sdk/scene.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/edit_language.h"
#include "tools/kelvo/terminal.h"

#include <utility>
#include <vector>

namespace qv::kelvo_tool {

struct EditCommand;
struct EditFault;

/// Whether a scene is read with what it leaves to the types of its nodes.
enum class WithTypes { WhereNeeded, Always };

/// A scene that is edited, with the steps that were done.
class EditSession {
public:
    /// Output goes to `out`; saves go to `outFile` if that is not empty.
    EditSession(String file, String outFile, Terminal& out);

    /// Reads the file for a script, which no other command comes between, or for a prompt, which
    /// nobody waits for. False after telling why not.
    [[nodiscard]] bool open(WithTypes types);

    [[nodiscard]] const kelvo_sdk::Scene& scene() const noexcept { return m_scene; }
    [[nodiscard]] Terminal& out() const noexcept { return m_out; }
    [[nodiscard]] bool hasTypes() const noexcept { return m_hasTypes; }
    /// Tells whether someone sits in front of it, who is told what was done.
    [[nodiscard]] bool isPrompt() const noexcept { return m_isPrompt; }
    void setPrompt() noexcept { m_isPrompt = true; }

    /// Carries out one command: all of it, or nothing. False with the first `error`.
    [[nodiscard]] bool run(const Edit& edit, EditError& error);

    /// Writes the scene as it is now to a file, by default its own. In a script that waits for
    /// `writeSaved`.
    [[nodiscard]] bool save(const String& file);
    /// Writes what a script saved, and the scene to its own file; false after telling why not.
    [[nodiscard]] bool writeSaved();

private:
    bool carryOut(const EditCommand& command, const Edit& edit, EditFault& fault);

    String m_file;
    String m_outFile;
    Document m_document;
    Terminal& m_out;
    kelvo_sdk::Scene m_scene;
    bool m_hasTypes = false;
    bool m_isPrompt = false;
    /// Files and their texts.
    std::vector<std::pair<String, String>> m_saved;
};

} // namespace qv::kelvo_tool
