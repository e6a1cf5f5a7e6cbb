#include "kelvo/sdk/impl/scene_text/scene_notes.h"

namespace qv::kelvo_sdk::impl {

namespace {

constexpr NoteRule kRules[] = {
    {.note = Note::Type,
     .name = "@type",
     .content = NoteContent::ElementType,
     .onListsAlone = true},
    {.note = Note::Stashed, .name = "@stashed", .content = NoteContent::Value},
    {.note = Note::Silent, .name = "@silent"},
    {.note = Note::Announced, .name = "@announced"},
    {.note = Note::ReadOnly, .name = "@readonly"},
    {.note = Note::Unchecked, .name = "@unchecked"},
    {.note = Note::Again, .name = "@again", .onOutputs = true},
    {.note = Note::Default, .name = "@default", .content = NoteContent::Value},
    {.note = Note::Minimum, .name = "@min", .content = NoteContent::Value},
    {.note = Note::Maximum, .name = "@max", .content = NoteContent::Value},
    {.note = Note::Unit, .name = "@unit", .content = NoteContent::Text},
    {.note = Note::Choices, .name = "@choices", .content = NoteContent::ValueList},
    {.note = Note::Label, .name = "@label", .content = NoteContent::Translation},
    {.note = Note::Help, .name = "@help", .content = NoteContent::Translation},
    {.note = Note::Own, .name = "@own", .onNodes = true},
    {.note = Note::Abstract, .name = "@abstract", .onInputs = false, .onNodes = true},
    {.note = Note::Internal, .name = "@internal", .onInputs = false, .onNodes = true},
};

constexpr bool areInOrder() {
    u32 number = 0;
    for (const NoteRule& rule : kRules)
        if (rule.note != static_cast<Note>(number++)) return false;
    return true;
}
static_assert(areInOrder());

} // namespace

std::span<const NoteRule> noteRules() noexcept {
    return kRules;
}

const NoteRule& ruleOf(Note note) noexcept {
    return kRules[static_cast<u32>(note)];
}

const NoteRule* findInputNote(std::string_view name) noexcept {
    for (const NoteRule& rule : kRules)
        if (rule.onInputs && rule.name == name) return &rule;
    return nullptr;
}

} // namespace qv::kelvo_sdk::impl
