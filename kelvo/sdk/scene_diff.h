#pragma once

#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

#include <optional>
#include <vector>

namespace qv::kelvo_sdk {

/// One difference between two scenes, an earlier and a later one.
///
/// Texts are pieces of scene text (docs/scene-text.md). Paths are those of the earlier scene; the
/// last step in the path of an added part is its name in the later one. docs/diff.md describes the
/// fields.
struct QV_EXPORT SceneChange {
    enum class Action { Add, Remove, Rename, Move, Change };
    enum class Subject { Scene, Node, Input, Element, Output };

    Action action = Action::Change;
    Subject subject = Subject::Node;
    /// "lamp", "lamp.shade.tint", "room.children[3]"; "wood.color:2" is the second of that name.
    String path;
    /// The property that changed: "type", "bases", "flags", "kind", "value", "source", an
    /// annotation such as "@min" or "@label "de"", "notes", "comment.leading" and the like.
    String field = {};
    /// Before and after are empty when the part is absent. For a move they are the name of the part
    /// in front, or the index.
    std::optional<String> before = {};
    std::optional<String> after = {};
    /// For an added part: the name of the part in front of it in the later scene.
    std::optional<String> behind = {};

    friend bool operator==(const SceneChange&, const SceneChange&) = default;
};

[[nodiscard]] QV_EXPORT const char* sceneActionName(SceneChange::Action action) noexcept;
[[nodiscard]] QV_EXPORT const char* sceneSubjectName(SceneChange::Subject subject) noexcept;

struct DiffOptions {
    /// Compares comments and blank lines too.
    bool withComments = true;
};

/// The differences between the contents of two scenes: nodes, attributes, values, links,
/// connections, order, comments. Omitted attributes, which a definition supplies, count as absent.
class QV_EXPORT SceneDiff {
public:
    /// Returns the changes in the order of `after`, removals first. Fails when a scene is nested so
    /// deep that its text cannot be read.
    [[nodiscard]] static Made<SceneDiff> between(const Scene& before, const Scene& after,
                                                 const DiffOptions& options = {});

    /// Compares two snapshots as the scenes that they are pictures of, in less time and memory.
    [[nodiscard]] static Made<SceneDiff> between(const Snapshot& before, const Snapshot& after,
                                                 const DiffOptions& options = {});

    [[nodiscard]] const std::vector<SceneChange>& changes() const noexcept { return m_changes; }
    [[nodiscard]] bool isEmpty() const noexcept { return m_changes.empty(); }
    void add(SceneChange change) { m_changes.push_back(std::move(change)); }

    /// Applies all changes to a scene as one undo step. Fails, names the place and changes nothing
    /// when the scene differs from the state before a change.
    ///
    /// Values, links, connections, elements, removed inputs, and names, order, addition and removal
    /// of nodes are applied to the existing nodes. A diff with other changes replaces the nodes of
    /// the scene by new objects.
    Result applyTo(const Scene& scene) const;

private:
    std::vector<SceneChange> m_changes;
};

/// Two changes of a merge that exclude each other.
struct QV_EXPORT MergeConflict {
    /// Path and field are like those of `SceneChange`, in the merged scene.
    String path;
    String field;
    /// The states in the base and on the two sides, empty when the part is absent.
    std::optional<String> base;
    std::optional<String> mine;
    std::optional<String> theirs;
    /// A sentence that explains the conflict, if the texts do not suffice.
    String reason;
};

enum class MergeSide { Mine, Theirs };

struct MergeOptions {
    /// The side that wins in a conflict. Without a preferred side, `Mine` wins, parts that only one
    /// side removed are kept, and comments in the merged scene describe the conflicts.
    std::optional<MergeSide> preferred = {};
};

/// Merges the changes of two sides to a base into `merged`, an empty scene. Equal changes of both
/// sides are made once. The merged scene gets the libraries of the other scenes. Fails when the
/// merged scene cannot be built; conflicts are no failure.
QV_EXPORT Result mergeScenes(const Scene& base, const Scene& mine, const Scene& theirs,
                             const MergeOptions& options, const Scene& merged,
                             std::vector<MergeConflict>& conflicts);

} // namespace qv::kelvo_sdk
