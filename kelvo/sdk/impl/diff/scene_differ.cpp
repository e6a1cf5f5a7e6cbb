#include "kelvo/sdk/impl/diff/scene_differ.h"

#include "kelvo/sdk/impl/scene_text/scene_notes.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

String copied(std::string_view text) {
    return String(text);
}

String indexText(u64 index) {
    return String(std::string_view(std::to_string(index)));
}

} // namespace

u32 noteRank(std::string_view name) noexcept {
    const NoteRule* rule = findInputNote(name.substr(0, name.find(' ')));
    return rule ? static_cast<u32>(rule->note) : static_cast<u32>(noteRules().size());
}

void setNote(std::vector<DocNote>& notes, std::string_view name,
             std::optional<std::string_view> text) {
    const auto found = std::ranges::find(notes, name, &DocNote::name);
    if (!text) {
        if (found != notes.end()) notes.erase(found);
    } else if (found != notes.end()) {
        found->text = *text;
    } else {
        const auto place = std::ranges::find_if(
            notes, [&](const DocNote& other) { return noteRank(other.name) > noteRank(name); });
        notes.insert(place, {name, *text});
    }
}

std::vector<SceneChange> SceneDiffer::run() {
    DocComments before = m_before.file;
    if (m_after.nodes.empty() && before.inner.starts_with('\n') &&
        !m_after.file.inner.starts_with('\n'))
        before.inner.remove_prefix(1);
    compareComments(before, m_after.file, Subject::Scene, {});
    compareNodes();
    return std::move(m_changes);
}

void SceneDiffer::compareNodes() {
    const ListMatch match = matchNodes(m_before, m_after, m_names);
    const std::vector<bool> isKept = match.kept(m_before.nodes.size());
    for (u64 i = 0; i < isKept.size(); ++i) {
        const DocNode& gone = m_before.nodes[i];
        if (!isKept[i])
            add(Action::Remove, Subject::Node, copied(gone.name), SceneDocument::textOf(gone), {});
    }
    for (u64 i = 0; i < match.from.size(); ++i) {
        const DocNode& after = m_after.nodes[i];
        const Text behind = i == 0 ? Text() : copied(m_after.nodes[i - 1].name);
        const u64 from = match.from[i];
        if (from == noIndex) {
            add(Action::Add, Subject::Node, copied(after.name), {}, SceneDocument::textOf(after),
                behind);
            continue;
        }
        const DocNode& before = m_before.nodes[from];
        const String path = copied(before.name);
        if (before.name != after.name)
            add(Action::Rename, Subject::Node, path, path, copied(after.name));
        if (!match.stays[i]) {
            const Text was = from == 0 ? Text() : copied(m_before.nodes[from - 1].name);
            add(Action::Move, Subject::Node, path, was, behind);
        }
        compareNode(before, after, i == 0);
    }
}

void SceneDiffer::compareNode(const DocNode& before, const DocNode& after, bool isFirst) {
    const DocPlace place{.node = &before};
    compareTexts(before.type, after.type, "type", Subject::Node, place);
    compareTexts(before.bases, after.bases, "bases", Subject::Node, place);
    compareTexts(before.flags, after.flags, "flags", Subject::Node, place);
    DocComments comments = commentsOf(before.comments);
    // The blank line in front of the first node belongs to the header.
    if (isFirst && comments.leading.starts_with('\n')) comments.leading.remove_prefix(1);
    compareComments(comments, commentsOf(after.comments), Subject::Node, place);
    compareLists(before.inputs, after.inputs, place, Subject::Input);
    compareLists(before.outputs, after.outputs, place, Subject::Output);
}

void SceneDiffer::compareLists(const std::vector<DocAttr>& before,
                               const std::vector<DocAttr>& after, const DocPlace& owner,
                               Subject subject) {
    const bool isOutput = subject == Subject::Output;
    const ListMatch match = matchAttrs(before, after);
    const std::vector<bool> isKept = match.kept(before.size());
    const auto placeOf = [&](const std::vector<DocAttr>& list, u64 index) {
        return DocPlace{.outer = &owner, .list = &list, .index = index};
    };
    for (u64 i = 0; i < isKept.size(); ++i)
        if (!isKept[i])
            add(Action::Remove, subject, pathOf(placeOf(before, i)),
                SceneDocument::textOf(before[i], isOutput), {});
    for (u64 i = 0; i < after.size(); ++i) {
        const u64 from = match.from[i];
        if (from == noIndex) {
            add(Action::Add, subject, pathOf(placeOf(after, i)), {},
                SceneDocument::textOf(after[i], isOutput), stepBefore(after, i));
            continue;
        }
        const DocPlace place = placeOf(before, from);
        if (!match.stays[i])
            add(Action::Move, subject, pathOf(place), stepBefore(before, from),
                stepBefore(after, i));
        compareAttr(before[from], after[i], place, subject);
    }
}

