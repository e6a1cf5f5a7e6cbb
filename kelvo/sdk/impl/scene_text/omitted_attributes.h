#pragma once

#include "kelvo/base/types.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

class AttrDetails;
class Input;
class Node;

/// The attributes of a list that scene text omits: they were omitted in the text that was read,
/// equal their definition still, and reading the new text restores them at their places.
class OmittedAttributes {
public:
    /// For a list without a definition.
    OmittedAttributes() = default;
    static OmittedAttributes inputs(const interfaces::INode& node, const Node& definition);
    static OmittedAttributes outputs(const interfaces::INode& node, const Node& definition);
    /// Needs an array or object of which both sides are objects.
    static OmittedAttributes members(const Input& object, const Input& definition);

    [[nodiscard]] bool has(u64 index) const {
        return index < m_isOmitted.size() && m_isOmitted[index];
    }
    /// Returns the definition of an input of the list with its name and kind; null for none.
    [[nodiscard]] const Input* inputDefinition(u64 index) const {
        return index < m_inputs.size() ? m_inputs[index] : nullptr;
    }
    /// Tells whether the list lacks an attribute of its definition, so that the text must be
    /// complete.
    [[nodiscard]] bool isOwn() const noexcept { return m_isOwn; }
    /// Returns a copy that omits nothing.
    [[nodiscard]] OmittedAttributes none() const;

private:
    template<typename Attribute, typename List>
    void compare(const List& list, const List& known);
    template<typename Attribute, typename List>
    [[nodiscard]] std::vector<u64> placesIn(const List& known, const List& list);
    void keepOrder(const std::vector<u64>& places);

    std::vector<bool> m_isOmitted;
    std::vector<const Input*> m_inputs;
    bool m_isOwn = false;
};

/// Tells whether a description is null or empty.
[[nodiscard]] bool saysNothing(const AttrDetails* details) noexcept;

/// Tells whether an input has the same annotations as its definition.
[[nodiscard]] bool haveSameNotes(const Input& input, const Input& definition) noexcept;

} // namespace qv::kelvo_sdk::impl
