#include "kelvo/sdk/snapshot_why.h"

#include "kelvo/sdk/impl/snapshot/record_difference.h"
#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"

#include <algorithm>
#include <unordered_set>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk {

namespace {

const impl::SnapshotPicture* pictureOf(const Snapshot& snapshot) noexcept {
    return static_cast<const impl::SnapshotPicture*>(snapshot.get());
}

// Descriptions and marks are no part of the hash.
constexpr u32 hashedParts = ~static_cast<u32>(InputPart::Marks);

} // namespace

// Goes from node to node in width, so that the first way to each is a shortest one.
class SnapshotWhy::Search {
public:
    Search(SnapshotWhy& why, u64 atMost)
        : m_why(why),
          m_from(pictureOf(why.m_from)),
          m_to(pictureOf(why.m_to)),
          m_areOfOneScene(m_from && m_to && m_from->isOfSameScene(*m_to)),
          m_atMost(atMost) {}

    void run(const SnapshotNode& start) {
        const bool isEarlier = m_from && start.m_picture == m_from;
        const bool isLater = m_to && start.m_picture == m_to;
        if (!isEarlier && !isLater) return;
        const SnapshotNode other = matchIn(isLater ? m_why.m_from : m_why.m_to, start);
        if (!other) return addWhole(start, isLater);
        const Pair pair = isLater ? Pair{other, start} : Pair{start, other};
        if (isSame(pair)) return;
        reach(pair, none);
        for (u64 i = 0; i < m_reached.size() && m_why.m_isComplete; ++i)
            explain(i);
    }

private:
    static constexpr u64 none = ~u64{0};

    struct Pair {
        SnapshotNode before;
        SnapshotNode after;
    };
    // A node, and the place of the one before it on the way.
    struct Reached {
        Pair pair;
        u64 reader;
    };

    [[nodiscard]] SnapshotNode matchIn(const Snapshot& snapshot, const SnapshotNode& node) const {
        return m_areOfOneScene ? snapshot.nodeWithNumber(node.number())
                               : snapshot.findNode(node.name());
    }
    [[nodiscard]] static bool isSame(const Pair& pair) {
        return pair.before.deepHash() == pair.after.deepHash();
    }
    // A node that one snapshot does not have.
    void addWhole(const SnapshotNode& node, bool isAdded) {
        WhyChain chain;
        chain.nodes.push_back(node);
        (isAdded ? chain.after : chain.before) = node;
        add(std::move(chain));
    }
    void reach(const Pair& pair, u64 reader) {
        if (m_met.insert(pair.after.number()).second) m_reached.push_back({pair, reader});
    }
    void explain(u64 place) {
        const Pair pair = m_reached[place].pair;
        WhyChain chain = differenceOf(pair);
        if (chain.isRenamed || chain.isTypeChanged || !chain.inputs.empty()) {
            for (u64 i = place; i != none; i = m_reached[i].reader)
                chain.nodes.push_back(m_reached[i].pair.after);
            std::reverse(chain.nodes.begin(), chain.nodes.end());
            add(std::move(chain));
        }
        std::unordered_set<NodeNumber> known;
        for (const SnapshotNode& node : pair.before.dependencies())
            known.insert(node.number());
        for (const SnapshotNode& node : pair.after.dependencies()) {
            const SnapshotNode before = matchIn(m_why.m_from, node);
            if (before && known.contains(before.number()) && !isSame({before, node}))
                reach({before, node}, place);
        }
    }
    void add(WhyChain chain) {
        m_why.m_isComplete = m_why.m_chains.size() < m_atMost;
        if (m_why.m_isComplete) m_why.m_chains.push_back(std::move(chain));
    }

    [[nodiscard]] WhyChain differenceOf(const Pair& pair) const {
        const impl::NodeRecord &before = *pair.before.m_record, &after = *pair.after.m_record;
        WhyChain chain;
        chain.before = pair.before;
        chain.after = pair.after;
        if (&before == &after) return chain;
        chain.isRenamed = !before.name().equals(after.name());
        chain.isTypeChanged = !before.shape().isSameType(after.shape());
        std::vector<impl::RecordDifference> differences;
        if (m_areOfOneScene)
            impl::findDifference(before, after, differences);
        else
            impl::findDifference(before, m_from->tables(), after, m_to->tables(), differences);
        for (const impl::RecordDifference& found : differences)
            if (const u32 parts = found.parts & hashedParts)
                chain.inputs.push_back({impl::viewOf(m_from, before, found.before),
                                        impl::viewOf(m_to, after, found.after), parts});
        return chain;
    }

    SnapshotWhy& m_why;
    const impl::SnapshotPicture* m_from;
    const impl::SnapshotPicture* m_to;
    const bool m_areOfOneScene;
    const u64 m_atMost;
    std::vector<Reached> m_reached;
    std::unordered_set<NodeNumber> m_met;
};

SnapshotWhy::SnapshotWhy(const Snapshot& from, const Snapshot& to, const SnapshotNode& node,
                         u64 atMost)
    : m_from(from), m_to(to) {
    Search(*this, atMost).run(node);
}

} // namespace qv::kelvo_sdk
