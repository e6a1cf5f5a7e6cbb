#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::interfaces {

/// A value that a node produces, and the inputs connected to it.
class QV_EXPORT IOutput : public IRefCounted {
public:
    [[nodiscard]] virtual String name() const = 0;
    [[nodiscard]] virtual AttrType type() const = 0;
    /// Returns the kind as text, a buffer with its element type: "Real", "Buffer<Float>".
    [[nodiscard]] virtual String typeName() const = 0;
    /// Returns null after the node was destroyed.
    [[nodiscard]] virtual INode* node() const = 0;
    /// Returns "node.output".
    [[nodiscard]] virtual String path() const = 0;
    /// Tells whether this is a buffer of that element type.
    [[nodiscard]] virtual bool hasDataType(DataType type) const = 0;
    /// Returns how many inputs are connected.
    [[nodiscard]] virtual u64 targetCount() const = 0;
    /// Returns a connected input by order of connection; null out of range.
    [[nodiscard]] virtual IInput* target(u64 index) const = 0;

    /// Returns the element type of a buffer output, Null for other kinds.
    [[nodiscard]] virtual DataType dataType() const = 0;
};

} // namespace qv::kelvo_sdk::interfaces
