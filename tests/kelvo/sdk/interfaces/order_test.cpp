// The order of the virtual operations that nodes call on other objects. Other operations may stand
// between them.

#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/path_iterator.h"
#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/interfaces/i_layout.h"
#include "kelvo/sdk/interfaces/i_output.h"
#include "kelvo/sdk/interfaces/i_scene.h"
#include "kelvo/sdk/interfaces/node_observer.h"
#include "kelvo/sdk/node.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace qv::kelvo_sdk::interfaces {
namespace {

// Returns the slot of a virtual operation in its class's table (Itanium ABI).
template<class F, class C>
std::ptrdiff_t placeOf(F C::*operation) {
    std::ptrdiff_t offset;
    static_assert(sizeof operation == 2 * sizeof offset);
    std::memcpy(&offset, &operation, sizeof offset);
    return offset;
}

using Places = std::vector<std::ptrdiff_t>;

bool ascending(const Places& places) {
    return std::ranges::adjacent_find(places, std::ranges::greater_equal()) == places.end();
}

TEST(InterfaceOrder, Input) {
    EXPECT_TRUE(ascending({
        placeOf<String() const>(&IInput::name),
        placeOf<AttrType() const>(&IInput::type),
        placeOf<String() const>(&IInput::typeName),
        placeOf<INode*() const>(&IInput::node),
        placeOf<String() const>(&IInput::path),
        placeOf<bool(DataType) const>(&IInput::hasDataType),
        placeOf<u64(StringVector) const>(&IInput::hash),
        placeOf<bool() const>(&IInput::isSilent),
        placeOf<void()>(&IInput::nodeDestroyed),
        placeOf<IOutput*() const>(&IInput::source),
        placeOf<AttrType() const>(&IInput::elementType),
        placeOf<IInput*()>(&IInput::appendElement),
        placeOf<bool(String)>(&IInput::setString),
        placeOf<bool(INode*)>(&IInput::setNode),
        placeOf<bool(String&, bool, void*) const>(&IInput::readString),
        placeOf<bool(INode*&, bool, void*) const>(&IInput::readNode),
        placeOf<bool(AttrType) const>(&IInput::hasElementType),
        placeOf<bool() const>(&IInput::isObject),
    }));
}

TEST(InterfaceOrder, Output) {
    EXPECT_TRUE(ascending({
        placeOf<String() const>(&IOutput::name),
        placeOf<AttrType() const>(&IOutput::type),
        placeOf<String() const>(&IOutput::typeName),
        placeOf<INode*() const>(&IOutput::node),
        placeOf<String() const>(&IOutput::path),
        placeOf<bool(DataType) const>(&IOutput::hasDataType),
        placeOf<u64() const>(&IOutput::targetCount),
        placeOf<IInput*(u64) const>(&IOutput::target),
    }));
}

TEST(InterfaceOrder, Scene) {
    EXPECT_TRUE(ascending({
        placeOf<void()>(&IScene::incRef),
        placeOf<void()>(&IScene::decRef),
        placeOf<INode*(String)>(&IScene::findNode),
        placeOf<bool()>(&IScene::undoEnabled),
        placeOf<void()>(&IScene::beginEdit),
        placeOf<void(String, String)>(&IScene::recordEdit),
        placeOf<bool()>(&IScene::undoInProgress),
        placeOf<void()>(&IScene::beginEditGroup),
        placeOf<void()>(&IScene::endEditGroup),
    }));
}

TEST(InterfaceOrder, Observer) {
    EXPECT_TRUE(ascending({
        placeOf<void()>(&NodeObserver::nodeRemoved),
        placeOf<void(String)>(&NodeObserver::nodeRenamed),
        placeOf<void(kelvo_sdk::Node)>(&NodeObserver::nodeConverted),
        placeOf<void(kelvo_sdk::Input)>(&NodeObserver::inputChanged),
        placeOf<void(kelvo_sdk::Input)>(&NodeObserver::inputConnected),
    }));
}

TEST(InterfaceOrder, Iterators) {
    EXPECT_TRUE(ascending({
        placeOf<void()>(&impl::NodeIterator::incRef),
        placeOf<void()>(&impl::NodeIterator::decRef),
        placeOf<INode*()>(&impl::NodeIterator::first),
        placeOf<INode*()>(&impl::NodeIterator::next),
    }));
    EXPECT_TRUE(ascending({
        placeOf<void()>(&impl::PathIterator::incRef),
        placeOf<void()>(&impl::PathIterator::decRef),
        placeOf<u64()>(&impl::PathIterator::count),
        placeOf<NodePath*()>(&impl::PathIterator::current),
    }));
}

TEST(InterfaceOrder, Layout_CountsFirst) {
    EXPECT_EQ(placeOf<void()>(&ILayout::incRef) + static_cast<std::ptrdiff_t>(sizeof(void*)),
              placeOf<void()>(&ILayout::decRef));
}

} // namespace
} // namespace qv::kelvo_sdk::interfaces
