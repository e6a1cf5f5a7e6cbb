#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/base/string_io.h"
#include "kelvo/sdk/attr_type.h"

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A scene as its text lists it, for comparing, patching and merging: plain records whose texts are
// pieces of scene text (docs/scene-text.md has the grammar).
namespace qv::kelvo_sdk::impl {

/// The comments around one thing; see `Comments`.
struct DocComments {
    std::string_view leading;
    std::string_view opening;
    std::string_view inner;
    std::string_view trailing;

    [[nodiscard]] bool isEmpty() const noexcept {
        return leading.empty() && opening.empty() && inner.empty() && trailing.empty();
    }
    friend bool operator==(const DocComments&, const DocComments&) = default;
};

/// A note behind a value: "@min" and "0", "@label "de"" and ""Höhe"", "@readonly" and nothing.
struct DocNote {
    std::string_view name;
    std::string_view text;

    friend bool operator==(const DocNote&, const DocNote&) = default;
};

/// An input, member, element or output. Elements have no name, and a kind where they name their
/// own.
struct DocAttr {
    AttrType type = AttrType::Null;
    AttrType elementType = AttrType::Null;
    std::string_view kind;
    std::string_view name;
    /// Empty for what holds others.
    std::string_view value;
    std::string_view source;
    std::vector<DocNote> notes;
    /// Null for none.
    const DocComments* comments = nullptr;
    std::vector<DocAttr> members;

    [[nodiscard]] bool isObject() const noexcept { return type == AttrType::Object; }
    [[nodiscard]] bool isArray() const noexcept { return type == AttrType::Array; }
};

struct DocNode {
    std::string_view type;
    /// As "geometry, object".
    std::string_view bases;
    std::string_view name;
    /// As "@abstract @internal".
    std::string_view flags;
    const DocComments* comments = nullptr;
    std::vector<DocAttr> inputs;
    std::vector<DocAttr> outputs;
};

/// A whole scene. Records of one document may refer to texts of another that lives as long.
class SceneDocument {
public:
    SceneDocument() = default;
    SceneDocument(SceneDocument&&) noexcept = default;
    SceneDocument& operator=(SceneDocument&&) noexcept = default;
    SceneDocument(const SceneDocument&) = delete;
    SceneDocument& operator=(const SceneDocument&) = delete;

    /// Arrays and objects of a document are nested at most so deep, some levels more than those of
    /// a text: comparing and merging go from attribute to member by recursion.
    static constexpr u32 maxDepth = 256;

    DocComments file;
    std::vector<DocNode> nodes;

    /// Takes off the blank line behind the header: it belongs to that, whatever comes next.
    void joinHeader();

    /// Read what `textOf` gave, whole; empty when it is no such text.
    [[nodiscard]] std::optional<DocNode> parseNode(String text);
    [[nodiscard]] std::optional<DocAttr> parseInput(String text);
    [[nodiscard]] std::optional<DocAttr> parseOutput(String text);
    [[nodiscard]] std::optional<DocAttr> parseElement(String text, AttrType elementType);
    /// Gives an attribute another kind; false when the text is none.
    [[nodiscard]] bool setKind(DocAttr& attr, String text);
    /// Reads notes as they stand behind a value, one space between them.
    [[nodiscard]] std::optional<std::vector<DocNote>> parseNotes(String text, AttrType type);
    /// Tell whether a text is one value, one source, or what stands behind a note's name.
    [[nodiscard]] static bool isValue(std::string_view text, AttrType type);
    [[nodiscard]] static bool isSource(std::string_view text);
    [[nodiscard]] static bool isNote(const DocNote& note, AttrType type);

    /// Keep a text, or comments, as long as the document lives.
    std::string_view keep(String text);
    const DocComments* keep(const DocComments& comments);

    [[nodiscard]] String text() const;
    [[nodiscard]] static String textOf(const DocNode& node);
    [[nodiscard]] static String textOf(const DocAttr& attr, bool isOutput);
    [[nodiscard]] static String elementText(const DocAttr& element);

private:
    std::deque<String> m_kept;
    std::deque<DocComments> m_comments;
};

/// Stands for the comments of what has none.
extern const DocComments noComments;

[[nodiscard]] inline const DocComments& commentsOf(const DocComments* comments) noexcept {
    return comments ? *comments : noComments;
}

/// Tells whether two say the same, comments included.
[[nodiscard]] bool isSame(const DocAttr& a, const DocAttr& b) noexcept;
[[nodiscard]] bool isSame(const DocNode& a, const DocNode& b) noexcept;
[[nodiscard]] bool isSame(const std::vector<DocAttr>& a, const std::vector<DocAttr>& b) noexcept;
[[nodiscard]] bool isSame(const SceneDocument& a, const SceneDocument& b) noexcept;

/// Lets nothing stand for an empty text.
[[nodiscard]] inline std::optional<String> textOrNone(std::string_view text) {
    return text.empty() ? std::optional<String>() : String(text);
}

/// Returns notes as they stand behind a value.
[[nodiscard]] String notesText(const std::vector<DocNote>& notes);

} // namespace qv::kelvo_sdk::impl
