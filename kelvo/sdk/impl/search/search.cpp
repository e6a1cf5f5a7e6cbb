// Finds the nodes of a scene by name, type and values of inputs.

#include "kelvo/sdk/search.h"

#include "kelvo/sdk/impl/search/value_condition.h"
#include "kelvo/sdk/impl/search/wildcard.h"

#include "kelvo/base/workers.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

using interfaces::IInput;
using interfaces::IInputContainer;
using interfaces::INode;

// A query in parsed form.
struct Conditions {
    QueryFault parse(const Query& query) {
        const Wildcard::Fault fault = Wildcard::pathFault(query.pattern.view());
        if (fault.reason)
            return {"'" + query.pattern + "' is no pattern: it has " + fault.reason + ".",
                    fault.at};
        path = Wildcard::ofPath(query.pattern.view());
        if (query.type) type = Wildcard::ofText(query.type->view(), Wildcard::Case::Ignored);
        return query.value ? ValueCondition::parse(*query.value, value.emplace()) : QueryFault();
    }

    Wildcard path;
    std::optional<Wildcard> type;
    std::optional<ValueCondition> value;
};

// The required type of nodes or inputs, live ones or those of a snapshot.
class TypeCondition {
public:
    TypeCondition(const std::optional<Wildcard>& type, std::vector<LibInfo> libraries)
        : m_type(type), m_libraries(std::move(libraries)) {}

    template<typename AnyNode>
    [[nodiscard]] bool acceptsNode(const AnyNode& node) {
        return !m_type || m_type->matches(node.type().view()) || isAmong(node.bases()) ||
               isBaseOf(node.type());
    }
    template<typename AnyInput>
    [[nodiscard]] bool acceptsInput(const AnyInput& input) const {
        return !m_type || m_type->matches(input.typeName().view()) ||
               m_type->matches(attrTypeName(input.type()));
    }

private:
    [[nodiscard]] bool isAmong(const StringVector& bases) const {
        return std::ranges::any_of(
            bases, [&](const String& base) { return m_type->matches(base.view()); });
    }

    // Asks the definition, because a node need not name the bases of its type. The first library
    // that has the type counts.
    [[nodiscard]] bool isBaseOf(const String& type) {
        const auto [place, isNew] = m_known.try_emplace(type, false);
        if (!isNew) return place->second;
        for (const LibInfo& library : m_libraries) {
            const Node known = library.findType(type);
            if (!known) continue;
            place->second = isAmong(known.bases());
            break;
        }
        return place->second;
    }

    const std::optional<Wildcard>& m_type;
    std::vector<LibInfo> m_libraries;
    // For each type name, whether one of its bases matches.
    std::unordered_map<String, bool> m_known;
};

// The nodes and inputs of a scene, as the search needs them.
struct LiveParts {
    using AnyNode = Node;
    using AnyMatch = Match;
    // Has inputs: a node, array or object.
    using Holder = const IInputContainer*;
    using AnyInput = IInput*;

    static Holder holderOf(const Node& node) { return node.get(); }
    static Holder holderOf(IInput* input) { return input; }
    static u64 inputCount(Holder holder) { return holder->inputCount(); }
    static IInput* input(Holder holder, u64 index) { return holder->input(index); }
    static const INode& of(const Node& node) { return *node; }
    static const IInput& of(const IInput* input) { return *input; }
    static Input handleOn(IInput* input) { return Input(input); }
    static String nameOf(const IInput* input) { return input->name(); }
};

// The same of a snapshot.
struct SnapshotParts {
    using AnyNode = SnapshotNode;
    using AnyMatch = SnapshotMatch;
    // The inputs of the node if there is no input.
    using Holder = SnapshotMatch;
    using AnyInput = SnapshotInput;

    static Holder holderOf(const SnapshotNode& node) { return {node, {}}; }
    static Holder holderOf(const SnapshotInput& input) { return {{}, input}; }
    static u64 inputCount(const Holder& holder) {
        return holder.input ? holder.input.inputCount() : holder.node.inputCount();
    }
    static SnapshotInput input(const Holder& holder, u64 index) {
        return holder.input ? holder.input.input(index) : holder.node.input(index);
    }
    static const SnapshotNode& of(const SnapshotNode& node) { return node; }
    static const SnapshotInput& of(const SnapshotInput& input) { return input; }
    static const SnapshotInput& handleOn(const SnapshotInput& input) { return input; }
    static const String& nameOf(const SnapshotInput& input) { return input.ownName(); }
};

// Walks through a scene in order, following only paths that may still match. Calls `visit(match)`
// for what it finds.
template<typename Parts, typename Visit>
class Finder {
public:
    using AnyNode = typename Parts::AnyNode;
    using AnyInput = typename Parts::AnyInput;
    using AnyMatch = typename Parts::AnyMatch;

    Finder(const Conditions& conditions, std::vector<LibInfo> libraries, const Query& query,
           const Visit& visit)
        : m_conditions(conditions),
          m_query(query),
          m_type(conditions.type, std::move(libraries)),
          m_start(conditions.path.start()),
          m_visit(visit) {}

    void search(const AnyNode& node) {
        m_places = m_start;
        if (!m_conditions.path.advance(m_places, Parts::of(node).name().view())) return;
        const bool isMatch = m_query.nodes && !m_conditions.value &&
                             m_conditions.path.accepts(m_places) &&
                             m_type.acceptsNode(Parts::of(node));
        if (isMatch) m_visit(AnyMatch{node, {}});
        if (!m_query.inputs) return;
        enter(Parts::holderOf(node), ".");
        while (m_depth != 0)
            goOn(node);
    }

private:
    struct Step {
        typename Parts::Holder holder = {};
        // Behind the sign, which is the '.' or '[' in front of the names or indices in it.
        Wildcard::Places places;
        std::string_view sign;
        u64 next = 0;
    };

