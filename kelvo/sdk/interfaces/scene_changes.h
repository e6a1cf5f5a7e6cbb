#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::interfaces {

/// Net changes of a scene by a group of edits, in the order of the first change to each object.
/// Leaves out changes that cancel each other, and changes to attributes of added and removed nodes.
/// All objects named here, removed ones too, stay alive during the call.
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
    /// Nodes that were moved, unless this was taken back: the last move first.
    ds::Vector<INode*> movedNodes;
    ds::Vector<const IInput*> addedInputs;
    ds::Vector<const IInput*> removedInputs;
    /// Inputs whose value, link or order of elements differs from before.
    ds::Vector<const IInput*> changedInputs;
    /// Inputs whose source differs from before.
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
