#pragma once

#include "kelvo/sdk/impl/scene_text/scene_document.h"
#include "kelvo/sdk/impl/scene_text/scene_lines.h"
#include "kelvo/sdk/impl/scene_text/scene_writer.h"

namespace qv::kelvo_sdk::impl {

class Scene;

/// Makes records of the nodes of a scene for a document. Their texts are pieces of the scene's
/// text, which the marks of the writer locate.
class SceneRecorder {
public:
    /// Borrows the document, which must be discarded when recording fails.
    explicit SceneRecorder(SceneDocument& document) : m_document(document) {}

    /// Records the nodes of a source (see `TextWriter`), except that of those that `isLeftOut`
    /// accepts it takes type and name alone. Returns false and sets `error` when the scene has
    /// something that records cannot express.
    template<typename Source, typename LeftOut>
    [[nodiscard]] bool record(const Source& source, const LeftOut& isLeftOut, String& error);
    /// Records all of a scene.
    [[nodiscard]] bool record(const Scene& scene, String& error);

private:
    // An input or element whose end was not reached yet.
    struct Open {
        DocAttr attr;
        DocComments comments;
        bool isOutput = false;
    };

    void recordFile(const Comments& file);
    void addNameOf(const String& type, const String& name);
    void takeText(StringIO& out);
    [[nodiscard]] bool take(const TextMark& mark);
    [[nodiscard]] bool takeLines(const TextMark& mark);
    void takeHead(const TextMark& mark);
    bool takeFlag(const TextMark& mark);
    [[nodiscard]] bool takeAttribute(const TextMark& mark);
    [[nodiscard]] bool open(const TextMark& mark);
    void takeName(const TextMark& mark);
    void takeNote(const TextMark& mark);
    void takeTranslation(const TextMark& mark);
    void end(const TextMark& mark);
    void endNode(const TextMark& mark);
    void startPiece(std::string_view& piece, u64 at) noexcept;
    void endPiece(u64 at) noexcept;
    [[nodiscard]] DocComments& comments() noexcept {
        return m_open.empty() ? m_nodeComments : m_open.back().comments;
    }
    std::string_view kept(std::string_view text);

    SceneDocument& m_document;
    const char* m_problem = nullptr;
    std::vector<TextMark> m_marks;
    // The text of several nodes; the document owns it.
    std::string_view m_text;
    // The part of a record that continues up to the next mark, null for none, and its start.
    std::string_view* m_piece = nullptr;
    u64 m_pieceStart = 0;
    // Comment lines in front of the next part.
    std::string_view m_leading;
    DocNode m_node;
    DocComments m_nodeComments;
    std::vector<DocAttr> m_inputs;
    // The outermost is first.
    std::vector<Open> m_open;
};

template<typename Source, typename LeftOut>
bool SceneRecorder::record(const Source& source, const LeftOut& isLeftOut, String& error) {
    recordFile(source.file());
    StringIO out;
    TextWriter<Source> writer(source, out, false, &m_marks);
    source.forEachNode([&](const auto& node) {
        const bool isLeft = !m_problem && isLeftOut(node);
        if (!m_problem && !isLeft) writer.writeNode(node);
        // Nodes are written until the text has some size; then it is split into records.
        constexpr u64 sizeOfText = 64 * 1024;
        if (!m_problem && (isLeft || out.size() >= sizeOfText)) takeText(out);
        if (isLeft) addNameOf(node->type(), node->name());
    });
    if (!m_problem) takeText(out);
    if (m_problem)
        error = m_problem;
    else
        m_document.joinHeader();
    return !m_problem;
}

} // namespace qv::kelvo_sdk::impl
