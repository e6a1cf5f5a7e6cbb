#include "kelvo/sdk/impl/scene_text/serialize.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/scene_text/scene_writer.h"

#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

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

/// The unread lines between nodes, indexed by the node that follows them; null for the end.
class UnreadNodes {
public:
    // Finds a node that was replaced by its name.
    explicit UnreadNodes(const Scene& scene) : m_lines(scene.comments().file().unread) {
        if (m_lines.empty()) return;
        std::unordered_set<const INode*> nodes;
        std::unordered_map<String, const INode*> byName;
        scene.forEachNode([&](const INode* node) {
            nodes.insert(node);
            byName.emplace(node->name(), node);
        });
        for (const UnreadLines& lines : m_lines) {
            const auto named = byName.find(lines.before);
            const INode* other = named != byName.end() ? named->second : nullptr;
            m_places[nodes.contains(lines.node) ? lines.node : other].push_back(&lines);
        }
    }

    [[nodiscard]] std::span<const UnreadLines* const> before(const INode* node) const {
        const auto place = m_places.find(node);
        if (place == m_places.end()) return {};
        return place->second;
    }

private:
    const std::vector<UnreadLines>& m_lines;
    std::unordered_map<const INode*, std::vector<const UnreadLines*>> m_places;
};

// Returns the first comment lines behind the header.
std::string_view linesBehindHeader(const Scene& scene, const UnreadNodes& unread) {
    const auto lines = unread.before(scene.node(0));
    if (!lines.empty()) return lines.front()->leading.view();
    const INode* first = scene.node(0);
    if (!first) return scene.comments().file().inner.view();
    const Comments* comments = scene.comments().find(first);
    return comments ? comments->leading.view() : std::string_view();
}

} // namespace

void serialize(const INode* node, StringIO& out, bool changedOnly, bool withDependencies) {
    if (!node) return;
    SceneWriter writer(implOf(node->scene()), out, changedOnly);
    if (!withDependencies) return writer.writeNode(*node);
    const DependencyOrder order(*node);
    for (const INode* next : order.nodes())
        writer.writeNode(*next);
}

void serializeScene(const Scene& scene, StringIO& out, u32 threads) {
    SceneWriter writer(&scene, out, false);
    writer.useThreads(threads);
    const Comments& comments = scene.comments().file();
    writer.lines().writeLines(comments.leading.view(), 0);
    out.append("kelvo scene 1");
    writer.lines().endLine(comments.opening.view());
    const bool isEmpty =
        scene.nodeCount() == 0 && comments.inner.isEmpty() && comments.unread.empty();
    const UnreadNodes unread(scene);
    // Appends a blank line, unless the following text starts with one.
    if (!isEmpty && !linesBehindHeader(scene, unread).starts_with('\n')) out.append('\n');
    scene.forEachNode([&](const INode* node) {
        for (const UnreadLines* lines : unread.before(node))
            writer.writeUnread(*lines, 0);
        writer.writeNode(*node);
    });
    for (const UnreadLines* lines : unread.before(nullptr))
        writer.writeUnread(*lines, 0);
    writer.lines().writeLines(comments.inner.view(), 0);
}

} // namespace qv::kelvo_sdk::impl
