#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/graph/path_counter.h"
#include "kelvo/sdk/impl/graph/path_graph.h"
#include "kelvo/sdk/impl/graph/path_search.h"
#include "kelvo/sdk/interfaces/forward.h"
#include "kelvo/sdk/node_path.h"

#include <limits>
#include <optional>

namespace qv::kelvo_sdk::impl {

/// Finds the paths from a node to others one by one, depth first in the order of the inputs; no
/// path contains a node twice. Created with one reference, owned by the caller. The graph must not
/// change in the meantime. For one thread at a time.
///
/// With `flag`, follows every link and connection, else only "children". `firstOnly` ends the
/// search at the first path.
class QV_EXPORT PathIterator : public RefCounted {
public:
    /// Searches for nodes of any of the types or, without types, for every node within reach.
    PathIterator(interfaces::INode* from, StringVector types, bool flag, bool firstOnly);
    PathIterator(interfaces::INode* from, interfaces::INode* to, bool flag, bool firstOnly);

    /// Returns the number of paths, or a lower bound if `isCountExact` is false.
    virtual u64 count();
    /// Returns the current path, initially the first; null after the last. Valid until `next`,
    /// unless the caller takes a reference.
    virtual NodePath* current();
    /// Advances to the next path; false when there is none.
    bool next();
    /// Tells whether `count` is exact. It is not if it is `maxCount`, which also stands for all
    /// greater numbers, or if cycles contain too many paths to try; then only a limited number of
    /// them was tried.
    [[nodiscard]] bool isCountExact();

    static constexpr u64 maxCount = std::numeric_limits<u64>::max();
    /// The greatest number of paths that are counted one by one if cycles make this necessary.
    static constexpr u64 maxSearched = 100'000;

private:
    void start();
    [[nodiscard]] const PathCount& counted();
    void advance();
    void setCurrent(ds::Vector<interfaces::INode*> nodes);

    interfaces::INode* m_from;
    PathGoal m_goal;
    bool m_flag;
    // Empty while the first path is the current one.
    std::optional<GoalGraph> m_graph;
    std::optional<PathSearch> m_search;
    bool m_firstOnly;
    std::optional<PathCount> m_count;
    RefersTo<NodePath> m_current;
};

/// Counts all paths of a space; see `PathIterator::isCountExact`.
[[nodiscard]] PathCount countPaths(PathSpace& space);

} // namespace qv::kelvo_sdk::impl
