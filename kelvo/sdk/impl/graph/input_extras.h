#pragma once

#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/name_index.h"
#include "kelvo/sdk/impl/index/link_table.h"

#include <memory>

namespace qv::kelvo_sdk::impl {

class Output;

/// A value kept aside, which may link to a node.
struct Stash {
    Value value;
    Link link;
};

/// Parts that hardly any input has.
struct RareExtras {
    // Kinds from far outside their enumerations, as given by the caller.
    AttrType type = AttrType::Null;
    AttrType elementType = AttrType::Null;
    DataType dataType = DataType::Null;
    /// For an array: the number of its first element.
    u64 firstNumber = 0;
};

/// Parts that few inputs have, stored apart from the input to keep it small.
struct InputExtras {
    ds::Vector<interfaces::IInput*> members;
    Output* source = nullptr;
    union {
        /// The slot of this input among the targets of its source.
        u64 sourceSlot = 0;
        /// For an array or object, which has no source: the position that a walk has reached.
        u64 nextMember;
    };
    Link link;
    std::unique_ptr<Stash> stash;
    /// The index of the list whose first input this is.
    std::unique_ptr<NameIndex<interfaces::IInput>> listIndex;
    std::unique_ptr<RareExtras> rare;

    /// Tells whether there is nothing here except possibly an index.
    [[nodiscard]] bool isIndexAlone() const noexcept {
        return members.capacity() == 0 && !source && !link.table && !stash && !rare;
    }
};

inline constinit const ds::Vector<interfaces::IInput*> noInputs;

inline const ds::Vector<interfaces::IInput*>& Input::members() const noexcept {
    return m_extras ? m_extras->members : noInputs;
}

inline Output* Input::sourceOutput() const noexcept {
    return m_extras ? m_extras->source : nullptr;
}

inline void Input::setSourceSlot(u64 slot, Only<Output> /*key*/) noexcept {
    m_extras->sourceSlot = slot;
}

} // namespace qv::kelvo_sdk::impl
