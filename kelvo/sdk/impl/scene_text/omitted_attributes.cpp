#include "kelvo/sdk/impl/scene_text/omitted_attributes.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"

#include <algorithm>
#include <type_traits>

namespace qv::kelvo_sdk::impl {

namespace {

bool isOfKind(const Input& input, const Input& definition) noexcept {
    return input.type() == definition.type() && input.elementType() == definition.elementType();
}

bool isAsDefined(const Input& input, const Input& definition);

bool areAsDefined(const Input& input, const Input& definition) {
    const auto& members = input.members();
    const auto& known = definition.members();
    return std::ranges::equal(members, known, [](const IInput* member, const IInput* defined) {
        return isAsDefined(implOf(*member), implOf(*defined));
    });
}

bool isAsDefined(const Input& input, const Input& definition) {
    return isOfKind(input, definition) && haveSameNotes(input, definition) && !input.source() &&
           (!input.stashed() || input.isModified()) && input.ownValue() == definition.value() &&
           input.ownName().equals(definition.ownName()) && areAsDefined(input, definition);
}

bool isAsDefined(const Output& output, const Output& definition) {
    return output.type() == definition.type() && output.dataType() == definition.dataType() &&
           output.ownName().equals(definition.ownName());
}

} // namespace

bool saysNothing(const AttrDetails* details) noexcept {
    return !details ||
           (details->defaultValue.isNull() && details->minimum.isNull() &&
            details->maximum.isNull() && details->choices.empty() && details->unit.isEmpty() &&
            details->labels.empty() && details->helps.empty());
}

bool haveSameNotes(const Input& input, const Input& definition) noexcept {
    const bool areDetailsKnown =
        input.details() == definition.details() ||
        (saysNothing(input.details()) && saysNothing(definition.details()));
    return areDetailsKnown && input.isSilent() == definition.isSilent() &&
           input.hasReadOnlyMark() == definition.hasReadOnlyMark() &&
           input.declaredType() == definition.declaredType();
}

OmittedAttributes OmittedAttributes::inputs(const interfaces::INode& node, const Node& definition) {
    OmittedAttributes made;
    made.compare<Input>(implOf(node).inputs(), definition.inputs());
    return made;
}

OmittedAttributes OmittedAttributes::outputs(const interfaces::INode& node,
                                             const Node& definition) {
    OmittedAttributes made;
    made.compare<Output>(implOf(node).outputs(), definition.outputs());
    return made;
}

OmittedAttributes OmittedAttributes::members(const Input& object, const Input& definition) {
    OmittedAttributes made;
    made.compare<Input>(object.members(), definition.members());
    return made;
}

OmittedAttributes OmittedAttributes::none() const {
    OmittedAttributes made(*this);
    made.m_isOmitted.clear();
    return made;
}

template<typename Attribute, typename List>
void OmittedAttributes::compare(const List& list, const List& known) {
    const std::vector<u64> places = placesIn<Attribute>(known, list);
    // Attributes with one definition are all written: an omitted one would be read as the other.
    std::vector<u8> uses(known.size());
    for (const u64 place : places)
        if (place != noIndex && uses[place] < 2) ++uses[place];
    m_isOmitted.resize(list.size());
    if constexpr (std::is_same_v<Attribute, Input>) m_inputs.resize(list.size());
    for (u64 i = 0; i < list.size(); ++i) {
        if (places[i] == noIndex) continue;
        const auto& attribute = static_cast<const Attribute&>(*list[i]);
        const auto& definition = static_cast<const Attribute&>(*known[places[i]]);
        m_isOmitted[i] =
            attribute.isOmitted() && uses[places[i]] == 1 && isAsDefined(attribute, definition);
        if constexpr (std::is_same_v<Attribute, Input>)
            if (isOfKind(attribute, definition)) m_inputs[i] = &definition;
    }
    keepOrder(places);
}

// Finds the place of each attribute in the definition, `noIndex` for unknown ones. Both lists
// usually have the same order, so the search starts behind the last match.
template<typename Attribute, typename List>
std::vector<u64> OmittedAttributes::placesIn(const List& known, const List& list) {
    std::vector<u64> places(list.size(), noIndex);
    std::vector<bool> isMet(known.size());
    u64 next = 0;
    for (u64 i = 0; i < list.size(); ++i) {
        const auto& attribute = static_cast<const Attribute&>(*list[i]);
        const auto isNamed = [&](const auto* other) {
            const auto& defined = static_cast<const Attribute&>(*other);
            return defined.nameHash() == attribute.nameHash() &&
                   defined.ownName().equalsNoCase(attribute.ownName());
        };
        if (next >= known.size() || !isNamed(known[next]))
            next = static_cast<u64>(std::ranges::find_if(known, isNamed) - known.begin());
        if (next >= known.size()) continue;
        isMet[next] = true;
        places[i] = next++;
    }
    m_isOwn = std::ranges::find(isMet, false) != isMet.end();
    return places;
}

// Reading restores an omitted attribute in front of the first written one that follows it in the
// definition, else at the end. Writes every attribute that would move by this.
void OmittedAttributes::keepOrder(const std::vector<u64>& places) {
    u64 before = 0;
    for (u64 i = 0; i < places.size(); ++i) {
        if (places[i] == noIndex) continue;
        if (places[i] < before) m_isOmitted[i] = false;
        before = std::max(before, places[i]);
    }
    // Nothing can be restored in front of an attribute that the definition does not have.
    u64 nextWritten = noIndex;
    for (u64 i = places.size(); i-- > 0;) {
        if (places[i] == noIndex || places[i] >= nextWritten) m_isOmitted[i] = false;
        if (!m_isOmitted[i]) nextWritten = places[i] != noIndex ? places[i] : 0;
    }
}

} // namespace qv::kelvo_sdk::impl
