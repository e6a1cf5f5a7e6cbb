#pragma once

#include "kelvo/base/types.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

class AttrDetails;
class Input;
class Node;

/// Which attributes of a list scene text leaves to the list's definition: those that were left out
/// when it was read, are as defined still, and come back at their places when it is read again.
class OmittedAttributes {
public:
    /// Of a list without a definition.
    OmittedAttributes() = default;
    static OmittedAttributes inputs(const interfaces::INode& node, const Node& definition);
    static OmittedAttributes outputs(const interfaces::INode& node, const Node& definition);
    /// Needs two objects.
    static OmittedAttributes members(const Input& object, const Input& definition);

    [[nodiscard]] bool has(u64 index) const {
        return index < m_isOmitted.size() && m_isOmitted[index];
    }
    /// Returns what defines an input of the list, which is of its name and kind; null for none.
    [[nodiscard]] const Input* inputDefinition(u64 index) const {
        return index < m_inputs.size() ? m_inputs[index] : nullptr;
    }
    /// Tells whether the list lacks something that its definition has, so that all of it is to be
    /// written.
    [[nodiscard]] bool isOwn() const noexcept { return m_isOwn; }
    /// Returns the same with nothing left out.
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

/// Tells whether there is nothing in a description; null is nothing.
[[nodiscard]] bool saysNothing(const AttrDetails* details) noexcept;

/// Tells whether notes say the same of an input as of its definition.
[[nodiscard]] bool haveSameNotes(const Input& input, const Input& definition) noexcept;

} // namespace qv::kelvo_sdk::impl
