// Merges the elements of arrays: links by name, others in stretches between elements that both
// sides kept.

#include "kelvo/sdk/impl/diff/scene_merger.h"

#include <algorithm>
#include <unordered_set>

namespace qv::kelvo_sdk::impl {

namespace {

using Keys = std::vector<std::string>;

bool areLinks(const DocAttr& array) {
    std::unordered_set<std::string_view> met;
    return std::ranges::all_of(array.members, [&](const DocAttr& element) {
        return element.type == AttrType::Node && element.source.empty() && element.notes.empty() &&
               element.value != "null" && met.insert(element.value).second;
    });
}

Keys linksOf(const DocAttr& array) {
    Keys keys;
    for (const DocAttr& element : array.members)
        keys.emplace_back(element.value);
    return keys;
}

std::optional<String> stretchText(const std::vector<DocAttr>& elements) {
    Keys texts;
    for (const DocAttr& element : elements)
        texts.emplace_back(SceneDocument::elementText(element).buf());
    return textOrNone(joined(texts).view());
}

// Returns for each element of the base its position in a later list, if it stays.
std::vector<u64> placesIn(const DocAttr& base, const DocAttr& later) {
    const ListMatch match = matchElements(base, later, LinkNames());
    std::vector<u64> places(base.members.size(), noIndex);
    for (u64 i = 0; i < match.from.size(); ++i)
        if (match.from[i] != noIndex && match.stays[i]) places[match.from[i]] = i;
    return places;
}

} // namespace

SceneMerger::List SceneMerger::mergeElements(const std::string& path,
                                             const Versions<DocAttr>& array) {
    const auto& [base, mine, theirs] = array;
    if (isSame(mine->members, theirs->members) || isSame(theirs->members, base->members))
        return mine->members;
    if (isSame(mine->members, base->members)) return theirs->members;
    if (areLinks(*base) && areLinks(*mine) && areLinks(*theirs)) return mergeLinks(path, array);
    return mergeStretches(path, array);
}

// Merges links without duplicates as a list of names.
SceneMerger::List SceneMerger::mergeLinks(const std::string& path, const Versions<DocAttr>& array) {
    const Keys base = linksOf(*array.base);
    const Keys mine = linksOf(*array.mine);
    const Keys theirs = linksOf(*array.theirs);
    const std::unordered_set<std::string> inBase(base.begin(), base.end());
    const std::unordered_set<std::string> inMine(mine.begin(), mine.end());
    const std::unordered_set<std::string> inTheirs(theirs.begin(), theirs.end());
    std::unordered_map<std::string, u64> kept;
    List elements;
    for (const DocAttr* side : {array.mine, array.theirs})
        for (const DocAttr& element : side->members) {
            const std::string key(element.value);
            const bool isRemovedByOne =
                inBase.contains(key) && !(inMine.contains(key) && inTheirs.contains(key));
            if (!isRemovedByOne && kept.emplace(key, elements.size()).second)
                elements.push_back(element);
        }
    List made;
    for (const std::string& key : mergeOrder(path, {&base, &mine, &theirs}, kept))
        made.push_back(elements[kept.at(key)]);
    return made;
}

// Merges section by section between elements that both sides kept.
SceneMerger::List SceneMerger::mergeStretches(const std::string& path,
                                              const Versions<DocAttr>& array) {
    const List& base = array.base->members;
    const List& mine = array.mine->members;
    const List& theirs = array.theirs->members;
    const std::vector<u64> inMine = placesIn(*array.base, *array.mine);
    const std::vector<u64> inTheirs = placesIn(*array.base, *array.theirs);
    List made;
    u64 from[3] = {0, 0, 0};
    const auto cut = [](const List& list, u64 first, u64 end) {
        return List(list.begin() + static_cast<i64>(first), list.begin() + static_cast<i64>(end));
    };
    const auto mergeUpTo = [&](u64 baseEnd, u64 mineEnd, u64 theirEnd) {
        const List parts[3] = {cut(base, from[0], baseEnd), cut(mine, from[1], mineEnd),
                               cut(theirs, from[2], theirEnd)};
        mergeStretch(path, {&parts[0], &parts[1], &parts[2]}, made);
    };
    for (u64 i = 0; i < base.size(); ++i) {
        if (inMine[i] == noIndex || inTheirs[i] == noIndex) continue;
        mergeUpTo(i, inMine[i], inTheirs[i]);
        const std::string place = path + '[' + std::to_string(made.size()) + ']';
        const Versions<DocAttr> element{&base[i], &mine[inMine[i]], &theirs[inTheirs[i]]};
        made.push_back(mergeAttr(place, element, false));
        from[0] = i + 1;
        from[1] = inMine[i] + 1;
        from[2] = inTheirs[i] + 1;
    }
    mergeUpTo(base.size(), mine.size(), theirs.size());
    return made;
}

void SceneMerger::mergeStretch(const std::string& path, const Versions<List>& stretch, List& made) {
    const auto& [base, mine, theirs] = stretch;
    const bool isMine = isSame(*mine, *theirs) || isSame(*theirs, *base);
    const bool isTheirs = !isMine && isSame(*mine, *base);
    if (!isMine && !isTheirs) {
        const std::string place = path + '[' + std::to_string(made.size()) + ']';
        conflict(place, "", stretchText(*base), stretchText(*mine), stretchText(*theirs));
    }
    const List& taken = isTheirs || (!isMine && takesTheirs()) ? *theirs : *mine;
    made.insert(made.end(), taken.begin(), taken.end());
}

} // namespace qv::kelvo_sdk::impl
