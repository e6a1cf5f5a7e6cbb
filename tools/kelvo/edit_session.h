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

/// Tells when a scene is read with the types of its nodes.
enum class WithTypes { WhereNeeded, Always };

/// A scene being edited, with its history.
class EditSession {
public:
    /// Prints to `out`; saves to `outFile` unless that is empty.
    EditSession(String file, String outFile, Terminal& out);

    /// Opens the file: locked against other commands for a script, without a lock for a prompt,
    /// which may stay open for long. False after an error message.
    [[nodiscard]] bool open(WithTypes types);

    [[nodiscard]] const kelvo_sdk::Scene& scene() const noexcept { return m_scene; }
    [[nodiscard]] Terminal& out() const noexcept { return m_out; }
    [[nodiscard]] bool hasTypes() const noexcept { return m_hasTypes; }
    /// Tells whether the user is at a prompt, where each command reports its result.
    [[nodiscard]] bool isPrompt() const noexcept { return m_isPrompt; }
    void setPrompt() noexcept { m_isPrompt = true; }

    /// Runs one command, all or nothing. False with the first error in `error`.
    [[nodiscard]] bool run(const Edit& edit, EditError& error);

    /// Writes the present scene to a file, by default its own. In a script writing is put off until
    /// `writeSaved`.
    [[nodiscard]] bool save(const String& file);
    /// Writes the files that a script saved, then the scene's own file; false after an error
    /// message.
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
    /// Names of files and the texts for them.
    std::vector<std::pair<String, String>> m_saved;
};

} // namespace qv::kelvo_tool
