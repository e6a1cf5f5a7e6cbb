#pragma once

#include "sdk/input.h"
#include "sdk/interfaces/i_node.h"
#include "sdk/interfaces/node_observer.h"

namespace qv::kelvo_sdk {

using interfaces::NodeObserver;

/// Handle on a node; keeps it alive. Every operation is safe on an empty handle, which answers
/// empty, false or 0.
class QV_EXPORT Node : public RefersTo<interfaces::INode> {
public:
    using RefersTo::RefersTo;

    [[nodiscard]] String name() const { return get() ? get()->name() : String(); }
    [[nodiscard]] String type() const { return get() ? get()->type() : String(); }
    [[nodiscard]] String displayName() const { return get() ? get()->displayName() : String(); }
    [[nodiscard]] bool isTypeOf(String type) const {
        return get() && get()->isTypeOf(std::move(type));
    }

    /// Returns the input of that name; empty, and logged, when there is none.
    [[nodiscard]] Input operator[](String name) const;
    [[nodiscard]] u64 inputCount() const { return get() ? get()->inputCount() : 0; }
    [[nodiscard]] Input input(u64 index) const;
    /// Returns the input at a path like "array[3].member"; arrays grow on the way. Empty, silently,
    /// when the path leads nowhere.
    [[nodiscard]] Input inputAt(String path) const;
    Input createInput(String name, AttrType type) const;
    Input createArray(String name, AttrType elementType) const;
    bool removeInput(String name) const { return get() && get()->removeInput(std::move(name)); }

    /// Returns the output of that name; empty, and logged, when there is none.
    [[nodiscard]] Output output(String name) const;
    Output createOutput(String name, AttrType type) const;

    bool subscribe(NodeObserver* observer) const { return get() && get()->subscribe(observer); }
    bool unsubscribe(NodeObserver* observer) const { return get() && get()->unsubscribe(observer); }
};

} // namespace qv::kelvo_sdk
