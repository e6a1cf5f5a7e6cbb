#pragma once

#include "kelvo/sdk/impl/graph/layout.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/types/knd_tree.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// A node type of a library: its prototype, and those parts of its text that a node cannot hold.
struct KndDefinition {
    /// Where an attribute was defined.
    struct Place {
        const KndDefinition* owner = nullptr;
        u64 line = 0;
    };

    /// A node outside of any scene, named as the type.
    RefersTo<Node> prototype;
    /// The bases that the type names, in order; they outlive this definition.
    std::vector<const KndDefinition*> bases;
    String source;
    u64 line = 0;
    /// Where each attribute of the prototype was defined, in the order of attributes: inherited
    /// ones first.
    std::vector<Place> inputs;
    std::vector<Place> outputs;
    u64 inheritedInputs = 0;
    u64 inheritedOutputs = 0;
    std::vector<KndText> labels;
    std::vector<KndText> helps;
    KndText icon;
    bool hasIcon = false;
    /// The type's own pages, null if there are none, and the comments around each.
    RefersTo<Layout> pages;
    std::vector<Comments> pageComments;

    [[nodiscard]] String name() const { return prototype->name(); }
};

} // namespace qv::kelvo_sdk::impl
