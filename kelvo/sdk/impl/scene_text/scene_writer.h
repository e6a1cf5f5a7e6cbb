#pragma once

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/scene_text/omitted_attributes.h"
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
    /// Borrows all; `scene` is null for nodes that have none.
    SceneWriter(const Scene* scene, StringIO& out, bool changedOnly);
    /// For the attributes of definitions, whose values are defaults.
    SceneWriter(const SceneComments& comments, StringIO& out);

    void writeNode(const INode& node);

    // Parts, for what is like a node.

    /// Writes comment lines.
    void writeLines(const String& lines, u32 depth);
    void writeUnread(const UnreadLines& unread, u32 depth);
    /// Write what stands behind a '{', and at the end of a thing; null for nothing but its line.
    void writeOpening(const Comments* comments);
    void writeTrailing(const Comments* comments);
    void writeInput(const Input& input, u32 depth, bool isAgain, const Input* definition = nullptr);
    void writeOutput(const Output& output, bool isAgain);
    /// Writes the name of an annotation; its content, if it has any, is to follow.
    StringIO& writeNote(Note note) { return m_out.append(' ').append(noteName(note)); }
    void writeTranslations(Note note, const AttrDetails::Texts& texts);
    void indent(u32 depth) { m_out.appendRepeated(' ', depth <= maxIndent ? 4 * depth : 0); }
    /// Lines that are nested deeper, where no reader goes, begin at the margin: the size of the
    /// text would grow with the square of the depth.
    static constexpr u32 maxIndent = 256;

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
    void writeKind(const Input& input);
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
