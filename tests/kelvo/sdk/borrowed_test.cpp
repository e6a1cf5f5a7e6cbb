#include "kelvo/sdk/borrowed.h"

#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

template<typename Handle>
concept LendsABool = requires(const Handle& handle, void (*take)(bool)) {
    take(handle.get());
};
template<typename Handle>
concept LendsANumber = requires(const Handle& handle, void (*take)(int)) {
    take(handle.get());
};
template<typename Handle>
concept LendsAPointer = requires(const Handle& handle, void (*take)(typename Handle::Object*)) {
    take(handle.get());
};

// `bool on = input.get()` would be true whatever the value is.
static_assert(!LendsABool<Input> && !LendsANumber<Input> && LendsAPointer<Input>);
static_assert(!LendsABool<Output> && !LendsANumber<Output> && LendsAPointer<Output>);
static_assert(LendsAPointer<Node> && LendsAPointer<Scene>);

TEST(Borrowed, Pointer_IsThatOfTheHandle) {
    const Input input = Input::create(AttrType::Real);
    const interfaces::IInput* const lent = input.get();
    EXPECT_EQ(lent, input.operator->());
    EXPECT_TRUE(input.get() == lent);
    EXPECT_EQ(lent, input.get());
    interfaces::IInput* const changeable = input.get();
    EXPECT_EQ(changeable, input.get());
    EXPECT_EQ(input.get(), changeable);
    EXPECT_NE(input.get(), nullptr);
    EXPECT_EQ(input.get(), Input(input).get());
    EXPECT_TRUE(input.get());
    EXPECT_EQ(Input(input.get()), input);
    EXPECT_EQ(input.get()->type(), AttrType::Real);
}

TEST(Borrowed, EmptyHandle_LendsNull) {
    EXPECT_FALSE(Input().get());
    EXPECT_TRUE(Output().get() == nullptr);
}

TEST(Borrowed, TypedGet_IsTheValue) {
    const Input input = Input::create(AttrType::Bool);
    EXPECT_FALSE(input.get<bool>());
    EXPECT_TRUE(input.set(true));
    EXPECT_TRUE(input.get<bool>());
}

} // namespace
} // namespace qv::kelvo_sdk
