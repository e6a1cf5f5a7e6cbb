#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::interfaces {

/// Net changes of a scene by a group of edits, in the order of the first change to each thing.
/// Changes that came to nothing are left out, and so are those to attributes of nodes that came or
/// went. Everything here lives during the call, removed or not.
struct SceneChanges {
    struct Renaming {
        INode* node;
        String before;
    };

    struct InputRenaming {
        const IInput* input;
        String before;
    };

    ds::Vector<INode*> addedNodes;
    ds::Vector<INode*> removedNodes;
    ds::Vector<Renaming> renamedNodes;
    ds::Vector<INode*> movedNodes;
    ds::Vector<const IInput*> addedInputs;
    ds::Vector<const IInput*> removedInputs;
    /// Values, links and orders of elements that are others than before.
    ds::Vector<const IInput*> changedInputs;
    /// Inputs that have another source than before.
    ds::Vector<const IInput*> connectedInputs;
    ds::Vector<const IOutput*> addedOutputs;
    ds::Vector<const IOutput*> removedOutputs;
    ds::Vector<InputRenaming> renamedInputs;

    [[nodiscard]] bool empty() const noexcept {
        return addedNodes.empty() && removedNodes.empty() && renamedNodes.empty() &&
               movedNodes.empty() && addedInputs.empty() && removedInputs.empty() &&
               changedInputs.empty() && connectedInputs.empty() && addedOutputs.empty() &&
               removedOutputs.empty() && renamedInputs.empty();
    }
};

} // namespace qv::kelvo_sdk::interfaces
