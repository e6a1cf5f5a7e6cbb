#pragma once

#include "kelvo/sdk/impl/graph/layout.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/types/knd_tree.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// A node type of a library: what nodes are copied from, and what of its text is not in there.
struct KndDefinition {
    /// Where an attribute was defined.
    struct Place {
        const KndDefinition* owner = nullptr;
        u64 line = 0;
    };

    /// A node by itself, named as the type.
    RefersTo<Node> prototype;
    /// The type's own, in order; they outlive it.
    std::vector<const KndDefinition*> bases;
    String source;
    u64 line = 0;
    /// Of the prototype's attributes, in their order: first those of the bases.
    std::vector<Place> inputs;
    std::vector<Place> outputs;
    u64 inheritedInputs = 0;
    u64 inheritedOutputs = 0;
    std::vector<KndText> labels;
    std::vector<KndText> helps;
    KndText icon;
    bool hasIcon = false;
    /// The type's own pages, null without any, and the comments around each.
    RefersTo<Layout> pages;
    std::vector<Comments> pageComments;

    [[nodiscard]] String name() const { return prototype->name(); }
};

} // namespace qv::kelvo_sdk::impl
