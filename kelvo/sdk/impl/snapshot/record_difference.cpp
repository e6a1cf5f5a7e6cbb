#include "kelvo/sdk/impl/snapshot/record_difference.h"

#include "kelvo/sdk/snapshot_delta.h"

#include <algorithm>
#include <cstring>

namespace qv::kelvo_sdk::impl {

namespace {

constexpr u32 bit(InputPart part) noexcept {
    return static_cast<u32>(part);
}

bool isContainer(AttrType type) noexcept {
    return type == AttrType::Array || type == AttrType::Object;
}

// Compares nodes and outputs that two records refer to.
class References {
public:
    // Without tables, both records are of one scene, where a node has one number.
    References(const SnapshotTables* before, const SnapshotTables* after) noexcept
        : m_before(before), m_after(after) {}

    [[nodiscard]] bool areOfOneScene() const noexcept { return !m_before; }
    [[nodiscard]] bool isSameNode(u64 before, u64 after) const noexcept {
        if (areOfOneScene()) return before == after;
        const NodeRecord *a = recordOf(*m_before, before), *b = recordOf(*m_after, after);
        return a && b ? a->name().equalsNoCase(b->name()) : a == b;
    }
    [[nodiscard]] bool isSameSource(const RecordConnection* a,
                                    const RecordConnection* b) const noexcept {
        if (!a || !b) return a == b;
        if (!isSameNode(a->source, b->source)) return false;
        return areOfOneScene() ? a->output == b->output
                               : outputOf(*m_before, *a).equals(outputOf(*m_after, *b));
    }

private:
    static const NodeRecord* recordOf(const SnapshotTables& tables, u64 number) noexcept {
        return number == noNumber ? nullptr : tables.record(static_cast<NodeNumber>(number));
    }
    static const String& outputOf(const SnapshotTables& tables,
                                  const RecordConnection& connection) noexcept {
        static const String none;
        const NodeRecord* const source = tables.record(connection.source);
        const ShapeOutput* const output =
            source ? source->shape().output(connection.output) : nullptr;
        return output ? output->name : none;
    }

    const SnapshotTables* m_before;
    const SnapshotTables* m_after;
};

// Tells whether two lists have inputs of the same names and kinds in the same order.
bool areAlike(const RecordList& a, const RecordList& b) noexcept {
    if (a.count != b.count) return false;
    if (a.shape == b.shape) return true;
    const u32 count = a.shape->isUniform && b.shape->isUniform ? std::min(a.count, 1u) : a.count;
    for (u32 i = 0; i < count; ++i) {
        const ShapeInput &one = a.shape->input(i), &other = b.shape->input(i);
        if (one.type != other.type || one.elementType != other.elementType ||
            !one.name.equals(other.name))
            return false;
    }
    return true;
}

bool isSameStash(const RecordExtras* a, RecordInput before, const RecordExtras* b,
                 RecordInput after) {
    const auto* const old = a ? a->stashOf(before.list, before.input) : nullptr;
    const auto* const now = b ? b->stashOf(after.list, after.input) : nullptr;
    if (!old || !now) return old == now;
    return old->value == now->value && old->link == now->link;
}

// Compares the lists of two records in pairs, beginning with the inputs of the node.
class Comparison {
public:
    Comparison(const NodeRecord& before, const NodeRecord& after, References references,
               std::vector<RecordDifference>& found)
        : m_before(before), m_after(after), m_references(references), m_found(found) {}

    void run() {
        m_found.clear();
        compareLists({});
        for (std::size_t next = 0; next < m_pairs.size(); ++next)
            compareLists(Pair(m_pairs[next]));
    }

private:
    // Two lists, and the inputs whose parts they are.
    struct Pair {
        u32 before = 0;
        u32 after = 0;
        RecordInput owner = {};
        RecordInput ownerAfter = {};
    };

    void compareLists(const Pair& pair) {
        const RecordList& before = m_before.list(pair.before);
        const RecordList& after = m_after.list(pair.after);
        if (areAlike(before, after)) {
            const bool areValuesAll = differInValuesOnly(before, after);
            for (u32 i = 0; i < before.count; ++i)
                if (!areValuesAll || !hasSameBytes(before, after, i)) compareInputs(pair, i, i);
        } else if (isOfArray(pair)) {
            m_found.push_back({pair.owner, pair.ownerAfter, bit(InputPart::Elements)});
        } else {
            matchNames(pair);
        }
    }

    // Most changes are of values, so that the other inputs are passed quickly.
    [[nodiscard]] bool differInValuesOnly(const RecordList& before,
                                          const RecordList& after) const noexcept {
        return m_references.areOfOneScene() && before.shape == after.shape &&
               m_before.connections().empty() && m_after.connections().empty() &&
               !m_before.extras() && !m_after.extras();
    }

    // The parts of an array or object are in lists of their own.
    [[nodiscard]] bool hasSameBytes(const RecordList& before, const RecordList& after,
                                    u32 i) const noexcept {
        const AttrType type = before.shape->input(i).type;
        return !isContainer(type) && std::memcmp(m_before.value(before, i), m_after.value(after, i),
                                                 snapshotBytes(type)) == 0;
    }

