// Merges lists of nodes and attributes: the items, their order and their kinds.

#include "kelvo/sdk/impl/diff/scene_differ.h"
#include "kelvo/sdk/impl/diff/scene_merger.h"

#include <algorithm>
#include <unordered_set>

namespace qv::kelvo_sdk::impl {

namespace {

using Keys = std::vector<std::string>;

String textOf(const DocNode& node) {
    return SceneDocument::textOf(node);
}
String textOf(const DocAttr& attr) {
    return SceneDocument::textOf(attr, false);
}

// Returns the keys that are in both lists, in the order of the first.
template<typename Others>
Keys common(const Keys& keys, const Others& others) {
    Keys found;
    std::ranges::copy_if(keys, std::back_inserter(found),
                         [&](const std::string& key) { return others.contains(key); });
    return found;
}

// Adds keys that only the second list has, behind their predecessors there.
Keys withAdded(const Keys& first, const Keys& second) {
    const std::unordered_set<std::string> inFirst(first.begin(), first.end());
    const std::unordered_set<std::string> inSecond(second.begin(), second.end());
    std::unordered_map<std::string, Keys> behind;
    std::string place;
    for (const std::string& key : second) {
        if (inFirst.contains(key))
            place = key;
        else
            behind[place].push_back(key);
    }
    Keys made;
    const auto add = [&](const std::string& at) {
        if (const auto found = behind.find(at); found != behind.end())
            made.insert(made.end(), found->second.begin(), found->second.end());
    };
    std::string last;
    for (const std::string& key : first) {
        // Items of the first list alone come before those of the second list alone.
        if (inSecond.contains(key)) {
            add(last);
            last = key;
        }
        made.push_back(key);
    }
    add(last);
    return made;
}

} // namespace

String joined(const std::vector<std::string>& keys) {
    std::string text;
    for (const std::string& key : keys)
        text += (text.empty() ? "" : ", ") + key;
    return String(std::string_view(text));
}

// Tells whether the merged scene lacks an item. Sets `kept` to the item of the one side that has
// it, null when both have it.
template<typename Item>
bool SceneMerger::isRemoved(const std::string& path, const Versions<Item>& item,
                            const Item*& kept) {
    kept = nullptr;
    if (item.mine && item.theirs) return false;
    kept = item.mine ? item.mine : item.theirs;
    if (!item.base) return false;
    const std::string_view claim = claimOn(*kept, *item.base);
    if (claim.empty()) return true;
    const auto text = [](const Item* version) {
        return version ? textOf(*version) : std::optional<String>();
    };
    const String reason = String(item.mine ? "mine " : "theirs ") + claim + " it and " +
                          (item.mine ? "theirs" : "mine") + " removed it";
    conflict(path, "", text(item.base), text(item.mine), text(item.theirs), reason);
    const bool isTheirs = kept == item.theirs;
    return m_options.preferred && takesTheirs() != isTheirs;
}

template bool SceneMerger::isRemoved(const std::string&, const Versions<DocNode>&, const DocNode*&);

SceneMerger::List SceneMerger::mergeLists(const std::string& path, const Versions<List>& lists,
                                          bool isOutput) {
    const List* const versions[3] = {lists.base, lists.mine, lists.theirs};
    if (isSame(*lists.mine, *lists.theirs) || isSame(*lists.theirs, *lists.base))
        return *lists.mine;
    const AttrKeys found[3] = {AttrKeys(*lists.base), AttrKeys(*lists.mine),
                               AttrKeys(*lists.theirs)};
    Keys keys[3];
    for (u64 side = 0; side < 3; ++side)
        for (u64 i = 0; i < versions[side]->size(); ++i)
            keys[side].push_back(keyText(found[side][i]));
    const auto in = [&](u64 side, const std::string& key) {
        const u64 place = found[side].find(keyOf(key));
        return place != noIndex ? &(*versions[side])[place] : nullptr;
    };
    List merged;
    std::unordered_map<std::string, u64> kept;
    for (u64 side = 1; side < 3; ++side)
        for (const std::string& key : keys[side]) {
            if (kept.contains(key)) continue;
            const Versions<DocAttr> attr{in(0, key), in(1, key), in(2, key)};
            const std::string place = path + '.' + key;
            const DocAttr* whole = nullptr;
            if (isRemoved(place, attr, whole)) continue;
            kept.emplace(key, merged.size());
            merged.push_back(whole ? *whole : mergeAttr(place, attr, isOutput));
            mark(merged.back().comments);
        }
    List made;
    for (const std::string& key : mergeOrder(path, {&keys[0], &keys[1], &keys[2]}, kept))
        made.push_back(std::move(merged[kept.at(key)]));
    return made;
}

DocAttr SceneMerger::mergeAttr(const std::string& path, const Versions<DocAttr>& attr,
                               bool isOutput) {
    const DocAttr& mine = *attr.mine;
    const DocAttr& theirs = *attr.theirs;
    if (isSame(mine, theirs) || (attr.base && isSame(theirs, *attr.base))) return mine;
    if (attr.base && isSame(mine, *attr.base)) return theirs;
    const bool isOther = !mayBecome(mine, theirs);
    if (isOther || (attr.base && !mayBecome(*attr.base, mine))) {
        const auto text = [&](const DocAttr& version) {
            return SceneDocument::textOf(version, isOutput);
        };
        const auto base = attr.base ? text(*attr.base) : std::optional<String>();
        conflict(path, "", base, text(mine), text(theirs));
        return takesTheirs() ? theirs : mine;
    }
    DocAttr blank;
    blank.type = mine.type;
    blank.elementType = mine.elementType;
    const DocAttr& base = attr.base ? *attr.base : blank;
    const Versions<DocAttr> versions{&base, &mine, &theirs};
    DocAttr made;
    made.name = mine.name;
    mergeKind(path, versions, made);
    made.source = mergeText(path, "source", {base.source, mine.source, theirs.source});
    made.notes = mergeNotes(path, versions);
    if (mine.kind != theirs.kind)
        takeNotesOfKind(made.kind == mine.kind ? mine : theirs, made.notes);
    made.comments = mergeComments(path, commentsOf(base.comments), commentsOf(mine.comments),
                                  commentsOf(theirs.comments));
    if (made.isObject())
        made.members = mergeLists(path, {&base.members, &mine.members, &theirs.members}, false);
    if (made.isArray()) made.members = mergeElements(path, versions);
    return made;
}

// The value comes from the same side as the kind.
void SceneMerger::mergeKind(const std::string& path, const Versions<DocAttr>& attr, DocAttr& made) {
    const DocAttr& base = *attr.base;
    const DocAttr& mine = *attr.mine;
    const DocAttr& theirs = *attr.theirs;
    const auto take = [&](const DocAttr& from) {
        made.type = from.type;
        made.elementType = from.elementType;
        made.kind = from.kind;
        made.value = from.value;
    };
    take(mine);
    if (mine.kind == theirs.kind) {
        made.value = mergeText(path, "value", {base.value, mine.value, theirs.value});
        return;
    }
    const auto isAsBase = [&](const DocAttr& version) {
        return version.kind == base.kind && version.value == base.value;
    };
    if (isAsBase(theirs)) return;
    if (isAsBase(mine)) return take(theirs);
    const auto text = [](const DocAttr& version) {
        if (version.kind.empty()) return textOrNone(version.value);
        return textOrNone(std::string(version.kind) + ' ' + std::string(version.value));
    };
    conflict(path, "kind", text(base), text(mine), text(theirs));
    if (takesTheirs()) take(theirs);
}

std::vector<DocNote> SceneMerger::mergeNotes(const std::string& path,
                                             const Versions<DocAttr>& attr) {
    const auto& [base, mine, theirs] = attr;
    if (mine->notes == theirs->notes || theirs->notes == base->notes) return mine->notes;
    if (mine->notes == base->notes) return theirs->notes;
    const auto text = [](const DocAttr& version, std::string_view name) {
        const auto note = std::ranges::find(version.notes, name, &DocNote::name);
        return note != version.notes.end() ? std::optional(note->text) : std::nullopt;
    };
    const auto shown = [](std::optional<std::string_view> note) {
        return note ? String(*note) : std::optional<String>();
    };
    std::vector<DocNote> made = mine->notes;
    std::vector<std::string_view> names;
    for (const DocAttr* version : {base, mine, theirs})
        for (const DocNote& note : version->notes)
            if (std::ranges::find(names, note.name) == names.end()) names.push_back(note.name);
    for (const std::string_view name : names) {
        const auto was = text(*base, name);
        const auto own = text(*mine, name);
        const auto other = text(*theirs, name);
        if (own == other || other == was) continue;
        const bool isConflict = own != was;
        if (isConflict) conflict(path, name, shown(was), shown(own), shown(other));
        if (!isConflict || takesTheirs()) setNote(made, name, other);
    }
    return made;
}

// Values in annotations come from the same side as the kind.
void SceneMerger::takeNotesOfKind(const DocAttr& from, std::vector<DocNote>& notes) {
    std::erase_if(notes, [](const DocNote& note) { return holdsValues(note.name); });
    for (const DocNote& note : from.notes)
        if (holdsValues(note.name)) setNote(notes, note.name, note.text);
}

std::vector<std::string> SceneMerger::mergeOrder(const std::string& path,
                                                 const Versions<std::vector<std::string>>& keys,
                                                 const std::unordered_map<std::string, u64>& kept) {
    const Keys mine = common(*keys.mine, kept);
    const Keys theirs = common(*keys.theirs, kept);
    const std::unordered_set<std::string> inMine(mine.begin(), mine.end());
    const std::unordered_set<std::string> inTheirs(theirs.begin(), theirs.end());
    const std::unordered_set<std::string> inBase(keys.base->begin(), keys.base->end());
    const Keys wasOrder = common(common(*keys.base, inMine), inTheirs);
    const Keys mineOrder = common(common(mine, inTheirs), inBase);
    const Keys theirOrder = common(common(theirs, inMine), inBase);
    if (theirOrder == wasOrder || theirOrder == mineOrder) return withAdded(mine, theirs);
    if (mineOrder == wasOrder) return withAdded(theirs, mine);
    conflict(path, "order", joined(wasOrder), joined(mineOrder), joined(theirOrder));
    return takesTheirs() ? withAdded(theirs, mine) : withAdded(mine, theirs);
}

} // namespace qv::kelvo_sdk::impl
