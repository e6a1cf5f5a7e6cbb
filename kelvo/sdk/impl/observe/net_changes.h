#pragma once

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/interfaces/scene_changes.h"

#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Gathers what happens in a scene, to be told as net changes. Keeps alive what it is about.
class NetChanges {
public:
    void nodeAdded(INode* node) { noteList(m_nodes, node, true); }
    void nodeRemoved(INode* node) { noteList(m_nodes, node, false); }
    void nodeRenamed(INode* node, const String& before);
    void nodeMoved(INode* node);
    void inputAdded(const IInput* input) { noteList(m_inputs, input, true); }
    void inputRemoved(const IInput* input) { noteList(m_inputs, input, false); }
    void inputChanged(const IInput* input, const AttrData* previous);
    void inputConnected(const IInput* input, const IOutput* before);
    void inputRenamed(const IInput* input, const String& before);
    void outputAdded(const IOutput* output) { noteList(m_outputs, output, true); }
    void outputRemoved(const IOutput* output) { noteList(m_outputs, output, false); }

    [[nodiscard]] bool empty() const noexcept {
        return m_nodes.order.empty() && m_inputs.order.empty() && m_outputs.order.empty();
    }
    /// Makes sure that what comes of a thing next can be noted without more memory. What then
    /// comes to nothing is left out.
    void expect(const INode* node);
    void expect(const IInput* input);
    void expect(const IOutput* output);

    /// Returns the changes; valid as long as this lives and hears of nothing more. Takes no memory.
    [[nodiscard]] const interfaces::SceneChanges& net() noexcept;

private:
    // The state of a thing since the first news of it.
    struct Presence {
        // Not only expected.
        bool isHeardOf = false;
        bool wasIn = true;
        bool isIn = true;
    };
    struct NodeNews : Presence {
        RefersTo<INode> held;
        bool isRenamed = false;
        bool isMoved = false;
        String nameBefore;
    };
    struct AttributeNews : Presence {
        // When it was heard of first.
        RefersTo<INode> node;
    };
    struct InputNews : AttributeNews {
        RefersTo<IInput> held;
        bool isChanged = false;
        bool isConnected = false;
        bool isRenamed = false;
        String nameBefore;
        Value before;
        // Kept alive, so that no other takes their places.
        RefersTo<INode> linkedBefore;
        RefersTo<IOutput> sourceBefore;
    };
    struct OutputNews : AttributeNews {
        RefersTo<IOutput> held;
    };
    template<typename Thing, typename News>
    struct Table {
        News& at(const Thing* thing) {
            if (order.size() == order.capacity()) order.reserve(2 * order.size() + 4);
            const auto [place, isNew] = index.try_emplace(thing, order.size());
            if (!isNew) return order[place->second];
            News& news = order.emplace_back();
            news.held = RefersTo<Thing>(const_cast<Thing*>(thing));
            return news;
        }
        std::unordered_map<const Thing*, u64> index;
        std::vector<News> order;
    };

    // A thing that was expected before it came in was noted without a node.
    template<typename News, typename Thing>
    static void noteOwner(News& news, const Thing* thing) {
        if constexpr (std::is_base_of_v<AttributeNews, News>)
            news.node = RefersTo<INode>(thing->node());
    }

    template<typename Things, typename Thing>
    auto& hear(Things& things, const Thing* thing) {
        expect(thing);
        auto& news = things.at(thing);
        if (!std::exchange(news.isHeardOf, true)) noteOwner(news, thing);
        return news;
    }

    template<typename Things, typename Thing>
    void noteList(Things& things, const Thing* thing, bool isIn) {
        expect(thing);
        auto& news = things.at(thing);
        if (!std::exchange(news.isHeardOf, true)) {
            news.wasIn = !isIn;
            noteOwner(news, thing);
        }
        news.isIn = isIn;
    }
    [[nodiscard]] bool cameOrWent(const INode* node) const;
    void addInput(const InputNews& news, interfaces::SceneChanges& to) const noexcept;

    Table<INode, NodeNews> m_nodes;
    Table<IInput, InputNews> m_inputs;
    Table<IOutput, OutputNews> m_outputs;
    // With room for all that may come into it.
    interfaces::SceneChanges m_net;
};

} // namespace qv::kelvo_sdk::impl
