#include "sdk/impl/serialize.h"

#include "sdk/impl/node_links.h"
#include "sdk/impl/scene_writer.h"

#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// The nodes that a node depends on and itself at the end, each behind those that it depends on as
// far as there are no cycles. Walks without recursion.
class DependencyOrder {
public:
    explicit DependencyOrder(const INode& root) : m_scene(root.scene()) {
        open(root);
        while (!m_chain.empty()) {
            Step& step = m_chain.back();
            if (step.next < step.needs.size()) {
                open(*step.needs[step.next++]);
            } else {
                m_order.push_back(step.node);
                m_chain.pop_back();
            }
        }
    }

    [[nodiscard]] const std::vector<const INode*>& nodes() const noexcept { return m_order; }

private:
    struct Step {
        const INode* node;
        std::vector<const INode*> needs;
        std::size_t next = 0;
    };

    void open(const INode& node) {
        if (!m_met.insert(&node).second) return;
        Step step{&node, {}};
        addNeeds(node, step.needs);
        m_chain.push_back(std::move(step));
    }

    void addNeeds(const INode& node, std::vector<const INode*>& needs) const {
        visitDependencies(static_cast<const Node&>(node), [&](const Node& found) {
            if (found.scene() == m_scene) needs.push_back(&found);
            return false;
        });
    }

    const interfaces::IScene* m_scene;
    std::unordered_set<const INode*> m_met;
    std::vector<Step> m_chain;
    std::vector<const INode*> m_order;
};

// The comment lines that come first.
std::string_view linesBehindHeader(const Scene& scene) {
    const INode* first = scene.node(0);
    if (!first) return scene.comments().file().inner.view();
    const Comments* comments = scene.comments().find(first);
    return comments ? comments->leading.view() : std::string_view();
}

} // namespace

void serialize(const INode* node, StringIO& out, bool changedOnly, bool withDependencies) {
    if (!node) return;
    SceneWriter writer(static_cast<const Scene*>(node->scene()), out, changedOnly);
    if (!withDependencies) return writer.writeNode(*node);
    const DependencyOrder order(*node);
    for (const INode* next : order.nodes())
        writer.writeNode(*next);
}

void serializeScene(const Scene& scene, StringIO& out) {
    SceneWriter writer(&scene, out, false);
    const Comments& comments = scene.comments().file();
    writer.writeLines(comments.leading, 0);
    out.append("kelvo scene 1");
    if (!comments.opening.isEmpty()) out.append(' ').append(comments.opening.view());
    out.append('\n');
    const bool isEmpty = scene.nodeCount() == 0 && comments.inner.isEmpty();
    // A blank line, unless what follows has one of its own.
    if (!isEmpty && !linesBehindHeader(scene).starts_with('\n')) out.append('\n');
    scene.forEachNode([&](const INode* node) { writer.writeNode(*node); });
    writer.writeLines(comments.inner, 0);
}

} // namespace qv::kelvo_sdk::impl
