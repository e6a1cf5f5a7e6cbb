#include "kelvo/sdk/impl/diff/link_restorer.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

std::string clearedNote(const DocNote& note, AttrType type, const DocNames& names) {
    std::string text;
    for (const NotePiece& piece : notePieces(note, type)) {
        const bool isCleared = piece.isLink && names.contains(linkedName(piece.text));
        text += isCleared ? std::string_view("null") : piece.text;
    }
    return text;
}

void collectTargets(const DocAttr& attr, DocNames& names) {
    if (attr.type == AttrType::Node) names.insert(linkedName(attr.value));
    if (!attr.source.empty()) names.insert(attr.source.substr(0, attr.source.find('.')));
    for (const DocNote& note : attr.notes)
        for (const NotePiece& piece : notePieces(note, attr.type))
            if (piece.isLink) names.insert(linkedName(piece.text));
    for (const DocAttr& member : attr.members)
        collectTargets(member, names);
}

bool namesItsNodes(const SceneDocument& document) {
    DocNames targets;
    DocNames names = {std::string_view()}; // A link to nothing.
    for (const DocNode& node : document.nodes) {
        names.insert(node.name);
        for (const DocAttr& input : node.inputs)
            collectTargets(input, targets);
    }
    return std::ranges::all_of(targets,
                               [&](std::string_view name) { return names.contains(name); });
}

void LinkRestorer::restore(const List& earlier, List& list) {
    const ListMatch match = matchAttrs(earlier, list);
    for (u64 i = 0; i < list.size(); ++i)
        if (match.from[i] != noIndex) restore(earlier[match.from[i]], list[i]);
}

void LinkRestorer::restore(const DocAttr& earlier, DocAttr& attr) {
    const bool isCleared = attr.type == AttrType::Node && linkedName(attr.value).empty();
    if (isCleared && linksToKept(earlier)) attr.value = earlier.value;
    const bool isDisconnected = attr.source.empty() && attr.kind == earlier.kind;
    if (isDisconnected && readsKept(earlier.source)) attr.source = earlier.source;
    restoreNotes(earlier, attr);
    if (attr.isObject()) restore(earlier.members, attr.members);
    if (attr.isArray()) restoreElements(earlier, attr);
}

// A note that differs in more than the links that went is the side's own.
void LinkRestorer::restoreNotes(const DocAttr& earlier, DocAttr& attr) {
    for (DocNote& note : attr.notes) {
        const auto was = std::ranges::find(earlier.notes, note.name, &DocNote::name);
        if (was == earlier.notes.end() || was->text == note.text) continue;
        if (clearedNote(*was, earlier.type, m_removed) != note.text) continue;
        DocNames gone;
        std::ranges::copy_if(m_removed, std::inserter(gone, gone.end()),
                             [&](std::string_view name) { return !m_kept.contains(name); });
        note.text = m_owner.keep(String(std::string_view(clearedNote(*was, earlier.type, gone))));
    }
}

// Removing a node empties the elements that link to it; commands remove those as well. Either way
// they come back behind what they stood behind.
void LinkRestorer::restoreElements(const DocAttr& earlier, DocAttr& array) {
    const ListMatch match = matchElements(earlier, array, LinkNames());
    std::vector<u64> places(earlier.members.size(), noIndex);
    for (u64 i = 0; i < match.from.size(); ++i)
        if (match.from[i] != noIndex) places[match.from[i]] = i;
    // The first are in front of all.
    std::vector<List> lost(array.members.size() + 1);
    u64 last = 0;
    for (u64 i = 0; i < earlier.members.size(); ++i) {
        const DocAttr& was = earlier.members[i];
        const u64 place = places[i];
        const bool isLink = linksToKept(was);
        const bool isThere =
            place != noIndex && !(isLink && !linkedName(array.members[place].value).empty());
        if (!isThere && isLink) lost[last].push_back(was);
        if (!isThere) continue;
        restore(was, array.members[place]);
        if (match.stays[place]) last = place + 1;
    }
    List restored = std::move(lost[0]);
    for (u64 i = 0; i < array.members.size(); ++i) {
        restored.push_back(std::move(array.members[i]));
        std::ranges::move(lost[i + 1], std::back_inserter(restored));
    }
    array.members = std::move(restored);
}

bool LinkRestorer::linksToKept(const DocAttr& attr) const {
    return attr.type == AttrType::Node && m_kept.contains(linkedName(attr.value));
}

bool LinkRestorer::readsKept(std::string_view source) const {
    return !source.empty() &&
           (m_kept.contains(source) || m_kept.contains(source.substr(0, source.find('.'))));
}

} // namespace qv::kelvo_sdk::impl
