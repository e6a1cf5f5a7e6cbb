#pragma once

#include "base/vector.h"
#include "sdk/impl/attr_data.h"
#include "sdk/impl/link_table.h"
#include "sdk/impl/name_index.h"

#include <memory>

namespace qv::kelvo_sdk::impl {

class Output;

/// What few inputs have, kept out of all the others.
struct InputExtras {
    RefersTo<AttrDetails> details;
    ds::Vector<interfaces::IInput*> members;
    Output* source = nullptr;
    /// Where the source keeps this input.
    u64 sourceSlot = 0;
    Link link;
    std::unique_ptr<Value> stash;
    /// Of the list that this input is the first of.
    std::unique_ptr<NameIndex> listIndex;
};

} // namespace qv::kelvo_sdk::impl
