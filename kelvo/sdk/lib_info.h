#pragma once

#include "kelvo/sdk/diagnostic.h"
#include "kelvo/sdk/interfaces/i_lib_info.h"
#include "kelvo/sdk/result.h"

#include <memory>
#include <utility>

namespace qv::kelvo_sdk {

using interfaces::NodeCallbacks;

/// Handle on a node library: types read from definition text, and callbacks by type. Every
/// operation is safe on an empty handle, which answers empty, null, false or 0. A library without
/// definitions, such as a `CallbackTable`, answers questions about types in the same way.
///
/// Scenes and threads may share a library once it does not change any more.
class QV_EXPORT LibInfo : public RefersTo<interfaces::ILibInfo> {
public:
    LibInfo() = default;
    explicit LibInfo(interfaces::ILibInfo* library) : RefersTo(library) {}

    /// Returns the library of standard types: scene nodes, lights, materials, modifiers and value
    /// nodes. It is made at the first call, from any thread, and lives as long as the program. It
    /// is shared, so add your own definitions to a library of your own.
    [[nodiscard]] static LibInfo standard();
    /// Returns a new library without types. `kndPath` names its definition file, if there is one;
    /// `needs` is an object that must outlive the library, such as the code of its callbacks.
    [[nodiscard]] static LibInfo create(String kndPath = {},
                                        std::shared_ptr<const void> needs = {});

    /// Adds the types of a definition text (docs/definition-text.md). If the text has errors, adds
    /// none of them and fails with the first error; all errors, at most 20, go to `found`, or to
    /// the log when `found` is null. `source` names the text in errors. Bases may be types of this
    /// library or of `basesFrom`, which is kept alive and also supplies the callbacks of types that
    /// this library does not know.
    Result readDefinitions(String text, String source, Diagnostics* found = nullptr,
                           const LibInfo& basesFrom = LibInfo()) const;
    /// Returns the types as a text for `readDefinitions`. A library that reads it writes the same
    /// bytes.
    [[nodiscard]] String definitionText() const;
    /// Sets the callbacks of a node type, before or after its definition, and replaces earlier
    /// ones.
    Result setCallbacks(String type, const NodeCallbacks& callbacks) const;

    [[nodiscard]] u64 typeCount() const;
    /// Returns the prototype of a type, in order of definition; empty out of range. All clients of
    /// the library share this free node, so it must not be changed. Needs kelvo/sdk/node.h.
    [[nodiscard]] Node type(u64 index) const;
    /// Returns the prototype of the type with exactly this name; empty when the library has none.
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
