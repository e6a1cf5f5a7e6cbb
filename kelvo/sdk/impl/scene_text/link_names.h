#pragma once

#include "kelvo/sdk/impl/scene_text/scene_document.h"

#include <unordered_map>

namespace qv::kelvo_sdk::impl {

/// New names for nodes, and what references to them become.
class LinkNames {
public:
    void add(std::string_view from, std::string_view to) { m_names[from] = to; }
    [[nodiscard]] bool empty() const noexcept { return m_names.empty(); }
    /// Returns what a node is called, which may be its name as before.
    [[nodiscard]] std::string_view nodeName(std::string_view name) const;

    /// Return the new text of a value, source or note.
    [[nodiscard]] std::string value(std::string_view text, AttrType type) const;
    [[nodiscard]] std::string source(std::string_view text) const;
    [[nodiscard]] std::string note(const DocNote& note, AttrType type) const;

    // Tell whether what stands before becomes what stands after.

    [[nodiscard]] bool isSameValue(const DocAttr& before, const DocAttr& after) const {
        return mayDiffer(before.type) ? value(before.value, before.type) == after.value
                                      : before.value == after.value;
    }
    [[nodiscard]] bool isSameSource(const DocAttr& before, const DocAttr& after) const {
        const bool isPlain = m_names.empty() || before.source.empty();
        return isPlain ? before.source == after.source : source(before.source) == after.source;
    }
    [[nodiscard]] bool isSameNote(const DocNote& before, const DocNote& after,
                                  AttrType type) const {
        if (before.name != after.name) return false;
        return m_names.empty() ? before.text == after.text : note(before, type) == after.text;
    }

    /// Renames the references in an attribute and in what it holds; `document` keeps the texts.
    void applyTo(DocAttr& attr, SceneDocument& document) const;
    /// The same for all of a document, names of nodes too.
    void applyTo(SceneDocument& document) const;

private:
    [[nodiscard]] bool mayDiffer(AttrType type) const noexcept {
        return type == AttrType::Node && !m_names.empty();
    }

    std::unordered_map<std::string_view, std::string_view> m_names;
};

/// Returns how a node is named as a value.
[[nodiscard]] inline std::string linkText(std::string_view name) {
    return name == "null" ? "\"null\"" : std::string(name);
}
/// Returns the name of the node that a value names, empty for none.
[[nodiscard]] inline std::string_view linkedName(std::string_view text) noexcept {
    if (text.starts_with('"')) return text.substr(1, text.size() - 2);
    return text == "null" ? std::string_view() : text;
}

/// A piece of a note's text: a node's name as a value, or what stands between such.
struct NotePiece {
    std::string_view text;
    bool isLink = false;
};
/// Tells whether a note says values of the kind of its input.
[[nodiscard]] bool holdsValues(std::string_view note) noexcept;
/// Takes the text of a note apart; `type` is the kind of the input.
[[nodiscard]] std::vector<NotePiece> notePieces(const DocNote& note, AttrType type);

} // namespace qv::kelvo_sdk::impl
