#pragma once

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene_comments.h"
#include "kelvo/sdk/scene_diff.h"

namespace qv::kelvo_sdk::impl {

class Scene;

/// Makes changes in the nodes of a scene that there are: values, links and connections, elements of
/// arrays, inputs that go, names and order of nodes, nodes that go or come, comments of the text as
/// a whole.
class LivePatcher {
public:
    /// Borrows both.
    LivePatcher(Scene& scene, const std::vector<SceneChange>& changes)
        : m_scene(scene), m_changes(changes) {}

    /// False when one of them is something else or is refused; those before it are made then.
    /// Needs changes that fit.
    [[nodiscard]] bool run();

private:
    using Action = SceneChange::Action;
    using Subject = SceneChange::Subject;

    // A change and what it is about: an input, an array, or, for neither, a node.
    struct Step {
        const SceneChange* change;
        kelvo_sdk::Node node = {};
        kelvo_sdk::Input input = {};
        // Of elements.
        u64 index = 0;
        u64 newIndex = 0;
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
