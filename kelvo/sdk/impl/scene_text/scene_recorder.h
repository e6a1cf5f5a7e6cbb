#pragma once

#include "kelvo/sdk/impl/scene_text/scene_document.h"
#include "kelvo/sdk/impl/scene_text/scene_lines.h"

namespace qv::kelvo_sdk::impl {

class Scene;

/// Makes the records of a document of the nodes of a scene. The texts of the records are those that
/// the scene writes: the marks that the writer leaves say where they stand.
class SceneRecorder {
public:
    /// Borrows the document, which is to be dropped when recording fails.
    explicit SceneRecorder(SceneDocument& document) : m_document(document) {}

    /// False, and `error` says why, when the scene holds what records cannot.
    [[nodiscard]] bool record(const Scene& scene, String& error);

private:
    // An input or element of which the end was not met yet.
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
    // The text of several nodes, which the document keeps.
    std::string_view m_text;
    // The part of a record that goes on up to the next mark, null for none, and where it begins.
    std::string_view* m_piece = nullptr;
    u64 m_pieceStart = 0;
    // Comment lines in front of what begins next.
    std::string_view m_leading;
    DocNode m_node;
    DocComments m_nodeComments;
    std::vector<DocAttr> m_inputs;
    // From the outermost on.
    std::vector<Open> m_open;
};

} // namespace qv::kelvo_sdk::impl
