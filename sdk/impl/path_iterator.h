#pragma once

#include "base/ref_counted.h"
#include "base/string_vector.h"
#include "base/vector.h"
#include "sdk/impl/path_search.h"
#include "sdk/interfaces/forward.h"
#include "sdk/node_path.h"

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

    /// Returns the number of paths, at most `maxCount`: there may be exponentially many.
    virtual u64 count();
    /// Returns the path that the iterator stands at, at first the first; null behind the last.
    /// Valid until `next`, unless the caller takes a reference.
    virtual NodePath* current();
    /// Goes on to the next path; false when there is none.
    bool next();

    static constexpr u64 maxCount = 100'000;

private:
    void start();
    void advance();

    PathSearch m_start;
    PathSearch m_search;
    bool m_firstOnly;
    std::optional<u64> m_count;
    RefersTo<NodePath> m_current;
};

} // namespace qv::kelvo_sdk::impl
