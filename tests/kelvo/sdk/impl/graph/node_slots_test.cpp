// Tests the binary interface: node libraries call virtual operations by slot, and separately built
// parts agree on the offsets of the fields. Both are read from the compiled class.

#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

// Returns the number, from 1, of the virtual operation that a member pointer calls (Itanium ABI).
template<class F, class C>
u64 slotOf(F C::*operation) {
    struct {
        std::ptrdiff_t offset;
        std::ptrdiff_t adjustment;
    } raw;
    static_assert(sizeof raw == sizeof operation);
    std::memcpy(&raw, &operation, sizeof raw);
#if defined(__aarch64__) || defined(__arm__)
    const bool isVirtual = (raw.adjustment & 1) != 0;
#else
    const bool isVirtual = (raw.offset & 1) != 0;
    --raw.offset;
#endif
    return isVirtual ? static_cast<u64>(raw.offset) / sizeof(void*) + 1 : 0;
}

struct Slot {
    u64 expected;
    const char* name;
    u64 actual;
};

void expectSlots(const std::vector<Slot>& slots) {
    for (const Slot& slot : slots)
        EXPECT_EQ(slot.actual, slot.expected) << slot.name;
}

// Taken as declared in `C`: the interface and the implementation must give the same numbers.
template<class C>
std::vector<Slot> containerSlots() {
    return {
        {1, "createInput", slotOf<IInput*(String, AttrType)>(&C::createInput)},
        {2, "createArray", slotOf<IInput*(String, AttrType)>(&C::createArray)},
        {3, "hasInput(index)", slotOf<bool(u64, AttrType) const>(&C::hasInput)},
        {4, "hasInput(name)", slotOf<bool(String, AttrType) const>(&C::hasInput)},
        {5, "inputCount", slotOf<u64() const>(&C::inputCount)},
        {6, "input(index)", slotOf<IInput*(u64)>(&C::input)},
        {7, "input(index) const", slotOf<IInput*(u64) const>(&C::input)},
        {8, "input(path)", slotOf<IInput*(String)>(&C::input)},
        {9, "input(path) const", slotOf<IInput*(String) const>(&C::input)},
        {10, "removeInput(index)", slotOf<bool(u64)>(&C::removeInput)},
        {11, "removeInput(name)", slotOf<bool(String)>(&C::removeInput)},
        {12, "removeLastInput", slotOf<bool()>(&C::removeLastInput)},
        {13, "clearInputs", slotOf<bool()>(&C::clearInputs)},
    };
}

template<class C>
std::vector<Slot> identitySlots() {
    return {
        {16, "subscribe", slotOf<bool(NodeObserver*)>(&C::subscribe)},
        {17, "unsubscribe", slotOf<bool(NodeObserver*)>(&C::unsubscribe)},
        {18, "unsubscribeAll", slotOf<bool()>(&C::unsubscribeAll)},
        {19, "meta", slotOf<IInput*() const>(&C::meta)},
        {20, "scene", slotOf<IScene*() const>(&C::scene)},
        {21, "hash", slotOf<u64(StringVector) const>(&C::hash)},
        {22, "dirty", slotOf<bool(bool) const>(&C::dirty)},
        {23, "setDirty", slotOf<void(bool)>(&C::setDirty)},
        {24, "type", slotOf<String() const>(&C::type)},
        {25, "bases", slotOf<StringVector() const>(&C::bases)},
        {26, "convertTo", slotOf<INode*(String)>(&C::convertTo)},
        {27, "isAbstract", slotOf<bool() const>(&C::isAbstract)},
        {28, "isInternal", slotOf<bool() const>(&C::isInternal)},
        {29, "isTypeOf(type)", slotOf<bool(String) const>(&C::isTypeOf)},
        {30, "isTypeOf(types)", slotOf<bool(StringVector) const>(&C::isTypeOf)},
        {31, "typeDesc", slotOf<String() const>(&C::typeDesc)},
        {32, "name", slotOf<String() const>(&C::name)},
        {33, "label", slotOf<String(String) const>(&C::label)},
        {34, "help", slotOf<String(String) const>(&C::help)},
        {35, "layout", slotOf<ILayout*() const>(&C::layout)},
        {36, "setLayout", slotOf<void(ILayout*)>(&C::setLayout)},
        {37, "displayName", slotOf<String() const>(&C::displayName)},
        {38, "setDisplayName", slotOf<bool(String)>(&C::setDisplayName)},
    };
}

