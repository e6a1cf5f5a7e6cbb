#include "kelvo/sdk/impl/diff/scene_match.h"

#include "kelvo/base/hash.h"

#include <algorithm>
#include <charconv>

namespace qv::kelvo_sdk::impl {

namespace {

u64 hashText(std::string_view text) noexcept {
    return hashBytes(text.data(), text.size());
}

// Tells which indices are in a longest increasing subsequence; skips `noIndex`.
std::vector<bool> longestIncreasingSubsequence(const std::vector<u64>& values) {
    // For each length, the position of the least value that ends an increasing subsequence of it.
    std::vector<u64> ends;
    std::vector<u64> before(values.size(), noIndex);
    for (u64 i = 0; i < values.size(); ++i) {
        if (values[i] == noIndex) continue;
        const auto place =
            std::ranges::lower_bound(ends, values[i], {}, [&](u64 end) { return values[end]; });
        if (place != ends.begin()) before[i] = *(place - 1);
        if (place == ends.end())
            ends.push_back(i);
        else
            *place = i;
    }
    std::vector<bool> isIn(values.size());
    for (u64 i = ends.empty() ? noIndex : ends.back(); i != noIndex; i = before[i])
        isIn[i] = true;
    return isIn;
}

bool haveSameNames(const std::vector<DocAttr>& before, const std::vector<DocAttr>& after) {
    return std::ranges::equal(before, after, {}, &DocAttr::name, &DocAttr::name);
}

/// Matches the elements of two arrays by their hashes.
class ElementMatcher {
public:
    ElementMatcher(std::vector<u64> before, std::vector<u64> after)
        : m_before(std::move(before)), m_after(std::move(after)) {}

    ListMatch run() {
        m_match.from.assign(m_after.size(), noIndex);
        u64 first = 0;
        u64 beforeEnd = m_before.size();
        u64 afterEnd = m_after.size();
        trim(first, beforeEnd, afterEnd);
        matchLone(first, beforeEnd, afterEnd);
        fillGaps();
        m_match.findStays();
        return std::move(m_match);
    }

private:
    // Matches equal elements at both ends.
    void trim(u64& first, u64& beforeEnd, u64& afterEnd) {
        for (; first < std::min(beforeEnd, afterEnd) && m_before[first] == m_after[first]; ++first)
            m_match.from[first] = first;
        while (beforeEnd > first && afterEnd > first &&
               m_before[beforeEnd - 1] == m_after[afterEnd - 1])
            m_match.from[--afterEnd] = --beforeEnd;
    }

    // Matches elements that both sides have exactly once.
    void matchLone(u64 first, u64 beforeEnd, u64 afterEnd) {
        struct Count {
            u64 before = 0;
            u64 after = 0;
            u64 place = 0;
        };
        std::unordered_map<u64, Count> counts;
        for (u64 i = first; i < beforeEnd; ++i) {
            Count& count = counts[m_before[i]];
            ++count.before;
            count.place = i;
        }
        for (u64 i = first; i < afterEnd; ++i)
            ++counts[m_after[i]].after;
        for (u64 i = first; i < afterEnd; ++i) {
            const Count& count = counts[m_after[i]];
            if (count.before == 1 && count.after == 1) m_match.from[i] = count.place;
        }
    }

    // Matches remaining elements between those that stay, in order.
    void fillGaps() {
        std::vector<bool> isMet(m_before.size());
        for (const u64 place : m_match.from)
            if (place != noIndex) isMet[place] = true;
        const std::vector<bool> stays = longestIncreasingSubsequence(m_match.from);
        u64 before = 0;
        u64 after = 0;
        for (u64 i = 0; i <= m_after.size(); ++i) {
            const bool isEnd = i == m_after.size();
            if (!isEnd && !stays[i]) continue;
            fillGap(before, isEnd ? m_before.size() : m_match.from[i], after, i, isMet);
            before = isEnd ? before : m_match.from[i] + 1;
            after = i + 1;
        }
    }

    void fillGap(u64 before, u64 beforeEnd, u64 after, u64 afterEnd, std::vector<bool>& isMet) {
        std::vector<u64> left;
        for (u64 i = before; i < beforeEnd; ++i)
            if (!isMet[i]) left.push_back(i);
        u64 next = 0;
        for (u64 i = after; i < afterEnd && next < left.size(); ++i)
            if (m_match.from[i] == noIndex) m_match.from[i] = left[next++];
    }

