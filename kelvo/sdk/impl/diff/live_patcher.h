#pragma once

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/scene_diff.h"

namespace qv::kelvo_sdk::impl {

class Scene;

/// Applies changes to the existing nodes of a scene: values, links and connections, elements of
/// arrays, removed inputs, names and order of nodes, added and removed nodes, comments of the whole
/// text.
class LivePatcher {
public:
    /// Borrows both.
    LivePatcher(Scene& scene, const std::vector<SceneChange>& changes)
        : m_scene(scene), m_changes(changes) {}

    /// Returns false when a change is of another sort or is refused; earlier changes are applied
    /// then. Needs changes that fit the scene.
    [[nodiscard]] bool run();

private:
    using Action = SceneChange::Action;
    using Subject = SceneChange::Subject;

    // A change and its object: an input, an array or, without an input, a node.
    struct Step {
        const SceneChange* change;
        kelvo_sdk::Node node = {};
        kelvo_sdk::Input input = {};
        // For elements only.
        u64 index = 0;
        u64 newIndex = 0;
        // To be set; Null for links.
        Value value = {};
    };

    bool prepare(const SceneChange& change);
    bool prepareComment(const SceneChange& change);
    bool prepareNode(const SceneChange& change);
    bool prepareElement(const SceneChange& change);
    bool setComments();
    bool setNodes();
    bool placeNodes();
    bool removeInputs();
    bool setElements();
    bool addElement(const Step& step);
    bool setInputs();
    /// Tells whether the input of a step is still in the scene.
    [[nodiscard]] bool isThere(const Step& step) const;
    [[nodiscard]] Input* findInput(std::string_view path) const;
    [[nodiscard]] Output* findOutput(std::string_view path) const;
    bool setValue(Input& input, std::string_view text) const;
    bool setSource(Input& input, std::string_view path) const;

    Scene& m_scene;
    const std::vector<SceneChange>& m_changes;
    std::vector<Step> m_renamed;
    std::vector<Step> m_removedNodes;
    std::vector<Step> m_removedInputs;
    std::vector<Step> m_takenElements;
    std::vector<Step> m_placedElements;
    std::vector<Step> m_set;
    std::vector<Step> m_placedNodes;
    std::string m_added;
    Comments m_comments;
};

/// Sets the comments of a scene's text as a whole, as part of its history.
void setFileComments(Scene& scene, Comments comments);

} // namespace qv::kelvo_sdk::impl