template<class C>
std::vector<Slot> attributeSlots() {
    return {
        {39, "findInput", slotOf<IInput*(String) const>(&C::findInput)},
        {40, "findOutput", slotOf<IOutput*(String) const>(&C::findOutput)},
        {41, "parseInputPath", slotOf<IInput*(String)>(&C::parseInputPath)},
        {42, "hasOutput(index)", slotOf<bool(u64, AttrType) const>(&C::hasOutput)},
        {43, "hasOutput(name)", slotOf<bool(String, AttrType) const>(&C::hasOutput)},
        {44, "outputCount", slotOf<u64() const>(&C::outputCount)},
        {45, "output(index)", slotOf<IOutput*(u64)>(&C::output)},
        {46, "output(index) const", slotOf<IOutput*(u64) const>(&C::output)},
        {47, "output(name)", slotOf<IOutput*(String)>(&C::output)},
        {48, "output(name) const", slotOf<IOutput*(String) const>(&C::output)},
        {49, "createOutput", slotOf<IOutput*(String, AttrType)>(&C::createOutput)},
        {50, "removeOutput(name)", slotOf<bool(String)>(&C::removeOutput)},
        {51, "removeOutput(index)", slotOf<bool(u64)>(&C::removeOutput)},
        {52, "removeLastOutput", slotOf<bool()>(&C::removeLastOutput)},
        {53, "clearOutputs", slotOf<bool()>(&C::clearOutputs)},
    };
}

template<class C>
std::vector<Slot> graphSlots() {
    return {
        {54, "isPath", slotOf<bool() const>(&C::isPath)},
        {55, "asPath", slotOf<String() const>(&C::asPath)},
        {56, "setPath(parts)", slotOf<bool(String, String, String)>(&C::setPath)},
        {57, "setPath(path)", slotOf<bool(String)>(&C::setPath)},
        {58, "children", slotOf<NodeIterator*(i64) const>(&C::children)},
        {59, "indexIn", slotOf<i64(INode*) const>(&C::indexIn)},
        {60, "parentTo", slotOf<bool(INode*)>(&C::parentTo)},
        {61, "unparentFrom", slotOf<bool(INode*)>(&C::unparentFrom)},
        {62, "paths(type)", slotOf<PathIterator*(String, bool) const>(&C::paths)},
        {63, "paths(types)", slotOf<PathIterator*(StringVector, bool) const>(&C::paths)},
        {64, "pathsTo(node)", slotOf<PathIterator*(INode*, bool) const>(&C::pathsTo)},
        {65, "pathsTo(name)", slotOf<PathIterator*(String, bool) const>(&C::pathsTo)},
        {66, "firstPathTo(node)", slotOf<NodePath*(INode*, bool) const>(&C::firstPathTo)},
        {67, "firstPathTo(name)", slotOf<NodePath*(String, bool) const>(&C::firstPathTo)},
    };
}

template<class C>
std::vector<Slot> librarySlots() {
    return {
        {68, "nodeDefPath", slotOf<String() const>(&C::nodeDefPath)},
        {69, "hasNodeInit", slotOf<bool() const>(&C::hasNodeInit)},
        {70, "hasNodePrep", slotOf<bool() const>(&C::hasNodePrep)},
        {71, "hasNodeEval", slotOf<bool() const>(&C::hasNodeEval)},
        {72, "hasNodeModify", slotOf<bool() const>(&C::hasNodeModify)},
        {73, "hasNodeFree", slotOf<bool() const>(&C::hasNodeFree)},
        {74, "nodeInit", slotOf<bool()>(&C::nodeInit)},
        {75, "nodePrep", slotOf<bool() const>(&C::nodePrep)},
        {76, "nodeEval", slotOf<bool(EvalCtx*, void*) const>(&C::nodeEval)},
        {77, "nodeModify", slotOf<bool(INode*)>(&C::nodeModify)},
        {78, "nodeFree", slotOf<bool()>(&C::nodeFree)},
        {79, "data", slotOf<void*() const>(&C::data)},
        {80, "svgIcon", slotOf<String(bool) const>(&C::svgIcon)},
        {81, "htmlHelp", slotOf<String(bool, String) const>(&C::htmlHelp)},
        {82, "dependencies", slotOf<NodeIterator*(bool, bool) const>(&C::dependencies)},
        {83, "serialize", slotOf<String(bool, bool) const>(&C::serialize)},
        {84, "clone", slotOf<INode*(bool) const>(&C::clone)},
        {85, "checkMesh", slotOf<bool() const>(&C::checkMesh)},
        {86, "incRef", slotOf<void()>(&C::incRef)},
        {87, "decRef", slotOf<void()>(&C::decRef)},
    };
}

