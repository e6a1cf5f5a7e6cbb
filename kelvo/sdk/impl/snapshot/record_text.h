#pragma once

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/impl/scene_text/text_source.h"
#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"

#include <unordered_map>

namespace qv::kelvo_sdk::impl {

class Scene;

/// The records of a snapshot as a source of text; see `TextWriter`.
class RecordText {
public:
    // A view is used like a pointer to what it shows.
    template<typename Self>
    struct View {
        [[nodiscard]] const Self* operator->() const noexcept {
            return static_cast<const Self*>(this);
        }
        [[nodiscard]] explicit operator bool() const noexcept {
            return static_cast<const Self*>(this)->record != nullptr;
        }
    };
    struct Node : View<Node> {
        const NodeRecord* record = nullptr;

        [[nodiscard]] const String& type() const noexcept { return record->shape().type; }
        [[nodiscard]] const StringVector& bases() const noexcept { return record->shape().bases; }
        [[nodiscard]] const String& name() const noexcept { return record->name(); }
        [[nodiscard]] bool isAbstract() const noexcept { return record->shape().isAbstract; }
        [[nodiscard]] bool isInternal() const noexcept { return record->shape().isInternal; }
        bool operator==(const Node& other) const noexcept { return record == other.record; }
    };
    struct Input : View<Input> {
        const NodeRecord* record = nullptr;
        u32 list = 0;
        u32 index = 0;

        [[nodiscard]] const ShapeInput& shape() const noexcept {
            return record->list(list).shape->input(index);
        }
        [[nodiscard]] const std::byte* place() const noexcept {
            return record->value(record->list(list), index);
        }
        [[nodiscard]] AttrType type() const noexcept { return shape().type; }
        [[nodiscard]] AttrType elementType() const noexcept { return shape().elementType; }
        [[nodiscard]] DataType declaredType() const noexcept { return shape().dataType; }
        [[nodiscard]] const String& ownName() const noexcept { return shape().name; }
        [[nodiscard]] u64 nameHash() const noexcept { return shape().name.foldedHash(); }
        [[nodiscard]] Value ownValue() const { return NodeRecord::load(type(), place()); }
        [[nodiscard]] Value value() const { return ownValue(); }
        [[nodiscard]] const AttrDetails* details() const noexcept { return shape().details.get(); }
        [[nodiscard]] bool isSilent() const noexcept { return shape().isSilent; }
        [[nodiscard]] bool hasReadOnlyMark() const noexcept { return shape().isReadOnly; }
        [[nodiscard]] bool isOmitted() const noexcept { return shape().isOmitted; }
        bool operator==(const Input& other) const noexcept {
            return record == other.record && list == other.list && index == other.index;
        }
    };
    struct Output : View<Output> {
        const NodeRecord* record = nullptr;
        u32 index = 0;

        [[nodiscard]] const ShapeOutput& shape() const noexcept {
            return record->shape().outputs[index];
        }
        [[nodiscard]] AttrType type() const noexcept { return shape().type; }
        [[nodiscard]] DataType dataType() const noexcept { return shape().dataType; }
        [[nodiscard]] const String& ownName() const noexcept { return shape().name; }
        [[nodiscard]] u64 nameHash() const noexcept { return shape().name.foldedHash(); }
        [[nodiscard]] bool isOmitted() const noexcept { return shape().isOmitted; }
    };

    // Lists of views.
    struct Inputs {
        const NodeRecord* record = nullptr;
        u32 list = 0;
        [[nodiscard]] u64 size() const noexcept { return record ? record->list(list).count : 0; }
        [[nodiscard]] Input operator[](u64 i) const noexcept {
            return {{}, record, list, static_cast<u32>(i)};
        }
    };
    struct Outputs {
        const NodeRecord* record = nullptr;
        [[nodiscard]] u64 size() const noexcept { return record->shape().outputs.size(); }
        [[nodiscard]] Output operator[](u64 i) const noexcept {
            return {{}, record, static_cast<u32>(i)};
        }
    };

    /// Borrows both. A scene that is to read the text gets all attributes of nodes whose types it
    /// does not know; null for the text of the snapshot's own scene.
    explicit RecordText(const SnapshotTables& tables, const Scene* reader = nullptr) noexcept
        : m_tables(&tables), m_reader(reader) {}

    [[nodiscard]] Node definitionOf(Node node) const noexcept;
    [[nodiscard]] static const Comments* commentsOf(Node node) noexcept;
    [[nodiscard]] static const Comments* commentsOf(Input input) noexcept;
    [[nodiscard]] static const Comments* commentsOf(Output output) noexcept;
    [[nodiscard]] static Inputs inputsOf(Node node) noexcept { return {node.record}; }
    [[nodiscard]] static Outputs outputsOf(Node node) noexcept { return {node.record}; }
    [[nodiscard]] static Inputs partsOf(Input input) noexcept;
    [[nodiscard]] static Input parentOf(Input input) noexcept;
    [[nodiscard]] static bool hasSameValue(Input input, Input definition) noexcept;
    [[nodiscard]] static bool hasSource(Input input) noexcept {
        return input.record->connectionOf(input.list, input.index) != nullptr;
    }
    [[nodiscard]] TextOutput sourceOf(Input input);
    [[nodiscard]] bool isLinked(Input input) const noexcept {
        return m_tables->record(numberOf(input)) != nullptr;
    }
    [[nodiscard]] String linkOf(Input input) const { return nameOf(numberOf(input)); }
    [[nodiscard]] static const Value* stashOf(Input input) noexcept;
    [[nodiscard]] String stashLinkOf(Input input) const;
    [[nodiscard]] String describedLinkOf(Input input, u64 place) const {
        return nameOf(input.shape().namedNodes[place]);
    }
    /// A snapshot's text is always complete.
    [[nodiscard]] static bool isUnchanged(Input /*input*/) noexcept { return false; }

    [[nodiscard]] const Comments& file() const noexcept;
    [[nodiscard]] Node firstNode() const noexcept;
    [[nodiscard]] UnreadNodes<Node> unreadNodes() const;
    template<typename Visit>
    void forEachNode(const Visit& visit) const {
        m_tables->forEachRecord([&](const NodeRecord& record) { visit(Node{{}, &record}); });
    }

private:
    [[nodiscard]] static NodeNumber numberOf(Input input) noexcept {
        return static_cast<NodeNumber>(NodeRecord::at<u64>(input.place()));
    }
    [[nodiscard]] String nameOf(NodeNumber number) const;
    [[nodiscard]] u32 ordinalOf(const SnapshotShape& shape, u32 output);

    const SnapshotTables* m_tables;
    const Scene* m_reader;
    // Indexed by output: the number among those of exactly its name.
    std::unordered_map<const SnapshotShape*, std::vector<u32>> m_ordinals;
};

/// Appends the text of a snapshot, with the header line. Uses at most `threads` threads, as
/// `Workers` has them; the text is the same for any number. `reader` is as for `RecordText`.
void writeText(const SnapshotTables& tables, StringIO& out, u32 threads,
               const Scene* reader = nullptr);
/// Appends the text of one node.
void writeText(const SnapshotTables& tables, const NodeRecord& node, StringIO& out);

} // namespace qv::kelvo_sdk::impl

template<>
struct std::hash<qv::kelvo_sdk::impl::RecordText::Node> {
    std::size_t operator()(const qv::kelvo_sdk::impl::RecordText::Node& node) const noexcept {
        return std::hash<const void*>()(node.record);
    }
};
