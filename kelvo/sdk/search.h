#pragma once

#include "kelvo/sdk/scene.h"

#include <optional>
#include <utility>

namespace qv::kelvo_sdk {

/// The reason why a query cannot be answered; false when there is none.
struct QueryFault {
    /// A sentence that names the pattern or value; empty when there is no fault.
    String message = {};
    /// The byte of the pattern or value at which the fault is.
    u64 at = 0;

    [[nodiscard]] explicit operator bool() const { return !message.isEmpty(); }
};

/// The conditions of a search, which matches have to meet all; docs/search.md has their grammar.
///
///     scene.find({.pattern = "*.intensity", .value = ">10"})
struct QV_EXPORT Query {
    /// A pattern for the whole path of a node ("lamp") or input ("lamp.shade.stops[1]"), without
    /// regard to case. '*' is any run of characters within a step, '?' one character within a
    /// step, "**" any run across steps.
    String pattern = "**";
    /// A type of nodes, a base of their types, or a kind of inputs such as "Real" or "Array<Node>",
    /// with '*' and '?', without regard to case.
    std::optional<String> type = {};
    /// A text with '*' and '?' for the value stored in an input, or a comparison with a number:
    /// "<1", "<=1", ">1", ">=1", "=1". Nodes have no value.
    std::optional<String> value = {};
    bool nodes = true;
    bool inputs = true;
    /// Libraries in which, after those of the scene, the bases of types are looked up.
    ds::Vector<LibInfo> libraries = {};

    [[nodiscard]] QueryFault fault() const;
};

/// A node or an input that was found.
struct Match {
    /// The node that matched, or the owner of the input.
    Node node;
    /// The input that matched; empty when the node itself matched.
    Input input;

    [[nodiscard]] String path() const { return input ? input.path() : node.name(); }
};

/// The result of a search in the order of the scene: each node is followed by its inputs, and each
/// input by its elements or members. False, and empty, when the query has a fault.
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
