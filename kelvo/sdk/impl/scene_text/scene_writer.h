#pragma once

#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/scene_text/omitted_attributes.h"
#include "kelvo/sdk/impl/scene_text/scene_lines.h"
#include "kelvo/sdk/impl/scene_text/scene_notes.h"
#include "kelvo/sdk/impl/scene_text/unread_places.h"
#include "kelvo/sdk/impl/value/attr_data.h"

#include "kelvo/base/workers.h"

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

// Treats kinds out of range as Null.
[[nodiscard]] constexpr AttrType knownType(AttrType type) noexcept {
    return static_cast<u32>(type) < attrTypeCount ? type : AttrType::Null;
}
[[nodiscard]] constexpr DataType knownType(DataType type) noexcept {
    return static_cast<u32>(type) < dataTypeCount ? type : DataType::Null;
}

/// Returns a part of comments that may be null.
[[nodiscard]] inline std::string_view partOf(const Comments* comments,
                                             String Comments::*part) noexcept {
    return comments ? (comments->*part).view() : std::string_view();
}

/// Writes nodes as scene text (docs/scene-text.md has the grammar).
///
///     Nodes      scene_writer.cpp          heads, comments, outputs
///     Inputs     scene_writer_inputs.cpp   kinds, values, arrays, objects, annotations
///
/// Omits attributes that the definition of the node's type, if a library has it, restores.
///
/// Nodes outside the scene cannot be named in its text: writes links to them as null, and omits
/// connections to them.
class SceneWriter {
public:
    /// Borrows all arguments; `scene` is null for nodes without one, `marks` for no marks.
    SceneWriter(const Scene* scene, StringIO& out, bool changedOnly,
                std::vector<TextMark>* marks = nullptr);
    /// For the attributes of definitions, whose values are defaults.
    SceneWriter(const SceneComments& comments, StringIO& out);

    /// Lets several threads write large buffers, as `Workers` has them; by default one does.
    void useThreads(u32 threads) { m_workers = Workers(threads); }
    void writeNode(const INode& node);

    // Parts, for writers of similar texts.

    [[nodiscard]] SceneLines& lines() noexcept { return m_lines; }
    void writeUnread(const UnreadLines& unread, u32 depth);
    void writeInput(const Input& input, u32 depth, bool isAgain, const Input* definition = nullptr);
    void writeOutput(const Output& output, bool isAgain);
    /// Writes the name of an annotation; the caller then writes its content, if any.
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

    // An input that is being written, and the list of its elements or members.
    struct Part {
        const Input* input;
        u32 depth;
        bool isElement = false;
        bool isAgain = false;
        // Written as if it had no definition, with a mark.
        bool isOwn = false;
        // Null for none.
        const Input* definition = nullptr;
        const Comments* comments = nullptr;
        // Null when nothing is omitted.
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
    Workers m_workers{1};
    bool m_changedOnly;
    bool m_isDefinition = false;
    // The outermost is first.
    std::vector<Part> m_open;
    // Inputs known to differ from their defaults.
    std::unordered_set<const Input*> m_changed;
    // Nodes whose outputs were already compared, and the outputs among them that share their name
    // with an earlier one.
    std::unordered_set<const INode*> m_numbered;
    std::unordered_map<const IOutput*, u32> m_ordinals;
};

} // namespace qv::kelvo_sdk::impl
