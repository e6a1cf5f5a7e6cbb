// Finds the nodes of a scene by name, type and values of inputs.

#include "kelvo/sdk/search.h"

#include "kelvo/sdk/impl/search/value_condition.h"
#include "kelvo/sdk/impl/search/wildcard.h"

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

// The required type of nodes or inputs.
class TypeCondition {
public:
    TypeCondition(const std::optional<Wildcard>& type, const Scene& scene, const Query& query)
        : m_type(type) {
        if (!type) return;
        for (u64 i = 0; i < scene.libraryCount(); ++i)
            m_libraries.push_back(scene.library(i));
        for (const LibInfo& library : query.libraries)
            m_libraries.push_back(library);
    }

    [[nodiscard]] bool accepts(const INode& node) {
        return !m_type || m_type->matches(node.type().view()) || isAmong(node.bases()) ||
               isBaseOf(node.type());
    }
    [[nodiscard]] bool accepts(const IInput& input) const {
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

// Walks through a scene in order, following only paths that may still match.
class Finder {
public:
    Finder(const Conditions& conditions, const Scene& scene, const Query& query)
        : m_conditions(conditions), m_query(query), m_type(conditions.type, scene, query) {}

    void search(const Node& node) {
        Wildcard::Places places = m_conditions.path.start();
        if (!m_conditions.path.advance(places, node.name().view())) return;
        const bool isMatch = m_query.nodes && !m_conditions.value &&
                             m_conditions.path.accepts(places) && m_type.accepts(*node);
        if (isMatch) m_found.push_back({node, Input()});
        if (!m_query.inputs) return;
        m_way.push_back({node.get(), std::move(places), "."});
        while (!m_way.empty())
            goOn(node);
    }

    [[nodiscard]] ds::Vector<Match> take() { return std::move(m_found); }

private:
    struct Step {
        const IInputContainer* holder;
        Wildcard::Places places;
        // The '.' or '[' in front of the names or indices in it.
        std::string_view sign;
        u64 next = 0;
    };

    void goOn(const Node& node) {
        Step& step = m_way.back();
        if (step.next == step.holder->inputCount()) {
            m_way.pop_back();
            return;
        }
        IInput* const input = step.holder->input(step.next++);
        Wildcard::Places places = step.places;
        const Wildcard& path = m_conditions.path;
        if (!path.advance(places, step.sign) || !path.advance(places, input->name().view())) return;
        if (step.sign == "[" && !path.advance(places, "]")) return;
        if (path.accepts(places)) look(node, Input(input));
        if (input->inputCount() == 0) return;
        m_way.push_back({input, std::move(places), input->type() == AttrType::Array ? "[" : "."});
    }

    void look(const Node& node, const Input& input) {
        if (!m_type.accepts(*input)) return;
        if (m_conditions.value && !m_conditions.value->accepts(input)) return;
        m_found.push_back({node, input});
    }

    const Conditions& m_conditions;
    const Query& m_query;
    TypeCondition m_type;
    std::vector<Step> m_way;
    ds::Vector<Match> m_found;
};

} // namespace

} // namespace qv::kelvo_sdk::impl

namespace qv::kelvo_sdk {

QueryFault Query::fault() const {
    return impl::Conditions().parse(*this);
}

Matches Scene::find(const Query& query) const {
    impl::Conditions conditions;
    if (QueryFault fault = conditions.parse(query)) return Matches(std::move(fault));
    impl::Finder finder(conditions, *this, query);
    for (u64 i = 0; i < nodeCount(); ++i)
        finder.search(node(i));
    return Matches(finder.take());
}

Matches Scene::find(String pattern) const {
    return find(Query{.pattern = std::move(pattern)});
}

} // namespace qv::kelvo_sdk
