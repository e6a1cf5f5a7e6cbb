// The paths through a snapshot.

#include "kelvo/sdk/snapshot_paths.h"

#include "kelvo/sdk/impl/graph/path_iterator.h"

#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk {

namespace {

const ds::Vector<SnapshotNode> noPath;

class SnapshotSpace final : public impl::PathSpace {
public:
    /// Without `to`, the goal is every node of the types.
    SnapshotSpace(const SnapshotNode& from, const SnapshotNode& to, StringVector types,
                  bool allLinks)
        : m_target(to), m_types(std::move(types)), m_allLinks(allLinks) {
        m_nodes.push_back(from);
        m_numbers.emplace(from.number(), 0);
    }

    [[nodiscard]] const SnapshotNode& node(Number number) const { return m_nodes[number]; }
    [[nodiscard]] u64 size() const noexcept override { return m_nodes.size(); }
    // No path continues after the target.
    void listFollowers(Number number, std::vector<Number>& out) override {
        const SnapshotNode from = m_nodes[number];
        if (m_target && from == m_target) return;
        for (const SnapshotNode& next : m_allLinks ? from.dependencies() : from.children()) {
            const auto size = static_cast<Number>(m_nodes.size());
            const auto [place, isNew] = m_numbers.try_emplace(next.number(), size);
            if (isNew) m_nodes.push_back(next);
            out.push_back(place->second);
        }
    }
    [[nodiscard]] bool isGoal(Number number) const override {
        const SnapshotNode& node = m_nodes[number];
        if (m_target) return node == m_target;
        bool isAny = m_types.empty();
        for (const String& type : m_types)
            isAny = isAny || node.isTypeOf(type);
        return isAny;
    }

private:
    SnapshotNode m_target;
    StringVector m_types;
    bool m_allLinks;
    std::vector<SnapshotNode> m_nodes;
    // By number in the snapshot.
    std::unordered_map<NodeNumber, Number> m_numbers;
};

class PathList final : public RefCounted {
public:
    explicit PathList(SnapshotSpace space)
        : m_counted(space), m_space(std::move(space)), m_search(m_space) {
        next();
    }

    [[nodiscard]] const ds::Vector<SnapshotNode>& current() const noexcept { return m_current; }
    bool next() {
        m_current.clear();
        if (m_isAtEnd || !m_search.next()) {
            m_isAtEnd = true;
            return false;
        }
        for (u64 i = 0; i < m_search.length(); ++i)
            m_current.push_back(m_space.node(m_search.at(i)));
        return true;
    }
    [[nodiscard]] const impl::PathCount& count() {
        if (!m_count) m_count = impl::countPaths(m_counted);
        return *m_count;
    }

private:
    // The search goes on while paths are counted.
    SnapshotSpace m_counted;
    SnapshotSpace m_space;
    impl::PathSearch m_search;
    ds::Vector<SnapshotNode> m_current;
    std::optional<impl::PathCount> m_count;
    bool m_isAtEnd = false;
};

PathList* listOf(const SnapshotPaths& paths) {
    return static_cast<PathList*>(paths.get());
}

} // namespace

SnapshotPaths::SnapshotPaths(const SnapshotNode& from, const SnapshotNode& to, bool allLinks)
    : RefersTo(adoptRef, from && to ? new PathList({from, to, {}, allLinks}) : nullptr) {}

SnapshotPaths::SnapshotPaths(const SnapshotNode& from, StringVector types, bool allLinks)
    : RefersTo(adoptRef, from ? new PathList({from, {}, std::move(types), allLinks}) : nullptr) {}

const ds::Vector<SnapshotNode>& SnapshotPaths::current() const {
    return get() ? listOf(*this)->current() : noPath;
}

bool SnapshotPaths::next() const {
    return get() && listOf(*this)->next();
}

u64 SnapshotPaths::count() const {
    return get() ? listOf(*this)->count().number : 0;
}

bool SnapshotPaths::isCountExact() const {
    return !get() || listOf(*this)->count().isExact;
}

} // namespace qv::kelvo_sdk
