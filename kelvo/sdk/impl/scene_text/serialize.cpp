#include "kelvo/sdk/impl/scene_text/serialize.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/scene_text/scene_writer.h"

#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

using interfaces::INode;

// Lists the nodes that a node depends on, then the node itself, each behind its own dependencies as
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
        visitDependencies(implOf(node), [&](const Node& found) {
            if (found.scene() == m_scene) needs.push_back(&found);
            return false;
        });
    }

    const interfaces::IScene* m_scene;
    std::unordered_set<const INode*> m_met;
    std::vector<Step> m_chain;
    std::vector<const INode*> m_order;
};

} // namespace

void serialize(const INode* node, StringIO& out, bool changedOnly, bool withDependencies) {
    if (!node) return;
    SceneWriter writer(LiveText(implOf(node->scene())), out, changedOnly);
    if (!withDependencies) return writer.writeNode(implOf(node));
    const DependencyOrder order(*node);
    for (const INode* next : order.nodes())
        writer.writeNode(implOf(next));
}

void serializeScene(const Scene& scene, StringIO& out, u32 threads) {
    SceneWriter writer(LiveText(&scene), out);
    writer.useThreads(threads);
    writer.writeAll();
}

} // namespace qv::kelvo_sdk::impl
