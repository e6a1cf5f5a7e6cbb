#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/node_callbacks.h"

namespace qv::kelvo_sdk::interfaces {

/// A library of node definitions. Each look-up takes the name of a node type and returns null when
/// the library has no such callback.
class QV_EXPORT ILibInfo : public IRefCounted {
public:
    [[nodiscard]] virtual NodeInitFn nodeInit(String type) const = 0;
    [[nodiscard]] virtual NodePrepFn nodePrep(String type) const = 0;
    [[nodiscard]] virtual NodeEvalFn nodeEval(String type) const = 0;
    [[nodiscard]] virtual NodeModifyFn nodeModify(String type) const = 0;
    [[nodiscard]] virtual NodeFreeFn nodeFree(String type) const = 0;
    [[nodiscard]] virtual NodeChangedFn nodeChanged(String type) const = 0;
    /// Returns the path of the definition file, empty when the library has none.
    [[nodiscard]] virtual String kndPath() const = 0;
};

} // namespace qv::kelvo_sdk::interfaces
