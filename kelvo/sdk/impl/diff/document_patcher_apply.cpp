// Applies the changes of a diff to a document, one function for each kind of change.

#include "kelvo/sdk/impl/diff/document_patcher.h"
#include "kelvo/sdk/impl/diff/scene_differ.h"

#include <algorithm>
#include <unordered_set>

namespace qv::kelvo_sdk::impl {

namespace {

// A line break here would corrupt the text.
bool isOneLine(std::string_view text) {
    return text.find('\n') == std::string_view::npos;
}

// Any line that is not a comment would be read as part of the scene.
bool areComments(std::string_view lines) {
    while (!lines.empty()) {
        const u64 end = lines.find('\n');
        if (end == std::string_view::npos || (end != 0 && lines[0] != '#')) return false;
        lines.remove_prefix(end + 1);
    }
    return true;
}

bool isComment(std::string_view field, std::string_view text) {
    if (field == "comment.leading" || field == "comment.inner") return areComments(text);
    return text.empty() || (text.starts_with('#') && isOneLine(text));
}

bool setPart(DocComments& comments, std::string_view field, std::string_view text) {
    if (!isComment(field, text)) return false;
    if (field == "comment.leading") comments.leading = text;
    if (field == "comment.opening") comments.opening = text;
    if (field == "comment.inner") comments.inner = text;
    if (field == "comment.trailing") comments.trailing = text;
    return true;
}

bool isHeadText(std::string_view text) {
    return text.find_first_of("\n\"{}#") == std::string_view::npos;
}

} // namespace

bool DocumentPatcher::setFields() {
    m_names.applyTo(m_document);
    for (const SceneChange* change : m_sceneFields) {
        const std::string_view text = m_document.keep(change->after.value_or(""));
        if (!setPart(m_document.file, change->field.view(), text))
            return fail(*change, "the new text is no comment");
    }
    // Kinds come first, because they decide which values are valid.
    const auto isKind = [](const FieldEdit& edit) { return edit.change->field.view() == "kind"; };
    std::stable_partition(m_fields.begin(), m_fields.end(), isKind);
    return std::ranges::all_of(m_fields, [&](const FieldEdit& edit) { return setField(edit); });
}

bool DocumentPatcher::setField(const FieldEdit& edit) {
    const SceneChange& change = *edit.change;
    const std::string_view field = change.field.view();
    DocAttr* attr = edit.target.attr();
    DocNode& node = *edit.target.node;
    if (field.starts_with("comment."))
        return setComment(change, attr ? attr->comments : node.comments);
    if (attr) return setAttrField(change, *attr);
    const std::string_view text = m_document.keep(change.after.value_or(""));
    if (!isHeadText(text)) return fail(change, "the new text cannot stand there");
    (field == "type" ? node.type : field == "bases" ? node.bases : node.flags) = text;
    return true;
}

bool DocumentPatcher::setComment(const SceneChange& change, const DocComments*& comments) {
    DocComments changed = commentsOf(comments);
    const std::string_view text = m_document.keep(change.after.value_or(""));
    if (!setPart(changed, change.field.view(), text))
        return fail(change, "the new text is no comment");
    comments = m_document.keep(changed);
    return true;
}

bool DocumentPatcher::setAttrField(const SceneChange& change, DocAttr& attr) {
    const std::string_view field = change.field.view();
    const String text = change.after.value_or("");
    const std::string_view kept = m_document.keep(text);
    const auto set = [&](bool isRight, std::string_view& target) {
        if (!isRight) return fail(change, "the new " + change.field + " is no such text");
        target = kept;
        return true;
    };
    if (field == "value")
        return set(kept.empty() || SceneDocument::isValue(kept, attr.type), attr.value);
    if (field == "source") return set(kept.empty() || SceneDocument::isSource(kept), attr.source);
    if (field == "kind") {
        DocAttr was = attr;
        const bool isElement = attr.name.empty();
        if (isElement && text.isEmpty()) {
            attr.kind = {};
            return true;
        }
        if (!m_document.setKind(attr, text) || !mayBecome(was, attr))
            return fail(change, "the new kind cannot take the place of the old one");
        return true;
    }
    if (field == "notes") {
        auto notes = m_document.parseNotes(text, attr.type);
        if (!notes) return fail(change, "the new notes are none");
        attr.notes = std::move(*notes);
        return true;
    }
    const std::string_view name = m_document.keep(change.field);
    if (change.after && !SceneDocument::isNote({name, kept}, attr.type))
        return fail(change, "the new note is none");
    setNote(attr.notes, name, change.after ? std::optional(kept) : std::nullopt);
    return true;
}

// Rebuilds inner lists first: a list moves together with its attribute.
bool DocumentPatcher::rebuildLists() {
    std::vector<std::pair<List*, ListEdits<DocAttr>*>> open;
    for (auto& [list, edits] : m_lists)
        open.emplace_back(list, &edits);
    std::ranges::stable_sort(
        open, [](const auto& a, const auto& b) { return a.second->depth > b.second->depth; });
    return std::ranges::all_of(open, [&](const auto& next) {
        return next.second->holdsElements ? rebuildElements(*next.first, *next.second)
                                          : rebuildKeyed(*next.first, *next.second);
    });
}

bool DocumentPatcher::rebuildKeyed(List& list, ListEdits<DocAttr>& edits) {
    const AttrKeys& keys = keysOf(list);
    return rebuild(list, edits, [&](u64 index) { return keyText(keys[index]); });
}

bool DocumentPatcher::rebuildNodes() {
    const bool isNothing = m_nodeEdits.placements.empty() &&
                           std::ranges::find(m_nodeEdits.leaves, true) == m_nodeEdits.leaves.end();
    if (isNothing) return true;
    for (Placement<DocNode>& placement : m_nodeEdits.placements)
        if (placement.from != noIndex) placement.key = m_document.nodes[placement.from].name;
    return rebuild(m_document.nodes, m_nodeEdits,
                   [&](u64 index) { return std::string(m_document.nodes[index].name); });
}

// Puts each placed item behind the item named in its change. Works on a linked list of positions.
template<typename Item, typename KeyOf>
bool DocumentPatcher::rebuild(std::vector<Item>& list, ListEdits<Item>& edits, const KeyOf& keyOf) {
    std::vector<Item*> items;
    std::vector<u64> next;
    std::unordered_map<std::string, u64> places;
    u64 first = noIndex;
    const auto put = [&](Item& item, std::string key, u64 behind) {
        const u64 place = items.size();
        items.push_back(&item);
        u64& link = behind == noIndex ? first : next[behind];
        const u64 follower = link;
        link = place;
        next.push_back(follower);
        return places.emplace(std::move(key), place).second;
    };
    for (u64 i = 0, last = noIndex; i < list.size(); ++i) {
        if (edits.leaves[i]) continue;
        put(list[i], keyOf(i), last);
        last = items.size() - 1;
    }
    next.reserve(items.size() + edits.placements.size());
    for (Placement<Item>& placement : edits.placements) {
        const SceneChange& change = *placement.change;
        const auto& wanted = change.action == Action::Add ? change.behind : change.after;
        const auto behind = wanted ? places.find(wanted->buf()) : places.end();
        if (wanted && behind == places.end())
            return fail(change, "there is no '" + *wanted + "' to stand behind");
        Item& item = placement.from != noIndex ? list[placement.from] : placement.item;
        if (!put(item, placement.key, wanted ? behind->second : noIndex))
            return fail(change, "it is there already");
    }
    std::vector<Item> made;
    made.reserve(items.size());
    for (u64 i = first; i != noIndex; i = next[i])
        made.push_back(std::move(*items[i]));
    list = std::move(made);
    return true;
}

bool DocumentPatcher::rebuildElements(List& list, ListEdits<DocAttr>& edits) {
    std::ranges::stable_sort(edits.placements, {}, &Placement<DocAttr>::index);
    List made;
    u64 next = 0;
    const auto takeNext = [&] {
        while (next < list.size() && edits.leaves[next])
            ++next;
        if (next == list.size()) return false;
        made.push_back(std::move(list[next++]));
        return true;
    };
    for (Placement<DocAttr>& placement : edits.placements) {
        while (made.size() < placement.index && takeNext())
            continue;
        if (made.size() != placement.index)
            return fail(*placement.change, "that place is not there");
        made.push_back(
            std::move(placement.from != noIndex ? list[placement.from] : placement.item));
    }
    while (takeNext())
        continue;
    list = std::move(made);
    return true;
}

bool DocumentPatcher::checkNames() {
    std::unordered_set<String> met;
    for (const DocNode& node : m_document.nodes)
        if (!met.insert(String(node.name).toLower()).second) {
            m_error = "there would be two nodes '" + String(node.name) + "'.";
            return false;
        }
    return true;
}

} // namespace qv::kelvo_sdk::impl