    std::vector<u64> m_before;
    std::vector<u64> m_after;
    ListMatch m_match;
};

std::vector<u64> hashesOf(const DocAttr& array, const LinkNames& names) {
    std::vector<u64> hashes;
    hashes.reserve(array.members.size());
    for (const DocAttr& element : array.members)
        hashes.push_back(hashOf(element, &names));
    return hashes;
}

} // namespace

std::vector<bool> ListMatch::kept(u64 earlierCount) const {
    std::vector<bool> isKept(earlierCount);
    for (const u64 place : from)
        if (place != noIndex) isKept[place] = true;
    return isKept;
}

void ListMatch::findStays() {
    stays = longestIncreasingSubsequence(from);
}

std::string keyText(const AttrKey& key) {
    std::string text(key.name);
    if (key.ordinal > 1) text += ':' + std::to_string(key.ordinal);
    return text;
}

AttrKey keyOf(std::string_view text) {
    const u64 colon = text.find(':');
    AttrKey key{text.substr(0, colon)};
    if (colon != std::string_view::npos)
        std::from_chars(text.data() + colon + 1, text.data() + text.size(), key.ordinal);
    return key;
}

AttrKeys::AttrKeys(const std::vector<DocAttr>& list) {
    std::unordered_map<std::string_view, u32> met;
    m_keys.reserve(list.size());
    for (const DocAttr& attr : list)
        m_keys.push_back({attr.name, ++met[attr.name]});
    for (u64 i = 0; i < m_keys.size(); ++i)
        m_places.emplace(m_keys[i], i);
}

u64 AttrKeys::find(const AttrKey& key) const {
    const auto found = m_places.find(key);
    return found != m_places.end() ? found->second : noIndex;
}

bool mayBecome(const DocAttr& before, const DocAttr& after) noexcept {
    if (before.isObject() != after.isObject() || before.isArray() != after.isArray()) return false;
    return !before.isArray() || before.elementType == after.elementType;
}

ListMatch matchAttrs(const std::vector<DocAttr>& before, const std::vector<DocAttr>& after) {
    ListMatch match;
    match.from.reserve(after.size());
    if (haveSameNames(before, after)) {
        for (u64 i = 0; i < after.size(); ++i)
            match.from.push_back(mayBecome(before[i], after[i]) ? i : noIndex);
    } else {
        const AttrKeys keys(before);
        const AttrKeys wanted(after);
        for (u64 i = 0; i < after.size(); ++i) {
            const u64 place = keys.find(wanted[i]);
            const bool isSame = place != noIndex && mayBecome(before[place], after[i]);
            match.from.push_back(isSame ? place : noIndex);
        }
    }
    match.findStays();
    return match;
}

ListMatch matchElements(const DocAttr& before, const DocAttr& after, const LinkNames& names) {
    ListMatch match = ElementMatcher(hashesOf(before, names), hashesOf(after, LinkNames())).run();
    for (u64 i = 0; i < match.from.size(); ++i) {
        const u64 place = match.from[i];
        if (place == noIndex || mayBecome(before.members[place], after.members[i])) continue;
        match.from[i] = noIndex;
        match.stays[i] = false;
    }
    return match;
}

u64 hashOf(const DocAttr& attr, const LinkNames* names) {
    const bool isLink = attr.type == AttrType::Node;
    u64 hash = hashMix(hashText(attr.kind), hashText(attr.name));
    if (isLink)
        hash = hashMix(hash, names ? hashText(names->value(attr.value, attr.type)) : 1);
    else
        hash = hashMix(hash, hashText(attr.value));
    if (!attr.source.empty())
        hash = hashMix(hash, names ? hashText(names->source(attr.source)) : 2);
    for (const DocNote& note : attr.notes) {
        hash = hashMix(hash, hashText(note.name));
        const bool isMasked = !names && isLink;
        hash = hashMix(hash, isMasked ? 3
                             : names  ? hashText(names->note(note, attr.type))
                                      : hashText(note.text));
    }
    for (const DocAttr& member : attr.members)
        hash = hashMix(hash, hashOf(member, names));
    return hashMix(hash, attr.members.size());
}

} // namespace qv::kelvo_sdk::impl
