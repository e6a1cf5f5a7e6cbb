#include "sdk/impl/input_list.h"

#include "sdk/impl/input.h"
#include "sdk/impl/input_extras.h"

#include <algorithm>
#include <new>

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
    inputs.reserve(inputs.size() + 1);
    if (inputs.size() >= kLongList) asInput(inputs[0])->dropListIndex();
    inputs.insert(index, input);
    if (inputs.size() >= kLongList) asInput(inputs[0])->indexList(inputs);
}

u64 indexInList(const ds::Vector<interfaces::IInput*>& inputs,
                const interfaces::IInput* input) noexcept {
    return static_cast<u64>(std::ranges::find(inputs, input) - inputs.begin());
}

bool removeFromList(ds::Vector<interfaces::IInput*>& inputs, interfaces::IInput* input) {
    // The next append makes the index anew, which costs no more than closing the gap does.
    if (inputs.size() >= kLongList) asInput(inputs[0])->dropListIndex();
    return inputs.removeAll(input);
}

} // namespace qv::kelvo_sdk::impl
