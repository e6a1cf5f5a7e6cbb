// The commands for the history of a scene, and those of the prompt.
#include "tools/kelvo/edit_commands.h"

#include "kelvo/base/spelling_suggestion.h"

#include <algorithm>
#include <array>
#include <string>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Scene;
using kelvo_sdk::UndoStep;

enum class Way { Back, Forth };

bool turn(EditSession& session, const Edit& edit, Way way, EditFault& fault) {
    const Scene& scene = session.scene();
    u64 count = 0;
    if (!readCount(edit, 1, 1, count, fault)) return false;
    const u64 most = way == Way::Back ? scene.undoCount() : scene.redoCount();
    if (count > most)
        return fault.at(edit.words.size() - 1,
                        (most == 0 ? String("nothing")
                                   : "only " + String(std::string_view(std::to_string(most)))) +
                            (way == Way::Back ? " can be undone." : " can be done again."));
    for (; count != 0; --count) {
        const UndoStep step = way == Way::Back ? scene.undoStep(0) : scene.redoStep(0);
        const kelvo_sdk::Result isTurned = way == Way::Back ? scene.undo() : scene.redo();
        if (!isTurned) return fault.at(0, isTurned.message());
        if (!session.isPrompt()) continue;
        const String& text = way == Way::Back ? step.undoText : step.doText;
        session.out().write(Tone::Note, text.view()).endLine();
    }
    return true;
}

bool runUndo(EditSession& session, const Edit& edit, EditFault& fault) {
    return turn(session, edit, Way::Back, fault);
}

bool runRedo(EditSession& session, const Edit& edit, EditFault& fault) {
    return turn(session, edit, Way::Forth, fault);
}

bool runCheckpoint(EditSession& session, const Edit& edit, EditFault&) {
    return session.scene().setCheckpoint(edit.words[1].text);
}

bool runReturn(EditSession& session, const Edit& edit, EditFault& fault) {
    const String& name = edit.words[1].text;
    const StringVector known = session.scene().checkpoints();
    if (std::ranges::find(known, name) != known.end()) {
        const kelvo_sdk::Result isThere = session.scene().returnTo(name);
        return isThere || fault.at(0, isThere.message());
    }
    SpellingSuggestion near(name.view());
    for (const String& candidate : known)
        near.offer(candidate.view());
    return fault.at(1, "no checkpoint '" + name + "'" + near.question());
}

void writeStep(Terminal& out, u64 number, const UndoStep& step, bool isUndone) {
    const std::string digits = std::to_string(number);
    out.write(std::string(digits.size() < 4 ? 4 - digits.size() : 0, ' ')).write(digits);
    out.write("  ").write(isUndone ? Tone::Note : Tone::Plain, step.doText.view());
    if (isUndone) out.write(" (undone)");
    out.endLine();
}

bool runHistory(EditSession& session, const Edit&, EditFault&) {
    const Scene& scene = session.scene();
    const u64 done = scene.undoCount();
    for (u64 i = 0; i < done; ++i)
        writeStep(session.out(), i + 1, scene.undoStep(done - 1 - i), false);
    for (u64 i = 0; i < scene.redoCount(); ++i)
        writeStep(session.out(), done + i + 1, scene.redoStep(i), true);
    if (scene.checkpoints().empty()) return true;
    session.out().write("checkpoints:");
    for (const String& name : scene.checkpoints())
        session.out().write(" ").write(Tone::Name, name.view());
    session.out().endLine();
    return true;
}

bool runSave(EditSession& session, const Edit& edit, EditFault& fault) {
    return session.save(edit.has(1) ? edit.words[1].text : String()) ||
           fault.at(0, "nothing was written.");
}

using Kind = EditCommand::Kind;

constexpr std::array commands{
    EditCommand{"undo", "[COUNT]", "Takes the last steps back, one by default", Kind::Looks,
                &runUndo},
    EditCommand{"redo", "[COUNT]", "Does again what was taken back", Kind::Looks, &runRedo},
    EditCommand{"history", "", "Lists the steps and checkpoints", Kind::Looks, &runHistory},
    EditCommand{"checkpoint", "NAME", "Gives the present state a name", Kind::Looks,
                &runCheckpoint},
    EditCommand{"return", "CHECKPOINT", "Undoes or redoes up to a named state", Kind::Looks,
                &runReturn},
    EditCommand{"save", "[FILE]",
                "Writes the scene, or to another file a copy; of a script at its end", Kind::Looks,
                &runSave},
    EditCommand{"quit", "",
                "Leaves the prompt; with changes that are not saved, at the second time",
                Kind::Prompts, nullptr},
    EditCommand{"quit!", "", "Leaves the prompt without saving", Kind::Prompts, nullptr},
};

} // namespace

std::span<const EditCommand> historyCommands() {
    return commands;
}

} // namespace qv::kelvo_tool
