#pragma once

#include "kelvo/sdk/impl/value/attr_data.h"

#include <algorithm>
#include <type_traits>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Tells whether a description is null or empty.
[[nodiscard]] bool saysNothing(const AttrDetails* details) noexcept;

/// Tells whether an input has the same annotations as its definition. Takes views of inputs, as
/// `TextWriter` has them.
template<typename Input>
[[nodiscard]] bool haveSameNotes(Input input, Input definition) noexcept {
    const bool areDetailsKnown =
        input->details() == definition->details() ||
        (saysNothing(input->details()) && saysNothing(definition->details()));
    return areDetailsKnown && input->isSilent() == definition->isSilent() &&
           input->hasReadOnlyMark() == definition->hasReadOnlyMark() &&
           input->declaredType() == definition->declaredType();
}

/// The attributes of a list that scene text omits: they were omitted in the text that was read,
/// equal their definition still, and reading the new text restores them at their places. `Source`
/// is one of `TextWriter`.
template<typename Source>
class OmittedAttributes {
public:
    using Node = typename Source::Node;
    using Input = typename Source::Input;
    using Output = typename Source::Output;

    /// For a list without a definition.
    OmittedAttributes() = default;
    static OmittedAttributes inputs(Node node, Node definition) {
        OmittedAttributes made;
        made.compare(Source::inputsOf(node), Source::inputsOf(definition));
        return made;
    }
    static OmittedAttributes outputs(Node node, Node definition) {
        OmittedAttributes made;
        made.compare(Source::outputsOf(node), Source::outputsOf(definition));
        return made;
    }
    /// Needs an array or object of which both sides are objects.
    static OmittedAttributes members(Input object, Input definition) {
        OmittedAttributes made;
        made.compare(Source::partsOf(object), Source::partsOf(definition));
        return made;
    }

    [[nodiscard]] bool has(u64 index) const {
        return index < m_isOmitted.size() && m_isOmitted[index];
    }
    /// Returns the definition of an input of the list with its name and kind; null for none.
    [[nodiscard]] Input inputDefinition(u64 index) const {
        return index < m_inputs.size() ? m_inputs[index] : Input();
    }
    /// Tells whether the list lacks an attribute of its definition, so that the text must be
    /// complete.
    [[nodiscard]] bool isOwn() const noexcept { return m_isOwn; }
    /// Returns a copy that omits nothing.
    [[nodiscard]] OmittedAttributes none() const {
        OmittedAttributes made(*this);
        made.m_isOmitted.clear();
        return made;
    }

private:
    [[nodiscard]] static bool isOfKind(Input input, Input definition) noexcept {
        return input->type() == definition->type() &&
               input->elementType() == definition->elementType();
    }
    [[nodiscard]] static bool isAsDefined(Input input, Input definition) {
        return isOfKind(input, definition) && haveSameNotes(input, definition) &&
               !Source::hasSource(input) && !Source::stashOf(input) &&
               Source::hasSameValue(input, definition) &&
               input->ownName().equals(definition->ownName()) && areAsDefined(input, definition);
    }
    [[nodiscard]] static bool areAsDefined(Input input, Input definition) {
        const auto members = Source::partsOf(input), known = Source::partsOf(definition);
        if (members.size() != known.size()) return false;
        for (u64 i = 0; i < members.size(); ++i)
            if (!isAsDefined(members[i], known[i])) return false;
        return true;
    }
    [[nodiscard]] static bool isAsDefined(Output output, Output definition) {
        return output->type() == definition->type() &&
               output->dataType() == definition->dataType() &&
               output->ownName().equals(definition->ownName());
    }

    template<typename List>
    void compare(const List& list, const List& known) {
        constexpr bool areInputs = std::is_same_v<decltype(list[0]), Input>;
        const std::vector<u64> places = placesIn(known, list);
        // Attributes with one definition are all written: an omitted one would be read as the
        // other.
        std::vector<u8> uses(known.size());
        for (const u64 place : places)
            if (place != noIndex && uses[place] < 2) ++uses[place];
        m_isOmitted.resize(list.size());
        if constexpr (areInputs) m_inputs.resize(list.size());
        for (u64 i = 0; i < list.size(); ++i) {
            if (places[i] == noIndex) continue;
            const auto attribute = list[i], definition = known[places[i]];
            m_isOmitted[i] = attribute->isOmitted() && uses[places[i]] == 1 &&
                             isAsDefined(attribute, definition);
            if constexpr (areInputs)
                if (isOfKind(attribute, definition)) m_inputs[i] = definition;
        }
        keepOrder(places);
    }

    // Finds the place of each attribute in the definition, `noIndex` for unknown ones. Both lists
    // usually have the same order, so the search starts behind the last match.
    template<typename List>
    std::vector<u64> placesIn(const List& known, const List& list) {
        std::vector<u64> places(list.size(), noIndex);
        std::vector<bool> isMet(known.size());
        u64 next = 0;
        for (u64 i = 0; i < list.size(); ++i) {
            const auto attribute = list[i];
            const auto isNamed = [&](u64 at) {
                const auto defined = known[at];
                return defined->nameHash() == attribute->nameHash() &&
                       defined->ownName().equalsNoCase(attribute->ownName());
            };
            if (next >= known.size() || !isNamed(next)) {
                next = 0;
                while (next < known.size() && !isNamed(next))
                    ++next;
            }
            if (next >= known.size()) continue;
            isMet[next] = true;
            places[i] = next++;
        }
        m_isOwn = std::ranges::find(isMet, false) != isMet.end();
        return places;
    }

    // Reading restores an omitted attribute in front of the first written one that follows it in
    // the definition, else at the end. Writes every attribute that would move by this.
    void keepOrder(const std::vector<u64>& places) {
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

    std::vector<bool> m_isOmitted;
    std::vector<Input> m_inputs;
    bool m_isOwn = false;
};

} // namespace qv::kelvo_sdk::impl
