#pragma once

#include "kelvo/sdk/diagnostic.h"
#include "kelvo/sdk/interfaces/i_lib_info.h"
#include "kelvo/sdk/result.h"

#include <memory>
#include <utility>

namespace qv::kelvo_sdk {

using interfaces::NodeCallbacks;

/// Handle on a node library: types read from definition text, and callbacks by type. Every
/// operation is safe on an empty handle, which answers empty, null, false or 0; so does a library
/// without definitions, such as a `CallbackTable`, when it is asked for types.
///
/// Scenes and threads share a library, which must not change any more then.
class QV_EXPORT LibInfo : public RefersTo<interfaces::ILibInfo> {
public:
    LibInfo() = default;
    explicit LibInfo(interfaces::ILibInfo* library) : RefersTo(library) {}

    /// Returns the library of node types that is part of the program: scene nodes, lights,
    /// materials, modifiers and value nodes. Made at the first call, from any thread; it lives as
    /// long as the program. It is shared: add definitions of your own to a library of your own.
    [[nodiscard]] static LibInfo standard();
    /// Returns a new library without types. `kndPath` names its definition file, if there is one;
    /// `needs` is let go of after the library, as the code of its callbacks.
    [[nodiscard]] static LibInfo create(String kndPath = {},
                                        std::shared_ptr<const void> needs = {});

    /// Adds the types of a definition text (docs/definition-text.md), all or, with an error, none:
    /// it fails with the first one, and what is wrong goes to `found` (at most 20), or to the log
    /// when that is null. `source` names the text in errors. Bases may be types of the library or
    /// of `basesFrom`, which is kept alive and asked for the callbacks of types that this library
    /// does not know.
    Result readDefinitions(String text, String source, Diagnostics* found = nullptr,
                           const LibInfo& basesFrom = LibInfo()) const;
    /// Returns a text that `readDefinitions` takes back and that reads and writes to the same
    /// bytes.
    [[nodiscard]] String definitionText() const;
    /// Sets the callbacks of a node type, in place of earlier ones; before or after its definition.
    Result setCallbacks(String type, const NodeCallbacks& callbacks) const;

    [[nodiscard]] u64 typeCount() const;
    /// Returns a type as a node by itself that new nodes are copied from, in order of definition;
    /// empty out of range. All who use the library share it, so it must not be changed. Needs
    /// kelvo/sdk/node.h.
    [[nodiscard]] Node type(u64 index) const;
    /// Returns the type of exactly that name; empty when the library has none.
    [[nodiscard]] Node findType(String name) const;

    [[nodiscard]] interfaces::NodeInitFn nodeInit(String type) const {
        return get() ? get()->nodeInit(std::move(type)) : nullptr;
    }
    [[nodiscard]] interfaces::NodePrepFn nodePrep(String type) const {
        return get() ? get()->nodePrep(std::move(type)) : nullptr;
    }
    [[nodiscard]] interfaces::NodeEvalFn nodeEval(String type) const {
        return get() ? get()->nodeEval(std::move(type)) : nullptr;
    }
    [[nodiscard]] interfaces::NodeModifyFn nodeModify(String type) const {
        return get() ? get()->nodeModify(std::move(type)) : nullptr;
    }
    [[nodiscard]] interfaces::NodeFreeFn nodeFree(String type) const {
        return get() ? get()->nodeFree(std::move(type)) : nullptr;
    }
    [[nodiscard]] interfaces::NodeChangedFn nodeChanged(String type) const {
        return get() ? get()->nodeChanged(std::move(type)) : nullptr;
    }
    /// Returns the path of the definition file, empty when there is none.
    [[nodiscard]] String kndPath() const { return get() ? get()->kndPath() : String(); }
};

} // namespace qv::kelvo_sdk
