#pragma once

#include "kelvo/sdk/input.h"

namespace qv::kelvo_sdk {

/// Inputs that are shown under one heading of a page.
struct LayoutGroup {
    /// Empty for inputs that stand in the page itself, as is its label.
    String name;
    String label;
    ds::Vector<Input> inputs;
};

/// A page of the inputs of a node, in the order in which they are shown; see `Node::layoutPages`.
struct LayoutPage {
    String name;
    String label;
    ds::Vector<LayoutGroup> groups;
};

} // namespace qv::kelvo_sdk
