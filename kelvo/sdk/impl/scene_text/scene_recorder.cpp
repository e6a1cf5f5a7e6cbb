#include "kelvo/sdk/impl/scene_text/scene_recorder.h"

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <iterator>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr const char* kTooDeep = "a scene is nested too deep to be compared.";
constexpr const char* kUnread = "a scene has lines that could not be read.";

std::string_view withoutSpaces(std::string_view text) noexcept {
    if (text.starts_with(' ')) text.remove_prefix(1);
    if (text.ends_with(' ')) text.remove_suffix(1);
    return text;
}

} // namespace

bool SceneRecorder::record(const Scene& scene, String& error) {
    m_document.nodes.reserve(scene.nodeCount());
    return record(
        LiveText(&scene), [](const Node*) { return false; }, error);
}

void SceneRecorder::recordFile(const Comments& file) {
    if (!file.unread.empty()) m_problem = kUnread;
    m_document.file = {.leading = kept(file.leading.view()),
                       .opening = kept(file.opening.view()),
                       .inner = kept(file.inner.view()),
                       .trailing = {}};
}

void SceneRecorder::addNameOf(const String& type, const String& name) {
    DocNode& made = m_document.nodes.emplace_back();
    made.type = m_document.keep(type);
    made.name = m_document.keep(name);
}

// Stops at the first problem.
void SceneRecorder::takeText(StringIO& out) {
    if (out.isEmpty()) return;
    m_text = m_document.keep(out.take());
    for (const TextMark& mark : m_marks)
        if (!take(mark)) break;
    m_marks.clear();
}

bool SceneRecorder::take(const TextMark& mark) {
    if (mark.part < TextPart::NodeType) return takeLines(mark);
    if (mark.part >= TextPart::Input) return takeAttribute(mark);
    takeHead(mark);
    return true;
}

bool SceneRecorder::takeLines(const TextMark& mark) {
    if (mark.part == TextPart::Leading) m_leading = kept(mark.text);
    if (mark.part == TextPart::Opening) comments().opening = kept(mark.text);
    if (mark.part == TextPart::Inner) comments().inner = kept(mark.text);
    if (mark.part == TextPart::Unread) m_problem = kUnread;
    return !m_problem;
}

void SceneRecorder::takeHead(const TextMark& mark) {
    switch (mark.part) {
    case TextPart::NodeType:
        m_nodeComments = DocComments();
        m_nodeComments.leading = std::exchange(m_leading, {});
        return startPiece(m_node.type, mark.at);
    case TextPart::NodeBases:
        endPiece(mark.at - 3); // In front of " : ".
        return startPiece(m_node.bases, mark.at);
    case TextPart::NodeName:
        endPiece(mark.at);
        return startPiece(m_node.name, mark.at);
    case TextPart::NodeBody:
        endPiece(mark.at);
        m_node.name = m_node.name.substr(1, m_node.name.size() - 2); // Without its quotes.
        return;
    default:
        return endNode(mark);
    }
}

bool SceneRecorder::takeAttribute(const TextMark& mark) {
    if (mark.part < TextPart::Name) return open(mark);
    if (m_open.empty()) return takeFlag(mark);
    DocAttr& attr = m_open.back().attr;
    switch (mark.part) {
    case TextPart::Name:
        takeName(mark);
        break;
    case TextPart::Content:
        endPiece(mark.at);
        if (!attr.isObject() && !attr.isArray()) startPiece(attr.value, mark.at);
        break;
    case TextPart::Source:
        endPiece(mark.at - SceneLines::arrow.size());
        startPiece(attr.source, mark.at);
        break;
    case TextPart::Note:
        takeNote(mark);
        break;
    case TextPart::Translation:
        takeTranslation(mark);
        break;
    default:
        end(mark);
    }
    return true;
}

bool SceneRecorder::open(const TextMark& mark) {
    Open made;
    made.isOutput = mark.part == TextPart::Output;
    made.attr.type = mark.type;
    made.attr.elementType = mark.elementType;
    const bool holdsOthers = made.attr.isObject() || made.attr.isArray();
    if (holdsOthers && m_open.size() == SceneDocument::maxDepth) {
        m_problem = kTooDeep;
        return false;
    }
    made.comments.leading = std::exchange(m_leading, {});
    m_open.push_back(std::move(made));
    startPiece(m_open.back().attr.kind, mark.at);
    return true;
}

// All annotations of a node form one text.
bool SceneRecorder::takeFlag(const TextMark& mark) {
    if (m_piece == &m_node.flags) return true;
    endPiece(mark.at);
    startPiece(m_node.flags, mark.at);
    return true;
}

// The value of an input follows its name.
void SceneRecorder::takeName(const TextMark& mark) {
    endPiece(mark.at);
    Open& named = m_open.back();
    named.attr.name = m_text.substr(mark.at, mark.text.size());
    const bool isPlain =
        named.attr.type != AttrType::Null && !named.attr.isObject() && !named.attr.isArray();
    if (isPlain && !named.isOutput)
        startPiece(named.attr.value, mark.at + mark.text.size() + SceneLines::equals.size());
}

void SceneRecorder::takeNote(const TextMark& mark) {
    endPiece(mark.at);
    DocNote& note = m_open.back().attr.notes.emplace_back();
    note.name = m_text.substr(mark.at, mark.text.size());
    startPiece(note.text, mark.at + mark.text.size());
}

// The language is a part of the annotation's name.
void SceneRecorder::takeTranslation(const TextMark& mark) {
    DocNote& note = m_open.back().attr.notes.back();
    const u64 start = m_pieceStart - note.name.size();
    note.name = m_text.substr(start, mark.at - 1 - start);
    startPiece(note.text, mark.at);
}

void SceneRecorder::end(const TextMark& mark) {
    endPiece(mark.at);
    Open done = std::move(m_open.back());
    m_open.pop_back();
    done.comments.trailing = kept(mark.text);
    done.attr.comments = m_document.keep(done.comments);
    auto& list = !m_open.empty() ? m_open.back().attr.members
                 : done.isOutput ? m_node.outputs
                                 : m_inputs;
    list.push_back(std::move(done.attr));
}

void SceneRecorder::endNode(const TextMark& mark) {
    m_nodeComments.trailing = kept(mark.text);
    m_node.comments = m_document.keep(m_nodeComments);
    m_node.inputs.assign(std::make_move_iterator(m_inputs.begin()),
                         std::make_move_iterator(m_inputs.end()));
    m_inputs.clear();
    m_document.nodes.push_back(std::exchange(m_node, {}));
}

void SceneRecorder::startPiece(std::string_view& piece, u64 at) noexcept {
    m_piece = &piece;
    m_pieceStart = at;
}

// Ends the piece in front of the space that separates it from the next one.
void SceneRecorder::endPiece(u64 at) noexcept {
    if (m_piece) *m_piece = withoutSpaces(m_text.substr(m_pieceStart, at - m_pieceStart));
    m_piece = nullptr;
}

std::string_view SceneRecorder::kept(std::string_view text) {
    return text.empty() ? std::string_view() : m_document.keep(String(text));
}

} // namespace qv::kelvo_sdk::impl
