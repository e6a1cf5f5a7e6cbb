#pragma once

#include "tools/kelvo/edit_session.h"

#include <span>
#include <string_view>

namespace qv::kelvo_tool {

/// An error in a command, and the word concerned.
struct EditFault {
    String message;
    u64 word = 0;

    /// Sets the error and returns false, for use in a return statement.
    bool at(u64 place, String text) {
        message = std::move(text);
        word = place;
        return false;
    }
};

/// A command of the language of edits.
struct EditCommand {
    /// The command's effect on the history.
    enum class Kind {
        /// Becomes a step of the history.
        Edits,
        /// Only reads the scene, or undoes and redoes.
        Looks,
        /// Works only at the prompt.
        Prompts,
    };
    using Action = bool (*)(EditSession& session, const Edit& edit, EditFault& fault);

    const char* name;
    /// Words in order: optional ones in brackets; "..." takes the rest of the command. The names
    /// tell what the words stand for, which also decides their completion.
    const char* arguments;
    const char* help;
    Kind kind;
    /// Null for commands that the prompt carries out itself.
    Action run;

    /// Returns the name of an argument by index, counted from 1, as "INPUT"; empty out of range.
    [[nodiscard]] std::string_view argument(u64 word) const;
    /// Tells whether a command has an accepted number of words.
    [[nodiscard]] bool fits(const Edit& edit, EditFault& fault) const;
};

/// Returns all commands, in the order of the help.
[[nodiscard]] std::vector<EditCommand> editCommands();
/// Returns the command of a name; false with a sentence that suggests a similar name.
[[nodiscard]] bool findEditCommand(const String& name, EditCommand& command, String& error);
/// Prints the table of all commands, or one command's line.
bool printEditCommands(Terminal& out, const String& name, String& error);

// The commands by subject, each list in a source file of its own.
[[nodiscard]] std::span<const EditCommand> valueCommands();
[[nodiscard]] std::span<const EditCommand> elementCommands();
[[nodiscard]] std::span<const EditCommand> nodeCommands();
[[nodiscard]] std::span<const EditCommand> historyCommands();
[[nodiscard]] std::span<const EditCommand> lookCommands();

// Helpers shared by commands.

/// Finds the node named by a word.
[[nodiscard]] bool findNodeOf(const EditSession& session, const Edit& edit, u64 word,
                              kelvo_sdk::Node& node, EditFault& fault);
/// Finds the input at the path in a word, in order to change it.
[[nodiscard]] bool reachInputOf(const EditSession& session, const Edit& edit, u64 word,
                                kelvo_sdk::Input& input, EditFault& fault);
/// Reads an unsigned number; `fallback` if the word is missing.
[[nodiscard]] bool readCount(const Edit& edit, u64 word, u64 fallback, u64& count,
                             EditFault& fault);
/// Sets an input to the value in the command's text from a word on.
[[nodiscard]] bool assignFrom(const EditSession& session, const Edit& edit, u64 word,
                              const kelvo_sdk::Input& input, EditFault& fault);

} // namespace qv::kelvo_tool
