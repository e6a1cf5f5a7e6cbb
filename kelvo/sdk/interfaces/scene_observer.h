#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::interfaces {

/// Is notified of changes of a whole scene, after the observers of the node concerned.
///
/// Override the functions that you need. Called on the thread that makes the change; it may
/// subscribe, unsubscribe and edit. The scene does not own it; unsubscribe before its destruction.
class QV_EXPORT SceneObserver {
public:
    virtual void nodeAdded(INode* /*node*/) {}
    /// Called when all links and connections to the node, and its own connections, are cleared. The
    /// node can still be read, and its own links are unchanged.
    virtual void nodeRemoved(INode* /*node*/) {}
    virtual void nodeRenamed(INode* /*node*/, String /*oldName*/) {}
    /// `from` is the node's position before.
    virtual void nodeMoved(INode* /*node*/, u64 /*from*/) {}
    virtual void inputAdded(const IInput* /*input*/) {}
    virtual void inputRemoved(const IInput* /*input*/) {}
    virtual void outputAdded(const IOutput* /*output*/) {}
    virtual void outputRemoved(const IOutput* /*output*/) {}
    /// `previous` describes the value before the change; valid during the call, may be null.
    virtual void inputChanged(const IInput* /*input*/, const impl::AttrData* /*previous*/) {}
    /// `before` and `after` are the connected outputs, null for none.
    virtual void inputConnected(const IInput* /*input*/, const IOutput* /*before*/,
                                const IOutput* /*after*/) {}
    /// The node was converted: the replacement has its name and place, and all links and
    /// connections to it.
    virtual void nodeConverted(INode* node, INode* replacement) {
        nodeRemoved(node);
        nodeAdded(replacement);
    }

protected:
    SceneObserver() = default;
    SceneObserver(const SceneObserver&) = default;
    SceneObserver& operator=(const SceneObserver&) = default;
    virtual ~SceneObserver() = default;

public:
    // Last in the class, so that all other functions keep their slots in the virtual table.
    /// The input was renamed and keeps its place; `before` is its old name.
    virtual void inputRenamed(const IInput* input, String /*before*/) {
        inputRemoved(input);
        inputAdded(input);
    }
};

} // namespace qv::kelvo_sdk::interfaces
