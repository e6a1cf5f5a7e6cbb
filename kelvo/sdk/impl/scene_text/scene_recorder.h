#pragma once

#include "kelvo/sdk/impl/scene_text/scene_document.h"
#include "kelvo/sdk/impl/scene_text/scene_lines.h"

namespace qv::kelvo_sdk::impl {

class Scene;

/// Makes records of the nodes of a scene for a document. Their texts are pieces of the scene's
/// text, which the marks of the writer locate.
class SceneRecorder {
public:
    /// Borrows the document, which must be discarded when recording fails.
    explicit SceneRecorder(SceneDocument& document) : m_document(document) {}

    /// Returns false and sets `error` when the scene has something that records cannot express.
    [[nodiscard]] bool record(const Scene& scene, String& error);

private:
    // An input or element whose end was not reached yet.
    struct Open {
        DocAttr attr;
        DocComments comments;
        bool isOutput = false;
    };

    [[nodiscard]] bool recordNodes(const Scene& scene);
    [[nodiscard]] bool takeText(StringIO& out);
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

} // namespace qv::kelvo_sdk::impl