    [[nodiscard]] bool isOfArray(const Pair& pair) const noexcept {
        if (pair.owner.list == RecordInput::none) return false;
        const SnapshotShape& shape = *m_before.list(pair.owner.list).shape;
        return shape.input(pair.owner.input).type == AttrType::Array;
    }

    // An input with a new name in the place of one whose name is gone is the same input.
    void matchNames(const Pair& pair) {
        const SnapshotShape& before = *m_before.list(pair.before).shape;
        const SnapshotShape& after = *m_after.list(pair.after).shape;
        std::vector<bool> isMatched(before.inputs.size());
        u32 last = 0;
        bool isInOrder = true;
        for (u32 i = 0; i < after.inputs.size(); ++i) {
            u32 other = before.find(after.inputs[i].name);
            u32 parts = 0;
            if (other == SnapshotShape::notFound && isRenamed(before, after, i)) {
                other = i;
                parts = bit(InputPart::Name);
            }
            if (other == SnapshotShape::notFound || isMatched[other]) {
                m_found.push_back({{}, {pair.after, i}, bit(InputPart::Added)});
                continue;
            }
            isMatched[other] = true;
            isInOrder = isInOrder && other >= last;
            last = other;
            compareInputs(pair, other, i, parts | (isInOrder ? 0 : bit(InputPart::Order)));
        }
        for (u32 i = 0; i < isMatched.size(); ++i)
            if (!isMatched[i]) m_found.push_back({{pair.before, i}, {}, bit(InputPart::Removed)});
    }

    static bool isRenamed(const SnapshotShape& before, const SnapshotShape& after, u32 i) noexcept {
        return i < before.inputs.size() && before.inputs[i].type == after.inputs[i].type &&
               after.find(before.inputs[i].name) == SnapshotShape::notFound;
    }

    void compareInputs(const Pair& pair, u32 i, u32 j, u32 parts = 0) {
        const RecordList& before = m_before.list(pair.before);
        const RecordList& after = m_after.list(pair.after);
        const ShapeInput& old = before.shape->input(i);
        const ShapeInput& now = after.shape->input(j);
        const std::byte *from = m_before.value(before, i), *to = m_after.value(after, j);
        if (old.type != now.type || old.elementType != now.elementType)
            parts |= bit(InputPart::Type);
        else if (isContainer(now.type))
            m_pairs.push_back({static_cast<u32>(NodeRecord::at<u64>(from)),
                               static_cast<u32>(NodeRecord::at<u64>(to)),
                               {pair.before, i},
                               {pair.after, j}});
        else if (now.type == AttrType::Node)
            parts |= m_references.isSameNode(NodeRecord::at<u64>(from), NodeRecord::at<u64>(to))
                         ? 0
                         : bit(InputPart::Link);
        else if (!NodeRecord::areEqual(now.type, from, to))
            parts |= bit(InputPart::Value);
        if (isMarkedOtherwise(pair, i, j)) parts |= bit(InputPart::Marks);
        if (!m_references.isSameSource(m_before.connectionOf(pair.before, i),
                                       m_after.connectionOf(pair.after, j)))
            parts |= bit(InputPart::Connection);
        if (parts != 0) m_found.push_back({{pair.before, i}, {pair.after, j}, parts});
    }

    // Descriptions are compared by address, which is of no use between scenes.
    [[nodiscard]] bool isMarkedOtherwise(const Pair& pair, u32 i, u32 j) const {
        if (!m_references.areOfOneScene()) return false;
        const ShapeInput& before = m_before.list(pair.before).shape->input(i);
        const ShapeInput& after = m_after.list(pair.after).shape->input(j);
        return (&before != &after && !before.isMarkedLike(after)) ||
               !isSameStash(m_before.extras(), {pair.before, i}, m_after.extras(), {pair.after, j});
    }

    const NodeRecord& m_before;
    const NodeRecord& m_after;
    const References m_references;
    // The pairs of the lists of arrays and objects.
    std::vector<Pair> m_pairs;
    std::vector<RecordDifference>& m_found;
};

} // namespace

bool isSame(const NodeRecord& a, const NodeRecord& b) noexcept {
    if (!a.name().equals(b.name()) || a.lists().size() != b.lists().size()) return false;
    if (!std::ranges::equal(a.connections(), b.connections())) return false;
    for (u32 list = 0; list < a.lists().size(); ++list)
        if (a.list(list).shape != b.list(list).shape || a.list(list).count != b.list(list).count)
            return false;
    for (const RecordList& list : a.lists())
        for (u32 i = 0; i < list.count; ++i)
            if (!NodeRecord::areEqual(list.shape->input(i).type, a.value(list, i),
                                      b.value(list, i)))
                return false;
    return areEqual(a.extras(), b.extras());
}

void findDifference(const NodeRecord& before, const NodeRecord& after,
                    std::vector<RecordDifference>& found) {
    Comparison(before, after, {nullptr, nullptr}, found).run();
}

void findDifference(const NodeRecord& before, const SnapshotTables& tablesBefore,
                    const NodeRecord& after, const SnapshotTables& tablesAfter,
                    std::vector<RecordDifference>& found) {
    Comparison(before, after, {&tablesBefore, &tablesAfter}, found).run();
}

} // namespace qv::kelvo_sdk::impl
