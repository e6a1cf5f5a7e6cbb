#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::interfaces {

/// Hears of the changes of a whole scene, after the observers of the node concerned.
///
/// Override what you need. Called on the thread that makes the change. It may subscribe,
/// unsubscribe and edit from inside. Not owned by the scene; unsubscribe before it dies.
class QV_EXPORT SceneObserver {
public:
    virtual void nodeAdded(INode* /*node*/) {}
    /// Nothing links or connects to the node any more, and it has no connections; it still can be
    /// read, with the links of its own.
    virtual void nodeRemoved(INode* /*node*/) {}
    virtual void nodeRenamed(INode* /*node*/, String /*oldName*/) {}
    /// It stood at `from` before.
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
    /// The node was converted: the replacement has its name, its place and all that led to it.
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
    // Last in the class, so that the places of all others in the table stand.
    /// The input has another name than `before`, at its old place.
    virtual void inputRenamed(const IInput* input, String /*before*/) {
        inputRemoved(input);
        inputAdded(input);
    }
};

} // namespace qv::kelvo_sdk::interfaces