void SceneDiffer::compareAttr(const DocAttr& before, const DocAttr& after, const DocPlace& place,
                              Subject subject) {
    compareTexts(before.kind, after.kind, "kind", subject, place);
    if (!m_names.isSameValue(before, after))
        changed(subject, place, "value", textOrNone(before.value), textOrNone(after.value));
    if (!m_names.isSameSource(before, after))
        changed(subject, place, "source", textOrNone(before.source), textOrNone(after.source));
    compareNotes(before, after, place, subject);
    compareComments(commentsOf(before.comments), commentsOf(after.comments), subject, place);
    if (after.isObject()) compareLists(before.members, after.members, place, Subject::Input);
    if (after.isArray()) compareElements(before, after, place);
}

void SceneDiffer::compareElements(const DocAttr& before, const DocAttr& after,
                                  const DocPlace& place) {
    const ListMatch match = matchElements(before, after, m_names);
    const std::vector<bool> isKept = match.kept(before.members.size());
    const auto placeOf = [&](u64 index) {
        return DocPlace{.outer = &place, .index = index, .isElement = true};
    };
    for (u64 i = 0; i < isKept.size(); ++i)
        if (!isKept[i])
            add(Action::Remove, Subject::Element, pathOf(placeOf(i)),
                SceneDocument::elementText(before.members[i]), {});
    for (u64 i = 0; i < match.from.size(); ++i) {
        const u64 from = match.from[i];
        if (from == noIndex) {
            add(Action::Add, Subject::Element, pathOf(placeOf(i)), {},
                SceneDocument::elementText(after.members[i]));
            continue;
        }
        if (!match.stays[i])
            add(Action::Move, Subject::Element, pathOf(placeOf(from)), indexText(from),
                indexText(i));
        compareAttr(before.members[from], after.members[i], placeOf(from), Subject::Element);
    }
}

// Reports annotations one by one, unless that would give them in another order.
void SceneDiffer::compareNotes(const DocAttr& before, const DocAttr& after, const DocPlace& place,
                               Subject subject) {
    const auto isSame = [&](const DocNote& a, const DocNote& b) {
        return m_names.isSameNote(a, b, before.type);
    };
    if (std::ranges::equal(before.notes, after.notes, isSame)) return;
    std::vector<DocNote> made = before.notes;
    std::vector<SceneChange> found;
    const auto change = [&](const DocNote& note, Text was, Text is) {
        found.push_back({Action::Change, subject, pathOf(place), copied(note.name), was, is});
    };
    for (const DocNote& note : before.notes) {
        if (std::ranges::find(after.notes, note.name, &DocNote::name) != after.notes.end())
            continue;
        setNote(made, note.name, {});
        change(note, copied(note.text), {});
    }
    for (const DocNote& note : after.notes) {
        const auto old = std::ranges::find(before.notes, note.name, &DocNote::name);
        const bool isNew = old == before.notes.end();
        setNote(made, note.name, note.text);
        if (isNew || !isSame(*old, note))
            change(note, isNew ? Text() : copied(old->text), copied(note.text));
    }
    if (made == after.notes)
        m_changes.insert(m_changes.end(), found.begin(), found.end());
    else
        changed(subject, place, "notes", notesText(before.notes), notesText(after.notes));
}

void SceneDiffer::compareComments(DocComments before, DocComments after, Subject subject,
                                  const DocPlace& place) {
    if (!m_options.withComments || before == after) return;
    compareTexts(before.leading, after.leading, "comment.leading", subject, place);
    compareTexts(before.opening, after.opening, "comment.opening", subject, place);
    compareTexts(before.inner, after.inner, "comment.inner", subject, place);
    compareTexts(before.trailing, after.trailing, "comment.trailing", subject, place);
}

void SceneDiffer::compareTexts(std::string_view before, std::string_view after, const char* field,
                               Subject subject, const DocPlace& place) {
    if (before != after) changed(subject, place, field, textOrNone(before), textOrNone(after));
}

void SceneDiffer::changed(Subject subject, const DocPlace& place, std::string_view field,
                          Text before, Text after) {
    m_changes.push_back({Action::Change, subject, pathOf(place), copied(field), std::move(before),
                         std::move(after)});
}

void SceneDiffer::add(Action action, Subject subject, String path, Text before, Text after,
                      Text behind) {
    m_changes.push_back({action,
                         subject,
                         std::move(path),
                         {},
                         std::move(before),
                         std::move(after),
                         std::move(behind)});
}

String SceneDiffer::pathOf(const DocPlace& place) {
    if (place.node) return copied(place.node->name);
    if (!place.outer) return {};
    const String outer = pathOf(*place.outer);
    if (place.isElement) return outer + "[" + indexText(place.index) + "]";
    return outer + "." + std::string_view(keyText(keysOf(*place.list)[place.index]));
}

const AttrKeys& SceneDiffer::keysOf(const std::vector<DocAttr>& list) {
    return m_keys.try_emplace(&list, list).first->second;
}

SceneDiffer::Text SceneDiffer::stepBefore(const std::vector<DocAttr>& list, u64 index) {
    if (index == 0) return {};
    return String(std::string_view(keyText(keysOf(list)[index - 1])));
}

} // namespace qv::kelvo_sdk::impl
