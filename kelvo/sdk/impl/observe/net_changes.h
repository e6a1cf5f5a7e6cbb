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

/// Gathers the events of a scene and reduces them to net changes. Keeps the objects concerned
/// alive.
class NetChanges {
public:
    void nodeAdded(INode* node) { noteList(node, true); }
    void nodeRemoved(INode* node) { noteList(node, false); }
    void nodeRenamed(INode* node, const String& before);
    void nodeMoved(INode* node);
    struct Shift {
        u64 index;
        /// Tells whether the node came to the index, else it is about to leave it.
        bool isIn;
        bool isLast;
    };
    void nodeShifted(const INode& node, const Shift& shift) noexcept;
    void inputAdded(const IInput* input) { noteList(input, true); }
    void inputRemoved(const IInput* input) { noteList(input, false); }
    void inputChanged(const IInput* input, const AttrData* previous);
    void inputConnected(const IInput* input, const IOutput* before);
    void inputRenamed(const IInput* input, const String& before);
    void outputAdded(const IOutput* output) { noteList(output, true); }
    void outputRemoved(const IOutput* output) { noteList(output, false); }

    [[nodiscard]] bool empty() const noexcept {
        return m_nodes.order.empty() && m_inputs.order.empty() && m_outputs.order.empty();
    }
    /// Allocates room for all events of an object, so that noting them cannot fail. Objects
    /// without an event are left out of the net changes.
    void expect(const INode* node) { static_cast<void>(entryOf(node)); }
    void expect(const IInput* input);
    void expect(const IOutput* output) { static_cast<void>(entryOf(output)); }

    /// Returns the changes; valid until this is destroyed or notes another event. Allocates
    /// nothing.
    [[nodiscard]] const interfaces::SceneChanges& net() noexcept;

private:
    // The presence of an object before its first event, and now.
    struct Presence {
        // False while the object is only expected.
        bool hasEvent = false;
        bool wasIn = true;
        bool isIn = true;
        // Tells whether the object was added or removed, maybe both.
        bool isListed = false;
    };
    struct NodeEvents : Presence {
        RefersTo<INode> held;
        bool isRenamed = false;
        bool isMoved = false;
        // Tells whether the node was added behind all others.
        bool isAppended = false;
        // The number of shifts that were not taken back.
        u64 shifts = 0;
        String nameBefore;
    };
    struct NodeShift {
        const INode* node;
        Shift shift;
    };
    struct AttributeEvents : Presence {
        // The node at the time of the first event.
        RefersTo<INode> node;
    };
    struct InputEvents : AttributeEvents {
        RefersTo<IInput> held;
        bool isChanged = false;
        bool isBeforeKnown = false;
        bool isConnected = false;
        bool isRenamed = false;
        String nameBefore;
        Value before;
        // Kept alive, so that no new object gets the same address.
        RefersTo<INode> linkedBefore;
        RefersTo<IOutput> sourceBefore;
    };
    struct OutputEvents : AttributeEvents {
        RefersTo<IOutput> held;
    };
    template<typename Thing, typename Events>
    struct Table {
        Events* find(const Thing* thing) {
            const auto place = index.find(thing);
            return place == index.end() ? nullptr : &order[place->second];
        }
        Events& add(const Thing* thing) {
            if (order.size() == order.capacity()) order.reserve(2 * order.size() + 4);
            index.try_emplace(thing, order.size());
            Events& events = order.emplace_back();
            events.held = RefersTo<Thing>(const_cast<Thing*>(thing));
            return events;
        }
        std::unordered_map<const Thing*, u64> index;
        std::vector<Events> order;
    };

    // Sets the node of an attribute that was expected before it had one.
    template<typename Events, typename Thing>
    static void noteOwner(Events& events, const Thing* thing) {
        if constexpr (std::is_base_of_v<AttributeEvents, Events>)
            events.node = RefersTo<INode>(thing->node());
    }

    // Return the events of an object. The lists have room for it once it has an entry, so that
    // nothing is allocated for an object that is known.
    NodeEvents& entryOf(const INode* node);
    InputEvents& entryOf(const IInput* input);
    OutputEvents& entryOf(const IOutput* output);

    template<typename Thing>
    auto& eventsOf(const Thing* thing) {
        auto& events = entryOf(thing);
        if (!std::exchange(events.hasEvent, true)) noteOwner(events, thing);
        return events;
    }

    template<typename Thing>
    void noteList(const Thing* thing, bool isIn) {
        auto& events = entryOf(thing);
        if (!std::exchange(events.hasEvent, true)) {
            events.wasIn = !isIn;
            noteOwner(events, thing);
        }
        events.isIn = isIn;
        events.isListed = true;
    }
    static void noteBefore(InputEvents& events, const Value& value);
    [[nodiscard]] bool takesBack(const INode& node, const Shift& shift) const noexcept;
    [[nodiscard]] bool isOther(const InputEvents& events) const noexcept;
    [[nodiscard]] bool isReordered(const IInput* array) const noexcept;
    [[nodiscard]] bool wentOrReturned(const IInput* element) const noexcept;
    [[nodiscard]] bool cameOrWent(const INode* node) const;
    void addInput(const InputEvents& events, interfaces::SceneChanges& to) const noexcept;

    Table<INode, NodeEvents> m_nodes;
    Table<IInput, InputEvents> m_inputs;
    Table<IOutput, OutputEvents> m_outputs;
    // The shifts of nodes, without pairs that cancel each other.
    std::vector<NodeShift> m_shifts;
    bool m_isShiftLost = false;
    // The elements of arrays before any were moved.
    std::unordered_map<const IInput*, std::vector<const IInput*>> m_orders;
    // Has capacity for all objects noted, so that `net` allocates nothing.
    interfaces::SceneChanges m_net;
};

} // namespace qv::kelvo_sdk::impl
