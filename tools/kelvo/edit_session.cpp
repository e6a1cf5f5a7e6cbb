#include "tools/kelvo/edit_session.h"

#include "tools/kelvo/edit_commands.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/message.h"
#include "tools/kelvo/value_setting.h"
#include "tools/kelvo/versions.h"

#include <utility>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Scene;

// Names a step by its command, cut if it is very long.
String stepText(const Edit& edit) {
    constexpr u64 longest = 100;
    if (edit.text.size() <= longest) return edit.text;
    u64 end = longest;
    while (end != 0 && (static_cast<unsigned char>(edit.text.view()[end]) & 0xC0) == 0x80)
        --end;
    return edit.text.substr(0, end) + "...";
}

// Runs a command as one step, which is taken back if the command fails.
bool runInStep(const EditCommand& command, EditSession& session, const Edit& edit,
               EditFault& fault) {
    const String text = stepText(edit);
    const Scene::UndoScope scope(session.scene(), text, "Undo: " + text);
    String said;
    const bool isDone = [&] {
        const Reason reason;
        const bool done = command.run(session, edit, fault);
        said = reason.text();
        return done;
    }();
    if (isDone) {
        if (!said.isEmpty()) warn(said);
        return true;
    }
    (void)scope.cancel(); // It is open.
    if (fault.message.isEmpty()) fault.message = said.isEmpty() ? String("refused.") : said;
    return false;
}

} // namespace

EditSession::EditSession(String file, String outFile, Terminal& out)
    : m_file(std::move(file)), m_outFile(std::move(outFile)), m_out(out) {}

bool EditSession::open(WithTypes types) {
    const bool isOpen = m_isPrompt ? m_document.open(m_file) : m_document.openToEdit(m_file);
    m_scene = Scene::create();
    const bool isRead = isOpen && (types == WithTypes::Always ? m_document.readWithTypes(m_scene)
                                                              : m_document.read(m_scene));
    if (!isRead) return false;
    m_hasTypes = knowsTypes(m_scene);
    // Nothing is under way in a scene that was just made.
    (void)m_scene.setUndoEnabled(true);
    // Scripts may be long; what they hold on to is bounded by its bytes.
    kelvo_sdk::UndoLimits limits;
    limits.steps = 1'000'000;
    (void)m_scene.setUndoLimits(limits);
    (void)m_scene.markSaved();
    return true;
}

bool EditSession::run(const Edit& edit, EditError& error) {
    error = {edit.line, edit.column, {}};
    EditCommand command{};
    if (!findEditCommand(edit.name(), command, error.message)) return false;
    EditFault fault;
    if (carryOut(command, edit, fault)) return true;
    error = {edit.line, edit.columnOf(fault.word), edit.name() + ": " + fault.message};
    return false;
}

bool EditSession::carryOut(const EditCommand& command, const Edit& edit, EditFault& fault) {
    using Kind = EditCommand::Kind;
    if (!command.fits(edit, fault)) return false;
    if (command.kind == Kind::Prompts) return fault.at(0, "that is for the prompt alone.");
    if (command.kind == Kind::Looks) return command.run(*this, edit, fault);
    return runInStep(command, *this, edit, fault);
}

bool EditSession::save(const String& file) {
    const bool isOwn = file.isEmpty();
    if (!m_isPrompt) {
        // The scene's own file is written after the whole script.
        if (!isOwn) m_saved.emplace_back(file, m_scene.text());
        return true;
    }
    if (!m_document.save(m_scene, isOwn ? m_outFile : file, m_out)) return false;
    if (isOwn) (void)m_scene.markSaved(); // There is a scene.
    return true;
}

bool EditSession::writeSaved() {
    for (const auto& [file, text] : m_saved)
        if (!m_document.save(text, file, m_out)) return false;
    return m_document.save(m_scene, m_outFile, m_out);
}

} // namespace qv::kelvo_tool
