#pragma once

#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/scene_text/live_text.h"
#include "kelvo/sdk/impl/scene_text/omitted_attributes.h"
#include "kelvo/sdk/impl/scene_text/scene_lines.h"
#include "kelvo/sdk/impl/scene_text/scene_notes.h"
#include "kelvo/sdk/impl/scene_text/unread_places.h"
#include "kelvo/sdk/impl/value/attr_data.h"

#include "kelvo/base/workers.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

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
///     Nodes      scene_writer_nodes.h    heads, comments, outputs, the text as a whole
///     Inputs     scene_writer_inputs.h   kinds, values, arrays, objects, annotations
///
/// Omits attributes that the definition of the node's type, if there is one, restores.
///
/// `Source` is where the nodes are: in a scene (`LiveText`) or elsewhere. It has views of nodes,
/// inputs and outputs, which are copied like pointers and may be null, their lists, and the
/// comments, definitions and names that belong to them. A source file that writes text of a source
/// includes both parts and instantiates the writer.
template<typename Source>
class TextWriter {
public:
    using Node = typename Source::Node;
    using Input = typename Source::Input;
    using Output = typename Source::Output;

    /// Borrows the text, and `marks`, which are null for no marks.
    TextWriter(Source source, StringIO& out, bool changedOnly = false,
               std::vector<TextMark>* marks = nullptr)
        : m_source(std::move(source)),
          m_out(out),
          m_lines(out, marks),
          m_changedOnly(changedOnly) {}

    /// Lets several threads write large buffers, as `Workers` has them; by default one does.
    void useThreads(u32 threads) { m_workers = Workers(threads); }
    /// The values of attributes are defaults, which need no annotation.
    void writeDefinitions() noexcept { m_isDefinition = true; }
    void writeNode(Node node);
    /// Writes the whole text: the header line, all nodes, and the lines between them.
    void writeAll();

    // Parts, for writers of similar texts.

    [[nodiscard]] SceneLines& lines() noexcept { return m_lines; }
    void writeUnread(const UnreadLines& unread, u32 depth);
    void writeInput(Input input, u32 depth, bool isAgain, Input definition = {});
    void writeOutput(Output output, bool isAgain);
    /// Writes the name of an annotation; the caller then writes its content, if any.
    StringIO& writeNote(Note note) { return m_lines.beginNote(noteName(note)); }
    void writeTranslations(Note note, const AttrDetails::Texts& texts);

private:
    using Omitted = OmittedAttributes<Source>;

    // ---- Nodes -----------------------------------------------------------------------------

    [[nodiscard]] std::string_view linesBehindHeader(const UnreadNodes<Node>& unread) const;
    static void writeType(const String& type, StringIO& out);
    [[nodiscard]] static bool hasOwnHead(Node node, Node definition);
    void writeHead(Node node, Node definition, bool isOwn);
    void writeInputs(Node node, const Omitted& omitted, UnreadPlaces& unread);
    void writeOutputs(Node node, const Omitted& omitted, UnreadPlaces& unread);

    // ---- Inputs ----------------------------------------------------------------------------

    // An input that is being written, and the list of its elements or members.
    struct Part {
        Input input;
        u32 depth;
        bool isElement = false;
        bool isAgain = false;
        // Written as if it had no definition, with a mark.
        bool isOwn = false;
        // Null for none.
        Input definition = {};
        const Comments* comments = nullptr;
        // Null when nothing is omitted.
        std::unique_ptr<const Omitted> omitted = nullptr;
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
    [[nodiscard]] static DataType heldType(Input input) noexcept;
    [[nodiscard]] static AttrType elementTypeOf(Input input) noexcept;
    void writeKind(Input input, StringIO& out) const;
    static void writeDataType(DataType type, StringIO& out);
    void writeOwn(Input input, const Comments* comments);
    void writeLink(const String& name);
    void writeSource(Input input, const Comments* comments);
    void writeNotes(const Part& part);
    [[nodiscard]] static bool isUnchecked(Input input, const Comments* comments);
    void writeDetails(Input input);
    void writeChoices(Input input);
    void writeNoteValue(Note note, Input input, u64 place);
    template<typename Link>
    void writeOfAnyKind(const Value& value, Input input, const Link& link);

    Source m_source;
    StringIO& m_out;
    SceneLines m_lines;
    Workers m_workers{1};
    bool m_changedOnly;
    bool m_isDefinition = false;
    // The outermost is first.
    std::vector<Part> m_open;
};

extern template class TextWriter<LiveText>;
/// The writer of the nodes of a scene.
using SceneWriter = TextWriter<LiveText>;

} // namespace qv::kelvo_sdk::impl
