#pragma once

#include "kelvo/base/types.h"

#include <span>
#include <string_view>

// The annotations of scene text, in one table for parser, writer and comparison.
namespace qv::kelvo_sdk::impl {

/// Annotations behind a value or in the head of a node, in the order in which they are written.
enum class Note : u32 {
    Type,
    Stashed,
    Silent,
    Announced,
    ReadOnly,
    Unchecked,
    Again,
    Default,
    Minimum,
    Maximum,
    Unit,
    Choices,
    Label,
    Help,
    Own,
    Abstract,
    Internal
};

/// The text that follows the name of an annotation.
enum class NoteContent : u8 {
    Nothing,
    ElementType,
    /// Of the kind of the line, or of a kind that precedes it.
    Value,
    ValueList,
    Text,
    /// A language and a text. Only such annotations may occur more than once.
    Translation
};

struct NoteRule {
    Note note;
    /// Includes the '@'.
    std::string_view name;
    NoteContent content = NoteContent::Nothing;
    bool onInputs = true;
    bool onOutputs = false;
    bool onNodes = false;
    /// Allowed only on inputs that are buffers or arrays.
    bool onListsAlone = false;
};

/// All annotations, indexed by `Note`.
[[nodiscard]] std::span<const NoteRule> noteRules() noexcept;

[[nodiscard]] const NoteRule& ruleOf(Note note) noexcept;
/// Finds an annotation of inputs by its name with '@'; null when there is none.
[[nodiscard]] const NoteRule* findInputNote(std::string_view name) noexcept;

[[nodiscard]] inline std::string_view noteName(Note note) noexcept {
    return ruleOf(note).name;
}

/// Tells whether the annotation contains values, which may be links.
[[nodiscard]] constexpr bool holdsValues(const NoteRule& rule) noexcept {
    return rule.content == NoteContent::Value || rule.content == NoteContent::ValueList;
}

} // namespace qv::kelvo_sdk::impl
