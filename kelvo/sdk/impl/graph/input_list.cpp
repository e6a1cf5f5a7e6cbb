#include "kelvo/sdk/impl/graph/input_list.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/name_index.h"
#include "kelvo/sdk/impl/graph/output.h"

#include <memory>
#include <new>

namespace qv::kelvo_sdk::impl {

namespace {

using interfaces::IInput;
using interfaces::IOutput;

// Up to this length, a scan of the cached hashes is as fast as an index.
constexpr u64 kLongList = 16;

template<typename Attribute>
using List = ds::Vector<Attribute*>;

template<typename Attribute>
auto* own(Attribute* attribute) noexcept {
    return static_cast<typename ImplementationOf<Attribute>::Type*>(attribute);
}

// Adds an inserted attribute to the index, or makes the index. When out of memory, drops the index;
// the list is searched then.
template<typename Attribute>
void noteInserted(const List<Attribute>& list, u64 place) noexcept {
    auto* const first = own(list[0]);
    try {
        auto& index = first->listIndexPlace();
        if (!index) {
            index = std::make_unique<NameIndex<Attribute>>(list);
            return;
        }
        auto* const inserted = own(list[place]);
        const bool isLast = place + 1 == list.size();
        const Attribute* const found = isLast ? nullptr : index->find(inserted->ownName());
        index->add(inserted);
        if (found && indexInList(list, found) > place) index->putInFront(inserted);
    } catch (const std::bad_alloc&) {
        first->dropListIndex();
    }
}

// Call before the removal: the next attribute of the same name is found from then on.
template<typename Attribute>
void noteRemoved(const List<Attribute>& list, u64 place) noexcept {
    if (!own(list[0])->listIndex()) return;
    NameIndex<Attribute>& index = *own(list[0])->listIndexPlace();
    const auto* const removed = own(list[place]);
    if (index.find(removed->ownName()) != removed) return;
    index.remove(removed);
    if (!index.isShared(removed->nameHash())) return;
    for (u64 i = place + 1; i < list.size(); ++i) {
        auto* const next = own(list[i]);
        if (next->nameHash() == removed->nameHash() &&
            next->ownName().equalsNoCase(removed->ownName()))
            return index.addKnown(next);
    }
}

} // namespace

template<typename Attribute>
Attribute* findInList(const List<Attribute>& list, const NameView& name) noexcept {
    if (list.size() >= kLongList) {
        if (const auto* index = own(list[0])->listIndex()) return index->find(name);
    }
    const u64 hash = name.foldedHash();
    for (Attribute* next : list) {
        const auto* candidate = own(next);
        if (candidate->nameHash() == hash && candidate->ownName().equalsNoCase(name.text()))
            return next;
    }
    return nullptr;
}

template<typename Attribute>
void appendToList(ds::Vector<Attribute*>& list, std::type_identity_t<Attribute>* attribute) {
    list.push_back(attribute);
    if (list.size() >= kLongList) noteInserted(list, list.size() - 1);
}

template<typename Attribute>
void insertIntoList(ds::Vector<Attribute*>& list, u64 index,
                    std::type_identity_t<Attribute>* attribute) {
    list.insert(index, attribute);
    if (list.size() < kLongList) return;
    if (index == 0) own(attribute)->takeListIndex(*own(list[1]));
    noteInserted(list, index);
}

template<typename Attribute>
void removeFromList(List<Attribute>& list, u64 index) noexcept {
    auto* const removed = own(list[index]);
    if (list.size() > kLongList)
        noteRemoved(list, index);
    else if (list.size() == kLongList)
        own(list[0])->dropListIndex();
    list.remove(index);
    if (index == 0 && !list.empty()) own(list[0])->takeListIndex(*removed);
}

void leaveNames(const List<IInput>& list, u64 index) noexcept {
    if (list.size() >= kLongList) noteRemoved(list, index);
}

void joinNames(const List<IInput>& list, u64 index) noexcept {
    if (list.size() >= kLongList) noteInserted(list, index);
}

template IInput* findInList(const List<IInput>&, const NameView&) noexcept;
template IOutput* findInList(const List<IOutput>&, const NameView&) noexcept;
template void appendToList<IInput>(List<IInput>&, IInput*);
template void appendToList<IOutput>(List<IOutput>&, IOutput*);
template void insertIntoList<IInput>(List<IInput>&, u64, IInput*);
template void insertIntoList<IOutput>(List<IOutput>&, u64, IOutput*);
template void removeFromList(List<IInput>&, u64) noexcept;
template void removeFromList(List<IOutput>&, u64) noexcept;

} // namespace qv::kelvo_sdk::impl