template<class C>
void expectNodeSlots() {
    expectSlots(containerSlots<C>());
    expectSlots(identitySlots<C>());
    expectSlots(attributeSlots<C>());
    expectSlots(graphSlots<C>());
    expectSlots(librarySlots<C>());
}

TEST(NodeSlots, Interface_HasItsOrder) {
    expectNodeSlots<INode>();
}

TEST(NodeSlots, Implementation_HasTheOrderOfTheInterface) {
    expectNodeSlots<Node>();
}

TEST(NodeSlots, OwnOperation_ComesLast) {
    EXPECT_EQ((slotOf<IOutput*(String, DataType)>(&Node::createOutput)), 88u);
}

TEST(NodeSlots, CountedPart_HasItsOwnOrder) {
    EXPECT_EQ((slotOf<void()>(&IRefCounted::incRef)), 1u);
    EXPECT_EQ((slotOf<void()>(&IRefCounted::decRef)), 2u);
}

// Returns the entry with that number, from 1, in the virtual table of an object.
template<class T>
void (*entryOf(T* object, u64 number))(T*) {
    using Operation = void (*)(T*);
    return (*reinterpret_cast<Operation**>(object))[number - 1];
}

TEST(NodeSlots, Number14_DestroysAndKeepsTheMemory) {
    const i64 before = impl_nodeInstanceCount();
    alignas(Node) unsigned char storage[sizeof(Node)];
    INode* node = ::new (storage) Node;
    EXPECT_EQ(impl_nodeInstanceCount(), before + 1);
    entryOf(node, 14)(node);
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST(NodeSlots, Number15_DestroysAndFrees) {
    const i64 before = impl_nodeInstanceCount();
    INode* node = new Node;
    entryOf(node, 15)(node);
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST(NodeSlots, CountedPartsDestructors_StandBehindItsOperationsAndTakeTheWholeNode) {
    const i64 before = impl_nodeInstanceCount();
    alignas(Node) unsigned char storage[sizeof(Node)];
    IRefCounted* inPlace = ::new (storage) Node;
    entryOf(inPlace, 3)(inPlace);
    IRefCounted* onHeap = new Node;
    entryOf(onHeap, 4)(onHeap);
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST(NodeFields, Container_IsThePrimaryBase) {
    Node node;
    const auto* start = reinterpret_cast<const char*>(&node);
    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<interfaces::IInputContainer*>(&node)),
              start);
    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<INode*>(&node)), start);
    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<IRefCounted*>(&node)),
              start + sizeof(void*));
}

// Each field starts at the end of the one before, up to alignment.
TEST(NodeFields, FollowTheTwoInterfacePointersInOrder) {
    Node node;
    const auto* start = reinterpret_cast<const char*>(&node);
    const char* end = start + 2 * sizeof(void*);
    NodeLayoutProbe{node}.forEachField([&](const char* name, const void* field, std::size_t size) {
        const auto* address = static_cast<const char*>(field);
        EXPECT_GE(address, end) << name;
        EXPECT_LT(address, end + sizeof(void*)) << name;
        end = address + size;
    });
    EXPECT_EQ(end, start + sizeof(Node));
}

TEST(NodeFields, AttrData_BeginsWithItsKind) {
    static_assert(sizeof(AttrType) == 4);
    const AttrData data(AttrType::Rgba);
    AttrType first = AttrType::Null;
    std::memcpy(&first, static_cast<const void*>(&data), sizeof first);
    EXPECT_EQ(first, AttrType::Rgba);
}

TEST(NodeFields, Handles_AddNothingToAReference) {
    EXPECT_EQ(sizeof(kelvo_sdk::LibInfo), 2 * sizeof(void*));
    EXPECT_EQ(sizeof(ds::HashMap<String, String>), 256 * 3 * sizeof(void*));
    EXPECT_GE(sizeof(Node), 2 * sizeof(ds::HashMap<String, String>));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
