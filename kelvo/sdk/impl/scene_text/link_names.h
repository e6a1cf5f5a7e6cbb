#pragma once

#include "kelvo/sdk/impl/scene_text/scene_document.h"

#include <unordered_map>

namespace qv::kelvo_sdk::impl {

/// New names for nodes, and the texts of references to them under these names.
class LinkNames {
public:
    void add(std::string_view from, std::string_view to) { m_names[from] = to; }
    [[nodiscard]] bool empty() const noexcept { return m_names.empty(); }
    /// Returns the new name of a node, which may be its old name.
    [[nodiscard]] std::string_view nodeName(std::string_view name) const;

    /// Return the new text of a value, source or annotation.
    [[nodiscard]] std::string value(std::string_view text, AttrType type) const;
    [[nodiscard]] std::string source(std::string_view text) const;
    [[nodiscard]] std::string note(const DocNote& note, AttrType type) const;

    // Tell whether the new names alone turn `before` into `after`.

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

    /// Renames the references in an attribute with its parts; `document` owns the new texts.
    void applyTo(DocAttr& attr, SceneDocument& document) const;
    /// Renames nodes of a document and all references to them.
    void applyTo(SceneDocument& document) const;

private:
    [[nodiscard]] bool mayDiffer(AttrType type) const noexcept {
        return type == AttrType::Node && !m_names.empty();
    }

    std::unordered_map<std::string_view, std::string_view> m_names;
};

/// Returns the text of a link to a node of this name.
[[nodiscard]] inline std::string linkText(std::string_view name) {
    return name == "null" ? "\"null\"" : std::string(name);
}
/// Returns the name of the node in the text of a link, empty for none.
[[nodiscard]] inline std::string_view linkedName(std::string_view text) noexcept {
    if (text.starts_with('"')) return text.substr(1, text.size() - 2);
    return text == "null" ? std::string_view() : text;
}

/// A piece of an annotation's text: the name of a linked node, or the text between such names.
struct NotePiece {
    std::string_view text;
    bool isLink = false;
};
/// Tells whether an annotation contains values of the kind of its input.
[[nodiscard]] bool holdsValues(std::string_view note) noexcept;
/// Splits the text of an annotation into pieces; `type` is the kind of the input.
[[nodiscard]] std::vector<NotePiece> notePieces(const DocNote& note, AttrType type);

} // namespace qv::kelvo_sdk::impl