    void goOn(const AnyNode& node) {
        Step& step = m_way[m_depth - 1];
        if (step.next == Parts::inputCount(step.holder)) {
            --m_depth;
            return;
        }
        const AnyInput input = Parts::input(step.holder, step.next++);
        const auto& known = Parts::of(input);
        const bool hasParts = known.inputCount() != 0;
        if (!advance(step, input, hasParts)) return;
        if (m_conditions.path.accepts(m_places)) look(node, input);
        if (hasParts) enter(Parts::holderOf(input), known.type() == AttrType::Array ? "[" : ".");
    }

    // Sets the places behind an input; false when neither it nor its parts can match.
    bool advance(const Step& step, const AnyInput& input, bool hasParts) {
        const Wildcard& path = m_conditions.path;
        if (step.sign == "[") {
            m_places = step.places;
            return path.advance(m_places, Parts::of(input).name().view()) &&
                   path.advance(m_places, "]");
        }
        const auto& name = Parts::nameOf(input);
        if (!hasParts && path.refusesEnd(name.view())) return false;
        m_places = step.places;
        return path.advance(m_places, name.view());
    }

    // Goes into a holder unless no path in it can match.
    void enter(const typename Parts::Holder& holder, std::string_view sign) {
        if (!m_conditions.path.advance(m_places, sign)) return;
        if (m_depth == m_way.size()) m_way.emplace_back();
        Step& step = m_way[m_depth++];
        step.holder = holder;
        step.places = m_places;
        step.sign = sign;
        step.next = 0;
    }

    void look(const AnyNode& node, const AnyInput& input) {
        if (!m_type.acceptsInput(Parts::of(input))) return;
        const auto& handle = Parts::handleOn(input);
        if (m_conditions.value && !m_conditions.value->accepts(handle)) return;
        m_visit(AnyMatch{node, handle});
    }

    const Conditions& m_conditions;
    const Query& m_query;
    TypeCondition m_type;
    // The first `m_depth` steps are in use; the others are kept, because making places takes longer
    // than filling them.
    std::vector<Step> m_way;
    u64 m_depth = 0;
    const Wildcard::Places m_start;
    // The places of the node or input at hand.
    Wildcard::Places m_places;
    const Visit& m_visit;
};

template<typename Parts, typename Visit>
Finder<Parts, Visit> finderOf(const Conditions& conditions, std::vector<LibInfo> libraries,
                              const Query& query, const Visit& visit) {
    return {conditions, std::move(libraries), query, visit};
}

} // namespace

} // namespace qv::kelvo_sdk::impl

namespace qv::kelvo_sdk {

namespace {

// Frees each part as soon as it was copied, because all matches may take much memory.
ds::Vector<SnapshotMatch> joined(std::vector<ds::Vector<SnapshotMatch>> parts) {
    u64 count = 0;
    for (const ds::Vector<SnapshotMatch>& part : parts)
        count += part.size();
    ds::Vector<SnapshotMatch> found;
    found.reserve(count);
    for (ds::Vector<SnapshotMatch>& part : parts) {
        for (const SnapshotMatch& match : part)
            found.push_back(match);
        part = {};
    }
    return found;
}

} // namespace

QueryFault Query::fault() const {
    return impl::Conditions().parse(*this);
}

Matches Scene::find(const Query& query) const {
    impl::Conditions conditions;
    if (QueryFault fault = conditions.parse(query)) return Matches(std::move(fault));
    std::vector<LibInfo> libraries;
    for (u64 i = 0; i < libraryCount(); ++i)
        libraries.push_back(library(i));
    libraries.insert(libraries.end(), query.libraries.begin(), query.libraries.end());
    ds::Vector<Match> found;
    const auto visit = [&](Match&& match) { found.push_back(std::move(match)); };
    auto finder = impl::finderOf<impl::LiveParts>(conditions, std::move(libraries), query, visit);
    for (u64 i = 0; i < nodeCount(); ++i)
        finder.search(node(i));
    return Matches(std::move(found));
}

SnapshotMatches find(const Snapshot& scene, const Query& query) {
    impl::Conditions conditions;
    if (QueryFault fault = conditions.parse(query)) return SnapshotMatches(std::move(fault));
    constexpr u64 nodesAtOnce = 4096;
    const ds::Vector<SnapshotNode> nodes = scene.nodes();
    std::vector<ds::Vector<SnapshotMatch>> parts((nodes.size() + nodesAtOnce - 1) / nodesAtOnce);
    Workers().run(parts.size(), [&](u64 part) {
        const auto visit = [&](const SnapshotMatch& match) { parts[part].push_back(match); };
        auto finder = impl::finderOf<impl::SnapshotParts>(
            conditions, {query.libraries.begin(), query.libraries.end()}, query, visit);
        const u64 end = std::min((part + 1) * nodesAtOnce, nodes.size());
        for (u64 i = part * nodesAtOnce; i < end; ++i)
            finder.search(nodes[i]);
    });
    return SnapshotMatches(joined(std::move(parts)));
}

void visitMatches(const Snapshot& scene, const Query& query, u64 begin, u64 end,
                  const std::function<void(const SnapshotMatch&)>& visit) {
    impl::Conditions conditions;
    if (conditions.parse(query)) return;
    auto finder = impl::finderOf<impl::SnapshotParts>(
        conditions, {query.libraries.begin(), query.libraries.end()}, query, visit);
    scene.visitNodes(begin, end, [&](const SnapshotNode& node) { finder.search(node); });
}

Matches Scene::find(String pattern) const {
    return find(Query{.pattern = std::move(pattern)});
}

} // namespace qv::kelvo_sdk
