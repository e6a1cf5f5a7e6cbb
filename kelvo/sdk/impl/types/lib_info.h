#pragma once

#include "kelvo/sdk/diagnostic.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/interfaces/i_lib_info.h"

#include <atomic>
#include <memory>
#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Node;
struct KndDefinition;

/// A library of node types: types read from definition text, and callbacks in a table. Type names
/// match exactly.
///
/// Each type is a prototype: a node outside of any scene, bound to the library, that new nodes
/// are copied from. Scenes and threads may share a library once it no longer changes.
class LibInfo : public interfaces::ILibInfo {
public:
    LibInfo();
    /// Keeps `needs` alive until the library is destroyed.
    explicit LibInfo(String kndPath, std::shared_ptr<const void> needs = {});
    ~LibInfo() override;
    LibInfo(const LibInfo&) = delete;
    LibInfo& operator=(const LibInfo&) = delete;

    void incRef() override;
    void decRef() override;

    // ---- Types -----------------------------------------------------------------------------

    /// Adds the types of a definition text (docs/definition-text.md), all or, with an error, none:
    /// diagnostics go to `found` (at most 20), or to the log when that is null. `source` names the
    /// text in errors. Bases may be types of the library or of `basesFrom`, which is kept alive and
    /// asked for the callbacks of types that this library does not know.
    bool readDefinitions(String text, String source, Diagnostics* found = nullptr,
                         const LibInfo* basesFrom = nullptr);
    [[nodiscard]] u64 typeCount() const noexcept { return m_types.size(); }
    /// Returns a type's prototype in order of definition; null out of range.
    [[nodiscard]] const Node* type(u64 index) const noexcept;
    /// Returns the prototype of a type of this library, null when it has none of that name.
    [[nodiscard]] const Node* findType(const String& name) const noexcept;
    /// Returns a text that `readDefinitions` accepts; reading it and writing again gives the same
    /// bytes.
    [[nodiscard]] String definitionText() const;

    /// For readers and writers of definition text.
    [[nodiscard]] const KndDefinition* definition(const String& name) const noexcept;
    /// Like `definition`, ignoring case.
    [[nodiscard]] const KndDefinition* definitionNoCase(const String& name) const;
    [[nodiscard]] const KndDefinition& definition(u64 index) const noexcept {
        return *m_types[index];
    }
    [[nodiscard]] const SceneComments& comments() const noexcept { return m_comments; }

    // ---- Callbacks -------------------------------------------------------------------------

    /// Replaces the callbacks of a node type; may be called before or after its definition.
    void setCallbacks(String type, const interfaces::NodeCallbacks& callbacks);

    [[nodiscard]] interfaces::NodeInitFn nodeInit(String type) const override;
    [[nodiscard]] interfaces::NodePrepFn nodePrep(String type) const override;
    [[nodiscard]] interfaces::NodeEvalFn nodeEval(String type) const override;
    [[nodiscard]] interfaces::NodeModifyFn nodeModify(String type) const override;
    [[nodiscard]] interfaces::NodeFreeFn nodeFree(String type) const override;
    [[nodiscard]] interfaces::NodeChangedFn nodeChanged(String type) const override;
    [[nodiscard]] String kndPath() const override { return m_kndPath; }

private:
    [[nodiscard]] const interfaces::NodeCallbacks& callbacks(const String& type) const noexcept;
    void add(std::vector<std::unique_ptr<KndDefinition>> types, SceneComments comments,
             const LibInfo* basesFrom);
    void bind(Node& prototype);

    // Declared first, to be destroyed last: all other members may need it.
    std::shared_ptr<const void> m_needs;
    std::atomic<i32> m_refCount = 1;
    String m_kndPath;
    std::unordered_map<String, interfaces::NodeCallbacks> m_callbacks;
    std::vector<std::unique_ptr<KndDefinition>> m_types;
    std::unordered_map<String, const KndDefinition*> m_byName;
    std::unordered_map<String, const KndDefinition*> m_byFoldedName;
    SceneComments m_comments;
    // Libraries whose types are bases of types here.
    std::vector<RefersTo<LibInfo>> m_others;
};

} // namespace qv::kelvo_sdk::impl
