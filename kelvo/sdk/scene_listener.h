#pragma once

#include "kelvo/sdk/node.h"

#include <memory>

namespace qv::kelvo_sdk {

/// Hears of the changes of a whole scene, after the observers of the node concerned, in handles.
///
/// Override what you need. Called on the thread that makes the change. It may subscribe,
/// unsubscribe and edit from inside. Not owned by the scene; unsubscribe before it dies.
class QV_EXPORT SceneListener {
public:
    virtual void nodeAdded(Node /*node*/) {}
    /// Nothing links or connects to the node any more, and it has no connections; it still can be
    /// read, with the links of its own.
    virtual void nodeRemoved(Node /*node*/) {}
    virtual void nodeRenamed(Node /*node*/, String /*oldName*/) {}
    /// It stood at `from` before.
    virtual void nodeMoved(Node /*node*/, u64 /*from*/) {}
    virtual void inputAdded(Input /*input*/) {}
    virtual void inputRemoved(Input /*input*/) {}
    virtual void outputAdded(Output /*output*/) {}
    virtual void outputRemoved(Output /*output*/) {}
    /// `previous` is an input by itself that holds the value before; a node in it is borrowed.
    /// Empty for arrays and objects.
    virtual void inputChanged(Input /*input*/, Input /*previous*/) {}
    /// `before` and `after` are the connected outputs, empty for none.
    virtual void inputConnected(Input /*input*/, Output /*before*/, Output /*after*/) {}
    /// The input has another name than `before`, at its old place.
    virtual void inputRenamed(Input input, String /*before*/) {
        inputRemoved(input);
        inputAdded(std::move(input));
    }
    /// The node was converted: the replacement has its name, its place and all that led to it.
    virtual void nodeConverted(Node node, Node replacement) {
        nodeRemoved(std::move(node));
        nodeAdded(std::move(replacement));
    }

    SceneListener(const SceneListener&) = delete;
    SceneListener& operator=(const SceneListener&) = delete;

protected:
    SceneListener();
    virtual ~SceneListener();

private:
    friend class Scene;

    // The observer that the scene knows, which makes handles of what it is told.
    class Forwarder;
    std::unique_ptr<Forwarder> m_forwarder;
};

} // namespace qv::kelvo_sdk
