#include "sdk/impl/input_list.h"

#include "sdk/impl/input.h"
#include "sdk/impl/input_extras.h"

namespace qv::kelvo_sdk::impl {

namespace {

// Up to here a scan of the cached hashes is as fast as an index.
constexpr u64 kLongList = 16;

Input* asInput(interfaces::IInput* input) noexcept {
    return static_cast<Input*>(input);
}

} // namespace

interfaces::IInput* findInList(const ds::Vector<interfaces::IInput*>& inputs,
                               const String& name) noexcept {
    if (inputs.size() >= kLongList) {
        if (const NameIndex* index = asInput(inputs[0])->listIndex()) return index->find(name);
    }
    const u64 hash = name.foldedHash();
    for (interfaces::IInput* input : inputs) {
        const Input* candidate = asInput(input);
        if (candidate->nameHash() == hash && candidate->ownName().equalsNoCase(name)) return input;
    }
    return nullptr;
}

void appendToList(ds::Vector<interfaces::IInput*>& inputs, interfaces::IInput* input) {
    inputs.push_back(input);
    if (inputs.size() >= kLongList) asInput(inputs[0])->indexList(inputs);
}

void insertIntoList(ds::Vector<interfaces::IInput*>& inputs, u64 index, interfaces::IInput* input) {
    if (index == inputs.size()) return appendToList(inputs, input);
    inputs.insert(index, input);
    if (inputs.size() < kLongList) return;
    if (index == 0) asInput(input)->takeListIndex(*asInput(inputs[1]));
    asInput(inputs[0])->indexInserted(inputs, index);
}

void removeFromList(ds::Vector<interfaces::IInput*>& inputs, u64 index) noexcept {
    Input* const removed = asInput(inputs[index]);
    if (inputs.size() > kLongList)
        asInput(inputs[0])->indexRemoved(inputs, index);
    else if (inputs.size() == kLongList)
        asInput(inputs[0])->dropListIndex();
    inputs.remove(index);
    if (index == 0 && !inputs.empty()) asInput(inputs[0])->takeListIndex(*removed);
}

} // namespace qv::kelvo_sdk::impl
