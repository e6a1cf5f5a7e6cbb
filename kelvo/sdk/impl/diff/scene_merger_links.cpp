// Clears references to objects that a merge removed.

#include "kelvo/sdk/impl/diff/scene_merger.h"

#include <algorithm>

// ---- Links ---------------------------------------------------------------------------------

namespace qv::kelvo_sdk::impl {

// Clears references to missing objects, as removing these objects would have done.
void SceneMerger::checkLinks(SceneDocument& document) {
    m_madeNodes = NodePlaces(document);
    for (DocNode& node : document.nodes)
        for (DocAttr& input : node.inputs)
            checkLinks(std::string(node.name) + '.' + std::string(input.name), input, false);
}

void SceneMerger::checkLinks(const std::string& path, DocAttr& attr, bool isElement) {
    const std::string_view linked =
        attr.type == AttrType::Node ? linkedName(attr.value) : std::string_view();
    if (!linked.empty() && !m_madeNodes.find(linked))
        checkLink(path, "value", linked, attr.value, "null");
    if (!attr.source.empty() && lacksOutput(attr.source))
        checkLink(path, "source", attr.source, attr.source, "");
    checkNotes(path, attr);
    std::vector<DocAttr> left;
    for (u64 i = 0; i < attr.members.size(); ++i) {
        DocAttr& member = attr.members[i];
        const bool isCutOff = attr.isArray() && isCut(member);
        checkLinks(attr.isArray() ? path + '[' + std::to_string(i) + ']'
                                  : path + '.' + std::string(member.name),
                   member, attr.isArray());
        if (!isCutOff) left.push_back(std::move(member));
    }
    attr.members = std::move(left);
    if (!isElement) mark(attr.comments);
}

// An element that is only a link is removed with its node: neither side has an empty element there.
bool SceneMerger::isCut(const DocAttr& element) const {
    const std::string_view linked =
        element.type == AttrType::Node ? linkedName(element.value) : std::string_view();
    return !linked.empty() && element.source.empty() && element.notes.empty() &&
           !m_madeNodes.find(linked);
}

void SceneMerger::checkNotes(const std::string& path, DocAttr& attr) {
    for (DocNote& note : attr.notes)
        for (const NotePiece& piece : notePieces(note, attr.type)) {
            const std::string_view name =
                piece.isLink ? linkedName(piece.text) : std::string_view();
            if (name.empty() || m_madeNodes.find(name)) continue;
            const std::string text = clearedNote(note, attr.type, {name});
            checkLink(path, note.name, name, note.text,
                      m_made.keep(String(std::string_view(text))));
        }
}

void SceneMerger::checkLink(const std::string& path, std::string_view field, std::string_view name,
                            std::string_view& text, std::string_view instead) {
    const std::string_view node = name.substr(0, name.find('.'));
    const bool isMine =
        m_madeNodes.find(node) ? m_mineNodes.listsOutput(name) : m_mineNodes.find(node) != nullptr;
    const String reason =
        "it refers to '" + String(name) + "', which " + (isMine ? "theirs" : "mine") + " removed";
    const std::optional<String> own = String(text);
    conflict(path, field, {}, isMine ? own : std::nullopt, isMine ? std::nullopt : own, reason);
    text = instead;
}

// Outputs that scene text omits are not listed; their definition may restore them.
bool SceneMerger::lacksOutput(std::string_view path) const {
    if (!m_madeNodes.find(path.substr(0, path.find('.')))) return true;
    const bool wasListed = m_mineNodes.listsOutput(path) || m_theirNodes.listsOutput(path);
    return wasListed && !m_madeNodes.listsOutput(path);
}

} // namespace qv::kelvo_sdk::impl
