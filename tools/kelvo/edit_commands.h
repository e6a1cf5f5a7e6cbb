#pragma once

#include "tools/kelvo/edit_session.h"

#include <span>
#include <string_view>

namespace qv::kelvo_tool {

/// A fault in a command, and the word that it is about.
struct EditFault {
    String message;
    u64 word = 0;

    /// Returns false.
    bool at(u64 place, String text) {
        message = std::move(text);
        word = place;
        return false;
    }
};

/// A command of the language of edits.
struct EditCommand {
    /// Its effect on the history.
    enum class Kind {
        /// Becomes one step of it.
        Edits,
        /// Reads the scene, or goes through the history.
        Looks,
        /// Is for the prompt alone.
        Prompts,
    };
    using Action = bool (*)(EditSession& session, const Edit& edit, EditFault& fault);

    const char* name;
    /// Words in order: those in brackets may be left out, "..." takes the rest of the command. The
    /// names tell what they stand for, and so what completes them.
    const char* arguments;
    const char* help;
    Kind kind;
    /// Null for what the prompt does itself.
    Action run;

    /// Returns the name of the word-th argument, counted from 1, as "INPUT"; empty when there is
    /// none.
    [[nodiscard]] std::string_view argument(u64 word) const;
    /// Tells whether a command has as many words as it needs.
    [[nodiscard]] bool fits(const Edit& edit, EditFault& fault) const;
};

/// Returns all commands, in the order of the help.
[[nodiscard]] std::vector<EditCommand> editCommands();
/// Returns the command of a name; false with a sentence that names the nearest one.
[[nodiscard]] bool findEditCommand(const String& name, EditCommand& command, String& error);
/// Prints the table of all commands, or of the one of a name.
bool printEditCommands(Terminal& out, const String& name, String& error);

// The commands by what they are about, each list in a source file.
[[nodiscard]] std::span<const EditCommand> valueCommands();
[[nodiscard]] std::span<const EditCommand> elementCommands();
[[nodiscard]] std::span<const EditCommand> nodeCommands();
[[nodiscard]] std::span<const EditCommand> historyCommands();
[[nodiscard]] std::span<const EditCommand> lookCommands();

// Parts that commands share.

/// Finds the node that a word names.
[[nodiscard]] bool findNodeOf(const EditSession& session, const Edit& edit, u64 word,
                              kelvo_sdk::Node& node, EditFault& fault);
/// Finds the input at the path that a word is, for a change of it.
[[nodiscard]] bool reachInputOf(const EditSession& session, const Edit& edit, u64 word,
                                kelvo_sdk::Input& input, EditFault& fault);
/// Reads a number without sign; `fallback` where the word is left out.
[[nodiscard]] bool readCount(const Edit& edit, u64 word, u64 fallback, u64& count,
                             EditFault& fault);
/// Gives an input the value that takes the rest of a command from a word on.
[[nodiscard]] bool assignFrom(const EditSession& session, const Edit& edit, u64 word,
                              const kelvo_sdk::Input& input, EditFault& fault);

} // namespace qv::kelvo_tool
