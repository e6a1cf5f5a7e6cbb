#include "kelvo/sdk/impl/diff/scene_match.h"

#include "kelvo/base/hash.h"

#include <algorithm>
#include <map>

namespace qv::kelvo_sdk::impl {

namespace {

// A renamed node keeps its type and at least this part of its lines.
constexpr u64 kSamePart = 3;
constexpr u64 kOfParts = 5;
// Lines that more nodes share hardly help to tell the nodes apart.
constexpr u64 kCommon = 16;

/// Finds nodes that were removed under one name and added under another.
class RenameFinder {
public:
    RenameFinder(const SceneDocument& before, const SceneDocument& after)
        : m_before(before), m_after(after) {}

    void addGone(u64 node) { m_gone.push_back(look(m_before.nodes[node], node)); }
    void addNew(u64 node) { m_new.push_back(look(m_after.nodes[node], node)); }

    /// Returns pairs of positions, before and after.
    std::vector<std::pair<u64, u64>> find() {
        findEqual();
        findSimilar();
        return std::move(m_found);
    }

private:
    struct Candidate {
        u64 node = 0;
        u64 whole = 0;
        std::vector<u64> lines = {};
        bool isTaken = false;
    };

    static Candidate look(const DocNode& node, u64 place) {
        Candidate made{.node = place, .whole = hashBytes(node.type.data(), node.type.size())};
        for (const auto* list : {&node.inputs, &node.outputs})
            for (const DocAttr& attr : *list)
                made.lines.push_back(hashMix(made.whole, hashOf(attr, nullptr)));
        for (const std::string_view text : {node.bases, node.flags})
            made.whole = hashMix(made.whole, hashBytes(text.data(), text.size()));
        for (const u64 line : made.lines)
            made.whole = hashMix(made.whole, line);
        return made;
    }

    void pair(Candidate& gone, Candidate& found) {
        gone.isTaken = found.isTaken = true;
        m_found.emplace_back(gone.node, found.node);
    }

    // Pairs equal nodes in their order.
    void findEqual() {
        std::unordered_map<u64, std::vector<Candidate*>> byHash;
        for (Candidate& gone : m_gone)
            byHash[gone.whole].push_back(&gone);
        std::unordered_map<u64, u64> next;
        for (Candidate& candidate : m_new) {
            const auto alike = byHash.find(candidate.whole);
            if (alike == byHash.end()) continue;
            u64& place = next[candidate.whole];
            if (place < alike->second.size()) pair(*alike->second[place++], candidate);
        }
    }

    void findSimilar() {
        std::unordered_map<u64, std::vector<u64>> byLine;
        for (u64 i = 0; i < m_gone.size(); ++i) {
            if (m_gone[i].isTaken) continue;
            for (const u64 line : m_gone[i].lines)
                byLine[line].push_back(i);
        }
        for (Candidate& candidate : m_new) {
            if (candidate.isTaken) continue;
            if (Candidate* best = mostSimilar(candidate, byLine)) pair(*best, candidate);
        }
    }

    Candidate* mostSimilar(const Candidate& candidate,
                           const std::unordered_map<u64, std::vector<u64>>& byLine) {
        std::map<u64, u64> shared;
        for (const u64 line : candidate.lines) {
            const auto owners = byLine.find(line);
            if (owners == byLine.end() || owners->second.size() > kCommon) continue;
            for (const u64 owner : owners->second)
                if (!m_gone[owner].isTaken) ++shared[owner];
        }
        Candidate* best = nullptr;
        u64 most = 0;
        for (const auto& [owner, count] : shared) {
            const u64 all = std::max(m_gone[owner].lines.size(), candidate.lines.size());
            if (count <= most || count * kOfParts < all * kSamePart) continue;
            most = count;
            best = &m_gone[owner];
        }
        return best;
    }

    const SceneDocument& m_before;
    const SceneDocument& m_after;
    std::vector<Candidate> m_gone;
    std::vector<Candidate> m_new;
    std::vector<std::pair<u64, u64>> m_found;
};

} // namespace

ListMatch matchNodes(const SceneDocument& before, const SceneDocument& after, LinkNames& names) {
    std::unordered_map<std::string_view, u64> places;
    for (u64 i = 0; i < before.nodes.size(); ++i)
        places.emplace(before.nodes[i].name, i);
    ListMatch match;
    match.from.reserve(after.nodes.size());
    RenameFinder renames(before, after);
    for (u64 i = 0; i < after.nodes.size(); ++i) {
        const auto found = places.find(after.nodes[i].name);
        match.from.push_back(found != places.end() ? found->second : noIndex);
        if (found == places.end()) renames.addNew(i);
    }
    const std::vector<bool> isKept = match.kept(before.nodes.size());
    for (u64 i = 0; i < before.nodes.size(); ++i)
        if (!isKept[i]) renames.addGone(i);
    for (const auto& [gone, found] : renames.find()) {
        match.from[found] = gone;
        names.add(before.nodes[gone].name, after.nodes[found].name);
    }
    match.findStays();
    return match;
}

} // namespace qv::kelvo_sdk::impl
