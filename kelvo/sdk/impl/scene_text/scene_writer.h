#pragma once

#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/scene_text/omitted_attributes.h"
#include "kelvo/sdk/impl/scene_text/scene_lines.h"
#include "kelvo/sdk/impl/scene_text/scene_notes.h"
#include "kelvo/sdk/impl/scene_text/unread_places.h"
#include "kelvo/sdk/impl/value/attr_data.h"

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

using interfaces::INode;
using interfaces::IOutput;

class Input;
class Node;
class Output;
class Scene;

// Kinds out of range hold nothing, as Null does.
[[nodiscard]] constexpr AttrType knownType(AttrType type) noexcept {
    return static_cast<u32>(type) < attrTypeCount ? type : AttrType::Null;
}
[[nodiscard]] constexpr DataType knownType(DataType type) noexcept {
    return static_cast<u32>(type) < dataTypeCount ? type : DataType::Null;
}

/// Returns a part of what may be null.
[[nodiscard]] inline std::string_view partOf(const Comments* comments,
                                             String Comments::*part) noexcept {
    return comments ? (comments->*part).view() : std::string_view();
}

/// Writes nodes as scene text (docs/scene-text.md has the grammar).
///
///     Nodes      scene_writer.cpp          heads, comments, outputs
///     Inputs     scene_writer_inputs.cpp   kinds, values, arrays, objects, annotations
///
/// Of a node whose type the scene's libraries know, its definition's part is left out.
///
/// Nodes outside the scene cannot be named in its text: links to them are written as null, and
/// connections to them are left out.
class SceneWriter {
public:
    /// Borrows all; `scene` is null for nodes that have none, `marks` for none.
    SceneWriter(const Scene* scene, StringIO& out, bool changedOnly,
                std::vector<TextMark>* marks = nullptr);
    /// For the attributes of definitions, whose values are defaults.
    SceneWriter(const SceneComments& comments, StringIO& out);

    void writeNode(const INode& node);

    // Parts, for what is like a node.

    [[nodiscard]] SceneLines& lines() noexcept { return m_lines; }
    void writeUnread(const UnreadLines& unread, u32 depth);
    void writeInput(const Input& input, u32 depth, bool isAgain, const Input* definition = nullptr);
    void writeOutput(const Output& output, bool isAgain);
    /// Writes the name of an annotation; its content, if it has any, is to follow.
    StringIO& writeNote(Note note) { return m_lines.beginNote(noteName(note)); }
    void writeTranslations(Note note, const AttrDetails::Texts& texts);

private:
    // ---- Nodes -----------------------------------------------------------------------------

    void writeHead(const INode& node, const Node* definition, bool isOwn);
    void writeInputs(const INode& node, const OmittedAttributes& omitted, UnreadPlaces& unread);
    void writeOutputs(const INode& node, const OmittedAttributes& omitted, UnreadPlaces& unread);
    template<typename Thing>
    [[nodiscard]] const Comments* commentsOf(const Thing& thing) const {
        return m_comments ? m_comments->find(&thing) : nullptr;
    }

    // ---- Inputs ----------------------------------------------------------------------------

    // An input that is being written, and the list of what it holds.
    struct Part {
        const Input* input;
        u32 depth;
        bool isElement = false;
        bool isAgain = false;
        // Counts as a definition of its own.
        bool isOwn = false;
        // Null for none.
        const Input* definition = nullptr;
        const Comments* comments = nullptr;
        // Null where nothing is left out.
        std::unique_ptr<const OmittedAttributes> omitted = nullptr;
        // Null where there are none.
        std::unique_ptr<UnreadPlaces> unread = nullptr;
        u64 next = 0;
    };

    void begin(Part part);
    void beginAttribute(Part& part);
    void beginElement(const Part& part);
    void goOn();
    void beginNext(Part& parent, u64 index);
    void endList(const Part& parent);
    void end(const Part& part);
    [[nodiscard]] bool isUnchanged(const Input& input);
    void writeKind(const Input& input, StringIO& out) const;
    static void writeDataType(DataType type, StringIO& out);
    void writePlain(const Value& value);
    void writeOwn(const Input& input, const Comments* comments);
    void writeLink(const INode* target);
    void writeSource(const Input& input, const Comments* comments);
    void writeNotes(const Part& part);
    void writeDetails(const AttrDetails& details, const Input& input);
    void writeChoices(const ds::Vector<Value>& choices, const Input& input);
    void writeNoteValue(Note note, const Value& value, const Input& input);
    void writeOfAnyKind(const Value& value, const Input& input);
    [[nodiscard]] u32 ordinalOf(const Output& output);

    StringIO& m_out;
    SceneLines m_lines;
    const Scene* m_scene;
    // Null when there are none.
    const SceneComments* m_comments;
    bool m_changedOnly;
    bool m_isDefinition = false;
    // From the outermost on.
    std::vector<Part> m_open;
    // Inputs known not to be at their defaults.
    std::unordered_set<const Input*> m_changed;
    // Nodes whose outputs were looked through, and the outputs found there that share their name
    // with an earlier one.
    std::unordered_set<const INode*> m_numbered;
    std::unordered_map<const IOutput*, u32> m_ordinals;
};

} // namespace qv::kelvo_sdk::impl
