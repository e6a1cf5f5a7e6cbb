#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string_vector.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/graph/path_counter.h"
#include "kelvo/sdk/impl/graph/path_search.h"
#include "kelvo/sdk/interfaces/forward.h"
#include "kelvo/sdk/node_path.h"

#include <limits>
#include <optional>

namespace qv::kelvo_sdk::impl {

/// Yields the paths from a node to others, one by one as they are asked for, depth first in input
/// order; no path meets a node twice. Created with one reference, owned by the caller. The graph
/// must stay as it is meanwhile. One thread at a time.
///
/// `flag` false: along "children" only; true: along every link and connection. `firstOnly` ends the
/// search at the first path.
class QV_EXPORT PathIterator : public RefCounted {
public:
    /// To the nodes of any of the types; no types: to every node that is reached.
    PathIterator(interfaces::INode* from, StringVector types, bool flag, bool firstOnly);
    PathIterator(interfaces::INode* from, interfaces::INode* to, bool flag, bool firstOnly);

    /// Returns the number of paths; where `isCountExact` says no, one that there are at least.
    virtual u64 count();
    /// Returns the path that the iterator stands at, at first the first; null behind the last.
    /// Valid until `next`, unless the caller takes a reference.
    virtual NodePath* current();
    /// Goes on to the next path; false when there is none.
    bool next();
    /// Tells whether `count` is the number of paths. It is, however many there are, unless it is
    /// `maxCount`, which stands for all beyond as well, or so many ways lead around within cycles
    /// that to try them all would not end: then a bounded number of them was tried.
    [[nodiscard]] bool isCountExact();

    static constexpr u64 maxCount = std::numeric_limits<u64>::max();
    /// As many paths are counted one by one, at most, where cycles leave no other way.
    static constexpr u64 maxSearched = 100'000;

private:
    void start();
    [[nodiscard]] const PathCount& counted();
    [[nodiscard]] PathCount countAll() const;
    void advance();

    interfaces::INode* m_from;
    PathGoal m_goal;
    bool m_flag;
    PathSearch m_search;
    bool m_firstOnly;
    std::optional<PathCount> m_count;
    RefersTo<NodePath> m_current;
};

} // namespace qv::kelvo_sdk::impl
