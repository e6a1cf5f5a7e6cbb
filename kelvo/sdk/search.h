#pragma once

#include "kelvo/sdk/scene.h"

#include <optional>
#include <utility>

namespace qv::kelvo_sdk {

/// Why a query cannot be answered; false when it can.
struct QueryFault {
    /// One sentence that names the pattern or value.
    String message = {};
    /// The place of the fault in the pattern or value, in bytes.
    u64 at = 0;

    [[nodiscard]] explicit operator bool() const { return !message.isEmpty(); }
};

/// Names what is looked for in a scene. All conditions have to hold; docs/search.md has their
/// grammar.
///
///     scene.find({.pattern = "*.intensity", .value = ">10"})
struct QV_EXPORT Query {
    /// Compared with the whole path of nodes ("lamp") and inputs ("lamp.shade.stops[1]"), without
    /// regard to case. '*' is any run of characters within a step, '?' one character within a
    /// step, "**" any run across steps.
    String pattern = "**";
    /// A type or base of nodes, or a kind of inputs, as "Real" or "Array<Node>", with '*' and '?',
    /// without regard to case.
    std::optional<String> type = {};
    /// The value stored in inputs, as text with '*' and '?', or compared with a number: "<1",
    /// "<=1", ">1", ">=1", "=1". Nodes have none.
    std::optional<String> value = {};
    bool nodes = true;
    bool inputs = true;
    /// Libraries beside those of the scene, which know bases of types that nodes do not name.
    ds::Vector<LibInfo> libraries = {};

    [[nodiscard]] QueryFault fault() const;
};

/// A node or an input that was found.
struct Match {
    /// The node, also of an input.
    Node node;
    /// Empty where the node itself was found.
    Input input;

    [[nodiscard]] String path() const { return input ? input.path() : node.name(); }
};

/// All that a query finds, in the order of the scene: nodes, each followed by its inputs, and these
/// by what they hold. False when the query has a fault, and then empty.
class Matches {
public:
    Matches() = default;
    explicit Matches(ds::Vector<Match> found) : m_found(std::move(found)) {}
    explicit Matches(QueryFault fault) : m_fault(std::move(fault)) {}

    [[nodiscard]] explicit operator bool() const { return !m_fault; }
    [[nodiscard]] const QueryFault& fault() const noexcept { return m_fault; }

    [[nodiscard]] u64 size() const noexcept { return m_found.size(); }
    [[nodiscard]] bool empty() const noexcept { return m_found.empty(); }
    /// Needs an index within the size.
    [[nodiscard]] const Match& operator[](u64 index) const { return m_found[index]; }
    [[nodiscard]] const Match* begin() const noexcept { return m_found.begin(); }
    [[nodiscard]] const Match* end() const noexcept { return m_found.end(); }

private:
    ds::Vector<Match> m_found;
    QueryFault m_fault;
};

} // namespace qv::kelvo_sdk
