#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <gtest/gtest.h>

#include <tuple>
#include <type_traits>

// Functions that only certain classes may call take a key that no other code can make, so the
// compiler refuses every other caller.

namespace qv::kelvo_sdk::impl {
namespace {

template<typename T>
constexpr bool isKey = false;
template<typename A, typename B, typename C, typename D>
constexpr bool isKey<Only<A, B, C, D>> = true;

template<typename... Args>
using Last = std::tuple_element_t<sizeof...(Args) - 1, std::tuple<Args...>>;

// Tells whether the last parameter of a function is a key.
template<typename Result, typename Class, typename... Args>
constexpr bool isKeyed(Result (Class::*)(Args...)) {
    return isKey<Last<Args...>>;
}
template<typename Result, typename Class, typename... Args>
constexpr bool isKeyed(Result (Class::*)(Args...) const) {
    return isKey<Last<Args...>>;
}

template<typename N>
concept OpenToAll = requires(N& node) {
    node.setName(String(), {});
};
template<typename N, typename Key>
concept OpenWith = requires(N& node, Key key) {
    node.setName(String(), key);
};

TEST(KeyedAccess, CallWithoutTheKey_DoesNotCompile) {
    EXPECT_FALSE(OpenToAll<Node>);
    EXPECT_FALSE((OpenWith<Node, Only<Output>>));
    EXPECT_TRUE((OpenWith<Node, Only<Scene, NodeChange, NodeCopies>>));
}

TEST(KeyedAccess, PlacesOfNodes_AreForTheScene) {
    EXPECT_TRUE(isKeyed(&Node::setName));
    EXPECT_TRUE(isKeyed(&Node::setScene));
    EXPECT_TRUE(isKeyed(&Node::setHasLeft));
    EXPECT_TRUE(isKeyed(&Node::setNumber));
    EXPECT_TRUE(isKeyed(&Node::raiseDirty));
    EXPECT_TRUE(isKeyed(&Node::noteRow));
}

TEST(KeyedAccess, ListsOfAttributes_AreForRecordsAndReaders) {
    EXPECT_TRUE(isKeyed(&Node::takeInput));
    EXPECT_TRUE(isKeyed(&Node::takeOutput));
    EXPECT_TRUE(isKeyed(&Node::reserve));
    EXPECT_TRUE(isKeyed(&Input::putMember));
    EXPECT_TRUE(isKeyed(&Input::takeMember));
    EXPECT_TRUE(isKeyed(&Input::moveMember));
    EXPECT_TRUE(isKeyed(&Input::adoptMember));
}

TEST(KeyedAccess, ChangesWithoutARecord_AreForTheHistory) {
    EXPECT_TRUE(isKeyed(&Input::exchangeValue));
    EXPECT_TRUE(isKeyed(&Input::exchangeStash));
    EXPECT_TRUE(isKeyed(&Input::exchangeSource));
    EXPECT_TRUE(isKeyed(&Input::exchangeName));
    EXPECT_TRUE(isKeyed(&Output::exchangeValue));
    EXPECT_TRUE(isKeyed(&Scene::enter));
    EXPECT_TRUE(isKeyed(&Scene::takeOut));
    EXPECT_TRUE(isKeyed(&Scene::exchange));
}

TEST(KeyedAccess, EndsOfConnections_AreForTheTwoEnds) {
    EXPECT_TRUE(isKeyed(&Output::addTarget));
    EXPECT_TRUE(isKeyed(&Output::removeTarget));
    EXPECT_TRUE(isKeyed(&Output::takeLastTarget));
    EXPECT_TRUE(isKeyed(&Input::setSourceSlot));
    EXPECT_TRUE(isKeyed(&Input::dropSource));
}

TEST(KeyedAccess, InnerParts_AreForTheirSubjects) {
    EXPECT_TRUE(isKeyed(&Scene::modifiers));
    EXPECT_TRUE(isKeyed(&Scene::evalCache));
    EXPECT_TRUE(isKeyed(&Scene::observerMutex));
    EXPECT_TRUE(isKeyed(&Scene::dropUnheard));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
