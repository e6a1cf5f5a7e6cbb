#pragma once

#include "kelvo/sdk/scene.h"

#include <optional>
#include <vector>

namespace qv::kelvo_sdk {

/// One difference between two scenes, an earlier and a later one.
///
/// Texts are pieces of scene text (docs/scene-text.md). Paths are those of the earlier scene; of
/// what is added, the last step is that of the later one. docs/diff.md says what stands where.
struct QV_EXPORT SceneChange {
    enum class Action { Add, Remove, Rename, Move, Change };
    enum class Subject { Scene, Node, Input, Element, Output };

    Action action = Action::Change;
    Subject subject = Subject::Node;
    /// "lamp", "lamp.shade.tint", "room.children[3]"; "wood.color:2" is the second of that name.
    String path;
    /// The part that changed: "type", "bases", "flags", "kind", "value", "source", a note as "@min"
    /// or "@label "de"", "notes", "comment.leading" and the like.
    String field = {};
    /// Empty for what is not there. Of a move, what stands in front of it, or the index.
    std::optional<String> before = {};
    std::optional<String> after = {};
    /// Of what is added: the name of what it stands behind in the later scene.
    std::optional<String> behind = {};

    friend bool operator==(const SceneChange&, const SceneChange&) = default;
};

[[nodiscard]] QV_EXPORT const char* sceneActionName(SceneChange::Action action) noexcept;
[[nodiscard]] QV_EXPORT const char* sceneSubjectName(SceneChange::Subject subject) noexcept;

struct DiffOptions {
    /// Comments and blank lines count.
    bool withComments = true;
};

/// The differences between two scenes by what they say: nodes, attributes, values, links,
/// connections, order, comments. What a scene's text leaves to a definition counts as not there.
class QV_EXPORT SceneDiff {
public:
    /// Compares; in the order of `after`, what is gone first. Fails when a scene is nested so deep
    /// that its text does not read back.
    [[nodiscard]] static Made<SceneDiff> between(const Scene& before, const Scene& after,
                                                 const DiffOptions& options = {});

    [[nodiscard]] const std::vector<SceneChange>& changes() const noexcept { return m_changes; }
    [[nodiscard]] bool isEmpty() const noexcept { return m_changes.empty(); }
    void add(SceneChange change) { m_changes.push_back(std::move(change)); }

    /// Makes the changes in a scene, all or none, as one undo step. Fails, and names the place,
    /// when the scene is not as a change says that it was.
    ///
    /// Values, links, connections and elements change in the nodes that there are, inputs go,
    /// nodes come, go, move and get new names. With changes of other sorts the scene's nodes become
    /// new ones.
    Result applyTo(const Scene& scene) const;

private:
    std::vector<SceneChange> m_changes;
};

/// A place that two sides changed in ways that exclude each other.
struct QV_EXPORT MergeConflict {
    /// As in `SceneChange`; of the merged scene.
    String path;
    String field;
    /// Empty for what is not there.
    std::optional<String> base;
    std::optional<String> mine;
    std::optional<String> theirs;
    /// A sentence, where the texts do not say all.
    String reason;
};

enum class MergeSide { Mine, Theirs };

struct MergeOptions {
    /// Which side counts where they exclude each other. Without one mine counts, what only one side
    /// removed stays, and comments in the merged scene tell of the conflicts.
    std::optional<MergeSide> preferred = {};
};

/// Merges what two sides made of a scene into `merged`, an empty scene; what both changed alike
/// changes once. The merged scene gets the libraries of the others. Fails when the merged scene
/// cannot be: conflicts are no failure.
QV_EXPORT Result mergeScenes(const Scene& base, const Scene& mine, const Scene& theirs,
                             const MergeOptions& options, const Scene& merged,
                             std::vector<MergeConflict>& conflicts);

} // namespace qv::kelvo_sdk
