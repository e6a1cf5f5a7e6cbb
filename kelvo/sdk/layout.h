#pragma once

#include "kelvo/sdk/input.h"

namespace qv::kelvo_sdk {

/// Inputs that are shown under one heading of a page.
struct LayoutGroup {
    /// Name and label are empty for inputs directly on the page, without a heading.
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
