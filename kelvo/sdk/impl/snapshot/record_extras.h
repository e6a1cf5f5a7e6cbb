#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/impl/index/compact_graph.h"
#include "kelvo/sdk/impl/value/value.h"

#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Parts of a node that few nodes have, apart from its record: the comments and unread lines of its
/// text, and the values that its inputs keep aside.
struct RecordExtras {
    struct InputComments {
        u32 list = 0;
        u32 input = 0;
        Comments comments;
        bool operator==(const InputComments&) const = default;
    };
    struct OutputComments {
        u32 output = 0;
        Comments comments;
        bool operator==(const OutputComments&) const = default;
    };
    /// A value that an input keeps aside. One of the kind Node is null, and `link` says which node
    /// it is.
    struct Stash {
        u32 list = 0;
        u32 input = 0;
        Value value;
        NodeNumber link = noNumber;
        bool operator==(const Stash&) const = default;
    };

    /// Of the node itself.
    Comments comments;
    // Each in order of lists and positions.
    std::vector<InputComments> inputs;
    std::vector<OutputComments> outputs;
    std::vector<Stash> stashes;

    [[nodiscard]] bool isEmpty() const noexcept {
        return comments.isEmpty() && inputs.empty() && outputs.empty() && stashes.empty();
    }
    /// Return null for none.
    [[nodiscard]] const Comments* commentsOfInput(u32 list, u32 input) const noexcept;
    [[nodiscard]] const Comments* commentsOfOutput(u32 output) const noexcept;
    [[nodiscard]] const Stash* stashOf(u32 list, u32 input) const noexcept;

    bool operator==(const RecordExtras&) const = default;
};

/// Extras of one or more records. Constant.
struct SharedExtras final : RefCounted {
    explicit SharedExtras(RecordExtras extras) noexcept : parts(std::move(extras)) {}
    const RecordExtras parts;
};

/// Makes the extras of successive records, which share those that are equal: most are the same
/// blank line before a node.
class ExtrasStock {
public:
    /// Returns null for empty extras.
    [[nodiscard]] RefersTo<SharedExtras> share(RecordExtras extras);

private:
    RefersTo<SharedExtras> m_last;
};

/// Tells whether two records' extras are equal; null is for none.
[[nodiscard]] inline bool areEqual(const RecordExtras* a, const RecordExtras* b) {
    return a == b || (a && b && *a == *b);
}

} // namespace qv::kelvo_sdk::impl
