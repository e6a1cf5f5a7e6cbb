#pragma once

#include "kelvo/sdk/node.h"

#include <memory>

namespace qv::kelvo_sdk {

/// Is notified of changes of a whole scene, after the observers of the node concerned, and is given
/// handles.
///
/// Override the functions that you need. Called on the thread that makes the change; it may
/// subscribe, unsubscribe and edit. The scene does not own it; unsubscribe before its destruction.
class QV_EXPORT SceneListener {
public:
    virtual void nodeAdded(Node /*node*/) {}
    /// Called when all links and connections to the node, and its own connections, are cleared. The
    /// node can still be read, and its own links are unchanged.
    virtual void nodeRemoved(Node /*node*/) {}
    virtual void nodeRenamed(Node /*node*/, String /*oldName*/) {}
    /// `from` is the node's position before.
    virtual void nodeMoved(Node /*node*/, u64 /*from*/) {}
    virtual void inputAdded(Input /*input*/) {}
    virtual void inputRemoved(Input /*input*/) {}
    virtual void outputAdded(Output /*output*/) {}
    virtual void outputRemoved(Output /*output*/) {}
    /// `previous` is an input without a node that has the value before; a node in it is borrowed.
    /// Empty for arrays and objects.
    virtual void inputChanged(Input /*input*/, Input /*previous*/) {}
    /// `before` and `after` are the connected outputs, empty for none.
    virtual void inputConnected(Input /*input*/, Output /*before*/, Output /*after*/) {}
    /// The input was renamed and keeps its place; `before` is its old name.
    virtual void inputRenamed(Input input, String /*before*/) {
        inputRemoved(input);
        inputAdded(std::move(input));
    }
    /// The node was converted: the replacement has its name and place, and all links and
    /// connections to it.
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

    // The observer that is subscribed to the scene; it calls the listener with handles.
    class Forwarder;
    std::unique_ptr<Forwarder> m_forwarder;
};

} // namespace qv::kelvo_sdk
