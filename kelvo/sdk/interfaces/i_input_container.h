#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::interfaces {

/// Owner of an ordered list of inputs: a node, an array input or an object input.
///
/// Names are compared without regard to case; the first input in order that matches wins.
/// Returned inputs are borrowed: valid until they are removed. Several threads may read, evaluated
/// reads included, while nobody edits the scene (docs/threads.md).
class QV_EXPORT IInputContainer {
public:
    /// Returns the input of that name and kind, created at the end if there is none; null when the
    /// name is not a simple identifier (logged).
    virtual IInput* createInput(String name, AttrType type) = 0;
    /// As `createInput`, for an array of `type` elements.
    virtual IInput* createArray(String name, AttrType type) = 0;

    /// Tells whether there is an input at `index`, of that kind; Null stands for any kind.
    [[nodiscard]] virtual bool hasInput(u64 index, AttrType type) const = 0;
    /// Tells whether the first input of that name is of that kind; Null stands for any kind.
    [[nodiscard]] virtual bool hasInput(String name, AttrType type) const = 0;

    [[nodiscard]] virtual u64 inputCount() const = 0;

    /// Returns null, and logs, when `index` is out of range.
    virtual IInput* input(u64 index) = 0;
    virtual IInput* input(u64 index) const = 0;
    /// Returns the input of that name; a node creates a missing one with kind Null, other
    /// containers return null.
    virtual IInput* input(String path) = 0;
    /// Returns null, and logs, when there is no input of that name.
    virtual IInput* input(String path) const = 0;

    /// Removes the input and drops the reference that the container holds on it.
    virtual bool removeInput(u64 index) = 0;
    virtual bool removeInput(String name) = 0;
    /// Returns false, without a log entry, when the container is empty.
    virtual bool removeLastInput() = 0;
    /// Removes all inputs one by one (a node: first to last); returns whether the container is
    /// empty then.
    virtual bool clearInputs() = 0;

protected:
    IInputContainer() = default;
    IInputContainer(const IInputContainer&) = default;
    IInputContainer& operator=(const IInputContainer&) = default;
    virtual ~IInputContainer() = default;
};

} // namespace qv::kelvo_sdk::interfaces
