#pragma once

#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

#include <functional>
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

namespace detail {

/// The result of a search.
template<typename T>
class MatchList {
public:
    MatchList() = default;
    explicit MatchList(ds::Vector<T> found) : m_found(std::move(found)) {}
    explicit MatchList(QueryFault fault) : m_fault(std::move(fault)) {}

    [[nodiscard]] explicit operator bool() const { return !m_fault; }
    [[nodiscard]] const QueryFault& fault() const noexcept { return m_fault; }

    [[nodiscard]] u64 size() const noexcept { return m_found.size(); }
    [[nodiscard]] bool empty() const noexcept { return m_found.empty(); }
    /// Needs an index within the size.
    [[nodiscard]] const T& operator[](u64 index) const { return m_found[index]; }
    [[nodiscard]] const T* begin() const noexcept { return m_found.begin(); }
    [[nodiscard]] const T* end() const noexcept { return m_found.end(); }

private:
    ds::Vector<T> m_found;
    QueryFault m_fault;
};

} // namespace detail

/// The result of a search in the order of the scene: each node is followed by its inputs, and each
/// input by its elements or members. False, and empty, when the query has a fault.
class Matches : public detail::MatchList<Match> {
public:
    using MatchList::MatchList;
};

/// A node or an input that was found in a snapshot, which it borrows.
struct SnapshotMatch {
    SnapshotNode node;
    /// Empty when the node itself matched.
    SnapshotInput input;

    [[nodiscard]] String path() const {
        return input ? node.name() + "." + input.path() : node.name();
    }
};

/// The same of a search in a snapshot.
class SnapshotMatches : public detail::MatchList<SnapshotMatch> {
public:
    using MatchList::MatchList;
};

/// Finds nodes and inputs of a snapshot, as `Scene::find` does in a scene. Bases of types are
/// looked up in the libraries of the query alone.
[[nodiscard]] QV_EXPORT SnapshotMatches find(const Snapshot& scene, const Query& query);

/// Calls `visit` for each match among the nodes from `begin` to `end`, in their order, with a match
/// that is valid during the call only: finds any number of matches in little memory, as
/// `Snapshot::visitNodes` visits nodes. Calls nothing when the query has a fault. Threads may
/// search parts of one snapshot at the same time. Throws what `visit` throws.
QV_EXPORT void visitMatches(const Snapshot& scene, const Query& query, u64 begin, u64 end,
                            const std::function<void(const SnapshotMatch&)>& visit);

} // namespace qv::kelvo_sdk
